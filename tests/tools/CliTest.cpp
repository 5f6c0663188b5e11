// velmo-util's commands, run in-process: exit status, stdout and stderr.
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

#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "Cli.h"
#include "DefaultConfig.h"
#include "RecordJson.h"
#include "gensize/GenSize.h"
#include "support/LogCapture.h"
#include "utilPlatform.h"

namespace velmo {
namespace cli {
namespace {

const std::string kData = VELMO_TOOLS_TEST_DATA;
const std::string kModule = kData + "/module-12mp.json";
const std::string kFrame = kData + "/frame-zoom2.json";

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

std::string writeTempFile(const char* name, const std::string& text) {
    const std::string path = ::testing::TempDir() + name;
    std::ofstream(path) << text;
    return path;
}

// Each value of `expected` (JSON pointer to value) is found in `document`.
void expectValues(const Json& document, const char* expected) {
    const Json values = parsed(expected);
    for (const auto& item : values.items()) {
        EXPECT_EQ(item.value(), document[Json::json_pointer(item.key())]) << item.key();
    }
}

TEST(CliTest, DefaultConfigPrintsTheBuiltInModule) {
    const Outcome result = run({"default-config"});
    ASSERT_EQ(0, result.status) << result.err;
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT printed{};
    JsonError error;
    ASSERT_TRUE(fromJson(parsed(result.out), printed, error)) << error.message();
    const STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT expected = defaultConfig();
    EXPECT_EQ(0, std::memcmp(&expected, &printed, sizeof printed));
}

TEST(CliTest, GenSizeSizesTheBuiltInModule) {
    const Outcome result = run({"gensize"});
    ASSERT_EQ(0, result.status) << result.err;
    EXPECT_EQ("", result.err) << "library log lines stay silent without --log";
    expectValues(parsed(result.out), R"({"/main/fe_b/in_w": 960, "/auxi/rrz/out_w": 1008, "/auxi/rrz/usage_w": 1344,
        "/auxi/rrz/usage_h": 756, "/auxi/rrz/offset_x": 328, "/auxi/crop_flag": 1, "/auxi/rect_in_w": 688,
        "/auxi/rect_in_h": 394, "/dpe/dpe_frm_w": 768, "/dpe/dpe_frm_h": 424})");
    const Json out = parsed(result.out);
    EXPECT_EQ(756.0f / 568.0f, out["zoom_constraint"].get<float>());
    EXPECT_EQ(1124.0f / 540.0f, out["main"]["zoom_maximum"].get<float>()) << "the height limits the main zoom";
    // (tools_cli_text_dump checks the text format.)
}

TEST(CliTest, GenSizeProcFollowsTheZoomUpToTheConstraint) {
    const Outcome result = run({"gensize-proc", kModule, kFrame});
    ASSERT_EQ(0, result.status) << result.err;
    // Zoom 2 is capped at 756/568: the main window would shrink to 1504 wide,
    // below the 1920 output, so it stays 1920 (centred at 40); the auxiliary
    // one becomes 2 x ceil(1344 / z / 2) = 1010, centred at (2000 - 1010) / 2;
    // its FE is clamped to the window, and its depth input has no
    // configuration-call enlargement per frame.
    expectValues(parsed(result.out), R"({"/rrz_zoom_main/usage_w": 1920, "/rrz_zoom_main/offset_x": 40,
        "/rrz_zoom_auxi/usage_w": 1010, "/rrz_zoom_auxi/offset_x": 495, "/rrz_zoom_auxi/p1_fe_w": 1010,
        "/rrz_zoom_auxi/p1_depth_w": 672})");
    EXPECT_EQ(756.0f / 568.0f, parsed(result.out)["zoom_constraint"].get<float>());

