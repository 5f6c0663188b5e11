#include "MapCommandSupport.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>

#include "utilPlatformHost.h"

namespace velmo {
namespace cli {

namespace {

std::string checkAssignment(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) return "expected key=value, got '" + text + "'";
    return std::string();
}

bool fail(JsonError& error, const std::string& key, std::string problem) {
    error.key = key;
    error.problem = std::move(problem);
    return false;
}

std::string childPath(const std::string& parent, const std::string& name) {
    return parent.empty() ? name : parent + "." + name;
}

// Reads exactly count elements of T from a raw file.
template <typename T>
bool readRawFile(const std::string& key, const std::string& path, int64_t count, std::vector<T>& plane,
                 JsonError& error) {
    if (namesNonRegularFile(path)) return fail(error, key, "raw file " + path + " is not a regular file");
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file) return fail(error, key, "cannot read the raw file " + path);
    const std::streamoff bytes = file.tellg();
    const int64_t expected = count * static_cast<int64_t>(sizeof(T));
    if (bytes != expected) {
        return fail(error, key,
                    "raw file " + path + " holds " + std::to_string(bytes) + " bytes, expected " +
                        std::to_string(expected) + " (" + std::to_string(count) + " x " +
                        std::to_string(sizeof(T)) + ")");
    }
    plane.resize(static_cast<size_t>(count));
    file.seekg(0);
    if (count > 0 && !file.read(reinterpret_cast<char*>(plane.data()), expected)) {
        return fail(error, key, "cannot read the raw file " + path);
    }
    return true;
}

bool readNumber(const Json& value, const std::string& key, int32_t& out, JsonError& error) {
    if (value.is_number_integer() || value.is_number_unsigned()) {
        if (value.is_number_unsigned() && value.get<uint64_t>() > uint64_t{std::numeric_limits<int32_t>::max()}) {
            return fail(error, key, value.dump() + " is outside the int32 range");
        }
        const int64_t v = value.is_number_unsigned() ? static_cast<int64_t>(value.get<uint64_t>())
                                                     : value.get<int64_t>();
        if (v < std::numeric_limits<int32_t>::min() || v > std::numeric_limits<int32_t>::max()) {
            return fail(error, key, value.dump() + " is outside the int32 range");
        }
        out = static_cast<int32_t>(v);
        return true;
    }
    return fail(error, key, std::string("expected an integer, got ") + value.type_name() +
                                (value.is_number() ? " " + value.dump() : std::string()));
}

bool readNumber(const Json& value, const std::string& key, double& out, JsonError& error) {
    if (!value.is_number()) return fail(error, key, std::string("expected a number, got ") + value.type_name());
    out = value.get<double>();
    return true;
}

template <typename T>
bool readPlane(const Json& object, const std::string& key, int64_t count, const std::string& baseDir,
               std::vector<T>& plane, JsonError& error) {
    const auto found = object.find(key);
    if (found == object.end()) return fail(error, key, "missing key");
    if (count < 0 || count > kMaxPlaneElements) {
        return fail(error, key, "a plane of " + std::to_string(count) + " values is outside 0 .. " +
                                    std::to_string(kMaxPlaneElements));
    }
    if (found->is_string()) {
        std::filesystem::path path(found->get<std::string>());
        if (path.is_relative() && !baseDir.empty()) path = std::filesystem::path(baseDir) / path;
        return readRawFile(key, path.string(), count, plane, error);
    }
    if (!found->is_array()) {
        return fail(error, key, std::string("expected an array or a raw file name, got ") + found->type_name());
    }
    plane.clear();
    plane.reserve(static_cast<size_t>(count));
    for (size_t i = 0; i < found->size(); ++i) {
        const Json& item = (*found)[i];
        const std::string itemKey = key + "[" + std::to_string(i) + "]";
        if (item.is_array()) {
            for (size_t j = 0; j < item.size(); ++j) {
                T value{};
                if (!readNumber(item[j], itemKey + "[" + std::to_string(j) + "]", value, error)) return false;
                plane.push_back(value);
                if (static_cast<int64_t>(plane.size()) > count) break;
            }
        } else {
            T value{};
            if (!readNumber(item, itemKey, value, error)) return false;
            plane.push_back(value);
        }
        if (static_cast<int64_t>(plane.size()) > count) break;
    }
    if (static_cast<int64_t>(plane.size()) != count) {
        return fail(error, key,
                    (static_cast<int64_t>(plane.size()) > count ? "more than " : std::string()) +
                        std::to_string(plane.size()) + " values, expected " + std::to_string(count));
    }
    return true;
}

}  // namespace

void addMapPropertyAndLogOptions(CLI::App& command, MapCommandOptions& options) {
    command.add_option("--prop", options.properties, "Set a system property before the call (repeatable)")
        ->type_name("KEY=VALUE")
        ->check(CLI::Validator(checkAssignment, ""));
    command.add_flag("--log", options.showLog,
                     "Show the library's log lines and prints on stderr (silent otherwise)");
}

void addOutDirOption(CLI::App& command, MapCommandOptions& options) {
    command.add_option("--out-dir", options.outDir,
                       "Write the planes as raw int32 files NAME.bin into DIR (created if needed) instead of JSON rows")
        ->type_name("DIR");
}

void applyMapProperties(const std::vector<std::string>& assignments) {
    for (const std::string& assignment : assignments) {
        const std::size_t equals = assignment.find('=');
        quentra::host::setProperty(assignment.substr(0, equals).c_str(), assignment.c_str() + equals + 1);
    }
}

