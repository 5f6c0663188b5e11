// velmo-util merge: CombWarpMapTrans::mergeGrid on two fixed-point maps.

#include <cstdint>
#include <vector>

#include "Cli.h"
#include "MapCommands.h"
#include "MapRecordJson.h"
#include "vwmt/CombWarpMapTrans.h"

namespace velmo {
namespace cli {

int runMerge(const MapCommandOptions& options, std::ostream& out, std::ostream& err) {
    const std::string& path = options.inputPath;
    Json document;
    if (!readJsonDocument(path, document, err)) return kInputError;
    JsonError error;
    OIS_INTERPOLATE_INFO_STRUCT info{};
    std::vector<int32_t> oisX, oisY, n3dX, n3dY;
    const std::string base = folderOf(path);
    bool ok = checkKeys(document, "", {"info", "ois_x", "ois_y", "n3d_x", "n3d_y"}, error);
    if (ok) {
        ok = fromJson(document["info"], info, error);
        if (!ok) error.key = "info." + error.key;
    }
    // Sizes outside the merge's limits are its own refusal; negative ones
    // cannot even describe a plane.
    const int64_t oisCount = int64_t{info.oisW} * info.oisH, n3dCount = int64_t{info.n3dW} * info.n3dH;
    ok = ok && readInt32Plane(document, "ois_x", info.oisW < 0 ? -1 : oisCount, base, oisX, error) &&
         readInt32Plane(document, "ois_y", info.oisW < 0 ? -1 : oisCount, base, oisY, error) &&
         readInt32Plane(document, "n3d_x", info.n3dW < 0 ? -1 : n3dCount, base, n3dX, error) &&
         readInt32Plane(document, "n3d_y", info.n3dW < 0 ? -1 : n3dCount, base, n3dY, error);
    if (!ok) {
        err << "velmo-util: " << path << ": " << error.message() << '\n';
        return kInputError;
    }

    LibraryOutput library(options.showLog, err);
    CombWarpMapTrans comb;
    std::vector<uint32_t> work((size_t(comb.getWorkingBufferSize()) + 3) / 4);
    comb.setWorkingBuffer(reinterpret_cast<char*>(work.data()));
    // Planes may be empty for an empty grid; the merge wants addresses.
    oisX.reserve(1), oisY.reserve(1), n3dX.reserve(1), n3dY.reserve(1);
    int* ois[2] = {oisX.data(), oisY.data()};
    int* n3d[2] = {n3dX.data(), n3dY.data()};
    comb.mergeGrid(ois, n3d, info);
    library.finish();
    const std::string refusal = library.firstLine("OISWarpMap", "nothing merged");
    if (!refusal.empty()) {
        err << "velmo-util: " << path << ": the merge refused the maps: " << refusal << '\n';
        return kInputError;
    }
    Json header = Json::object();
    header["n3dW"] = info.n3dW;
    header["n3dH"] = info.n3dH;
    const std::vector<PlaneView> planes = {{"merged_x", comb.resultX(), info.n3dW, info.n3dH, info.n3dW},
                                           {"merged_y", comb.resultY(), info.n3dW, info.n3dH, info.n3dW}};
    return writePlanes(out, err, header, planes, options.outDir) ? 0 : kInputError;
}

}  // namespace cli
}  // namespace velmo