    const Outcome text = run({"gensize-proc", "--format", "text", kModule, kFrame});
    ASSERT_EQ(0, text.status);
    EXPECT_EQ(0u, text.out.rfind("[GenSizeProc] rrz_zoom_main\n[STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT] in_w ", 0))
        << text.out;
    const std::string tail = "[GenSizeProc] zoom_constraint: 1.330986\n";
    ASSERT_GE(text.out.size(), tail.size());
    EXPECT_EQ(tail, text.out.substr(text.out.size() - tail.size()));
}

// The frame of the data folder is the template with the zoom set to 2.
TEST(CliTest, DefaultFrameIsZoomOneOverTheConfiguredWindows) {
    const Outcome result = run({"default-frame", kModule});
    ASSERT_EQ(0, result.status) << result.err;
    STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT printed{}, expected{};
    JsonError error;
    ASSERT_TRUE(fromJson(parsed(result.out), printed, error)) << error.message();
    std::ifstream file(kFrame);
    std::ostringstream text;
    text << file.rdbuf();
    ASSERT_TRUE(fromJson(parsed(text.str()), expected, error)) << error.message();
    expected.zoom_ratio = 1.0f;
    EXPECT_EQ(0, std::memcmp(&expected, &printed, sizeof printed)) << result.out;
    EXPECT_EQ(result.out, run({"default-frame"}).out) << "the built-in module is the default";
}

// 4000 + 64 (OIS) + 2 x 32 (padding) = 4128 > 4096: every command sizing the
// module names the rule and prints no complete-looking record, except that
// --force prints the partial one.
TEST(CliTest, AFailedRuleIsNamedOnStderrWithoutARecord) {
    Json config = toJson(defaultConfig());
    config["dpe_w"] = 4000;
    const std::string path = writeTempFile("velmo_wide_depth.json", config.dump());
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
// door.
TEST(CliTest, InputErrorsExitTwoNamingTheFileAndKey) {
    const std::string text = toJson(defaultConfig()).dump();
    Json frame = toJson(STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT{});
    frame["p1_main"]["out_w"] = 1920.5;
    const std::string badFrame = writeTempFile("velmo_bad_frame.json", frame.dump());
    const std::string repeated = writeTempFile("velmo_repeated.json", "{\"dpe_w\": 320, " + text.substr(1));
    const std::string deep = std::string(50000, '[') + std::string(50000, ']');
    const struct {
        bool everyCommand;
        std::string path;
        std::string err;  // after "velmo-util: <path>: ", or its start
    } cases[] = {
        {false, kData + "/bad-key.json", "sensor_auxi.fov_W: unknown key\n"},
        {false, repeated, "dpe_w: duplicate key\n"},
        {false, "/nonexistent/module.json", "cannot read the file\n"},
        {false, writeTempFile("velmo_broken.json", "{\"dpe_w\": 640,,}"),
         "dpe_w: [json.exception.parse_error.101] parse error at line 1, column 15"},
        {true, writeTempFile("velmo_huge.json", "{\"sensor_main\": {\"fov_w\": 1e400}}"),
         "sensor_main.fov_w: [json.exception.out_of_range.406] number overflow parsing '1e400'\n"},
        {true, writeTempFile("velmo_deep.json", "{\"sensor_main\": " + deep + "}"),
         "sensor_main: nested deeper than 64 objects and arrays\n"},
        {true, writeTempFile("velmo_large.json", std::string((1 << 20) + 1, ' ')), "larger than 1 MiB\n"},
        {true, "/dev/zero", "not a regular file (use - for standard input)\n"},
        {true, ::testing::TempDir(), "not a regular file (use - for standard input)\n"},
    };
    for (const auto& c : cases) {
        for (const char* command : {"gensize", "oisgrid", "merge", "rotate-mmap", "power-saving"}) {
            const Outcome result = run({command, c.path});
            EXPECT_EQ(kInputError, result.status) << command << " " << c.path;
            EXPECT_EQ(0u, result.err.rfind("velmo-util: " + c.path + ": " + c.err, 0)) << result.err;
            EXPECT_EQ("", result.out);
            if (!c.everyCommand) break;
        }
    }
    const Outcome result = run({"gensize-proc", kModule, badFrame});
    EXPECT_EQ(kInputError, result.status);
    EXPECT_EQ("velmo-util: " + badFrame + ": p1_main.out_w: expected an integer, got 1920.5\n", result.err);
}

TEST(CliTest, DashReadsStandardInput) {
    std::istringstream input(toJson(defaultConfig()).dump());
    std::streambuf* saved = std::cin.rdbuf(input.rdbuf());
    const Outcome result = run({"gensize", "-"});
    std::cin.rdbuf(saved);
    EXPECT_EQ(0, result.status) << result.err;
    EXPECT_EQ(run({"gensize"}).out, result.out);
}

TEST(CliTest, UsageErrorsExitTwo) {
    // Options follow their command.
    const std::vector<std::vector<std::string>> misuses = {
        {}, {"gensize", "--format", "xml"}, {"gensize", "--prop", "no-equals-sign"}, {"gensize", "--prop", "=value"},
        {"gensize-proc", "only-one.json"}, {"gensize", "--verbose"}, {"resize"}, {"--log", "gensize"},
        {"default-config", "--log"}};
    for (const auto& args : misuses) EXPECT_EQ(kInputError, run(args).status) << (args.empty() ? "" : args[0]);

    const Outcome help = run({"--help"});
    EXPECT_EQ(0, help.status);
    EXPECT_NE(std::string::npos, help.out.find("print as null")) << help.out;
}

TEST(CliTest, PropertiesAreSetBeforeTheCall) {
    testing::ScopedProperties properties;
    const Outcome result = run({"gensize", "--prop", "vendor.debug.velmoUtil.gensize.debuglevel=3", "--prop",
                                "vendor.unrelated=a=b"});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(3, GENSIZE::debugLevel);
    char value[128] = {};
    EXPECT_TRUE(utilPropertyGet("vendor.unrelated", value));
    EXPECT_STREQ("a=b", value) << "only the first '=' separates key and value";
    GENSIZE::debugLevel = 0;
}

TEST(CliTest, LogLinesReachStderrOnlyWithLog) {
    for (const bool log : {true, false}) {
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(0, run(log ? std::vector<std::string>{"gensize", "--log"} : std::vector<std::string>{"gensize"})
                         .status);
        const std::string shown = ::testing::internal::GetCapturedStderr();
        EXPECT_EQ(log, shown.find("D GenSize: [GenSizeInit] version v3.0.47.20240321\n") != std::string::npos);
        EXPECT_EQ(log, !shown.empty());
    }
}

}  // namespace
}  // namespace cli
}  // namespace velmo
