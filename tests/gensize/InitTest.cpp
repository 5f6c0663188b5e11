// GenSizeInit end to end: result codes with their exact log lines, the
// configuration-dependent rules around the fitting loop, showErrorLog and
// enlargeWithNAligned.

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "SizingConfig.h"
#include "gensize/GenSize.h"
#include "gensize/GenSizeInternal.h"
#include "support/LogCapture.h"

namespace {

using velmo::testing::LogCapture;
using velmo::testing::plainConfig;
using velmo::testing::ScopedProperties;
using Config = STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT;
using Output = STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT;

const char* const kVersionLine = "[GenSizeInit] version v3.0.47.20240321\n";
const char* const kLevelZeroLine = "[GENSIZE][GenSizeInit] debugLevel: 0\n";
const char* const kVelmoLine = "[GENSIZE][GenSizeInit] Init Velmo Mode On!\n";
const char* const kSatLine = "[GENSIZE][GenSizeInit] Init SAT Mode On!\n";
const char* const kFbLine = "[GenSizeInit] Estimated fb            : 1228800.00 mm.pixel\n";
const char* const kRangeLine = "[GenSizeInit] Estimated working range : 4857 to 76800 mm\n";
const char* const kPassLine = "[GenSizeInit] GEN_SIZE_PASS\n";

class GenSizeInitTest : public ::testing::Test {
protected:
    void SetUp() override { GENSIZE::debugLevel = 0; }
    void TearDown() override { GENSIZE::debugLevel = 0; }

    uint32_t run(Config in) {
        out = Output{};
        log.clear();
        return GenSizeInit(out, in);
    }

    std::vector<std::string> texts() const { return log.texts(); }

    bool logged(const std::string& line) const {
        for (const auto& text : log.texts())
            if (text == line) return true;
        return false;
    }

    // Everything logged after the pass line, joined: showLog's pieces put
    // back together.
    std::string dumpAfterPass() const {
        std::string joined;
        bool seen = false;
        for (const auto& text : log.texts()) {
            if (seen) joined += text;
            if (text == kPassLine) seen = true;
        }
        return joined;
    }

