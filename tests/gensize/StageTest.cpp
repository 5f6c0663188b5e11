// The four stage setters and the FE fitting loop, each on a prepared output
// record. Expected sizes are worked out by hand next to each case.

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gensize/GenSize.h"
#include "gensize/GenSizeInternal.h"
#include "support/LogCapture.h"
#include "SizingConfig.h"

namespace {

using velmo::testing::LogCapture;
using velmo::testing::plainConfig;
using Config = STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT;
using Output = STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT;

// An output record full of a recognisable pattern, so a field the setter
// should have written but did not stands out.
Output dirtyOutput() {
    Output out;
    std::memset(&out, 0x55, sizeof out);
    return out;
}

// ---- SetFE_Main --------------------------------------------------------------

// Any non-zero OIS flag selects the dense grid here (unlike the DPE margin,
// which needs exactly 1); FE-C halves everything, the rotation buffer too.
TEST(SetFeMain, OisGridAndHalfResolutionCopy) {
    Config cfg = plainConfig();
    cfg.sensor_main.isOISon = 2;
    cfg.sensor_auxi.isOISon = 0;
    Output out = dirtyOutput();
    EXPECT_EQ(SetFE_Main(out, cfg, 960, 540, 1185), 0);

    const auto& c = out.main.fe_c;
    EXPECT_EQ((std::vector<int>{c.in_w, c.in_h, c.offset_x, c.offset_y, c.usage_w, c.usage_h, c.rot_w, c.rot_h}),
              (std::vector<int>{480, 270, 0, 0, 480, 270, 592, 592}));
    EXPECT_EQ(out.auxi.fe_c.rot_w, 592);
    EXPECT_EQ((std::vector<int>{out.main.fe_b.grid_w, out.main.fe_c.grid_h, out.main.wpe_grid_in_w}),
              (std::vector<int>{28, 28, 28}));
    EXPECT_EQ((std::vector<int>{out.auxi.fe_b.grid_w, out.auxi.fe_c.grid_h, out.auxi.wpe_grid_in_h}),
              (std::vector<int>{4, 4, 4}));
    EXPECT_EQ(out.auxi.fe_b.in_w, 0x55555555);  // sized later, by SetRRZ_AuxiFEnRect
}

// ---- SetRRZ_AuxiFEnRect ------------------------------------------------------

// The state GenSizeInit sets up before its loop calls the setter: the main
// depth input and the main FE of the round.
Output resizerInput(Config& cfg, int w, int h) {
    Output out = dirtyOutput();
    out.main.rect_in_w = 640;
    out.main.rect_in_h = 360;
    SetFE_Main(out, cfg, w, h, 1184);
    return out;
}

std::vector<int> rrzWindow(const STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT& r) {
    return {r.in_w, r.in_h, r.offset_x, r.offset_y, r.usage_w, r.usage_h, r.out_w, r.out_h};
}

TEST(SetRrzAuxiFeRect, DepthRangeAndPadding) {
    struct Case {
        int candidates, lsbShift, padding;
        float toDisp;
        const char* fbLine;
        const char* rangeLine;
    };
    // fb = 4 x 12 x 10000 / 6.25 x N with N = 16 (shift 0) or 8.
    const Case cases[] = {
        {32, 0, 32, 15.8125f, "[GenSizeInit] Estimated fb            : 1228800.00 mm.pixel\n",
         "[GenSizeInit] Estimated working range : 4857 to 76800 mm\n"},
        {33, 3, 64, 31.625f, "[GenSizeInit] Estimated fb            : 614400.00 mm.pixel\n",
         "[GenSizeInit] Estimated working range : 2428 to 76800 mm\n"},
    };
    for (const Case& k : cases) {
        Config cfg = plainConfig();
        cfg.dpe_cand_num = k.candidates;
        cfg.dpe_dv_lsb_sft = k.lsbShift;
        Output out = resizerInput(cfg, 960, 540);
        LogCapture log;
        EXPECT_EQ(SetRRZ_AuxiFEnRect(out, cfg, 960, 540, 1.0f, 1.0f), 0);
        EXPECT_EQ(out.dpe.dpe_padding, k.padding);
        EXPECT_EQ(out.dpe.working_range_to_disp, k.toDisp);
        ASSERT_EQ(log.texts(), (std::vector<std::string>{k.fbLine, k.rangeLine}));
        EXPECT_EQ(log.lines()[0].tag, "GenSize");
    }
}

TEST(SetRrzAuxiFeRect, VerticalModuleTakesPixelSizeFromHeights) {
    Config cfg = plainConfig();
    cfg.module_orient = 1;
    cfg.sensor_main.sensor_scale_h = 1500;  // binned 2x vertically
    // p = 1 / (1500 / 3000) x 3000 / 640 = 9.375; fb = 480000 / 9.375 x 16.
    Output out = resizerInput(cfg, 960, 540);
    LogCapture log;
    SetRRZ_AuxiFEnRect(out, cfg, 960, 540, 1.0f, 1.0f);
    ASSERT_GE(log.lines().size(), 2u);
    EXPECT_EQ(log.texts()[0], "[GenSizeInit] Estimated fb            : 819200.00 mm.pixel\n");
    EXPECT_EQ(log.texts()[1], "[GenSizeInit] Estimated working range : 3238 to 51200 mm\n");
    EXPECT_FLOAT_EQ(out.working_range, 819200.0f / 253.0f);
}

TEST(SetRrzAuxiFeRect, FullOverlapKeepsTheWholeAuxiliaryView) {
    Config cfg = plainConfig();
    Output out = resizerInput(cfg, 960, 540);
    out.main.crop_flag = 7;
    SetRRZ_AuxiFEnRect(out, cfg, 960, 540, 1.0f, 1.0f);

    EXPECT_EQ(out.main.crop_flag, 0);
    EXPECT_EQ(out.auxi.crop_flag, 0);
    // Usage 4000 wide, 4000 x 1080 / 1920 = 2250 high, centred in 3000.
    EXPECT_EQ(rrzWindow(out.main.rrz), (std::vector<int>{4000, 3000, 0, 375, 4000, 2250, 1920, 1080}));
    EXPECT_EQ(rrzWindow(out.auxi.rrz), (std::vector<int>{4000, 3000, 0, 375, 4000, 2250, 960, 540}));
    // Zoom limit min(4000 / 960, 2250 / 540) on both cameras.
    EXPECT_FLOAT_EQ(out.main.zoom_maximum, 4000.0f / 960.0f);
    EXPECT_FLOAT_EQ(out.auxi.zoom_maximum, 4000.0f / 960.0f);
    // Auxiliary depth input 64 x round(640 / 64), 2 x round(360 / 640 x 640 / 2).
    EXPECT_EQ(out.auxi.rect_in_w, 640);
    EXPECT_EQ(out.auxi.rect_in_h, 360);
}

// Module tolerance -10 degrees: k = (tan 35 + 12 / 4857) / tan 45 = 0.7027.
// r = k, aux_w = 64 x ceil(960 x 0.7027 / 64) = 704, q = 704 / 960 = 0.7333,
// aux_h = 4 x ceil(540 / 960 x 704 / 4) = 396. The auxiliary usage keeps
// c = q of the width: ceil2(0.7333 x 4000) = 2934, ceil2(2934 x 1080 / 1920 =
// 1650.4) = 1652, offsets (4000 - 2934) / 2 = 533 and (3000 - 1652) / 2 = 674.
TEST(SetRrzAuxiFeRect, PartialOverlapCropsTheAuxiliaryResizer) {
    Config cfg = plainConfig();
    cfg.module_variation = -10.0f;
    Output out = resizerInput(cfg, 960, 540);
    SetRRZ_AuxiFEnRect(out, cfg, 960, 540, 1.0f, 1.0f);

    EXPECT_EQ(out.auxi.crop_flag, 1);
    EXPECT_EQ(rrzWindow(out.auxi.rrz), (std::vector<int>{4000, 3000, 533, 674, 2934, 1652, 704, 396}));
    EXPECT_FLOAT_EQ(out.auxi.zoom_maximum, 2934.0f / 704.0f);
    EXPECT_FLOAT_EQ(out.zoom_constraint, 4000.0f / 960.0f);
    // 64 x round(0.7333 x 640 / 64 = 7.33) = 448; 2 x round(0.5625 x 448 / 2) = 252.
    EXPECT_EQ(out.auxi.rect_in_w, 448);
    EXPECT_EQ(out.auxi.rect_in_h, 252);
    // The auxiliary FE never gets smaller than the main one.
    EXPECT_EQ(out.auxi.p1.fe_w, 960);
    EXPECT_EQ(out.auxi.p1.fe_h, 540);

    cfg.enable_gpu = 1;  // height alignment 16: 16 x round(252 / 16 = 15.75)
    SetRRZ_AuxiFEnRect(out, cfg, 960, 540, 1.0f, 1.0f);
    EXPECT_EQ(out.auxi.rect_in_w, 448);
    EXPECT_EQ(out.auxi.rect_in_h, 256);

    cfg.enable_gpu = 0;
    cfg.only_crop_ratio = 1;  // the whole usable width again, still flagged
    SetRRZ_AuxiFEnRect(out, cfg, 960, 540, 1.0f, 1.0f);
    EXPECT_EQ(out.auxi.crop_flag, 1);
    EXPECT_EQ(rrzWindow(out.auxi.rrz), (std::vector<int>{4000, 3000, 0, 375, 4000, 2250, 704, 396}));
}

TEST(SetRrzAuxiFeRect, TwoPixelFactorsDivideTheZoomLimits) {
    Config cfg = plainConfig();
    Output out = resizerInput(cfg, 960, 540);
    SetRRZ_AuxiFEnRect(out, cfg, 960, 540, 2.0f, 1.0f);
    EXPECT_FLOAT_EQ(out.main.zoom_maximum, 4000.0f / 1920.0f);
    EXPECT_FLOAT_EQ(out.auxi.zoom_maximum, 4000.0f / 960.0f);
    EXPECT_FLOAT_EQ(out.zoom_constraint, 4000.0f / 1920.0f);
}

// An odd usable width: the even usage is one pixel wider than the image. The
// main offset is an unsigned difference shifted right (wraps to 2^31 - 1); the
// auxiliary one is a signed half clamped at 0.
TEST(SetRrzAuxiFeRect, OddUsableWidthWrapsOnlyTheMainOffset) {
    Config cfg = plainConfig();
    for (auto* s : {&cfg.sensor_main, &cfg.sensor_auxi}) {
        s->pixel_array_width = s->sensor_size_w0 = s->sensor_scale_w = 4001;
    }
    cfg.only_crop_ratio = 1;
    Output out = resizerInput(cfg, 960, 540);
    SetRRZ_AuxiFEnRect(out, cfg, 960, 540, 1.0f, 1.0f);
    // ceil2(4001) = 4002; ceil2(4002 x 1080 / 1920 = 2251.1) = 2252.
    EXPECT_EQ(rrzWindow(out.main.rrz), (std::vector<int>{4001, 3000, 2147483647, 374, 4002, 2252, 1920, 1080}));
    EXPECT_EQ(out.auxi.rrz.offset_x, 0);
    EXPECT_EQ(out.auxi.rrz.offset_y, 374);
    EXPECT_EQ(out.auxi.rrz.usage_w, 4002);
}

TEST(SetRrzAuxiFeRect, ShortUsableImageLimitsTheHeight) {
    Config cfg = plainConfig();
    cfg.sensor_main.sensor_offset_y1 = 500;
    cfg.sensor_main.tg_offset_y = 100;  // usable 3000 - 2 x 600 = 1800 high
    Output out = resizerInput(cfg, 960, 540);
    SetRRZ_AuxiFEnRect(out, cfg, 960, 540, 1.0f, 1.0f);
    // 2250 > 1800: usage 1800 high, ceil2(1800 x 1920 / 1080) = 3200 wide.
    EXPECT_EQ(rrzWindow(out.main.rrz), (std::vector<int>{4000, 1800, 400, 0, 3200, 1800, 1920, 1080}));
}

// A wider auxiliary camera (100 degrees): A_auxi = 50, k = 1.0025 / tan 50 =
// 0.841, r = tan 50 x k / tan 45 = 1.0025, aux_w = 64 x ceil(962.4 / 64) =
// 1024, aux_h = 4 x ceil(0.5625 x 1024 / 4) = 576. The main FE window sits
// centred in it; a vertical module swaps the FE input, and an offset that
// would be negative is clamped to 0.
TEST(SetRrzAuxiFeRect, AuxiliaryFeatureCentresTheMainWindow) {
    Config cfg = plainConfig();
    cfg.sensor_auxi.fov_w = cfg.sensor_auxi.fov_h = 100.0f;
    Output out = resizerInput(cfg, 960, 540);
    SetRRZ_AuxiFEnRect(out, cfg, 960, 540, 1.0f, 1.0f);
    EXPECT_EQ(out.auxi.crop_flag, 1);
    EXPECT_EQ(out.auxi.p1.fe_w, 1024);
    EXPECT_EQ(out.auxi.p1.fe_h, 576);
    const auto& b = out.auxi.fe_b;
    EXPECT_EQ((std::vector<int>{b.in_w, b.in_h, b.offset_x, b.offset_y, b.usage_w, b.usage_h}),
              (std::vector<int>{1024, 576, 32, 18, 960, 540}));
    const auto& c = out.auxi.fe_c;
    EXPECT_EQ((std::vector<int>{c.in_w, c.in_h, c.offset_x, c.offset_y, c.usage_w, c.usage_h}),
              (std::vector<int>{512, 288, 16, 9, 480, 270}));

    cfg.module_orient = 2;  // any non-zero orientation swaps the FE input
    SetRRZ_AuxiFEnRect(out, cfg, 960, 540, 1.0f, 1.0f);
    EXPECT_EQ((std::vector<int>{b.in_w, b.in_h, b.offset_x, b.offset_y, b.usage_w, b.usage_h}),
              (std::vector<int>{576, 1024, 0, 242, 960, 540}));
    EXPECT_EQ(c.offset_x, 0);
    EXPECT_EQ(c.offset_y, 121);
}

TEST(SetRrzAuxiFeRect, VerticalModuleScalesTheOtherSideUnlessMdpTurns) {
    Config cfg = plainConfig();
    cfg.module_variation = -10.0f;
    cfg.module_orient = 1;
    Output out = resizerInput(cfg, 960, 540);
    SetRRZ_AuxiFEnRect(out, cfg, 960, 540, 1.0f, 1.0f);
    // (x, y) = (360, 640): 64 x round(0.7333 x 360 / 64 = 4.1) = 256;
    // 2 x round(640 / 360 x 256 / 2 = 227.6) = 456.
    EXPECT_EQ(out.auxi.rect_in_w, 256);
    EXPECT_EQ(out.auxi.rect_in_h, 456);

    cfg.has_mdp = 1;
    SetRRZ_AuxiFEnRect(out, cfg, 960, 540, 1.0f, 1.0f);
    EXPECT_EQ(out.auxi.rect_in_w, 448);
    EXPECT_EQ(out.auxi.rect_in_h, 252);
}

// ---- Set_WPE_TRAW ------------------------------------------------------------

Output warpInput() {
    Output out = dirtyOutput();
    out.main.p1.fe_w = 960;
    out.main.p1.fe_h = 540;
    out.main.fe_b.usage_w = 960;
    out.main.fe_b.usage_h = 540;
    out.main.fe_b.rot_w = out.main.fe_b.rot_h = 1184;
    out.auxi.p1.fe_w = 1024;
    out.auxi.p1.fe_h = 576;
    out.auxi.fe_b.offset_x = 32;
    out.auxi.fe_b.offset_y = 18;
    out.auxi.fe_b.usage_w = 960;
    out.auxi.fe_b.usage_h = 540;
    out.auxi.fe_b.rot_w = out.auxi.fe_b.rot_h = 1264;
    out.main.rect_in_w = 640;
    out.main.rect_in_h = 360;
    out.main.rrz.usage_w = 4000;
    out.main.rrz.usage_h = 2250;
    out.auxi.rect_in_w = 704;
    out.auxi.rect_in_h = 396;
    return out;
}

std::vector<int> warpWindow(const STEREO_KERNEL_GEN_SIZE_WPE_TRAW_STAGE_STRUCT& s) {
    return {s.in_w, s.in_h, s.resize_w, s.resize_h, s.crop_x, s.crop_y, s.crop_w, s.crop_h, s.rot_w, s.rot_h};
}

TEST(SetWpeTraw, WarpAngleFollowsOrientationAndRotateType) {
    struct Case {
        int orient, flow;
        float expected;
    };
    // Only module_orient == 1 turns by quarters; there any non-zero rotate
    // type means 270 degrees.
    const Case cases[] = {{1, 1, 270.0f}, {1, 2, 270.0f}, {1, 0, 90.0f}, {0, 1, 12.5f}, {2, 1, 12.5f}};
    for (const Case& k : cases) {
        Config cfg = plainConfig();
        cfg.module_orient = k.orient;
        cfg.flow_rotate_type = k.flow;
        cfg.module_angle = 12.5f;
        Output out = warpInput();
        EXPECT_EQ(Set_WPE_TRAW(out, cfg, 0, 0), 0);
        EXPECT_EQ(out.main.wpe_traw_setting.module_angle, k.expected) << k.orient << "/" << k.flow;
        EXPECT_EQ(out.auxi.wpe_traw_setting.module_angle, k.expected) << k.orient << "/" << k.flow;
    }
}

// The auxiliary crop is the main FE window inside the auxiliary FE, swapped
// for any non-zero orientation; only orientation 1 uses the window itself as
// the rotation size.
TEST(SetWpeTraw, CropAndRotationByOrientation) {
    struct Case {
        int orient;
        std::vector<int> auxi;
        int mainRotW;
    };
    const Case cases[] = {
        {0, {1920, 1080, 1024, 576, 32, 18, 960, 540, 1264, 1264}, 1184},
        {2, {1920, 1080, 1024, 576, 18, 32, 540, 960, 1264, 1264}, 1184},
        {1, {1920, 1080, 1024, 576, 18, 32, 540, 960, 960, 540}, 960},
    };
    for (const Case& k : cases) {
        Config cfg = plainConfig();
        cfg.module_orient = k.orient;
        Output out = warpInput();
        Set_WPE_TRAW(out, cfg, 0, 0);
        EXPECT_EQ(warpWindow(out.auxi.wpe_traw_setting), k.auxi) << k.orient;
        EXPECT_EQ(out.main.wpe_traw_setting.rot_w, k.mainRotW) << k.orient;
        // The main warp resizes P1's output to the FE size and crops nothing.
        EXPECT_EQ(warpWindow(out.main.wpe_traw_setting)[6], 960);
        EXPECT_EQ(out.main.p1.fe_w, 1920);  // P1 now carries its real output
        EXPECT_EQ(out.auxi.p1.depth_w, 704);
    }
}

TEST(SetWpeTraw, PortraitDepthInputTurnsForLandscapeResizer) {
    Config cfg = plainConfig();
    Output out = warpInput();
    out.main.rect_in_w = 360;
    out.main.rect_in_h = 640;
    Set_WPE_TRAW(out, cfg, 0, 0);
    EXPECT_EQ(out.main.p1.depth_w, 640);
    EXPECT_EQ(out.main.p1.depth_h, 360);

    out = warpInput();
    out.main.rect_in_w = 360;
    out.main.rect_in_h = 640;
    out.main.rrz.usage_w = 2250;
    out.main.rrz.usage_h = 4000;
    Set_WPE_TRAW(out, cfg, 0, 0);
    EXPECT_EQ(out.main.p1.depth_w, 360);
    EXPECT_EQ(out.main.p1.depth_h, 640);
}

// ---- SetDPE ------------------------------------------------------------------

Output depthInput(int nocW, int nocH, int padding = 32) {
    Output out = dirtyOutput();
    out.dpe.dpe_noc_w = out.dpe.dpe_noc_w_no_rot = nocW;
    out.dpe.dpe_noc_h = out.dpe.dpe_noc_h_no_rot = nocH;
    out.dpe.dpe_padding = padding;
    out.main.fe_b.grid_w = out.main.fe_b.grid_h = 28;
    out.auxi.fe_b.grid_w = out.auxi.fe_b.grid_h = 4;
    return out;
}

TEST(SetDpe, AiTrackingRatiosMustShareABand) {
    struct Case {
        int trackW, trackH;
        int noRotW, noRotH;
        int code;
    };
    // Ratios depth / tracking on each axis: high [1, 999), middle [0.25, 1),
    // low anything else.
    const Case cases[] = {
        {640, 10, 640, 9989, 0},       // 1.0 and 998.9: both high
        {100, 100, 99, 100, 5},        // 0.99 and 1.0
        {100, 1, 10, 1000, 0},         // 0.1 and 1000: both low
        {400, 400, 100, 396, 0},       // 0.25 and 0.99: both middle
        {100, 100, 100, 24, 5},        // 1.0 and 0.24
        {0, 100, 1, 1000, 0},          // a zero tracking size disables the check
    };
    for (const Case& k : cases) {
        Config cfg = plainConfig();
        cfg.align_wpe_in_w = 1;
        cfg.ai_tracking_w = k.trackW;
        cfg.ai_tracking_h = k.trackH;
        Output out = depthInput(640, 360);
        out.dpe.dpe_noc_w_no_rot = k.noRotW;
        out.dpe.dpe_noc_h_no_rot = k.noRotH;
        EXPECT_EQ(SetDPE(out, cfg), k.code) << k.noRotW << "/" << k.trackW << ", " << k.noRotH << "/" << k.trackH;
    }
}

TEST(SetDpe, VerticalModuleComparesTrackingAgainstSwappedDepth) {
    Config cfg = plainConfig();
    cfg.module_orient = 1;
    cfg.ai_tracking_w = 360;
    cfg.ai_tracking_h = 1280;
    // Vertical: rh = 640 / 1280 = 0.5, rw = 360 / 360 = 1 -> different bands;
    // read horizontally both would be 1 and 0.28.
    Output out = depthInput(640, 360);
    EXPECT_EQ(SetDPE(out, cfg), ERR_AI_TRACKING_TO_DPE_GUIDE);
    cfg.ai_tracking_h = 640;  // 1 and 1
    out = depthInput(640, 360);
    EXPECT_EQ(SetDPE(out, cfg), 0);
}

TEST(SetDpe, DepthWidthMustBeAWpeMultipleAndZeroAlignmentFailsIt) {
    Config cfg = plainConfig();
    Output out = depthInput(656, 360);
    EXPECT_EQ(SetDPE(out, cfg), ERR_DPE_IN_64_ALIGN_SLANTED);
    EXPECT_EQ(out.dpe.dpe_frm_w, 0x55555555);  // stopped before the frame

    cfg.align_wpe_in_w = 0;
    out = depthInput(640, 360);
    EXPECT_EQ(SetDPE(out, cfg), ERR_DPE_IN_64_ALIGN_SLANTED);
    out = depthInput(0, 360);
    EXPECT_EQ(SetDPE(out, cfg), 0);
}

TEST(SetDpe, FrameWidthLimit) {
    Config cfg = plainConfig();
    cfg.align_wpe_in_w = 1;
    Output out = depthInput(4032, 360);  // 4032 + 2 x 32 = 4096
    EXPECT_EQ(SetDPE(out, cfg), 0);
    EXPECT_EQ(out.dpe.dpe_frm_w, 4096);

    out = depthInput(4033, 360);
    EXPECT_EQ(SetDPE(out, cfg), ERR_DPE_IN_W_MAXIMUM);
    EXPECT_EQ(out.dpe.dpe_frm_w, 4097);
    EXPECT_EQ(out.dpe.dpe_frm_h, 360);
    EXPECT_EQ(out.dpe.dpe_noc_buf_w, 0x55555555);

    out = depthInput(3969, 360, 64);  // 3969 + 128 = 4097
    EXPECT_EQ(SetDPE(out, cfg), ERR_DPE_IN_W_MAXIMUM);
}

TEST(SetDpe, DisparityPaddingGrowsPer544PixelTile) {
    struct Case {
        int nocW, dvW, dvBufW;
    };
    // pad2 = 32, 32 x ceil(545 / 544) = 64, 32 x ceil(1089 / 544) = 96;
    // dv_w = (noc_w + pad2) >> 1, its buffer aligned up to 16.
    const Case cases[] = {{544, 288, 288}, {545, 304, 304}, {1089, 592, 592}, {1088, 576, 576}, {600, 332, 336}};
    for (const Case& k : cases) {
        Config cfg = plainConfig();
        cfg.align_wpe_in_w = 1;
        Output out = depthInput(k.nocW, 361);
        ASSERT_EQ(SetDPE(out, cfg), 0);
        EXPECT_EQ(out.dpe.dpe_dv_w, k.dvW) << k.nocW;
        EXPECT_EQ(out.dpe.dpe_dv_buf_w, k.dvBufW) << k.nocW;
        EXPECT_EQ(out.dpe.dpe_dv_h, 180);
        EXPECT_EQ(out.dpe.dpe_dv_buf_h, 180);
        EXPECT_EQ(out.dpe.dpe_padding, 32);
    }
}

TEST(SetDpe, OisAddsMarginOnlyWhenExactlyOn) {
    Config cfg = plainConfig();
    cfg.sensor_main.isOISon = 1;
    Output out = depthInput(640, 360);
    ASSERT_EQ(SetDPE(out, cfg), 0);
    // 704 x 424 working size, frame 704 + 64, buffer 64 x ceil(704 / 64).
    EXPECT_EQ((std::vector<int>{out.dpe.dpe_noc_w, out.dpe.dpe_noc_h, out.dpe.dpe_frm_w, out.dpe.dpe_frm_h,
                                out.dpe.dpe_noc_buf_w, out.dpe.dpe_noc_buf_h}),
              (std::vector<int>{704, 424, 768, 424, 704, 424}));
    EXPECT_EQ(out.main.wpe_grid_w, 28);
    EXPECT_EQ(out.main.wpe_grid_h, 28);

    cfg.sensor_main.isOISon = 2;
    out = depthInput(640, 360);
    ASSERT_EQ(SetDPE(out, cfg), 0);
    EXPECT_EQ((std::vector<int>{out.dpe.dpe_noc_w, out.dpe.dpe_noc_h, out.dpe.dpe_frm_w, out.dpe.dpe_frm_h,
                                out.dpe.dpe_noc_buf_w, out.dpe.dpe_noc_buf_h}),
              (std::vector<int>{640, 360, 704, 360, 640, 360}));
    EXPECT_EQ(out.main.wpe_grid_w, 4);
    EXPECT_EQ(out.main.wpe_grid_h, 4);
}

TEST(SetDpe, AuxiliaryGridsCarryHalfFrameRoundedAndCeiled) {
    Config cfg = plainConfig();
    cfg.align_wpe_in_w = 1;
    Output out = depthInput(544, 360);  // frame 608 x 360, halves 304 x 180
    ASSERT_EQ(SetDPE(out, cfg), 0);
    EXPECT_EQ(out.auxi.wpe_grid_w, 320);  // 32 x round(9.5)
    EXPECT_EQ(out.auxi.wpe_grid_h, 192);  // 32 x ceil(5.625)
    EXPECT_EQ(out.main.wpe_traw_setting.wpe_grid_w, 28);
    EXPECT_EQ(out.main.wpe_traw_setting.wpe_grid_h, 28);
    EXPECT_EQ(out.auxi.wpe_traw_setting.wpe_grid_w, 4);
    EXPECT_EQ(out.auxi.wpe_traw_setting.wpe_grid_h, 4);

    out = depthInput(536, 330);  // frame 600 x 330, halves 300 x 165
    ASSERT_EQ(SetDPE(out, cfg), 0);
    EXPECT_EQ(out.auxi.wpe_grid_w, 288);  // 32 x round(9.375)
    EXPECT_EQ(out.auxi.wpe_grid_h, 192);  // 32 x ceil(5.16)
}

// ---- FE fitting loop -----------------------------------------------------------

// A main sensor binned to 1500 x 1125 in two-pixel mode: usage 1500 x 844
// (ceil2(1500 x 1080 / 1920 = 843.75)); 2 x 960 > 1500, so the first round
// fails with s = min(1500 / 1920, 844 / 1080, ...) = 0.78125. The second round
// tries 2 x floor(960 x 0.78125 / 2) = 750 by 2 x floor(540 x 0.78125 / 2) =
// 420, rotation 16 x ceil(sqrt(750^2 + 420^2) = 859.6 / 16) = 864, and fits.
Config shrinkingConfig() {
    Config cfg = plainConfig();
    cfg.sensor_main.sensor_scale_w = 1500;
    cfg.sensor_main.sensor_scale_h = 1125;
    cfg.sensor_main.mode_2px_en = 1;
    return cfg;
}

TEST(FitFeatureSize, ShrinksUntilBothResizersFit) {
    Config cfg = shrinkingConfig();
    Output out = dirtyOutput();
    out.main.rect_in_w = 640;
    out.main.rect_in_h = 360;
    EXPECT_EQ(velmo::gensize::fitFeatureSize(out, cfg, {960, 540, 1184}, 2.0f, 1.0f), 0u);
    EXPECT_EQ(out.main.fe_b.in_w, 750);
    EXPECT_EQ(out.main.fe_b.in_h, 420);
    EXPECT_EQ(out.main.fe_b.rot_w, 864);
    EXPECT_EQ(out.main.wpe_traw_setting.resize_w, 750);
    // min(1500 / (750 x 2), 844 / (420 x 2)) = 1.
    EXPECT_FLOAT_EQ(out.main.zoom_maximum, 1.0f);
}

TEST(FitFeatureSize, StopsAfterTheRoundLimit) {
    Config cfg = shrinkingConfig();
    Output out = dirtyOutput();
    out.main.rect_in_w = 640;
    out.main.rect_in_h = 360;
    EXPECT_EQ(velmo::gensize::fitFeatureSize(out, cfg, {960, 540, 1184}, 2.0f, 1.0f, 1),
              static_cast<uint32_t>(ERR_FE_FIT_NOT_CONVERGED));
    EXPECT_EQ(out.main.fe_b.in_w, 960);  // the one round that ran
}

// Every size comparison with a NaN factor is false, and the scale is NaN:
// the size collapses to 0 x 0 and the next round changes nothing.
TEST(FitFeatureSize, StopsWhenARoundChangesNothing) {
    Config cfg = plainConfig();
    Output out = dirtyOutput();
    out.main.rect_in_w = 640;
    out.main.rect_in_h = 360;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(velmo::gensize::fitFeatureSize(out, cfg, {960, 540, 1184}, nan, 1.0f),
              static_cast<uint32_t>(ERR_FE_FIT_NOT_CONVERGED));
    EXPECT_EQ(out.main.fe_b.in_w, 0);
    EXPECT_EQ(out.main.fe_b.in_h, 0);
}

// Up to even: the half is rounded up and truncated before doubling, so the
// doubling wraps in 32 bits where a float product would saturate.
TEST(CeilEven, DoublesTheTruncatedHalfInUnsigned32Bits) {
    EXPECT_EQ(velmo::gensize::ceilEven(4001.0f), 4002u);
    EXPECT_EQ(velmo::gensize::ceilEven(4294967295.0f), 0u);  // 2^32: 2^31 x 2 wraps
}

}  // namespace
