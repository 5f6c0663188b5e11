// velmo-util: the JSON form of the records, and its commands run in-process
// (exit status, stdout and stderr), each giving what the library's own call
// gives on the same input.
//
// Expected sizes of the built-in module (2000x1124 usable on both cameras,
// 1920x1080 RRZ output, 640x360 depth, main OIS on), worked out by hand:
// - FE 960x540 (16:9 class), which fits both resizers at the first attempt.
// - Main RRZ keeps the whole 2000x1124; zoom limit min(2000/960, 1124/540).
// - Auxiliary: half-angles atan(tan(33.05 deg)) and atan(tan(45.5 deg)), the
//   overlap factor (tan(34.05 deg) + 12 / 1864.7) / tan(45.5 deg) = 0.6704 and
//   the FE ratio 1.0482 give a 1008x568 FE (16-aligned width, 4-aligned
//   height) and a 1344x756 RRZ window centred at (328, 184); zoom limit
//   min(1344/1008, 756/568) = 756/568, the smaller of the two cameras'.
// - Auxiliary depth input 16 x round(1.05 x 640 / 16) = 672 by
//   2 x round(378 / 2) = 378, plus the 16 added on a configuration call.
// - DPE: 640x360 plus the 64-pixel OIS margin is 704x424; the frame adds
//   2 x 32 of padding to the width: 768x424.

#include <gtest/gtest.h>

#include <cfloat>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "Cli.h"
#include "DefaultConfig.h"
#include "MapRecordJson.h"
#include "RecordJson.h"
#include "gensize/GenSize.h"

