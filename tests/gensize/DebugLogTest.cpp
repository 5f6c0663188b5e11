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

// The lines showLog makes of `text` (its splitting is tested above).
std::vector<std::string> shown(const std::string& text) {
    LogCapture log;
    showLog(text);
    return log.texts();
}

// A label line followed by a dump through showLog.
void appendSection(std::vector<std::string>& lines, const char* label, const std::string& dump) {
    lines.push_back(label);
    for (const std::string& piece : shown(dump)) lines.push_back(piece);
}

class InitDebugLog : public ::testing::Test {
protected:
    void TearDown() override { GENSIZE::debugLevel = 0; }
};

STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT sampleConfig() {
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT in = velmo::testing::dualTwelveMegapixel(2);
    in.ai_depth_enable = 1;
    in.ai_tracking_w = 320;
    in.ai_tracking_h = 180;
    in.has_mdp = -1;
    in.module_layout = 2;
    in.module_orient = 1;
    in.flow_rotate_type = 1;
    in.only_crop_ratio = 1;
    in.module_angle = 0.5f;
    in.focal_length = 4.25f;
    in.baseline = 12.5f;
    in.dpe_cand_num = 64;
    in.dpe_dv_lsb_sft = 1;
    in.align_wpe_out_w = 32;
    in.align_dpe_out_w = 128;
    in.align_ai_depth_in_w = 8;
    in.align_ai_depth_in_h = 4;
    in.align_gpu_in_w = 256;
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
        "[GenSizeProc] ai_depth_enable: 1, ai_depth_temporal_enable: 0, rrz_output_main_w: 1920, rrz_output_main_h: "
        "1080, p1_fe_main_w: 1280, p1_fe_main_h: 720, dpe_w: 640, dpe_h: 360,         dpe_w_rot: 360, dpe_h_rot : "
        "640, ai_tracking_w : 320, ai_tracking_h : 180\n");
    expected.push_back(
        "[GenSizeProc] has_mdp: -1, module_layout: 2, module_orient: 1, flow_rotate_type: 1, enable_gpu: 0, "
        "only_crop_ratio: 1, module_angle: 0.500000, module_variation: 1.000000, focal_length: 4.250000, baseline: "
        "12.500000,         cell_size: 1.000000, dpe_cand_num: 64, dpe_dv_lsb_sft: 1\n");
    expected.push_back(
        "[GenSizeProc] align_wpe_in_w: 64, align_wpe_out_w: 32, align_dpe_in_w: 16, align_dpe_out_w: 128, "
        "align_ai_depth_in_w: 8, align_ai_depth_in_h: 4, align_gpu_in_w: 256, align_gpu_in_h: 2,         "
        "align_fe_in_w: 16, align_fe_in_h: 8\n");
    EXPECT_EQ(log.texts(), expected);
}

STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT sampleOutput() {
    STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT out{};
    out.zoom_constraint = 1.5f;
    out.slanted_en = 1;
    out.working_range = 250.25f;
    out.main.zoom_maximum = 2.0f;
    out.main.rect_in_w = 640;
    out.main.rect_in_h = 360;
    out.main.wpe_grid_w = 4;
    out.main.wpe_grid_h = 4;
    out.main.wpe_img_rotate_type = 3;
    out.main.rrz.in_w = 4000;
    out.auxi.zoom_maximum = 1.5f;
    out.auxi.crop_flag = 1;
    out.auxi.rect_in_w = 704;
    out.auxi.rect_in_h = 396;
    out.auxi.wpe_grid_w = 352;
    out.auxi.wpe_grid_h = 224;
    out.auxi.wpe_img_rotate_type = 1;
    out.auxi.rrz.in_w = 3264;
    out.dpe.dpe_frm_w = 768;
    out.me.mmap_w = 384;
    return out;
}

TEST_F(InitDebugLog, OutputDumpShowsResizersAndAddsStagesFromLevel2) {
    STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT out = sampleOutput();
    std::vector<std::string> rrzPart = {
        "[GensizeProc][STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT][DEBUG]\n",
        "[GenSizeProc] zoom_constraint: 1.500000, slanted_en: 1, working_range: 250.250000",
    };
    appendSection(rrzPart, "[GenSizeProc] main rrz_init\n", out.main.rrz.toString());
    appendSection(rrzPart, "[GenSizeProc] auxi rrz_init\n", out.auxi.rrz.toString());
    {
        LogCapture log;
        GENSIZE::debugLevel = 0;  // the caller decides whether to dump at all
        show_init_out_log(out);
        EXPECT_EQ(log.texts(), rrzPart);
    }
    std::vector<std::string> expected = rrzPart;
    appendSection(expected, "[GenSizeProc] main wpe_traw_init\n", out.main.wpe_traw_setting.toString());
    appendSection(expected, "[GenSizeProc] sub wpe_traw_init\n", out.auxi.wpe_traw_setting.toString());
    appendSection(expected, "[GenSizeProc] main p1_init\n", out.main.p1.toString());
    appendSection(expected, "[GenSizeProc] auxi p1_init\n", out.auxi.p1.toString());
    appendSection(expected, "[GenSizeProc] main fe_b_init\n", out.main.fe_b.toString());
    appendSection(expected, "[GenSizeProc] main fe_c_init\n", out.main.fe_c.toString());
    appendSection(expected, "[GenSizeProc] auxi fe_b_init\n", out.auxi.fe_b.toString());
    appendSection(expected, "[GenSizeProc] auxi fe_c_init\n", out.auxi.fe_c.toString());
    expected.push_back(
        "[GenSizeProc] main zoom_maximum: 2.000000, crop_flag: 0, rect_in_w: 640, rect_in_h: 360, wpe_grid_w: 4, "
        "wpe_grid_h: 4, wpe_img_rotate_type: 3\n");
    expected.push_back(
        "[GenSizeProc] auxi zoom_maximum: 1.500000, crop_flag: 1, rect_in_w: 704, rect_in_h: 396, wpe_grid_w: 352, "
        "wpe_grid_h: 224, wpe_img_rotate_type: 1\n");
    appendSection(expected, "[GenSizeProc] dpe_init\n", out.dpe.toString());
    appendSection(expected, "[GenSizeProc] me_init\n", out.dpe.toString());  // the motion map is never dumped here

    LogCapture log;
    GENSIZE::debugLevel = 3;
    show_init_out_log(out);
    EXPECT_EQ(log.texts(), expected);
}

}  // namespace
