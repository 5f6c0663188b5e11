#include "RecordJson.h"

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <limits>
#include <set>
#include <vector>

#include "MapRecordJson.h"
#include <sys/stat.h>

#include "RecordFields.h"

namespace velmo {
namespace cli {

namespace {

// Doubles of this magnitude or more round to infinity as floats: it is the
// midpoint between FLT_MAX and 2^128, and the tie goes to the even 2^128.
constexpr double kFloatOverflowEdge = 0x1.ffffffp+127;

std::string childPath(const std::string& parent, const char* name) {
    return parent.empty() ? std::string(name) : parent + "." + name;
}

bool fail(JsonError& error, const std::string& key, std::string problem) {
    error.key = key;
    error.problem = std::move(problem);
    return false;
}

bool readValue(const Json& value, const std::string& key, int32_t& out, JsonError& error) {
    constexpr int64_t kMin = std::numeric_limits<int32_t>::min();
    constexpr int64_t kMax = std::numeric_limits<int32_t>::max();
    const std::string outOfRange = value.dump() + " is outside the int32 range";
    if (value.is_number_unsigned()) {
        const uint64_t v = value.get<uint64_t>();
        if (v > static_cast<uint64_t>(kMax)) return fail(error, key, outOfRange);
        out = static_cast<int32_t>(v);
        return true;
    }
    if (value.is_number_integer()) {
        const int64_t v = value.get<int64_t>();
        if (v < kMin || v > kMax) return fail(error, key, outOfRange);
        out = static_cast<int32_t>(v);
        return true;
    }
    if (value.is_number_float()) {
        // 4000.0 or 4e3 is a fine way to write 4000; 1.5 is not an integer.
        const double v = value.get<double>();
        if (!std::isfinite(v) || v < static_cast<double>(kMin) || v > static_cast<double>(kMax)) {
            return fail(error, key, outOfRange);
        }
        if (v != std::trunc(v)) return fail(error, key, "expected an integer, got " + value.dump());
        out = static_cast<int32_t>(v);
        return true;
    }
    return fail(error, key, std::string("expected an integer, got ") + value.type_name());
}

bool readValue(const Json& value, const std::string& key, float& out, JsonError& error) {
    if (!value.is_number()) {
        return fail(error, key, std::string("expected a number, got ") + value.type_name());
    }
    const double v = value.get<double>();
    if (!(std::fabs(v) < kFloatOverflowEdge)) {
        return fail(error, key, value.dump() + " is outside the float range");
    }
    // Between FLT_MAX and the overflow edge IEEE rounding gives FLT_MAX; say so
    // explicitly rather than rely on an out-of-range conversion.
    if (std::fabs(v) > FLT_MAX) {
        out = v > 0 ? FLT_MAX : -FLT_MAX;
    } else {
        out = static_cast<float>(v);
    }
    return true;
}

template <typename Record>
bool readValue(const Json& value, const std::string& key, Record& out, JsonError& error) {
    if (!value.is_object()) {
        return fail(error, key, std::string("expected an object, got ") + value.type_name());
    }
    // Unknown keys first: a misspelt key also shows up as a missing one, and
    // the misspelling is the more useful thing to report.
    for (const auto& item : value.items()) {
        bool known = false;
        forEachField<Record>([&](const auto& field) { known = known || item.key() == field.name; });
        if (!known) return fail(error, childPath(key, item.key().c_str()), "unknown key");
    }
    bool ok = true;
    forEachField<Record>([&](const auto& field) {
        if (!ok) return;
        const std::string fieldKey = childPath(key, field.name);
        const auto found = value.find(field.name);
        if (found == value.end()) {
            ok = fail(error, fieldKey, "missing key");
            return;
        }
        ok = readValue(*found, fieldKey, out.*(field.member), error);
    });
    return ok;
}

Json writeValue(int32_t value) { return value; }

Json writeValue(float value) {
    if (!std::isfinite(value)) return nullptr;
    return jsonNumberFor(value);
}

template <typename Record>
Json writeValue(const Record& record) {
    Json object = Json::object();
    forEachField<Record>([&](const auto& field) { object[field.name] = writeValue(record.*(field.member)); });
    return object;
}

template <typename Record>
bool readRecord(const Json& document, Record& record, JsonError& error) {
    Record parsed{};
    if (!readValue(document, std::string(), parsed, error)) return false;
    record = parsed;
    return true;
}

}  // namespace

std::string JsonError::message() const { return key.empty() ? problem : key + ": " + problem; }

bool parseJson(const std::string& text, Json& document, JsonError& error) {
    // JSON leaves repeated keys to the reader and nlohmann keeps the last one;
    // a tuning file that sets a field twice is a mistake, so the first repeat
    // is reported. keys[d] is the key being read in the object at depth d.
    std::vector<std::set<std::string>> seen;
    std::vector<std::string> keys;
    std::string repeated;
    int nesting = 0;
    struct TooDeep {};
    const auto currentPath = [&] {
        std::string path;
        for (const std::string& part : keys) {
            if (!part.empty()) path = childPath(path, part.c_str());
        }
        return path;
    };
    const Json::parser_callback_t watchKeys = [&](int, Json::parse_event_t event, Json& parsed) {
        switch (event) {
            case Json::parse_event_t::object_start:
                seen.emplace_back();
                keys.emplace_back();
                if (++nesting > kMaxJsonNesting) throw TooDeep{};
                break;
            case Json::parse_event_t::array_start:
                if (++nesting > kMaxJsonNesting) throw TooDeep{};
                break;
            case Json::parse_event_t::object_end:
                seen.pop_back();
                keys.pop_back();
                --nesting;
                break;
            case Json::parse_event_t::array_end:
                --nesting;
                break;
            case Json::parse_event_t::key: {
                const std::string& key = parsed.get_ref<const std::string&>();
                keys.back() = key;
                if (!seen.back().insert(key).second && repeated.empty()) repeated = currentPath();
                break;
            }
            default:
                break;
        }
        return true;
    };
    // nlohmann reports syntax errors and numbers beyond a double (1e400) only
    // by exception; keep them to this spot. Each is reported at the key being
    // read when it happened.
    try {
        document = Json::parse(text, watchKeys);
    } catch (const TooDeep&) {
        return fail(error, currentPath(),
                    "nested deeper than " + std::to_string(kMaxJsonNesting) + " objects and arrays");
    } catch (const Json::exception& e) {
        return fail(error, currentPath(), e.what());
    }
    if (!repeated.empty()) return fail(error, repeated, "duplicate key");
    return true;
}

bool namesNonRegularFile(const std::string& path) {
    struct stat info;
    return ::stat(path.c_str(), &info) == 0 && !S_ISREG(info.st_mode);
}

bool readJsonText(const std::string& path, std::string& text, std::string& problem) {
    std::ifstream file;
    std::istream* stream = &std::cin;
    if (path != "-") {
        if (namesNonRegularFile(path)) {
            problem = "not a regular file (use - for standard input)";
            return false;
        }
        file.open(path, std::ios::binary);
        if (!file.is_open()) {
            problem = "cannot read the file";
            return false;
        }
        stream = &file;
    }
    // One byte more than allowed tells a file at the limit from a longer one.
    text.resize(kMaxJsonInputBytes + 1);
    stream->read(&text[0], static_cast<std::streamsize>(text.size()));
    if (stream->bad()) {
        problem = "cannot read the file";
        return false;
    }
    text.resize(static_cast<std::size_t>(stream->gcount()));
    if (text.size() > kMaxJsonInputBytes) {
        problem = "larger than 1 MiB";
        return false;
    }
    return true;
}

double jsonNumberFor(float value) {
    char text[32];
    for (int digits = 6; digits <= 9; ++digits) {
        std::snprintf(text, sizeof text, "%.*g", digits, static_cast<double>(value));
        const double candidate = std::strtod(text, nullptr);
        if (std::fabs(candidate) <= FLT_MAX && static_cast<float>(candidate) == value &&
            std::signbit(candidate) == std::signbit(value)) {
            return candidate;
        }
    }
    return static_cast<double>(value);
}

bool fromJson(const Json& document, STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& record, JsonError& error) {
    return readRecord(document, record, error);
}
bool fromJson(const Json& document, STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& record, JsonError& error) {
    return readRecord(document, record, error);
}
bool fromJson(const Json& document, STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT& record, JsonError& error) {
    return readRecord(document, record, error);
}
bool fromJson(const Json& document, STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT& record, JsonError& error) {
    return readRecord(document, record, error);
}

Json toJson(const STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& record) { return writeValue(record); }
Json toJson(const STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& record) { return writeValue(record); }
Json toJson(const STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT& record) { return writeValue(record); }
Json toJson(const STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT& record) { return writeValue(record); }

#include "MapRecordJson.inc"

}  // namespace cli
}  // namespace velmo