namespace velmo {
namespace cli {
namespace {

const std::string kData = std::string(VELMO_TOOLS_TEST_DATA) + "/";
const std::string kModule = kData + "module-12mp.json";
const std::string kFrame = kData + "frame-zoom2.json";

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

Outcome run(const std::vector<std::string>& args) {
    std::vector<const char*> argv = {"velmo-util"};
    for (const std::string& arg : args) argv.push_back(arg.c_str());
    std::ostringstream out, err;
    const int status = runVelmoUtil(static_cast<int>(argv.size()), argv.data(), out, err);
    return {status, out.str(), err.str()};
}

Json parsed(const std::string& text) {
    Json document;
    JsonError error;
    EXPECT_TRUE(parseJson(text, document, error)) << error.message();
    return document;
}

// Runs a command that must succeed silently; its standard output is JSON.
Json ok(const std::vector<std::string>& args) {
    const Outcome result = run(args);
    EXPECT_EQ(0, result.status) << result.err;
    EXPECT_EQ("", result.err) << "library log lines stay silent without --log";
    return parsed(result.out);
}

Json load(const std::string& name) { return Json::parse(std::ifstream(kData + name)); }

std::string writeTemp(const char* name, const std::string& text) {
    const std::string path = ::testing::TempDir() + name;
    std::ofstream(path) << text;
    return path;
}

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

template <typename Record>
void expectRoundTrip(const Record& original) {
    const std::string text = toJson(original).dump();
    Record decoded{};
    JsonError error;
    ASSERT_TRUE(fromJson(parsed(text), decoded, error)) << error.message();
    EXPECT_EQ(0, std::memcmp(&original, &decoded, sizeof(Record))) << text;
}

// ---- the records' JSON form ------------------------------------------------------

// Every member of every record gets random 32-bit words, each a finite float
// (exponent not all ones), so integer and float members alike get a value
// that JSON can carry; then floats that are hard to print shortest.
TEST(RecordJsonTest, EveryFieldSurvivesARoundTripBitForBit) {
    std::mt19937 random(1);
    auto fill = [&random](auto record) {
        for (std::size_t offset = 0; offset < sizeof(record); offset += 4) {
            uint32_t word = random();
            if ((word & 0x7f800000u) == 0x7f800000u) word ^= 0x00800000u;
            std::memcpy(reinterpret_cast<unsigned char*>(&record) + offset, &word, 4);
        }
        expectRoundTrip(record);
    };
    for (int i = 0; i < 20; ++i) {
        fill(STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT{});
        fill(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT{});
        fill(STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT{});
        fill(STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT{});
    }
    for (float value : {0.1f, 1.0f / 3.0f, 66.1f, FLT_MAX, -FLT_MAX, FLT_MIN,
                        std::numeric_limits<float>::denorm_min(), -0.0f, 16777216.0f, 3.14159274f}) {
        STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT record{};
        record.sensor_auxi.fov_h = value;
        expectRoundTrip(record);
    }
    EXPECT_EQ("66.1", Json(jsonNumberFor(66.1f)).dump());
    EXPECT_EQ("-0.0", Json(jsonNumberFor(-0.0f)).dump());
    STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT out{};  // non-finite floats print as null
    out.zoom_constraint = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(toJson(out)["zoom_constraint"].is_null());
}

// ---- the sizing commands ---------------------------------------------------------

struct Edit {
    const char* pointer;
    const char* value;
    const char* problem;  // empty: accepted, and `read` is what the field holds
    double read;
};

TEST(RecordJsonTest, ConfigurationValuesAreCheckedAndNamed) {
    const Edit cases[] = {
        {"/dpe_width", "640", "dpe_width: unknown key", 0},
        {"/sensor_main/fov_w", nullptr, "sensor_main.fov_w: missing key", 0},
        {"/dpe_w", R"("640")", "dpe_w: expected an integer, got string", 0},
        {"/dpe_w", "640.5", "dpe_w: expected an integer, got 640.5", 0},
        {"/enable_gpu", "true", "enable_gpu: expected an integer, got boolean", 0},
        {"/baseline", "null", "baseline: expected a number, got null", 0},
        {"/sensor_main/fov_w", R"("66.1")", "sensor_main.fov_w: expected a number, got string", 0},
        {"/sensor_auxi/isOISon", "[1]", "sensor_auxi.isOISon: expected an integer, got array", 0},
        {"/sensor_main", "[]", "sensor_main: expected an object, got array", 0},
        {"", "[1, 2]", "expected an object, got array", 0},
        // Integers: whole numbers within int32, in any notation.
        {"/dpe_w", "2147483647", "", 2147483647},
        {"/has_mdp", "-2147483648", "", -2147483648.0},
        {"/dpe_h", "360.0", "", 360},
        {"/p1_fe_main_w", "1.92e3", "", 1920},
        {"/sensor_main/pixel_array_width", "2147483648",
         "sensor_main.pixel_array_width: 2147483648 is outside the int32 range", 0},
        {"/sensor_main/pixel_array_width", "-2147483649", "outside the int32 range", 0},
        {"/sensor_main/pixel_array_width", "18446744073709551616", "outside the int32 range", 0},
        // Floats: anything that rounds to a finite float. The two edges lie just
        // below and at FLT_MAX + half an ulp; 1e-50 underflows to zero.
        {"/baseline", "3.4028235e38", "", FLT_MAX},
        {"/cell_size", "3.4028235677973362e+38", "", FLT_MAX},
        {"/module_angle", "-3.4028234663852886e38", "", -FLT_MAX},
        {"/module_variation", "1e-50", "", 0},
        {"/sensor_auxi/fov_h", "3.4028235677973366e+38",
         "sensor_auxi.fov_h: 3.4028235677973366e+38 is outside the float range", 0},
        {"/sensor_auxi/fov_h", "-1e39", "outside the float range", 0},
    };
    for (const Edit& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.pointer << " = " << (c.value ? c.value : "(removed)"));
        Json document = toJson(defaultConfig());
        const Json::json_pointer at(c.pointer);
        if (c.value != nullptr) {
            document[at] = parsed(c.value);
        } else {
            document[at.parent_pointer()].erase(at.back());
        }
        STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT record{};
        record.dpe_h = 12345;
        JsonError error;
        const bool accepted = fromJson(document, record, error);
        if (*c.problem == '\0') {
            ASSERT_TRUE(accepted) << error.message();
            EXPECT_EQ(c.read, toJson(record)[at].get<double>());
        } else {
            EXPECT_FALSE(accepted);
            EXPECT_NE(std::string::npos, error.message().find(c.problem)) << error.message();
            EXPECT_EQ(12345, record.dpe_h) << "a rejected document leaves the record alone";
        }
    }
}

TEST(CliTest, DefaultConfigAndFrameAreTheBuiltInModuleAtZoomOne) {
    EXPECT_EQ(toJson(defaultConfig()), ok({"default-config"}));
    // The frame of the data folder is the template with the zoom set to 2.
    Json frame = load("frame-zoom2.json");
    frame["zoom_ratio"] = 1.0;
    EXPECT_EQ(frame, ok({"default-frame", kModule}));
    EXPECT_EQ(frame, ok({"default-frame"})) << "the built-in module is the default";
}

TEST(CliTest, CommandsPrintTheLibrarysResults) {
    // (tools_cli_text_dump checks gensize's text format.) Zoom 2 is capped at
    // 756/568: the main window would shrink to 1504 wide, below the 1920
    // output, so it stays 1920 (centred at 40); the auxiliary one becomes
    // 2 x ceil(1344 / z / 2) = 1010, centred at (2000 - 1010) / 2; its FE is
    // clamped to the window, and its depth input has no configuration-call
    // enlargement per frame. The power-saving field has x from -50 to 91 and
    // y from 0 to 28, at precision 4 and scale 2 on x: 91 / 4 x 2 = 45.5;
    // the means fail their thresholds.
    const struct {
        std::vector<std::string> args;
        const char* expected;  // JSON pointer to value
    } cases[] = {
        {{"gensize"}, R"({"/main/fe_b/in_w": 960, "/auxi/rrz/out_w": 1008, "/auxi/rrz/usage_w": 1344,
            "/auxi/rrz/usage_h": 756, "/auxi/rrz/offset_x": 328, "/auxi/crop_flag": 1, "/auxi/rect_in_w": 688,
            "/auxi/rect_in_h": 394, "/dpe/dpe_frm_w": 768, "/dpe/dpe_frm_h": 424, "/zoom_constraint": 1.3309859,
            "/main/zoom_maximum": 2.0814815})"},
        {{"gensize-proc", kModule, kFrame}, R"({"/rrz_zoom_main/usage_w": 1920, "/rrz_zoom_main/offset_x": 40,
            "/rrz_zoom_auxi/usage_w": 1010, "/rrz_zoom_auxi/offset_x": 495, "/rrz_zoom_auxi/p1_fe_w": 1010,
            "/rrz_zoom_auxi/p1_depth_w": 672, "/zoom_constraint": 1.3309859})"},
        {{"power-saving", kData + "power-saving.json"},
         R"({"/power_saving": false, "/max_x": 91, "/max_y": 28, "/max_scaled_x": 45.5})"},
    };
    for (const auto& c : cases) {
        const Json document = ok(c.args), expected = parsed(c.expected);
        for (const auto& item : expected.items()) {
            EXPECT_EQ(item.value(), document[Json::json_pointer(item.key())]) << item.key();
        }
    }
    const Outcome text = run({"gensize-proc", "--format", "text", kModule, kFrame});
    ASSERT_EQ(0, text.status);
    EXPECT_EQ(0u, text.out.rfind("[GenSizeProc] rrz_zoom_main\n[STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT] in_w ", 0))
        << text.out;
    const std::string tail = "[GenSizeProc] zoom_constraint: 1.330986\n";
    ASSERT_GE(text.out.size(), tail.size());
    EXPECT_EQ(tail, text.out.substr(text.out.size() - tail.size()));
}