bool readJsonDocument(const std::string& path, Json& document, std::ostream& err) {
    std::string text;
    std::string problem;
    if (!readJsonText(path, text, problem)) {
        err << "velmo-util: " << path << ": " << problem << '\n';
        return false;
    }
    JsonError error;
    if (!parseJson(text, document, error)) {
        err << "velmo-util: " << path << ": " << error.message() << '\n';
        return false;
    }
    if (!document.is_object()) {
        err << "velmo-util: " << path << ": expected an object, got " << document.type_name() << '\n';
        return false;
    }
    return true;
}

bool readInt32Plane(const Json& object, const std::string& key, int64_t count, const std::string& baseDir,
                    std::vector<int32_t>& plane, JsonError& error) {
    return readPlane(object, key, count, baseDir, plane, error);
}

bool readDoublePlane(const Json& object, const std::string& key, int64_t count, const std::string& baseDir,
                     std::vector<double>& plane, JsonError& error) {
    return readPlane(object, key, count, baseDir, plane, error);
}

bool checkKeys(const Json& object, const std::string& path, const std::vector<std::string>& allowed,
               JsonError& error) {
    for (const auto& item : object.items()) {
        bool known = false;
        for (const std::string& name : allowed) known = known || item.key() == name;
        if (!known) return fail(error, childPath(path, item.key()), "unknown key");
    }
    for (const std::string& name : allowed) {
        if (object.find(name) == object.end()) return fail(error, childPath(path, name), "missing key");
    }
    return true;
}

std::string folderOf(const std::string& path) { return std::filesystem::path(path).parent_path().string(); }

bool writePlanes(std::ostream& out, std::ostream& err, Json header, const std::vector<PlaneView>& planes,
                 const std::string& outDir) {
    if (!outDir.empty()) {
        std::error_code ec;
        std::filesystem::create_directories(outDir, ec);
        for (const PlaneView& plane : planes) {
            const std::string path = (std::filesystem::path(outDir) / (std::string(plane.name) + ".bin")).string();
            std::ofstream file(path, std::ios::binary | std::ios::trunc);
            for (int32_t r = 0; file && r < plane.height; ++r) {
                file.write(reinterpret_cast<const char*>(plane.data + static_cast<int64_t>(r) * plane.pitch),
                           static_cast<std::streamsize>(plane.width) * 4);
            }
            if (!file) {
                err << "velmo-util: " << path << ": cannot write the file\n";
                return false;
            }
            header[plane.name] = path;
        }
        out << header.dump(2) << '\n';
        return true;
    }
    // The header as JSON, then each plane as rows of numbers, one row a line.
    std::string text = header.dump(2);
    text.pop_back();  // the closing brace
    while (!text.empty() && text.back() == '\n') text.pop_back();
    out << text;
    bool first = header.empty();
    for (const PlaneView& plane : planes) {
        out << (first ? "\n" : ",\n") << "  \"" << plane.name << "\": [";
        first = false;
        for (int32_t r = 0; r < plane.height; ++r) {
            out << (r == 0 ? "\n    [" : ",\n    [");
            const int32_t* row = plane.data + static_cast<int64_t>(r) * plane.pitch;
            for (int32_t c = 0; c < plane.width; ++c) out << (c == 0 ? "" : ", ") << row[c];
            out << ']';
        }
        out << (plane.height > 0 ? "\n  ]" : "]");
    }
    out << "\n}\n";
    return true;
}

LibraryOutput::LibraryOutput(bool show, std::ostream& err) : show_(show), err_(err) {
    quentra::host::setLogSink(&LibraryOutput::receive, this);
    std::fflush(stdout);
    capture_ = std::tmpfile();
    if (capture_ != nullptr) {
        savedStdout_ = ::dup(STDOUT_FILENO);
        if (savedStdout_ < 0 || ::dup2(::fileno(capture_), STDOUT_FILENO) < 0) {
            if (savedStdout_ >= 0) ::close(savedStdout_);
            savedStdout_ = -1;
            std::fclose(capture_);
            capture_ = nullptr;
        }
    }
}

LibraryOutput::~LibraryOutput() {
    finish();
    quentra::host::setLogSink(nullptr, nullptr);
}

const std::string& LibraryOutput::finish() {
    if (capture_ == nullptr) return printed_;
    std::fflush(stdout);
    ::dup2(savedStdout_, STDOUT_FILENO);
    ::close(savedStdout_);
    savedStdout_ = -1;
    std::rewind(capture_);
    char chunk[4096];
    std::size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, capture_)) > 0) printed_.append(chunk, n);
    std::fclose(capture_);
    capture_ = nullptr;
    if (show_) err_ << printed_;
    return printed_;
}

std::string LibraryOutput::firstLine(const char* tag, const char* marker) const {
    for (const Line& line : lines_) {
        if (line.tag == tag && line.text.find(marker) != std::string::npos) {
            std::string text = line.text;
            while (!text.empty() && text.back() == '\n') text.pop_back();
            return text;
        }
    }
    return std::string();
}

void LibraryOutput::receive(void* user, int module, const char* tag, const char* text) {
    auto* self = static_cast<LibraryOutput*>(user);
    if (self->show_) quentra::host::stderrLogSink(nullptr, module, tag, text);
    self->lines_.push_back({tag, text});
}

}  // namespace cli
}  // namespace velmo