    ScopedProperties properties;
    LogCapture log;
    Output out{};
};

// ---- codes and their log lines ---------------------------------------------

// The worked configuration of SizingConfig.h all the way through.
TEST_F(GenSizeInitTest, PassLogsHeaderEstimatesAndBothDumps) {
    Config in = plainConfig();
    ASSERT_EQ(run(in), 0u);

    const auto lines = texts();
    ASSERT_GE(lines.size(), 7u);
    EXPECT_EQ(std::vector<std::string>(lines.begin(), lines.begin() + 6),
              (std::vector<std::string>{kVersionLine, kLevelZeroLine, kVelmoLine, kFbLine, kRangeLine, kPassLine}));
    for (const auto& line : log.lines()) {
        EXPECT_EQ(line.tag, "GenSize");
        EXPECT_EQ(line.module, 0x10004001);
    }
    EXPECT_EQ(dumpAfterPass(), in.toString() + out.toString());

    EXPECT_EQ(gRatioMode, 1);
    EXPECT_EQ(out.main.fe_b.in_w, 960);
    EXPECT_EQ(out.main.fe_b.in_h, 540);
    EXPECT_EQ(out.main.fe_b.rot_w, 1184);
    const auto& d = out.dpe;
    // Frame 640 + 64; disparity (640 + 32 x ceil(640 / 544)) >> 1 = 352.
    EXPECT_EQ((std::vector<int>{d.dpe_frm_w, d.dpe_frm_h, d.dpe_noc_w, d.dpe_noc_h, d.dpe_noc_w_no_rot,
                                d.dpe_noc_h_no_rot, d.dpe_noc_buf_w, d.dpe_noc_buf_h, d.dpe_dv_w, d.dpe_dv_h,
                                d.dpe_dv_buf_w, d.dpe_dv_buf_h, d.dpe_padding}),
              (std::vector<int>{704, 360, 640, 360, 640, 360, 640, 360, 352, 180, 352, 180, 32}));
    EXPECT_EQ(d.working_range_to_disp, 15.8125f);
    EXPECT_EQ(out.auxi.wpe_grid_w, 352);
    EXPECT_EQ(out.auxi.wpe_grid_h, 192);
    EXPECT_EQ(out.me.mmap_w, 0);
    EXPECT_EQ(out.me.mmap_h, 0);
    EXPECT_FLOAT_EQ(out.working_range, 1228800.0f / 253.0f);
    EXPECT_FLOAT_EQ(out.zoom_constraint, 4000.0f / 960.0f);
    // 640 x 360 plus one WPE alignment (64) on both axes.
    EXPECT_EQ(out.auxi.rect_in_w, 704);
    EXPECT_EQ(out.auxi.rect_in_h, 424);
    EXPECT_EQ(out.auxi.p1.depth_w, 704);
    EXPECT_EQ(out.auxi.p1.depth_h, 424);
    EXPECT_EQ(out.main.p1.depth_w, 640);
}

// Module angle 0.9 degrees is not slanted, so the rotated box becomes the
// reference size: rot_w = 360 sin t + 640 cos t + 0.5 = 646.08 -> 656 (align
// 16), rot_h = 360 cos t + 640 sin t + 0.5 = 370.51 -> 370. 656 is no
// multiple of 64.
TEST_F(GenSizeInitTest, UnalignedDepthWidthReturns3) {
    Config in = plainConfig();
    in.module_angle = 0.9f;
    ASSERT_EQ(run(in), 3u);
    EXPECT_EQ(out.slanted_en, 0);
    EXPECT_EQ(out.dpe.dpe_noc_w, 656);
    EXPECT_EQ(out.dpe.dpe_noc_h, 370);
    EXPECT_EQ(out.dpe.dpe_noc_w_no_rot, 656);
    EXPECT_EQ(out.dpe.dpe_noc_h_no_rot, 370);
    EXPECT_EQ(texts(), (std::vector<std::string>{
                           kVersionLine, kLevelZeroLine, kVelmoLine,
                           "[GenSize][Warning] input depth size (640, 360) has wrong alignment. Should be (656, 370)\n",
                           kFbLine, kRangeLine, "[GenSize] ERR_DPE_IN_64_ALIGN_SLANTED \n"}));
}

// 4032 + 2 x 64 = 4160 > 4096. The motion map is sized anyway:
// 2 x ceil((4160 >> 1) x 0.5) = 2080 and 2 x ceil(180 x 0.5) = 180.
TEST_F(GenSizeInitTest, WideFrameReturns4AndStillSizesTheMotionMap) {
    Config in = plainConfig();
    in.dpe_w = 4032;
    in.dpe_cand_num = 33;
    in.ai_depth_temporal_enable = 1;
    ASSERT_EQ(run(in), 4u);
    EXPECT_EQ(out.dpe.dpe_frm_w, 4160);
    EXPECT_EQ(out.me.mmap_w, 2080);
    EXPECT_EQ(out.me.mmap_h, 180);
    ASSERT_FALSE(texts().empty());
    EXPECT_EQ(texts().back(), "[GenSize] ERR_DPE_IN_W_MAXIMUM(Rule: Frame width < 848, Engine width < 784) \n");
    EXPECT_FALSE(logged(kPassLine));
    // No pass, so no extra alignment on the auxiliary depth input.
    EXPECT_EQ(out.auxi.rect_in_w, 4032);
    EXPECT_EQ(out.auxi.rect_in_h, 360);
}

TEST_F(GenSizeInitTest, TrackingRatiosInDifferentBandsReturn5) {
    Config in = plainConfig();
    in.ai_tracking_w = 640;  // 640 / 640 = 1: high
    in.ai_tracking_h = 720;  // 360 / 720 = 0.5: middle
    ASSERT_EQ(run(in), 5u);
    EXPECT_EQ(texts(), (std::vector<std::string>{
                           kVersionLine, kLevelZeroLine, kVelmoLine, kFbLine, kRangeLine,
                           "[GenSize] ERR_AI_TRACKING_TO_DPE_GUIDE (AI Tracking w h -> DPE w h, > 1x, < 1x ~ "
                           "0.25x, < 0.25x) \n"}));
    EXPECT_EQ(out.auxi.rect_in_w, 640);
    EXPECT_EQ(out.auxi.rect_in_h, 360);
    EXPECT_EQ(out.auxi.p1.depth_w, 640);
}

// The fitting loop cannot fail to converge through the public entry (every
// failed round shrinks an even size by at least 2, and 0 x 0 always fits), so
// the guard is reached with a round limit of 1 on a configuration that needs
// two rounds (main sensor 1500 wide in two-pixel mode, see StageTest.cpp).
TEST_F(GenSizeInitTest, FitWithoutConvergenceReturns9AndSkipsTheDepthStage) {
    Config in = plainConfig();
    in.sensor_main.sensor_scale_w = 1500;
    in.sensor_main.sensor_scale_h = 1125;
    in.sensor_main.mode_2px_en = 1;
    out = Output{};
    out.dpe.dpe_frm_w = 1234;
    ASSERT_EQ(velmo::gensize::runGenSizeInit(out, in, 1), 9u);
    ASSERT_FALSE(texts().empty());
    EXPECT_EQ(texts().back(), "[GenSize] ERR_FE_FIT_NOT_CONVERGED (FE size fitting did not converge) \n");
    EXPECT_FALSE(logged(kPassLine));
    EXPECT_EQ(out.dpe.dpe_frm_w, 1234);
    EXPECT_EQ(out.auxi.rect_in_w, 640);  // no pass, no extra alignment

    ASSERT_EQ(run(in), 0u);  // the default limit lets the second round fit
    EXPECT_EQ(out.main.fe_b.in_w, 750);
}

// ---- rules around the loop ---------------------------------------------------

TEST_F(GenSizeInitTest, AspectClassPicksTheStartingFeSize) {
    struct Case {
        int w, h, aspect;
        int feW, feH, feRot;
    };
    const Case cases[] = {
        {4000, 3000, 0, 896, 672, 1120},  // 1.333
        {1400, 900, 0, 896, 672, 1120},   // 14:9 exactly is still class 0
        {1920, 1080, 1, 960, 540, 1184},  // 1.778
        {2000, 1000, 1, 960, 540, 1184},  // 2.0 exactly is still class 1
        {2400, 1080, 2, 1152, 512, 1264},
    };
    for (const Case& k : cases) {
        Config in = plainConfig();
        in.rrz_output_main_w = k.w;
        in.rrz_output_main_h = k.h;
        gRatioMode = -1;
        ASSERT_EQ(run(in), 0u) << k.w << "x" << k.h;
        EXPECT_EQ(gRatioMode, k.aspect) << k.w << "x" << k.h;
        EXPECT_EQ((std::vector<int>{out.main.fe_b.in_w, out.main.fe_b.in_h, out.main.fe_b.rot_w}),
                  (std::vector<int>{k.feW, k.feH, k.feRot}));
    }
    Config in = plainConfig();
    in.rrz_output_main_w = 0;  // 0 / 0 is NaN: class 0
    in.rrz_output_main_h = 0;
    run(in);
    EXPECT_EQ(gRatioMode, 0);
    in.rrz_output_main_w = 1920;  // 1920 / 0 is infinite: class 2
    run(in);
    EXPECT_EQ(gRatioMode, 2);
}

TEST_F(GenSizeInitTest, SatModeRewritesItsPrivateConfiguration) {
    Config in = plainConfig();
    in.feature_mode = 5;  // bits 0-1 are 1
    in.p1_fe_main_w = 1290;
    in.p1_fe_main_h = 725;
    in.sensor_auxi.mode_2px_en = 1;
    in.module_variation = -10.0f;
    const Config before = in;
    ASSERT_EQ(run(in), 0u);
    EXPECT_EQ(std::memcmp(&before, &in, sizeof in), 0);
    EXPECT_EQ(texts()[2], kSatLine);

    // Depth 64 x ceil(645 / 64) = 704 by 4 x ceil(362 / 4) = 364, aligned
    // already, so no warning.
    EXPECT_EQ(out.main.rect_in_w, 704);
    EXPECT_EQ(out.main.rect_in_h, 364);
    EXPECT_EQ(out.dpe.dpe_noc_w_no_rot, 704);
    EXPECT_EQ(out.dpe.dpe_noc_h_no_rot, 364);
    for (const auto& text : texts()) EXPECT_EQ(text.find("[Warning]"), std::string::npos);
    // No module tolerance (no crop) and no two-pixel factor on the auxiliary side.
    EXPECT_EQ(out.auxi.crop_flag, 0);
    EXPECT_FLOAT_EQ(out.auxi.zoom_maximum, 4000.0f / 960.0f);

    Config working = in;
    working.dpe_w = 704;
    working.dpe_h = 364;
    working.sensor_auxi.mode_2px_en = 0;
    working.module_variation = 0.0f;
    EXPECT_EQ(dumpAfterPass(), working.toString() + out.toString());
}

TEST_F(GenSizeInitTest, OnlyBitsZeroAndOneEqualToOneSelectSat) {
    for (int mode : {0, 2, 3, 6}) {
        Config in = plainConfig();
        in.feature_mode = mode;
        run(in);
        EXPECT_EQ(texts()[2], kVelmoLine) << mode;
    }
    for (int mode : {1, 5, 0x30001}) {
        Config in = plainConfig();
        in.feature_mode = mode;
        run(in);
        EXPECT_EQ(texts()[2], kSatLine) << mode;
    }
}

TEST_F(GenSizeInitTest, SlantedMeansAWholeDegree) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    struct Case {
        float angle;
        int slanted;
    };
    const Case cases[] = {{0.9f, 0}, {-0.99f, 0}, {1.0f, 1}, {-1.0f, 1}, {nan, 0}, {1e30f, 1}};
    for (const Case& k : cases) {
        Config in = plainConfig();
        in.module_angle = k.angle;
        run(in);
        EXPECT_EQ(out.slanted_en, k.slanted) << k.angle;
    }
}