// 4000 + 64 (OIS) + 2 x 32 (padding) = 4128 > 4096: every command sizing the
// module names the rule and prints no complete-looking record, except that
// --force prints the partial one.
TEST(CliTest, AFailedRuleIsNamedOnStderrWithoutARecord) {
    Json config = toJson(defaultConfig());
    config["dpe_w"] = 4000;
    const std::string path = writeTemp("velmo_wide_depth.json", config.dump());
    const std::string rule = " returned 4 (ERR_DPE_IN_W_MAXIMUM)\n"
                             "  ERR_DPE_IN_W_MAXIMUM(Rule: Frame width < 848, Engine width < 784)\n";
    const struct {
        std::vector<std::string> args;
        const char* call;
    } cases[] = {{{"gensize", path}, "GenSizeInit"},
                 {{"gensize-proc", path, kFrame}, "GenSizeProc"},
                 {{"default-frame", path}, "GenSizeInit"},
                 {{"gensize", "--force", path}, "GenSizeInit"}};
    for (const auto& c : cases) {
        const Outcome result = run(c.args);
        EXPECT_EQ(4, result.status) << c.args[0];
        EXPECT_EQ(std::string("velmo-util: ") + c.call + rule, result.err);
        if (c.args[1] == "--force") {
            EXPECT_EQ(4128, parsed(result.out)["dpe"]["dpe_frm_w"]);
        } else {
            EXPECT_EQ("", result.out) << c.args[0];
        }
    }
}

