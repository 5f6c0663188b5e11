// showLog's line splitting and the configuration debug dumps.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gensize/GenSize.h"
#include "support/LogCapture.h"

namespace {

using velmo::testing::LogCapture;

std::vector<std::size_t> pieceSizes(const LogCapture& log) {
    std::vector<std::size_t> sizes;
    for (const auto& line : log.lines()) sizes.push_back(line.text.size());
    return sizes;
}

TEST(ShowLog, TextUpTo1024BytesIsOneLine) {
    LogCapture log;
    const std::string text(1024, 'a');
    showLog(text);
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0].text, text);
    EXPECT_EQ(log.lines()[0].tag, "GenSize");
    EXPECT_EQ(log.lines()[0].module, 0x10004001);
}

TEST(ShowLog, CutsBeforeTheFirstNewlineFromByte900) {
    LogCapture log;
    std::string text(1025, 'b');
    text[899] = '\n';  // before byte 900: not a cut point
    text[950] = '\n';
    text[1000] = '\n';
    showLog(text);
    ASSERT_EQ(pieceSizes(log), (std::vector<std::size_t>{950, 75}));
    EXPECT_EQ(log.lines()[0].text, text.substr(0, 950));
    EXPECT_EQ(log.lines()[1].text, text.substr(950));
}

TEST(ShowLog, CutBeyond1024BytesGivesALongerPiece) {
    LogCapture log;
    std::string text(1500, 'c');
    text[1200] = '\n';
    showLog(text);
    EXPECT_EQ(pieceSizes(log), (std::vector<std::size_t>{1200, 300}));
}

TEST(ShowLog, TextWithoutNewlineGoesOutIn1024BytePieces) {
    LogCapture log;
    std::string text(3000, 'd');
    text[500] = '\n';  // too early to cut at
    showLog(text);
    ASSERT_EQ(pieceSizes(log), (std::vector<std::size_t>{1024, 1024, 952}));
    EXPECT_EQ(log.lines()[0].text + log.lines()[1].text + log.lines()[2].text, text);
}

TEST(ShowLog, EachLaterPieceIsCutAgainFromItsOwnByte900) {
    LogCapture log;
    std::string text(2600, 'e');
    text[1000] = '\n';  // first cut
    text[1950] = '\n';  // 950 bytes into the remainder
    showLog(text);
    EXPECT_EQ(pieceSizes(log), (std::vector<std::size_t>{1000, 950, 650}));
}

TEST(ShowLog, LongRecordDumpIsSplitAtLineEnds) {
    STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT out{};
    const std::string text = out.toString();
    ASSERT_GT(text.size(), 2048u);
    LogCapture log;
    showLog(text);
    std::string joined;
    for (std::size_t i = 0; i < log.lines().size(); ++i) {
        const std::string& piece = log.lines()[i].text;
        EXPECT_LE(piece.size(), 1024u);
        if (i > 0) {
            EXPECT_EQ(piece.front(), '\n');
        }
        joined += piece;
    }
    EXPECT_GE(log.lines().size(), 3u);
    EXPECT_EQ(joined, text);
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
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT in{};
    in.sensor_main.pixel_array_width = 4000;
    in.sensor_auxi.pixel_array_width = 3264;
    in.ai_depth_enable = 1;
    in.ai_depth_temporal_enable = 0;
    in.rrz_output_main_w = 1920;
    in.rrz_output_main_h = 1080;
    in.p1_fe_main_w = 1280;
    in.p1_fe_main_h = 720;
    in.dpe_w = 640;
    in.dpe_h = 360;
    in.dpe_w_rot = 360;
    in.dpe_h_rot = 640;
    in.ai_tracking_w = 320;
    in.ai_tracking_h = 180;
    in.has_mdp = -1;
    in.module_layout = 2;
    in.module_orient = 1;
    in.flow_rotate_type = 1;
    in.enable_gpu = 0;
    in.only_crop_ratio = 1;
    in.module_angle = 0.5f;
    in.module_variation = 1.0f;
    in.focal_length = 4.25f;
    in.baseline = 12.5f;
    in.cell_size = 1.0f;
    in.dpe_cand_num = 64;
    in.dpe_dv_lsb_sft = 1;
    in.align_wpe_in_w = 64;
    in.align_wpe_out_w = 32;
    in.align_dpe_in_w = 16;
    in.align_dpe_out_w = 128;
    in.align_ai_depth_in_w = 8;
    in.align_ai_depth_in_h = 4;
    in.align_gpu_in_w = 256;
    in.align_gpu_in_h = 2;
    in.align_fe_in_w = 16;
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