// At 1.0 degree the module is slanted: the unrotated sizes stay at the
// requested 640 x 360 while the working size is the rotated box,
// rot_w = 646.19 -> 656 and rot_h = 371.61 -> 372.
TEST_F(GenSizeInitTest, SlantedModuleKeepsTheUnrotatedSize) {
    Config in = plainConfig();
    in.module_angle = 1.0f;
    ASSERT_EQ(run(in), 0u);
    EXPECT_EQ(out.slanted_en, 1);
    EXPECT_EQ(out.dpe.dpe_noc_w, 656);
    EXPECT_EQ(out.dpe.dpe_noc_h, 372);
    EXPECT_EQ(out.dpe.dpe_noc_w_no_rot, 640);
    EXPECT_EQ(out.dpe.dpe_noc_h_no_rot, 360);
    for (const auto& text : texts()) EXPECT_EQ(text.find("[Warning]"), std::string::npos);
    EXPECT_EQ(out.main.wpe_traw_setting.module_angle, 1.0f);

    // A quarter turn: sin t x 360 + cos t x 640 + 0.5 = 360.50 -> 360, which
    // the +0.5 and truncation keep from falling to 359; aligned to 16: 368.
    in.module_angle = 90.0f;
    ASSERT_EQ(run(in), 0u);
    EXPECT_EQ(out.dpe.dpe_noc_w, 368);
    EXPECT_EQ(out.dpe.dpe_noc_h, 640);

    // 3 degrees, no width alignment: 360 sin t + 640 cos t = 657.96 rounds
    // to 658 (truncation alone would give 657).
    in.module_angle = 3.0f;
    in.align_dpe_in_w = 1;
    ASSERT_EQ(run(in), 0u);
    EXPECT_EQ(out.dpe.dpe_noc_w, 658);
    EXPECT_EQ(out.dpe.dpe_noc_h, 394);  // 393.0 -> 393, up to even
}

