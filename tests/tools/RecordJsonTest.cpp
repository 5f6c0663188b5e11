// JSON form of the GenSize records as velmo-util reads and writes it.

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "DefaultConfig.h"
#include "RecordJson.h"

namespace velmo {
namespace cli {
namespace {

std::vector<std::string> keysOf(const Json& object) {
    std::vector<std::string> keys;
    for (const auto& item : object.items()) keys.push_back(item.key());
    return keys;
}

// Fills a record with random 32-bit words, each of which is a finite float
// (exponent not all ones), so integer and float members alike get a value
// that JSON can carry.
template <typename Record>
Record randomRecord(uint32_t seed) {
    static_assert(sizeof(Record) % 4 == 0, "records are made of 32-bit members");
    std::mt19937 random(seed);
    Record record;
    unsigned char* bytes = reinterpret_cast<unsigned char*>(&record);
    for (std::size_t offset = 0; offset < sizeof(Record); offset += 4) {
        uint32_t word = random();
        if ((word & 0x7f800000u) == 0x7f800000u) word ^= 0x00800000u;
        std::memcpy(bytes + offset, &word, 4);
    }
    return record;
}

template <typename Record>
void expectRoundTrip(const Record& original) {
    const std::string text = toJson(original).dump();
    Json parsed;
    JsonError error;
    ASSERT_TRUE(parseJson(text, parsed, error)) << error.message();
    Record decoded{};
    ASSERT_TRUE(fromJson(parsed, decoded, error)) << error.message();
    EXPECT_EQ(0, std::memcmp(&original, &decoded, sizeof(Record))) << text;
}

TEST(RecordJsonTest, ConfigurationKeysAreTheFieldNamesInDeclarationOrder) {
    const Json document = toJson(STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT{});
    const std::vector<std::string> expected = {
        "sensor_main", "sensor_auxi", "feature_mode", "ai_depth_enable", "ai_depth_temporal_enable",
        "rrz_output_main_w", "rrz_output_main_h", "p1_fe_main_w", "p1_fe_main_h", "dpe_w", "dpe_h",
        "dpe_w_rot", "dpe_h_rot", "ai_tracking_w", "ai_tracking_h", "module_layout", "module_orient",
        "flow_rotate_type", "enable_gpu", "only_crop_ratio", "has_mdp", "module_angle",
        "module_variation", "focal_length", "baseline", "cell_size", "dpe_cand_num", "dpe_dv_lsb_sft",
        "align_wpe_in_w", "align_wpe_out_w", "align_dpe_in_w", "align_dpe_out_w",
        "align_ai_depth_in_w", "align_ai_depth_in_h", "align_gpu_in_w", "align_gpu_in_h",
        "align_fe_in_w", "align_fe_in_h"};
    EXPECT_EQ(expected, keysOf(document));

    const std::vector<std::string> sensor = {
        "fov_w", "fov_h", "pixel_array_width", "pixel_array_height", "sensor_offset_x0",
        "sensor_offset_y0", "sensor_size_w0", "sensor_size_h0", "sensor_scale_w", "sensor_scale_h",
        "sensor_offset_x1", "sensor_offset_y1", "tg_offset_x", "tg_offset_y", "mode_2px_en", "isOISon",
        "oisHeight", "oisWidth"};
    EXPECT_EQ(sensor, keysOf(document["sensor_main"]));
    EXPECT_EQ(sensor, keysOf(document["sensor_auxi"]));
    EXPECT_TRUE(document["module_angle"].is_number_float());
    EXPECT_TRUE(document["has_mdp"].is_number_integer());
}

TEST(RecordJsonTest, OutputRecordsNestTheirStages) {
    const Json out = toJson(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT{});
    EXPECT_EQ(7u, out.size());
    EXPECT_EQ(14u, out["auxi"].size());
    EXPECT_EQ(15u, out["auxi"]["wpe_traw_setting"].size());
    EXPECT_EQ(12u, toJson(STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT{}).size());
}

TEST(RecordJsonTest, EveryFieldOfEveryRecordSurvivesARoundTrip) {
    for (uint32_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        expectRoundTrip(randomRecord<STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT>(seed));
        expectRoundTrip(randomRecord<STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT>(seed));
        expectRoundTrip(randomRecord<STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT>(seed));
        expectRoundTrip(randomRecord<STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT>(seed));
    }
}

TEST(RecordJsonTest, FloatsReadBackBitForBitAndPrintShort) {
    const float hard[] = {0.1f, 1.0f / 3.0f, 66.1f, FLT_MAX, -FLT_MAX, FLT_MIN,
                          std::numeric_limits<float>::denorm_min(), -0.0f, 16777216.0f, 3.14159274f};
    for (float value : hard) {
        STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT record{};
        record.sensor_auxi.fov_h = value;
        SCOPED_TRACE(value);
        expectRoundTrip(record);
    }
    EXPECT_EQ("0.1", Json(jsonNumberFor(0.1f)).dump());
    EXPECT_EQ("66.1", Json(jsonNumberFor(66.1f)).dump());
    EXPECT_EQ("-0.0", Json(jsonNumberFor(-0.0f)).dump());
}

TEST(RecordJsonTest, NonFiniteFloatsPrintAsNull) {
    STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT out{};
    out.zoom_constraint = std::numeric_limits<float>::quiet_NaN();
    out.dpe.working_range_to_disp = -std::numeric_limits<float>::infinity();
    out.working_range = std::numeric_limits<float>::infinity();
    const Json document = toJson(out);
    EXPECT_TRUE(document["zoom_constraint"].is_null());
    EXPECT_TRUE(document["dpe"]["working_range_to_disp"].is_null());
    EXPECT_TRUE(document["working_range"].is_null());
}

// The default configuration as a document, with one change applied.
class ConfigErrorTest : public ::testing::Test {
protected:
    Json document = toJson(defaultConfig());

