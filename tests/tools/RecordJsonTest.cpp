// JSON form of the GenSize records as velmo-util reads and writes it. (The
// key names themselves are checked by the commands reading the data folder.)

#include <gtest/gtest.h>

#include <cfloat>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "DefaultConfig.h"
#include "RecordJson.h"

namespace velmo {
namespace cli {
namespace {

Json parsed(const std::string& text) {
    Json value;
    JsonError error;
    EXPECT_TRUE(parseJson(text, value, error)) << error.message();
    return value;
}

template <typename Record>
void expectRoundTrip(const Record& original) {
    const std::string text = toJson(original).dump();
    Record decoded{};
    JsonError error;
    ASSERT_TRUE(fromJson(parsed(text), decoded, error)) << error.message();
    EXPECT_EQ(0, std::memcmp(&original, &decoded, sizeof(Record))) << text;
}

// Every member of every record gets random 32-bit words, each a finite float
// (exponent not all ones), so integer and float members alike get a value
// that JSON can carry; then floats that are hard to print shortest.
TEST(RecordJsonTest, EveryFieldSurvivesARoundTripBitForBit) {
    std::mt19937 random(1);
    auto fill = [&random](auto& record) {
        static_assert(sizeof(record) % 4 == 0, "records are made of 32-bit members");
        for (std::size_t offset = 0; offset < sizeof(record); offset += 4) {
            uint32_t word = random();
            if ((word & 0x7f800000u) == 0x7f800000u) word ^= 0x00800000u;
            std::memcpy(reinterpret_cast<unsigned char*>(&record) + offset, &word, 4);
        }
        expectRoundTrip(record);
    };
    for (int i = 0; i < 20; ++i) {
        STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT initIn;
        STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT initOut;
        STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT procIn;
        STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT procOut;
        fill(initIn);
        fill(initOut);
        fill(procIn);
        fill(procOut);
    }
    for (float value : {0.1f, 1.0f / 3.0f, 66.1f, FLT_MAX, -FLT_MAX, FLT_MIN,
                        std::numeric_limits<float>::denorm_min(), -0.0f, 16777216.0f, 3.14159274f}) {
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
    const Json document = toJson(out);
    EXPECT_TRUE(document["zoom_constraint"].is_null());
    EXPECT_TRUE(document["dpe"]["working_range_to_disp"].is_null());
}

// The default configuration with one value set (or, for a null value, one key
// removed).
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

// (velmo-util's own tests see top-level repeats and syntax errors named.)
TEST(RecordJsonTest, RepeatedKeysAreNamedWithTheirPath) {
    Json value;
    JsonError error;
    EXPECT_FALSE(parseJson(R"({"dpe_w": 640, "sensor_main": {"fov_w": 66.1, "fov_h": 52.1, "fov_w": 70}})", value,
                           error));
    EXPECT_EQ("sensor_main.fov_w: duplicate key", error.message());
    // The same key in different objects is no repeat.
    EXPECT_EQ(2, parsed(R"({"p1_main": {"in_w": 1}, "p1_auxi": {"in_w": 2}, "in_w": 3})")["p1_auxi"]["in_w"]);
}

}  // namespace
}  // namespace cli
}  // namespace velmo