// Bad input exits 2, naming the file and the key where there is one, without
// reading on or crashing; the map commands read their JSON through the same
// door, and name the library's refusal of what they read.
TEST(CliTest, InputErrorsExitTwoNamingTheFileAndKey) {
    const std::string deep = std::string(50000, '[') + std::string(50000, ']');
    Json frame = toJson(STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT{});
    frame["p1_main"]["out_w"] = 1920.5;
    Json merge = load("merge.json");
    merge["ois_x"] = kData + "merge-ois-x.bin";  // the copies live elsewhere
    merge["ois_y"] = kData + "merge-ois-y.bin";
    Json shortPlane = merge, unknown = merge, tooSmall = merge, wrongFile = merge;
    shortPlane["n3d_y"] = Json::array({1, 2, 3});
    unknown["info"]["oisw"] = 3;
    tooSmall["info"]["oisW"] = 1;
    tooSmall["ois_x"] = tooSmall["ois_y"] = Json::array({0, 0, 0});
    wrongFile["ois_y"] = kData + "merge.json";
    Json oisFrame = load("ois-frame.json"), noVectors = oisFrame;
    oisFrame["gridParam"]["content_w"] = 40;  // wider than the 32-wide buffer
    noVectors.erase("inOisY");
    Json rotate = load("rotate-mmap.json");
    rotate["param"]["_stride_map_rot_buffer"] = 4;  // below the 6-wide band
    const struct {
        const char* command;  // nullptr: every command reading JSON
        std::string path;
        std::string err;  // after "velmo-util: <path>: ", or its start
    } cases[] = {
        {"gensize", kData + "bad-key.json", "sensor_auxi.fov_W: unknown key\n"},
        {"gensize", writeTemp("velmo_repeated.json", R"({"sensor_main": {"fov_w": 66.1, "fov_h": 52.1, "fov_w": 70}})"),
         "sensor_main.fov_w: duplicate key\n"},
        {nullptr, "/nonexistent/module.json", "cannot read the file\n"},
        {"gensize", writeTemp("velmo_broken.json", "{\"dpe_w\": 640,,}"),
         "dpe_w: [json.exception.parse_error.101] parse error at line 1, column 15"},
        {nullptr, writeTemp("velmo_huge.json", "{\"sensor_main\": {\"fov_w\": 1e400}}"),
         "sensor_main.fov_w: [json.exception.out_of_range.406] number overflow parsing '1e400'\n"},
        {nullptr, writeTemp("velmo_deep.json", "{\"sensor_main\": " + deep + "}"),
         "sensor_main: nested deeper than 64 objects and arrays\n"},
        {nullptr, writeTemp("velmo_large.json", std::string((1 << 20) + 1, ' ')), "larger than 1 MiB\n"},
        {nullptr, "/dev/zero", "not a regular file (use - for standard input)\n"},
        {nullptr, ::testing::TempDir(), "not a regular file (use - for standard input)\n"},
        {"merge", writeTemp("short.json", shortPlane.dump()), "n3d_y: 3 values, expected 12"},
        {"merge", writeTemp("unknown.json", unknown.dump()), "info.oisw: unknown key"},
        {"merge", writeTemp("small.json", tooSmall.dump()), "the merge refused the maps: [VWMT][mergeGrid] OIS grid 1 x 3"},
        {"merge", writeTemp("wrong-file.json", wrongFile.dump()), "ois_y: raw file "},
        {"oisgrid", writeTemp("wide.json", oisFrame.dump()),
         "the transformer refused the frame: [VWMT][oisVecToGrid] Error: content(40, 24)"},
        {"oisgrid", writeTemp("no-vectors.json", noVectors.dump()), "inOisY: missing key"},
        {"rotate-mmap", writeTemp("narrow.json", rotate.dump()),
         "RotateMMap refused the map: [RotateMMap] _stride_map_rot_buffer 4"},
        {"gensize-proc", writeTemp("velmo_bad_frame.json", frame.dump()),
         "p1_main.out_w: expected an integer, got 1920.5\n"},
    };
    for (const auto& c : cases) {
        for (const char* command : {"gensize", "oisgrid", "merge", "rotate-mmap", "power-saving"}) {
            if (c.command != nullptr) command = c.command;
            std::vector<std::string> args = {command, c.path};
            if (args[0] == "gensize-proc") args.insert(args.begin() + 1, kModule);
            const Outcome result = run(args);
            EXPECT_EQ(kInputError, result.status) << command << " " << c.path;
            EXPECT_EQ(0u, result.err.rfind("velmo-util: " + c.path + ": " + c.err, 0)) << result.err;
            EXPECT_EQ("", result.out);
            if (c.command != nullptr) break;
        }
    }
    // Misused command lines (options follow their command) exit 2 as well.
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {}, {"gensize", "--format", "xml"}, {"gensize", "--prop", "=value"}, {"resize"}, {"--log", "gensize"}}) {
        EXPECT_EQ(kInputError, run(args).status) << (args.empty() ? "" : args[0]);
    }
}

// ---- the warp-grid and map commands ----------------------------------------------

// The printed grid is the content block of the planes --out-dir writes
// whole. (The Python tests compare the grid and the merge command with the
// bindings' calls of the library.)
TEST(MapCommandsTest, OisGridPrintsTheContentBlockOfTheRawPlanes) {
    const std::string path = writeTemp("ois-frame.json", ok({"default-oisframe"}).dump());
    const std::string dir = ::testing::TempDir() + "oisgrid-out";
    const Json grid = ok({"oisgrid", path});
    ok({"oisgrid", path, "--out-dir", dir});
    const int n = grid["buffer_size"], w = grid["content_w"];
    for (const char* plane : {"gridX", "gridY"}) {
        const std::vector<int32_t> raw = rawFile(dir + "/" + plane + ".bin");
        ASSERT_EQ(size_t(n) * n, raw.size());
        ASSERT_EQ(grid["content_h"], grid[plane].size());
        for (int r = 0; r < int(grid[plane].size()); ++r) {
            EXPECT_EQ(std::vector<int32_t>(raw.begin() + r * n, raw.begin() + r * n + w), flat(grid[plane][r]));
        }
    }
}

}  // namespace
}  // namespace cli
}  // namespace velmo