TEST_F(GenSizeInitTest, WrongDepthAlignmentOnlyWarns) {
    Config in = plainConfig();
    in.dpe_w = 600;  // 64 x ceil(600 / 64) = 640
    in.dpe_h = 361;  // 2 x ceil(361 / 2) = 362
    ASSERT_EQ(run(in), 0u);
    EXPECT_EQ(texts()[3], "[GenSize][Warning] input depth size (600, 361) has wrong alignment. Should be (640, 362)\n");
    EXPECT_EQ(out.dpe.dpe_noc_w_no_rot, 640);
    EXPECT_EQ(out.dpe.dpe_noc_h_no_rot, 362);
    EXPECT_EQ(out.main.rect_in_w, 600);  // the depth input keeps the request
}

TEST_F(GenSizeInitTest, AiDepthAlignmentAndTemporalWpeAlignment) {
    Config in = plainConfig();
    in.ai_depth_enable = 1;
    in.align_ai_depth_in_w = 48;  // 48 x ceil(640 / 48) = 672, not a 64 multiple
    in.align_ai_depth_in_h = 24;
    ASSERT_EQ(run(in), 3u);
    EXPECT_EQ(texts()[3], "[GenSize][Warning] input depth size (640, 360) has wrong alignment. Should be (672, 360)\n");

    in.ai_depth_temporal_enable = 1;  // 64 x ceil(672 / 64) = 704
    ASSERT_EQ(run(in), 0u);
    EXPECT_EQ(out.dpe.dpe_noc_w, 704);
    EXPECT_EQ(out.dpe.dpe_noc_h, 360);
    EXPECT_EQ(out.dpe.dpe_frm_w, 768);
    EXPECT_EQ(out.me.mmap_w, 384);  // 2 x ceil(384 x 0.5)
    EXPECT_EQ(out.me.mmap_h, 180);
}