    // Reads the document and returns the error's key; fails the test if it is accepted.
    JsonError readError() {
        STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT record{};
        record.dpe_w = 12345;
        JsonError error;
        EXPECT_FALSE(fromJson(document, record, error)) << document.dump();
        EXPECT_EQ(12345, record.dpe_w) << "a rejected document leaves the record alone";
        return error;
    }

    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT read() {
        STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT record{};
        JsonError error;
        EXPECT_TRUE(fromJson(document, record, error)) << error.message();
        return record;
    }

    static Json parse(const char* text) {
        Json value;
        JsonError error;
        EXPECT_TRUE(parseJson(text, value, error)) << error.message();
        return value;
    }
};

TEST_F(ConfigErrorTest, UnknownKeysAreNamedWithTheirPath) {
    document["dpe_width"] = 640;
    JsonError error = readError();
    EXPECT_EQ("dpe_width", error.key);
    EXPECT_EQ("dpe_width: unknown key", error.message());

    document = toJson(defaultConfig());
    document["sensor_auxi"].erase("fov_w");
    document["sensor_auxi"]["fov_W"] = 91.0;
    error = readError();
    EXPECT_EQ("sensor_auxi.fov_W", error.key) << "the misspelling, not the missing key, is reported";
    EXPECT_EQ("unknown key", error.problem);
}

TEST_F(ConfigErrorTest, MissingKeysAreNamedWithTheirPath) {
    document["sensor_main"].erase("fov_w");
    EXPECT_EQ("sensor_main.fov_w: missing key", readError().message());

    document = toJson(defaultConfig());
    document.erase("align_fe_in_h");
    EXPECT_EQ("align_fe_in_h: missing key", readError().message());

    document = toJson(defaultConfig());
    document.erase("sensor_auxi");
    EXPECT_EQ("sensor_auxi: missing key", readError().message());
}

TEST_F(ConfigErrorTest, WrongTypesAreNamed) {
    struct Case {
        const char* pointer;
        const char* value;
        const char* message;
    };
    const Case cases[] = {
        {"/dpe_w", R"("640")", "dpe_w: expected an integer, got string"},
        {"/dpe_w", "640.5", "dpe_w: expected an integer, got 640.5"},
        {"/enable_gpu", "true", "enable_gpu: expected an integer, got boolean"},
        {"/dpe_h", "{}", "dpe_h: expected an integer, got object"},
        {"/baseline", "null", "baseline: expected a number, got null"},
        {"/sensor_main/fov_w", R"("66.1")", "sensor_main.fov_w: expected a number, got string"},
        {"/sensor_auxi/isOISon", "[1]", "sensor_auxi.isOISon: expected an integer, got array"},
        {"/sensor_main", "[]", "sensor_main: expected an object, got array"},
    };
    for (const Case& c : cases) {
        document = toJson(defaultConfig());
        document[Json::json_pointer(c.pointer)] = parse(c.value);
        EXPECT_EQ(c.message, readError().message()) << c.pointer << " = " << c.value;
    }

    document = parse("[1, 2]");
    const JsonError error = readError();
    EXPECT_EQ("", error.key);
    EXPECT_EQ("expected an object, got array", error.message());
}

TEST_F(ConfigErrorTest, IntegerFieldsTakeWholeNumbersWithinInt32) {
    document["dpe_w"] = parse("2147483647");
    document["has_mdp"] = parse("-2147483648");
    document["dpe_h"] = parse("360.0");
    document["p1_fe_main_w"] = parse("1.92e3");
    document["ai_tracking_w"] = parse("-0.0");
    const auto record = read();
    EXPECT_EQ(2147483647, record.dpe_w);
    EXPECT_EQ(-2147483647 - 1, record.has_mdp);
    EXPECT_EQ(360, record.dpe_h);
    EXPECT_EQ(1920, record.p1_fe_main_w);
    EXPECT_EQ(0, record.ai_tracking_w);

    const char* outside[] = {"2147483648", "-2147483649", "3e9", "-2147483648.5", "18446744073709551616"};
    for (const char* value : outside) {
        document = toJson(defaultConfig());
        document["sensor_main"]["pixel_array_width"] = parse(value);
        const JsonError error = readError();
        EXPECT_EQ("sensor_main.pixel_array_width", error.key) << value;
        EXPECT_NE(std::string::npos, error.problem.find("outside the int32 range")) << error.problem;
    }
}

TEST_F(ConfigErrorTest, FloatFieldsTakeNumbersThatRoundToAFiniteFloat) {
    char overflowEdge[64];
    std::snprintf(overflowEdge, sizeof overflowEdge, "%.17g", 0x1.ffffffp+127);  // FLT_MAX + half an ulp
    char belowEdge[64];
    std::snprintf(belowEdge, sizeof belowEdge, "%.17g", 0x1.fffffefffffffp+127);

    document["focal_length"] = parse("4");
    document["baseline"] = parse("3.4028235e38");  // above FLT_MAX, rounds down to it
    document["cell_size"] = parse(belowEdge);
    document["module_angle"] = parse("-3.4028234663852886e38");
    document["module_variation"] = parse("1e-50");  // underflows to zero, like any float conversion
    const auto record = read();
    EXPECT_EQ(4.0f, record.focal_length);
    EXPECT_EQ(FLT_MAX, record.baseline);
    EXPECT_EQ(FLT_MAX, record.cell_size);
    EXPECT_EQ(-FLT_MAX, record.module_angle);
    EXPECT_EQ(0.0f, record.module_variation);

    const std::string outside[] = {overflowEdge, "3.5e38", "-1e39", "1e300"};
    for (const std::string& value : outside) {
        document = toJson(defaultConfig());
        document["sensor_auxi"]["fov_h"] = parse(value.c_str());
        const JsonError error = readError();
        EXPECT_EQ("sensor_auxi.fov_h", error.key) << value;
        EXPECT_NE(std::string::npos, error.problem.find("outside the float range")) << error.problem;
    }
}

TEST_F(ConfigErrorTest, RepeatedKeysAreNamedWithTheirPath) {
    Json value;
    JsonError error;
    EXPECT_FALSE(parseJson(R"({"dpe_w": 640, "dpe_h": 360, "dpe_w": 320})", value, error));
    EXPECT_EQ("dpe_w: duplicate key", error.message());

    EXPECT_FALSE(parseJson(R"({"dpe_w": 640, "sensor_main": {"fov_w": 66.1, "fov_h": 52.1, "fov_w": 70}})", value,
                           error));
    EXPECT_EQ("sensor_main.fov_w: duplicate key", error.message());

    // The same key in different objects is no repeat.
    EXPECT_TRUE(parseJson(R"({"p1_main": {"in_w": 1}, "p1_auxi": {"in_w": 2}, "in_w": 3})", value, error))
        << error.message();
    EXPECT_EQ(2, value["p1_auxi"]["in_w"]);
}

TEST_F(ConfigErrorTest, SyntaxErrorsGiveTheirPosition) {
    Json value;
    JsonError error;
    EXPECT_FALSE(parseJson("{\n  \"dpe_w\": 640,\n  \"dpe_h\": ,\n}", value, error));
    EXPECT_EQ("dpe_h", error.key);
    EXPECT_NE(std::string::npos, error.problem.find("line 3")) << error.problem;
}

}  // namespace
}  // namespace cli
}  // namespace velmo
