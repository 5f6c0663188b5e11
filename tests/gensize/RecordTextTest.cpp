// Text dumps of the size records: line format, padding, print order, section
// headers and the 4096-byte overflow rule.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "gensize/GenSizeRecords.h"
#include "gensize/RecordText.h"

namespace {

using velmo::gensize::appendRecordText;
using velmo::gensize::FieldFormat;
using velmo::gensize::FieldKind;
using velmo::gensize::FieldLineWriter;
using velmo::gensize::NestedRecord;
using velmo::gensize::RecordLayout;

// "[type] name : value\n" lines as printf would write them, in the given order.
std::string intLines(const char* type, const std::vector<std::pair<const char*, int32_t>>& fields) {
    std::string text;
    char line[256];
    for (const auto& field : fields) {
        std::snprintf(line, sizeof line, "[%s] %-20s : %d\n", type, field.first, field.second);
        text += line;
    }
    return text;
}

TEST(RecordText, SmallRecordsPrintEveryFieldInOrder) {
    STEREO_KERNEL_GEN_SIZE_ME_STAGE_STRUCT me{320, -5};
    EXPECT_EQ(me.toString(), intLines("STEREO_KERNEL_GEN_SIZE_ME_STAGE_STRUCT", {{"mmap_w", 320}, {"mmap_h", -5}}));
    // The warp stage prints its rotation after the grids and the angle as a float.
    STEREO_KERNEL_GEN_SIZE_WPE_TRAW_STAGE_STRUCT wpe{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 90.5f};
    EXPECT_EQ(wpe.toString(),
              intLines("STEREO_KERNEL_GEN_SIZE_WPE_TRAW_STAGE_STRUCT",
                       {{"in_w", 1}, {"in_h", 2}, {"resize_w", 3}, {"resize_h", 4}, {"crop_x", 5}, {"crop_y", 6},
                        {"crop_w", 7}, {"crop_h", 8}, {"wpe_grid_in_w", 11}, {"wpe_grid_in_h", 12},
                        {"wpe_grid_w", 13}, {"wpe_grid_h", 14}, {"rot_w", 9}, {"rot_h", 10}}) +
                  "[STEREO_KERNEL_GEN_SIZE_WPE_TRAW_STAGE_STRUCT] module_angle         : 90.500000\n");
}

TEST(RecordText, ConfigurationDumpsOwnFieldsThenBothSensors) {
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT in{};
    in.sensor_main.pixel_array_width = 4000;
    in.sensor_auxi.pixel_array_width = 3264;
    in.ai_depth_temporal_enable = 1;
    in.feature_mode = 0x20001;
    in.has_mdp = -1;
    in.module_angle = 1.25f;
    in.sensor_auxi.fov_w = std::copysign(NAN, -1.0f);  // x86-64's printf would write "-nan"
    const std::string text = in.toString();
    const std::string sensors = "[STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT] ====== sensor_main ======\n" +
                                in.sensor_main.toString() +
                                "[STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT] ====== sensor_auxi ======\n" +
                                in.sensor_auxi.toString();
    ASSERT_GT(text.size(), sensors.size());
    const std::string own = text.substr(0, text.size() - sensors.size());
    EXPECT_EQ(text.substr(own.size()), sensors);
    // 34 own lines: 38 fields less the two sensors, feature_mode and has_mdp. Long names print whole.
    EXPECT_EQ(std::count(own.begin(), own.end(), '\n'), 34);
    EXPECT_TRUE(own.find("feature_mode") == std::string::npos && own.find("has_mdp") == std::string::npos);
    EXPECT_EQ(own.substr(own.size() - 65), "[STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT] align_fe_in_h        : 0\n");
    for (const char* line : {"[STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT] ai_depth_temporal_enable : 1\n",
                             "[STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT] module_angle         : 1.250000\n",
                             "[STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT] pixel_array_width    : 4000\n",
                             "[STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT] fov_w                : nan\n"}) {
        EXPECT_NE(text.find(line), std::string::npos) << line;
    }
}

TEST(RecordText, OutputRecordNestsCamerasStagesAndHeadersVerbatim) {
    STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT out{};
    out.zoom_constraint = 2.5f;
    out.slanted_en = 1;
    out.main.rrz.in_w = 4000;
    out.main.wpe_grid_h = 7;
    out.me.mmap_w = 144;

    EXPECT_EQ(out.main.toString(),
              "[STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT] zoom_maximum         : 0.000000\n" +
                  intLines("STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT",
                           {{"crop_flag", 0}, {"rect_in_w", 0}, {"rect_in_h", 0}, {"wpe_grid_in_w", 0},
                            {"wpe_grid_in_h", 0}, {"wpe_grid_w", 0}, {"wpe_grid_h", 7}}) +
                  "[STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT] ====== rrz ====== \n" + out.main.rrz.toString() +
                  "[STEREO_KERNEL_GEN_SIZE_P1_STAGE_STRUCT] ====== p1======\n" + out.main.p1.toString() +
                  "[STEREO_KERNEL_GEN_SIZE_FE_STAGE_STRUCT] ====== fe_b======\n" + out.main.fe_b.toString() +
                  "[STEREO_KERNEL_GEN_SIZE_FE_STAGE_STRUCT] ====== fe_c======\n" + out.main.fe_c.toString() +
                  "[STEREO_KERNEL_GEN_SIZE_WPE_TRAW_STAGE_STRUCT] ====== wpe_traw_setting======\n" +
                  out.main.wpe_traw_setting.toString());
    EXPECT_EQ(out.toString(),
              "[STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT] zoom_constraint      : 2.500000\n"
              "[STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT] slanted_en           : 1\n"
              "[STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT] ********** main **********\n" +
                  out.main.toString() + "[STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT] ********** auxi **********\n" +
                  out.auxi.toString() + "[STEREO_KERNEL_GEN_SIZE_DPE_STAGE_STRUCT] ********** dpe **********\n" +
                  out.dpe.toString() + "[STEREO_KERNEL_GEN_SIZE_ME_STAGE_STRUCT] ********** me **********\n" +
                  out.me.toString());
}

// The lines are formatted without printf; they must read exactly as
// printf("[%s] %-20s : %d\n") and "%f" would write them.
TEST(RecordText, LinesReadAsPrintfWouldWriteThem) {
    char buffer[256];
    char expected[256];
    const float floats[] = {0.0f, -0.0f, 5e-7f, 1.5e-6f, -2.5e-6f, 0.1f, 15.8125f, 1234567.875f, 3.0e38f,
                            -3.4028235e38f, 1e-45f, INFINITY, -INFINITY};
    for (float value : floats) {
        FieldLineWriter writer(buffer, sizeof buffer, "STEREO_KERNEL_GEN_SIZE_DPE_STAGE_STRUCT");
        writer.add("working_range_to_disp", value);
        std::snprintf(expected, sizeof expected, "[%s] %-20s : %f\n", "STEREO_KERNEL_GEN_SIZE_DPE_STAGE_STRUCT",
                      "working_range_to_disp", static_cast<double>(value));
        EXPECT_STREQ(writer.text(), expected) << value;
        EXPECT_EQ(writer.length(), std::strlen(expected));
    }
    const int32_t ints[] = {0, -1, 7, 4096, 2147483647, -2147483647 - 1};
    for (int32_t value : ints) {
        FieldLineWriter writer(buffer, sizeof buffer, "T");
        writer.add("x", value);
        std::snprintf(expected, sizeof expected, "[%s] %-20s : %d\n", "T", "x", value);
        EXPECT_STREQ(writer.text(), expected) << value;
    }
}

// ---- overflow ----------------------------------------------------------------

// 140 lines of 29 bytes plus one whose name is `extra` characters beyond the
// padded 20: the text is 4060 + 29 + extra bytes long.
std::vector<FieldFormat> linesOf29Plus(const char* longName) {
    std::vector<FieldFormat> fields(140, FieldFormat{"a", FieldKind::Int32, 0});
    fields.push_back(FieldFormat{longName, FieldKind::Int32, 0});
    return fields;
}

TEST(RecordTextOverflow, OwnLinesMustStayBelow4096Bytes) {
    const int32_t seven = 7;
    // 4060 + 35 = 4095 bytes: the terminator still fits, and nothing more.
    const std::vector<FieldFormat> fits = linesOf29Plus("abcdefghijklmnopqrstuvwxyz");  // 26 = 20 + 6
    const RecordLayout fitsLayout{"T", fits.data(), fits.size(), nullptr, 0};
    std::string text;
    appendRecordText(text, fitsLayout, &seven);
    EXPECT_EQ(text.size(), 4095u);
    EXPECT_EQ(text.substr(0, 29), "[T] a                    : 7\n");
    EXPECT_EQ(text.substr(text.size() - 35), "[T] abcdefghijklmnopqrstuvwxyz : 7\n");

    // One more byte and the last line no longer fits: the whole text is "error\n".
    const std::vector<FieldFormat> overflows = linesOf29Plus("abcdefghijklmnopqrstuvwxyz0");
    const RecordLayout overflowLayout{"T", overflows.data(), overflows.size(), nullptr, 0};
    text.clear();
    appendRecordText(text, overflowLayout, &seven);
    EXPECT_EQ(text, "error\n");
}

TEST(RecordTextOverflow, FailingNestedRecordRendersAsErrorInsideItsParent) {
    struct Pair {
        int32_t outer;
        int32_t inner;
    } pair{1, 2};
    const FieldFormat outerFields[] = {{"outer", FieldKind::Int32, offsetof(Pair, outer)}};
    const FieldFormat innerFields[] = {{"inner", FieldKind::Int32, offsetof(Pair, inner)},
                                       {"inner", FieldKind::Int32, offsetof(Pair, inner)}};
    const RecordLayout inner{"I", innerFields, 2, nullptr, 0};
    const NestedRecord nested[] = {{"-- inner --\n", &inner, 0}, {"-- again --\n", &inner, 0}};
    const RecordLayout outer{"O", outerFields, 1, nested, 2};

    // 40 bytes hold one 29-byte line, not two: the parent survives, each nested dump fails.
    std::string text;
    appendRecordText(text, outer, &pair, 40);
    EXPECT_EQ(text, "[O] outer                : 1\n-- inner --\nerror\n-- again --\nerror\n");

    text.clear();
    appendRecordText(text, outer, &pair, 60);
    EXPECT_EQ(text,
              "[O] outer                : 1\n-- inner --\n"
              "[I] inner                : 2\n[I] inner                : 2\n"
              "-- again --\n"
              "[I] inner                : 2\n[I] inner                : 2\n");
}

}  // namespace