TEST_F(GenSizeInitTest, CallsFromGenSizeProcNeverEnlargeTheAuxiliaryDepth) {
    Config in = plainConfig();
    in.has_mdp = -1;
    ASSERT_EQ(run(in), 0u);
    EXPECT_EQ(texts()[0], "GensizeInit called in GesnzieProc\n");
    EXPECT_EQ(texts()[1], kVersionLine);
    EXPECT_EQ((std::vector<int>{out.auxi.rect_in_w, out.auxi.rect_in_h, out.auxi.p1.depth_w, out.auxi.p1.depth_h}),
              (std::vector<int>{640, 360, 640, 360}));

    for (int mdp : {0, 1, 2}) {
        in.has_mdp = mdp;
        ASSERT_EQ(run(in), 0u);
        EXPECT_EQ(texts()[0], kVersionLine);
        EXPECT_EQ((std::vector<int>{out.auxi.rect_in_w, out.auxi.rect_in_h, out.auxi.p1.depth_w, out.auxi.p1.depth_h}),
                  (std::vector<int>{704, 424, 704, 424}))
            << mdp;
    }
}

TEST_F(GenSizeInitTest, DepthFlowRotationOfVerticalModules) {
    struct Case {
        int orient, flow, mdp, rotate;
    };
    // Only rotate type 1 means 270 here (3 quarter turns), although the warp
    // angle treats every non-zero type as 270.
    const Case cases[] = {{1, 1, 0, 3}, {1, 2, 0, 1}, {1, 0, 0, 1}, {1, 1, 1, 0}, {1, 1, -1, 3}, {2, 1, 0, 0}, {0, 1, 0, 0}};
    for (const Case& k : cases) {
        Config in = plainConfig();
        in.module_orient = k.orient;
        in.flow_rotate_type = k.flow;
        in.has_mdp = k.mdp;
        out.main.wpe_img_rotate_type = out.auxi.wpe_img_rotate_type = 9;
        run(in);
        EXPECT_EQ(out.main.wpe_img_rotate_type, k.rotate) << k.orient << "/" << k.flow << "/" << k.mdp;
        EXPECT_EQ(out.auxi.wpe_img_rotate_type, k.rotate) << k.orient << "/" << k.flow << "/" << k.mdp;
    }
}

