// velmo-util's warp-grid and map commands, run in-process: each gives what
// the library's own call gives on the same input, and bad input or a frame
// the library refuses exits 2 with the file and the key or the refusal named.

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <initializer_list>
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

const std::string kData = VELMO_TOOLS_TEST_DATA;

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

Outcome run(std::initializer_list<std::string> args) {
    std::vector<const char*> argv = {"velmo-util"};
    for (const std::string& arg : args) argv.push_back(arg.c_str());
    std::ostringstream out, err;
    const int status = runVelmoUtil(static_cast<int>(argv.size()), argv.data(), out, err);
    return {status, out.str(), err.str()};
}

Json load(const std::string& path) {
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    Json document;
    JsonError error;
    EXPECT_TRUE(parseJson(text.str(), document, error)) << error.message();
    return document;
}

Json parsed(const std::string& text) {
    Json document;
    JsonError error;
    EXPECT_TRUE(parseJson(text, document, error)) << error.message() << "\n" << text;
    return document;
}

std::vector<int32_t> flat(const Json& rows) {
    std::vector<int32_t> values;
    for (const Json& row : rows) {
        if (row.is_array()) {
            for (const Json& v : row) values.push_back(v.get<int32_t>());
        } else {
            values.push_back(row.get<int32_t>());
        }
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
    const Outcome frameText = run({"default-oisframe"});
    ASSERT_EQ(0, frameText.status) << frameText.err;
    const Json frame = parsed(frameText.out);
    const std::string path = writeTemp("ois-frame.json", frame);
    const Outcome result = run({"oisgrid", path});
    ASSERT_EQ(0, result.status) << result.err;
    EXPECT_EQ("", result.err);

    OisFrameRecord f{};
    Json scalars = frame;
    scalars.erase("inOisX");
    scalars.erase("inOisY");
    JsonError error;
    ASSERT_TRUE(fromJson(scalars, f, error)) << error.message();
    std::vector<double> x, y;
    for (const Json& row : frame["inOisX"]) for (const Json& v : row) x.push_back(v.get<double>());
    for (const Json& row : frame["inOisY"]) for (const Json& v : row) y.push_back(v.get<double>());
    const int n = f.gridParam.buffer_size;
    std::vector<int32_t> gridX(size_t(n) * n), gridY(size_t(n) * n);
    VectWarpMapTrans trans(f.gridInW, f.gridInH, f.isOisOn);
    VWMTInput in{x.data(), y.data(), f.vect_w, f.vect_h, VWMT_DIRECTION(f.dir), f.imgSizeDesc, f.gridParam};
    trans.updateVectSize(in);
    std::vector<uint32_t> work((size_t(trans.getWorkingBufferSize()) + 3) / 4);
    trans.setWorkingBuffer(reinterpret_cast<char*>(work.data()));
    VWMTOutput out{gridX.data(), gridY.data(), nullptr};
    trans.oisVecToGrid(in, out);

    const Json grid = parsed(result.out);
    const int w = f.gridParam.content_w, h = f.gridParam.content_h;
    ASSERT_EQ(w, grid["content_w"].get<int>());
    ASSERT_EQ(h, grid["content_h"].get<int>());
    std::vector<int32_t> blockX, blockY;
    for (int r = 0; r < h; ++r) {
        blockX.insert(blockX.end(), gridX.begin() + r * n, gridX.begin() + r * n + w);
        blockY.insert(blockY.end(), gridY.begin() + r * n, gridY.begin() + r * n + w);
    }
    EXPECT_EQ(blockX, flat(grid["gridX"]));
    EXPECT_EQ(blockY, flat(grid["gridY"]));

    // The raw planes are the whole square buffers.
    const std::string dir = ::testing::TempDir() + "oisgrid-out";
    ASSERT_EQ(0, run({"oisgrid", path, "--out-dir", dir}).status);
    EXPECT_EQ(gridX, rawFile(dir + "/gridX.bin"));
    EXPECT_EQ(gridY, rawFile(dir + "/gridY.bin"));
}

TEST(MapCommandsTest, MergeIsMergeGrid) {
    const Outcome result = run({"merge", kData + "/merge.json"});
    ASSERT_EQ(0, result.status) << result.err;
    const Json input = load(kData + "/merge.json");
    OIS_INTERPOLATE_INFO_STRUCT info{};
    JsonError error;
    ASSERT_TRUE(fromJson(input["info"], info, error)) << error.message();
    std::vector<int32_t> oisX = rawFile(kData + "/merge-ois-x.bin"), oisY = rawFile(kData + "/merge-ois-y.bin");
    std::vector<int32_t> n3dX = flat(input["n3d_x"]), n3dY = flat(input["n3d_y"]);
    CombWarpMapTrans comb;
    std::vector<char> work(size_t(comb.getWorkingBufferSize()));
    comb.setWorkingBuffer(work.data());
    int* ois[2] = {oisX.data(), oisY.data()};
    int* n3d[2] = {n3dX.data(), n3dY.data()};
    comb.mergeGrid(ois, n3d, info);
    const size_t n = size_t(info.n3dW) * info.n3dH;
    const Json merged = parsed(result.out);
    EXPECT_EQ(std::vector<int32_t>(comb.resultX(), comb.resultX() + n), flat(merged["merged_x"]));
    EXPECT_EQ(std::vector<int32_t>(comb.resultY(), comb.resultY() + n), flat(merged["merged_y"]));
}

TEST(MapCommandsTest, RotateMMapAndPowerSavingAreTheLibraryCalls) {
    const Json input = load(kData + "/rotate-mmap.json");
    RotateMMapParam p{};
    JsonError error;
    ASSERT_TRUE(fromJson(input["param"], p, error)) << error.message();
    std::vector<int32_t> x = flat(input["map_x"]), y = flat(input["map_y"]);
    const size_t n = size_t(p._stride_map_rot_buffer) * p._height_map_rot_buffer;
    std::vector<int32_t> rotX(n), rotY(n);
    p._map_x = x.data();
    p._map_y = y.data();
    p._map_x_rot_buffer = rotX.data();
    p._map_y_rot_buffer = rotY.data();
    RotateMMap(p);
    const Outcome rotated = run({"rotate-mmap", kData + "/rotate-mmap.json"});
    ASSERT_EQ(0, rotated.status) << rotated.err;
    EXPECT_EQ(rotX, flat(parsed(rotated.out)["rot_x"]));
    EXPECT_EQ(rotY, flat(parsed(rotated.out)["rot_y"]));

    // The same field for PowerSaving: x from -50 to 91, y from 0 to 28.
    const Outcome power = run({"power-saving", kData + "/power-saving.json"});
    ASSERT_EQ(0, power.status) << power.err;
    const Json stats = parsed(power.out);
    PowerSavingParam q{};
    ASSERT_TRUE(fromJson(load(kData + "/power-saving.json")["param"], q, error)) << error.message();
    q._map_x = x.data();
    q._map_y = y.data();
    EXPECT_EQ(PowerSaving(q), stats["power_saving"].get<bool>());
    EXPECT_EQ(91, stats["max_x"].get<int>());
    EXPECT_EQ(28, stats["max_y"].get<int>());
    EXPECT_DOUBLE_EQ(91.0 / 4 * 2, stats["max_scaled_x"].get<double>());
}

TEST(MapCommandsTest, RefusalsNameTheFileAndTheKey) {
    Json merge = load(kData + "/merge.json");
    merge["ois_x"] = kData + "/merge-ois-x.bin";  // the copies live elsewhere
    merge["ois_y"] = kData + "/merge-ois-y.bin";
    Json shortPlane = merge;
    shortPlane["n3d_y"] = Json::array({1, 2, 3});
    Json unknown = merge;
    unknown["info"]["oisw"] = 3;
    Json tooSmall = merge;
    tooSmall["info"]["oisW"] = 1;
    tooSmall["ois_x"] = Json::array({0, 0, 0});
    tooSmall["ois_y"] = Json::array({0, 0, 0});
    Json wrongFile = merge;
    wrongFile["ois_y"] = kData + "/merge.json";
    Json frame = load(kData + "/ois-frame.json");
    frame["gridParam"]["content_w"] = 40;  // wider than the 32-wide buffer
    Json noVectors = load(kData + "/ois-frame.json");
    noVectors.erase("inOisY");
    Json rotate = load(kData + "/rotate-mmap.json");
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
        {"power-saving", kData + "/missing.json", "missing.json: cannot read the file"},
    };
    for (const auto& c : cases) {
        const Outcome result = run({c.command, c.path});
        EXPECT_EQ(kInputError, result.status) << c.path;
        EXPECT_EQ("", result.out) << c.path;
        EXPECT_NE(std::string::npos, result.err.find(c.message)) << result.err;
    }
}

}  // namespace
}  // namespace cli
}  // namespace velmo
