// velmo-util oisgrid and default-oisframe.

#include <cstdint>
#include <utility>
#include <vector>

#include "Cli.h"
#include "MapCommands.h"
#include "MapRecordJson.h"
#include "vwmt/VectWarpMapTrans.h"

namespace velmo {
namespace cli {

namespace {

bool report(std::ostream& err, const std::string& path, const JsonError& error) {
    err << "velmo-util: " << path << ": " << error.message() << '\n';
    return false;
}

// The grid block the transformer writes: the content size, turned for a
// vertical module's backward map at 90 or 270 degrees.
std::pair<int32_t, int32_t> writtenBlock(const OisFrameRecord& f) {
    int32_t w = f.gridParam.content_w, h = f.gridParam.content_h;
    const float angle = f.gridParam.rotAngle;
    if (f.isOisOn != 0 && f.dir == VWMT_DIRECTION_BACKWARD_VERTICAL && (angle == 90.0f || angle == 270.0f)) {
        std::swap(w, h);
    }
    return {w, h};
}

}  // namespace

int runOisGrid(const MapCommandOptions& options, std::ostream& out, std::ostream& err) {
    const std::string& path = options.inputPath;
    Json document;
    if (!readJsonDocument(path, document, err)) return kInputError;

    // The vectors sit beside the record's keys.
    Json scalars = document;
    scalars.erase("inOisX");
    scalars.erase("inOisY");
    OisFrameRecord frame{};
    JsonError error;
    if (!fromJson(scalars, frame, error)) return report(err, path, error), kInputError;
    const int64_t vectors = int64_t{frame.vect_w} * frame.vect_h;
    std::vector<double> x, y;
    if (!readDoublePlane(document, "inOisX", vectors, folderOf(path), x, error) ||
        !readDoublePlane(document, "inOisY", vectors, folderOf(path), y, error)) {
        return report(err, path, error), kInputError;
    }
    const int32_t bufferSize = frame.gridParam.buffer_size;
    if (int64_t{bufferSize} * bufferSize > kMaxPlaneElements) {
        report(err, path, {"gridParam.buffer_size", std::to_string(bufferSize) + " makes planes beyond " +
                                                         std::to_string(kMaxPlaneElements) + " values"});
        return kInputError;
    }
    const size_t planeSize = bufferSize > 0 ? size_t(bufferSize) * size_t(bufferSize) : 1;
    std::vector<int32_t> gridX(planeSize, 0), gridY(planeSize, 0);

    LibraryOutput library(options.showLog, err);
    VectWarpMapTrans trans(frame.gridInW, frame.gridInH, frame.isOisOn);
    VWMTInput in{x.data(), y.data(), frame.vect_w, frame.vect_h, static_cast<VWMT_DIRECTION>(frame.dir),
                 frame.imgSizeDesc, frame.gridParam};
    // The working buffer for this frame's sizes.
    trans.updateVectSize(in);
    const int workBytes = trans.getWorkingBufferSize();
    std::vector<uint32_t> work;
    if (frame.isOisOn != 0) {
        if (workBytes <= 0 || workBytes > 4 * kMaxPlaneElements) {
            library.finish();
            err << "velmo-util: " << path << ": the frame's sizes need " << workBytes
                << " bytes of working memory, outside 1 .. " << 4 * kMaxPlaneElements << '\n';
            return kInputError;
        }
        work.resize((size_t(workBytes) + 3) / 4);
        trans.setWorkingBuffer(reinterpret_cast<char*>(work.data()));
    }
    VWMTOutput grid{gridX.data(), gridY.data(), nullptr};
    trans.oisVecToGrid(in, grid);
    library.finish();
    const std::string refusal = library.firstLine("OISWarpMap", "Error");
    if (!refusal.empty()) {
        err << "velmo-util: " << path << ": the transformer refused the frame: " << refusal << '\n';
        return kInputError;
    }

    const auto block = writtenBlock(frame);
    Json header = Json::object();
    header["content_w"] = block.first;
    header["content_h"] = block.second;
    header["buffer_size"] = bufferSize;
    std::vector<PlaneView> planes;
    if (options.outDir.empty()) {
        planes = {{"gridX", gridX.data(), block.first, block.second, bufferSize},
                  {"gridY", gridY.data(), block.first, block.second, bufferSize}};
    } else {
        planes = {{"gridX", gridX.data(), bufferSize, bufferSize, bufferSize},
                  {"gridY", gridY.data(), bufferSize, bufferSize, bufferSize}};
    }
    return writePlanes(out, err, header, planes, options.outDir) ? 0 : kInputError;
}

// A 2x2-binned 12 MP sensor (4000 x 3000 read out as 2000 x 1500), a centred
// 1920 x 1440 front-end crop kept at that size, and a 7 x 5 OIS vector grid
// whose shifts drift with the rows as they do under a rolling shutter. The
// grid is 32 x 24 nodes over the 1920 x 1440 image.
int runDefaultOisFrame(std::ostream& out) {
    OisFrameRecord frame{};
    frame.gridInW = 7;
    frame.gridInH = 5;
    frame.isOisOn = 1;
    frame.vect_w = 7;
    frame.vect_h = 5;
    frame.dir = VWMT_DIRECTION_FORWARD;
    ImgSizeDescription& d = frame.imgSizeDesc;
    d.sensorSize = {4000, 3000};
    d.analogCrop = {0, 0, 4000, 3000};
    d.binningSize = {2000, 1500};
    d.digitalCrop = {0, 0, 2000, 1500};
    d.tgCrop = {0, 0, 2000, 1500};
    d.p1Crop = {40, 30, 1920, 1440};
    d.p1Resize = {1920, 1440};
    GridFromOisParam& g = frame.gridParam;
    g.srcImg.size = {1920, 1440};
    g.rzImg.size = {0, 0};
    g.CropImg.size = {0, 0, 0, 0};
    g.rotImg.size = {1920, 1440};
    g.content_w = 32;
    g.content_h = 24;
    g.buffer_size = 32;
    g.rotAngle = 0.0f;

    Json document = toJson(frame);
    Json rowsX = Json::array(), rowsY = Json::array();
    for (int r = 0; r < frame.vect_h; ++r) {
        Json rowX = Json::array(), rowY = Json::array();
        for (int c = 0; c < frame.vect_w; ++c) {
            rowX.push_back(6.0 - 1.5 * r + 0.25 * (c - 3));
            rowY.push_back(-4.0 + 0.75 * r - 0.5 * (c - 3));
        }
        rowsX.push_back(rowX);
        rowsY.push_back(rowY);
    }
    document["inOisX"] = rowsX;
    document["inOisY"] = rowsY;
    out << document.dump(2) << '\n';
    return 0;
}

}  // namespace cli
}  // namespace velmo