TEST_F(GenSizeInitTest, DebugLevelComesFromThePropertyAndSticks) {
    properties.set("vendor.debug.velmoUtil.gensize.debuglevel", "3");
    run(plainConfig());
    EXPECT_EQ(GENSIZE::debugLevel, 3);
    EXPECT_EQ(texts()[1], "[GENSIZE][GenSizeInit] debugLevel: 3\n");

    properties.set("vendor.debug.velmoUtil.gensize.debuglevel", nullptr);
    run(plainConfig());
    EXPECT_EQ(GENSIZE::debugLevel, 3);

    properties.set("vendor.debug.velmoUtil.gensize.debuglevel", "verbose");  // atoi gives 0
    run(plainConfig());
    EXPECT_EQ(GENSIZE::debugLevel, 0);
}

// Every alignment 0: each "n x ceil(x / n)" gives 0 instead of trapping (run
// this under UBSan too). Depth: W = 0, working size 0 x 360, and since 0 is a
// multiple of anything the width check passes; frame 0 + 64. Auxiliary FE
// width 0, so the auxiliary usage c = 0 x ... = 0 wide and high, centred at
// (4000 / 2, 3000 / 2).
TEST_F(GenSizeInitTest, ZeroAlignmentsGiveZeroSizesWithoutTrapping) {
    Config in = plainConfig();
    in.align_wpe_in_w = in.align_wpe_out_w = in.align_dpe_in_w = in.align_dpe_out_w = 0;
    in.align_ai_depth_in_w = in.align_ai_depth_in_h = in.align_gpu_in_w = in.align_gpu_in_h = 0;
    in.align_fe_in_w = in.align_fe_in_h = 0;
    ASSERT_EQ(run(in), 0u);
    EXPECT_EQ(texts()[3], "[GenSize][Warning] input depth size (640, 360) has wrong alignment. Should be (0, 360)\n");
    const auto& d = out.dpe;
    EXPECT_EQ((std::vector<int>{d.dpe_frm_w, d.dpe_frm_h, d.dpe_noc_w, d.dpe_noc_h, d.dpe_noc_buf_w, d.dpe_dv_w,
                                d.dpe_dv_buf_w}),
              (std::vector<int>{64, 360, 0, 360, 0, 16, 16}));
    const auto& r = out.auxi.rrz;
    EXPECT_EQ((std::vector<int>{r.offset_x, r.offset_y, r.usage_w, r.usage_h, r.out_w, r.out_h}),
              (std::vector<int>{2000, 1500, 0, 0, 0, 0}));
    EXPECT_EQ(out.auxi.rect_in_w, 0);
    EXPECT_EQ(out.auxi.rect_in_h, 0);
}

// A main sensor with nothing usable: the fitting loop shrinks the FE to
// 0 x 0 in one round (s = 0), which then fits trivially. The loop ends.
TEST_F(GenSizeInitTest, NothingUsableShrinksTheFeToZero) {
    Config in = plainConfig();
    in.sensor_main.sensor_offset_x1 = 2000;  // 4000 - 2 x 2000 = 0
    run(in);
    EXPECT_EQ(out.main.fe_b.in_w, 0);
    EXPECT_EQ(out.main.fe_b.in_h, 0);
    EXPECT_EQ(out.main.fe_b.rot_w, 0);  // 16 x ceil(0 / 16)
}

// ---- showErrorLog -------------------------------------------------------------

