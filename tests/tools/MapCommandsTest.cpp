// velmo-util's warp-grid and map commands, run in-process: each gives what
// the library's own call gives on the same input, and bad input or a frame
// the library refuses exits 2 with the file and the key or the refusal named.

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "Cli.h"
#include "MapRecordJson.h"
#include "maputil/PowerSaving.h"
#include "maputil/RotateMMap.h"
#include "vwmt/CombWarpMapTrans.h"
#include "vwmt/VectWarpMapTrans.h"

namespace velmo {
namespace cli {
namespace {

const std::string kData = std::string(VELMO_TOOLS_TEST_DATA) + "/";

// Runs the command; its standard output must be a JSON document.
Json run(const std::vector<std::string>& args) {
    std::vector<const char*> argv = {"velmo-util"};
    for (const std::string& arg : args) argv.push_back(arg.c_str());
    std::ostringstream out, err;
    EXPECT_EQ(0, runVelmoUtil(static_cast<int>(argv.size()), argv.data(), out, err)) << err.str();
    EXPECT_EQ("", err.str());
    return Json::parse(out.str());
}

Json load(const std::string& name) { return Json::parse(std::ifstream(kData + name)); }

// The rows of a JSON plane one after the other.
template <typename T = int32_t>
std::vector<T> flat(const Json& rows) {
    std::vector<T> values;
    for (const Json& row : rows) {
        for (const Json& v : row.is_array() ? row : Json::array({row})) values.push_back(v.get<T>());
    }
    return values;
}

std::vector<int32_t> rawFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    std::vector<int32_t> values(static_cast<size_t>(file.tellg()) / 4);
    file.seekg(0);
    file.read(reinterpret_cast<char*>(values.data()), static_cast<std::streamsize>(values.size() * 4));
    return values;
}

std::string writeTemp(const std::string& name, const Json& document) {
    const std::string path = ::testing::TempDir() + name;
    std::ofstream(path) << document.dump();
    return path;
}

TEST(MapCommandsTest, OisGridOfTheTemplateIsTheTransformersGrid) {
    Json frame = run({"default-oisframe"});
    const std::string path = writeTemp("ois-frame.json", frame);
    const std::string dir = ::testing::TempDir() + "oisgrid-out";
    const Json grid = run({"oisgrid", path});
    run({"oisgrid", path, "--out-dir", dir});

    std::vector<double> x = flat<double>(frame["inOisX"]), y = flat<double>(frame["inOisY"]);
    frame.erase("inOisX");
    frame.erase("inOisY");
    OisFrameRecord f{};
    JsonError error;
    ASSERT_TRUE(fromJson(frame, f, error)) << error.message();
    const int n = f.gridParam.buffer_size, w = f.gridParam.content_w;
    std::vector<int32_t> gridX(size_t(n) * n), gridY(size_t(n) * n);
    VectWarpMapTrans trans(f.gridInW, f.gridInH, f.isOisOn);
    VWMTInput in{x.data(), y.data(), f.vect_w, f.vect_h, VWMT_DIRECTION(f.dir), f.imgSizeDesc, f.gridParam};
    trans.updateVectSize(in);
    std::vector<uint32_t> work((size_t(trans.getWorkingBufferSize()) + 3) / 4);
    trans.setWorkingBuffer(reinterpret_cast<char*>(work.data()));
    VWMTOutput out{gridX.data(), gridY.data(), nullptr};
    trans.oisVecToGrid(in, out);

    // The printed grid is the content block; the raw planes the whole buffers.
    ASSERT_EQ(f.gridParam.content_h, int(grid["gridX"].size()));
    for (int r = 0; r < f.gridParam.content_h; ++r) {
        EXPECT_EQ(std::vector<int32_t>(gridX.begin() + r * n, gridX.begin() + r * n + w), flat(grid["gridX"][r]));
        EXPECT_EQ(std::vector<int32_t>(gridY.begin() + r * n, gridY.begin() + r * n + w), flat(grid["gridY"][r]));
    }
    EXPECT_EQ(gridX, rawFile(dir + "/gridX.bin"));
    EXPECT_EQ(gridY, rawFile(dir + "/gridY.bin"));
}

TEST(MapCommandsTest, MergeIsMergeGrid) {
    const Json input = load("merge.json");
    OIS_INTERPOLATE_INFO_STRUCT info{};
    JsonError error;
    ASSERT_TRUE(fromJson(input["info"], info, error)) << error.message();
    std::vector<int32_t> oisX = rawFile(kData + "merge-ois-x.bin"), oisY = rawFile(kData + "merge-ois-y.bin");
    std::vector<int32_t> n3dX = flat(input["n3d_x"]), n3dY = flat(input["n3d_y"]);
    CombWarpMapTrans comb;
    std::vector<char> work(size_t(comb.getWorkingBufferSize()));
    comb.setWorkingBuffer(work.data());
    int* ois[2] = {oisX.data(), oisY.data()};
    int* n3d[2] = {n3dX.data(), n3dY.data()};
    comb.mergeGrid(ois, n3d, info);
    const size_t n = size_t(info.n3dW) * info.n3dH;
    const Json merged = run({"merge", kData + "merge.json"});
    EXPECT_EQ(std::vector<int32_t>(comb.resultX(), comb.resultX() + n), flat(merged["merged_x"]));
    EXPECT_EQ(std::vector<int32_t>(comb.resultY(), comb.resultY() + n), flat(merged["merged_y"]));
}

// The same field for both: x from -50 to 91, y from 0 to 28.
TEST(MapCommandsTest, RotateMMapAndPowerSavingAreTheLibraryCalls) {
    const Json input = load("rotate-mmap.json");
    RotateMMapParam p{};
    JsonError error;
    ASSERT_TRUE(fromJson(input["param"], p, error)) << error.message();
    std::vector<int32_t> x = flat(input["map_x"]), y = flat(input["map_y"]);
    std::vector<int32_t> rotX(size_t(p._stride_map_rot_buffer) * p._height_map_rot_buffer), rotY(rotX.size());
    p._map_x = x.data();
    p._map_y = y.data();
    p._map_x_rot_buffer = rotX.data();
    p._map_y_rot_buffer = rotY.data();
    RotateMMap(p);
    const Json rotated = run({"rotate-mmap", kData + "rotate-mmap.json"});
    EXPECT_EQ(rotX, flat(rotated["rot_x"]));
    EXPECT_EQ(rotY, flat(rotated["rot_y"]));

    PowerSavingParam q{};
    ASSERT_TRUE(fromJson(load("power-saving.json")["param"], q, error)) << error.message();
    q._map_x = x.data();
    q._map_y = y.data();
    ::testing::internal::CaptureStdout();
    const bool decision = PowerSaving(q);
    ::testing::internal::GetCapturedStdout();
    const Json stats = run({"power-saving", kData + "power-saving.json"});
    EXPECT_EQ(decision, stats["power_saving"].get<bool>());
    EXPECT_EQ(91, stats["max_x"].get<int>());
    EXPECT_EQ(28, stats["max_y"].get<int>());
    EXPECT_DOUBLE_EQ(91.0 / 4 * 2, stats["max_scaled_x"].get<double>());
}

TEST(MapCommandsTest, RefusalsNameTheFileAndTheKey) {
    Json merge = load("merge.json");
    merge["ois_x"] = kData + "merge-ois-x.bin";  // the copies live elsewhere
    merge["ois_y"] = kData + "merge-ois-y.bin";
    Json shortPlane = merge, unknown = merge, tooSmall = merge, wrongFile = merge;
    shortPlane["n3d_y"] = Json::array({1, 2, 3});
    unknown["info"]["oisw"] = 3;
    tooSmall["info"]["oisW"] = 1;
    tooSmall["ois_x"] = tooSmall["ois_y"] = Json::array({0, 0, 0});
    wrongFile["ois_y"] = kData + "merge.json";
    Json frame = load("ois-frame.json"), noVectors = frame;
    frame["gridParam"]["content_w"] = 40;  // wider than the 32-wide buffer
    noVectors.erase("inOisY");
    Json rotate = load("rotate-mmap.json");
    rotate["param"]["_stride_map_rot_buffer"] = 4;  // below the 6-wide band

    const struct {
        const char* command;
        std::string path;
        const char* message;
    } cases[] = {
        {"merge", writeTemp("short.json", shortPlane), "short.json: n3d_y: 3 values, expected 12"},
        {"merge", writeTemp("unknown.json", unknown), "unknown.json: info.oisw: unknown key"},
        {"merge", writeTemp("small.json", tooSmall), "small.json: the merge refused the maps: [VWMT][mergeGrid] OIS grid 1 x 3"},
        {"merge", writeTemp("wrong-file.json", wrongFile), "wrong-file.json: ois_y: raw file "},
        {"oisgrid", writeTemp("wide.json", frame), "wide.json: the transformer refused the frame: [VWMT][oisVecToGrid] Error: content(40, 24)"},
        {"oisgrid", writeTemp("no-vectors.json", noVectors), "no-vectors.json: inOisY: missing key"},
        {"rotate-mmap", writeTemp("narrow.json", rotate), "narrow.json: RotateMMap refused the map: [RotateMMap] _stride_map_rot_buffer 4"},
        {"power-saving", kData + "missing.json", "missing.json: cannot read the file"},
    };
    for (const auto& c : cases) {
        const char* argv[] = {"velmo-util", c.command, c.path.c_str()};
        std::ostringstream out, err;
        EXPECT_EQ(kInputError, runVelmoUtil(3, argv, out, err)) << c.path;
        EXPECT_EQ("", out.str()) << c.path;
        EXPECT_NE(std::string::npos, err.str().find(c.message)) << err.str();
    }
}

}  // namespace
}  // namespace cli
}  // namespace velmo
