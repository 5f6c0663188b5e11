// showLog's line splitting and the configuration debug dumps.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gensize/GenSize.h"
#include "gensize/SizingConfig.h"
#include "support/LogCapture.h"

namespace {

using velmo::testing::LogCapture;

// Pieces are cut before the first newline from byte 900 of what is left, or
// at 1024 bytes when there is none; every piece goes out under the library's tag.
TEST(ShowLog, CutsEachPieceAtTheFirstNewlineFromItsByte900) {
    struct Case {
        std::size_t size;
        std::vector<std::size_t> newlines;
        std::vector<std::size_t> pieces;
    };
    const Case cases[] = {
        {1024, {}, {1024}},
        {1025, {899, 950, 1000}, {950, 75}},  // 899 is too early to cut at
        {1500, {1200}, {1200, 300}},          // a late cut gives a piece over 1024
        {3000, {500}, {1024, 1024, 952}},
        {2600, {1000, 1950}, {1000, 950, 650}},  // 950 bytes into the remainder
    };
    for (const Case& k : cases) {
        std::string text(k.size, 'a');
        for (std::size_t at : k.newlines) text[at] = '\n';
        LogCapture log;
        showLog(text);
        std::vector<std::size_t> sizes;
        std::string joined;
        for (const auto& line : log.lines()) {
            sizes.push_back(line.text.size());
            joined += line.text;
            EXPECT_EQ(line.tag, "GenSize");
            EXPECT_EQ(line.module, 0x10004001);
        }
        EXPECT_EQ(sizes, k.pieces) << k.size;
        EXPECT_EQ(joined, text) << k.size;
    }
}

// ---- configuration debug dumps -------------------------------------------------

// A label line followed by the pieces showLog makes of a dump (its splitting
// is tested above).
void appendSection(std::vector<std::string>& lines, const char* label, const std::string& dump) {
    lines.push_back(label);
    LogCapture log;
    showLog(dump);
    for (const std::string& piece : log.texts()) lines.push_back(piece);
}

class InitDebugLog : public ::testing::Test {
protected:
    void TearDown() override { GENSIZE::debugLevel = 0; }
};

STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT sampleConfig() {
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT in = velmo::testing::dualTwelveMegapixel(2);
    in.ai_tracking_w = 320;
    in.ai_tracking_h = 180;
    in.has_mdp = -1;
    in.module_orient = 1;
    in.module_angle = 0.5f;
    in.align_wpe_out_w = 32;
    in.align_fe_in_h = 8;
    return in;
}

TEST_F(InitDebugLog, InputDumpShowsSensorsAndAddsSummariesFromLevel2) {
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT in = sampleConfig();
    std::vector<std::string> sensorPart = {"[GensizeProc][STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT][DEBUG]\n"};
    appendSection(sensorPart, "[GenSizeProc] ====== sensor_main ======\n", in.sensor_main.toString());
    appendSection(sensorPart, "[GenSizeProc] ====== sensor_auxi ======\n", in.sensor_auxi.toString());
    ASSERT_EQ(sensorPart.size(), 7u);  // each sensor dump is a little over 1024 bytes
    {
        LogCapture log;
        GENSIZE::debugLevel = 1;
        show_init_in_log(in);
        EXPECT_EQ(log.texts(), sensorPart);
    }
    LogCapture log;
    GENSIZE::debugLevel = 2;
    show_init_in_log(in);
    std::vector<std::string> expected = sensorPart;
    expected.push_back(
        "[GenSizeProc] ai_depth_enable: 0, ai_depth_temporal_enable: 0, rrz_output_main_w: 1920, rrz_output_main_h: "
        "1080, p1_fe_main_w: 1280, p1_fe_main_h: 720, dpe_w: 640, dpe_h: 360,         dpe_w_rot: 360, dpe_h_rot : "
        "640, ai_tracking_w : 320, ai_tracking_h : 180\n");
    expected.push_back(
        "[GenSizeProc] has_mdp: -1, module_layout: 0, module_orient: 1, flow_rotate_type: 0, enable_gpu: 0, "
        "only_crop_ratio: 0, module_angle: 0.500000, module_variation: 1.000000, focal_length: 4.500000, baseline: "
        "12.000000,         cell_size: 1.000000, dpe_cand_num: 32, dpe_dv_lsb_sft: 0\n");
    expected.push_back(
        "[GenSizeProc] align_wpe_in_w: 64, align_wpe_out_w: 32, align_dpe_in_w: 16, align_dpe_out_w: 64, "
        "align_ai_depth_in_w: 16, align_ai_depth_in_h: 16, align_gpu_in_w: 64, align_gpu_in_h: 2,         "
        "align_fe_in_w: 16, align_fe_in_h: 8\n");
    EXPECT_EQ(log.texts(), expected);
}

}  // namespace