TEST(ShowErrorLog, EveryCodeLogsItsFixedText) {
    const std::vector<std::vector<std::string>> expected = {
        {"[GenSize] GEN_SIZE_PASS \n"},
        {"[GenSize] ERR_PADDING_NOT_ENOUGH (working range to disp value 15.812500 > padding 63) \n"},
        {"[GenSize] ERR_DPE_IN_16_ALIGN \n"},
        {"[GenSize] ERR_DPE_IN_64_ALIGN_SLANTED \n"},
        {"[GenSize] ERR_DPE_IN_W_MAXIMUM(Rule: Frame width < 848, Engine width < 784) \n"},
        {"[GenSize] ERR_AI_TRACKING_TO_DPE_GUIDE (AI Tracking w h -> DPE w h, > 1x, < 1x ~ 0.25x, < 0.25x) \n"},
        {"[GenSize] ERR_MODULE_ORIENT_SLANTED (Slanted: MODULE ORIENT set 0)\n"},
        {"[GenSize] ERR_2PX_MODE, if 2px mode enable,    RRZ Usage >= (RRZ output * 2)\n",
         "[GenSize] ERR_2PX_MODE, if 2px mode disable,    RRZ Usage >= (RRZ output * 1)\n"},
        {"[GenSize] ERR_DPE_SLANTED_WH_NOT_ENOUGH, if slanted mode,    dpe_rot size NOT_ENOUGH\n"},
        {"[GenSize] ERR_FE_FIT_NOT_CONVERGED (FE size fitting did not converge) \n"},
    };
    Output out{};
    out.dpe.working_range_to_disp = 15.8125f;
    for (int code = 0; code < 10; ++code) {
        LogCapture log;
        showErrorLog(code, out);
        EXPECT_EQ(log.texts(), expected[code]) << code;
        for (const auto& line : log.lines()) {
            EXPECT_EQ(line.tag, "GenSize");
            EXPECT_EQ(line.module, 0x10004001);
        }
    }
    for (int code : {10, -1, 0x7fffffff}) {
        LogCapture log;
        showErrorLog(code, out);
        EXPECT_TRUE(log.lines().empty()) << code;
    }
}

TEST(ShowErrorLog, NanPaddingValuePrintsTheSameEverywhere) {
    Output out{};
    out.dpe.working_range_to_disp = -std::numeric_limits<float>::quiet_NaN();
    LogCapture log;
    showErrorLog(ERR_PADDING_NOT_ENOUGH, out);
    EXPECT_EQ(log.texts(), (std::vector<std::string>{
                               "[GenSize] ERR_PADDING_NOT_ENOUGH (working range to disp value nan > padding 63) \n"}));
}

// ---- enlargeWithNAligned --------------------------------------------------------

TEST(EnlargeWithNAligned, ModesRoundTheQuotient) {
    EXPECT_EQ(enlargeWithNAligned(10, 1, 4, ALIGN_CEIL), 12);
    EXPECT_EQ(enlargeWithNAligned(10, 1, 4, ALIGN_ROUND), 12);  // 2.5 rounds away from zero
    EXPECT_EQ(enlargeWithNAligned(10, 1, 4, ALIGN_FLOOR), 8);
    EXPECT_EQ(enlargeWithNAligned(10, 1, 4, static_cast<AlignMode>(3)), 0);
    EXPECT_EQ(enlargeWithNAligned(-10, 1, 4, ALIGN_ROUND), -12);  // -2.5 -> -3
    EXPECT_EQ(enlargeWithNAligned(-10, 1, 4, ALIGN_CEIL), -8);
    EXPECT_EQ(enlargeWithNAligned(2.5f, 3.0f, 2, ALIGN_CEIL), 8);  // 7.5 / 2 = 3.75
}

TEST(EnlargeWithNAligned, ProductIsSinglePrecision) {
    // 4097^2 = 16785409 is not a float; the product rounds to 16785408.
    EXPECT_EQ(enlargeWithNAligned(4097, 4097, 1, ALIGN_CEIL), 16785408);
}

TEST(EnlargeWithNAligned, ZeroAlignmentGivesZero) {
    for (AlignMode mode : {ALIGN_CEIL, ALIGN_ROUND, ALIGN_FLOOR}) {
        EXPECT_EQ(enlargeWithNAligned(10, 1, 0, mode), 0) << mode;
        EXPECT_EQ(enlargeWithNAligned(0, 1, 0, mode), 0) << mode;
    }
}

}  // namespace
