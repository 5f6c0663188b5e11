// velmo-util rotate-mmap and power-saving on two-plane int32 maps.

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "Cli.h"
#include "MapCommands.h"
#include "MapRecordJson.h"
#include "maputil/PowerSaving.h"
#include "maputil/RotateMMap.h"

namespace velmo {
namespace cli {

namespace {

// Reads {"param": {...}, "map_x": plane, "map_y": plane}; the planes hold
// rows x stride values.
template <typename Param>
bool readMapDocument(const std::string& path, Param& param, int32_t Param::*strideMember,
                     int32_t Param::*rowsMember, std::vector<int32_t>& x, std::vector<int32_t>& y,
                     std::ostream& err) {
    Json document;
    if (!readJsonDocument(path, document, err)) return false;
    JsonError error;
    bool ok = checkKeys(document, "", {"param", "map_x", "map_y"}, error);
    if (ok) {
        ok = fromJson(document["param"], param, error);
        if (!ok) error.key = "param." + error.key;
    }
    if (ok) {
        const int32_t stride = param.*strideMember, height = param.*rowsMember;
        const int64_t count = stride < 0 || height < 0 ? -1 : int64_t{stride} * height;
        ok = readInt32Plane(document, "map_x", count, folderOf(path), x, error) &&
             readInt32Plane(document, "map_y", count, folderOf(path), y, error);
    }
    if (!ok) err << "velmo-util: " << path << ": " << error.message() << '\n';
    return ok;
}

}  // namespace

int runRotateMMap(const MapCommandOptions& options, std::ostream& out, std::ostream& err) {
    const std::string& path = options.inputPath;
    RotateMMapParam param{};
    std::vector<int32_t> x, y;
    if (!readMapDocument(path, param, &RotateMMapParam::_stride_map, &RotateMMapParam::_height_map, x, y, err)) {
        return kInputError;
    }
    const int32_t stride = param._stride_map_rot_buffer, rows = param._height_map_rot_buffer;
    const int64_t count = int64_t{stride} * rows;
    if (stride < 0 || rows < 0 || count > kMaxPlaneElements) {
        err << "velmo-util: " << path << ": param._stride_map_rot_buffer x _height_map_rot_buffer (" << stride
            << " x " << rows << ") is outside 0 .. " << kMaxPlaneElements << " values\n";
        return kInputError;
    }
    std::vector<int32_t> rotX(size_t(count) + 1, 0), rotY(size_t(count) + 1, 0);
    x.reserve(1), y.reserve(1);
    param._map_x = x.data();
    param._map_y = y.data();
    param._map_x_rot_buffer = rotX.data();
    param._map_y_rot_buffer = rotY.data();

    LibraryOutput library(options.showLog, err);
    RotateMMap(param);
    library.finish();
    const std::string refusal = library.firstLine("MMapRotate", "[RotateMMap] ");
    if (!refusal.empty()) {
        err << "velmo-util: " << path << ": RotateMMap refused the map: " << refusal << '\n';
        return kInputError;
    }
    Json header = Json::object();
    header["width"] = stride;
    header["height"] = rows;
    const std::vector<PlaneView> planes = {{"rot_x", rotX.data(), stride, rows, stride},
                                           {"rot_y", rotY.data(), stride, rows, stride}};
    return writePlanes(out, err, header, planes, options.outDir) ? 0 : kInputError;
}

int runPowerSaving(const MapCommandOptions& options, std::ostream& out, std::ostream& err) {
    const std::string& path = options.inputPath;
    PowerSavingParam param{};
    std::vector<int32_t> x, y;
    if (!readMapDocument(path, param, &PowerSavingParam::_stride, &PowerSavingParam::_height, x, y, err)) {
        return kInputError;
    }
    x.reserve(1), y.reserve(1);
    param._map_x = x.data();
    param._map_y = y.data();

    LibraryOutput library(options.showLog, err);
    const bool save = PowerSaving(param);
    const std::string printed = library.finish();

    // The statistics as PowerSaving prints them, "[PowerSaving] NAME=VALUE".
    Json result = Json::object();
    result["power_saving"] = save;
    static const struct {
        const char* printedName;
        const char* key;
    } kStatistics[] = {{"x magnitude max", "max_x"},         {"y magnitude max", "max_y"},
                       {"x avg", "avg_x"},                   {"y avg", "avg_y"},
                       {"x magnitude max_scaled", "max_scaled_x"}, {"y magnitude max_scaled", "max_scaled_y"},
                       {"x avg_scaled", "avg_scaled_x"},     {"y avg_scaled", "avg_scaled_y"}};
    std::istringstream lines(printed);
    std::string line, refusal;
    while (std::getline(lines, line)) {
        const std::string prefix = "[PowerSaving] ";
        if (line.compare(0, prefix.size(), prefix) != 0) continue;
        const std::string body = line.substr(prefix.size());
        const std::size_t equals = body.find('=');
        bool known = false;
        for (const auto& statistic : kStatistics) {
            if (equals != std::string::npos && body.compare(0, equals, statistic.printedName) == 0) {
                // The printed text: "nan" and "inf" stay readable as strings.
                const std::string value = body.substr(equals + 1);
                char* end = nullptr;
                const double number = std::strtod(value.c_str(), &end);
                if (end != value.c_str() && *end == '\0' && value.find('.') == std::string::npos) {
                    result[statistic.key] = std::strtoll(value.c_str(), nullptr, 10);  // the maxima, "%d"
                } else if (end != value.c_str() && *end == '\0' && std::isfinite(number)) {
                    result[statistic.key] = number;
                } else {
                    result[statistic.key] = value;
                }
                known = true;
            }
        }
        if (!known && refusal.empty()) refusal = line;
    }
    if (!refusal.empty()) {
        err << "velmo-util: " << path << ": PowerSaving refused the field: " << refusal << '\n';
        return kInputError;
    }
    out << result.dump(2) << '\n';
    return 0;
}

}  // namespace cli
}  // namespace velmo
