// Per-frame sizing on a dual 12 MP module with 16:9 output.
//
// The configuration-time sizes (IO) that GenSizeProc starts from are taken from
// a GenSizeInit call in the test; the per-frame windows are then worked out by
// hand from those IO values. For this module IO is:
//   main rrz: in 4000x3000, offset (0, 375), usage 4000x2250, out 1920x1080
//   auxi rrz: in 4000x3000, offset (0, 375), usage 4000x2250, out 1024x576
//   main fe_b in 960x540, auxi fe_b in 1024x576, zoom_constraint 4000/1024 = 3.90625
// and the tests assert these first, so a change in GenSizeInit shows up as such.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gensize/GenSize.h"
#include "gensize/SizingConfig.h"
#include "support/LogCapture.h"

namespace {

using velmo::testing::LogCapture;
using velmo::testing::ScopedProperties;
using velmo::testing::dualTwelveMegapixel;

using InitIn = STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT;
using InitOut = STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT;
using ProcIn = STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT;
using ProcOut = STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT;
using Rrz = STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT;
using TrawRz = STEREO_KERNEL_GEN_SIZE_TRAW_RZ_STAGE_STRUCT;
using Window = std::array<int32_t, 8>;  // in_w, in_h, offset_x, offset_y, usage_w, usage_h, out_w, out_h

constexpr int32_t kSat = 1;
constexpr int32_t kVelmo = 2;
constexpr int32_t featureWord(int32_t feature, int32_t cropMode) { return feature | (cropMode << 16); }

constexpr unsigned char kUntouched = 0x5a;
constexpr int32_t kUntouchedField = 0x5a5a5a5a;
constexpr Window kUntouchedWindow{kUntouchedField, kUntouchedField, kUntouchedField, kUntouchedField,
                                  kUntouchedField, kUntouchedField, kUntouchedField, kUntouchedField};

// What GenSizeProc's own GenSizeInit call produces for `cfg`.
InitOut referenceSizes(InitIn cfg) {
    cfg.has_mdp = -1;
    InitOut io{};
    EXPECT_EQ(GenSizeInit(io, cfg), 0u);
    return io;
}

Window window(const Rrz& r) { return {r.in_w, r.in_h, r.offset_x, r.offset_y, r.usage_w, r.usage_h, r.out_w, r.out_h}; }
Window window(const TrawRz& t) { return {t.in_w, t.in_h, t.offset_x, t.offset_y, t.usage_w, t.usage_h, t.out_w, t.out_h}; }

// P1 applied exactly the configured crops.
ProcIn configuredCrops(const InitOut& io, float zoom) {
    ProcIn pi{};
    pi.zoom_ratio = zoom;
    pi.p1_main = io.main.rrz;
    pi.p1_auxi = io.auxi.rrz;
    return pi;
}

ProcOut untouchedOutput() {
    ProcOut po;
    std::memset(&po, kUntouched, sizeof po);
    return po;
}

// The "[Gensize Error]" lines of the SAT consistency checks.
std::vector<std::string> errorLines(const LogCapture& log) {
    std::vector<std::string> errors;
    for (const std::string& line : log.texts()) {
        if (line.rfind("[Gensize Error]", 0) == 0) errors.push_back(line);
    }
    return errors;
}

bool contains(const std::vector<std::string>& lines, const std::string& line) {
    for (const std::string& l : lines) {
        if (l == line) return true;
    }
    return false;
}

// Every log line of a test goes to `log`; tests clear it before the call they check.
class GenSizeProcTest : public ::testing::Test {
protected:
    void SetUp() override { GENSIZE::debugLevel = 0; }
    void TearDown() override { GENSIZE::debugLevel = 0; }

    std::vector<std::string> debugBlockLines(const char* level);

    ScopedProperties properties;
    LogCapture log;
};

// Preconditions of the hand calculations below.
void expectModuleSizes(const InitOut& io) {
    ASSERT_EQ(window(io.main.rrz), (Window{4000, 3000, 0, 375, 4000, 2250, 1920, 1080}));
    ASSERT_EQ(window(io.auxi.rrz), (Window{4000, 3000, 0, 375, 4000, 2250, 1024, 576}));
    ASSERT_EQ(io.main.fe_b.in_w, 960);
    ASSERT_EQ(io.main.fe_b.in_h, 540);
    ASSERT_EQ(io.auxi.fe_b.in_w, 1024);
    ASSERT_EQ(io.auxi.fe_b.in_h, 576);
    ASSERT_EQ(io.zoom_constraint, 3.90625f);
}

// ---- Velmo -----------------------------------------------------------------------

TEST_F(GenSizeProcTest, VelmoWithoutZoomUsesTheConfiguredWindows) {
    InitIn cfg = dualTwelveMegapixel(featureWord(kVelmo, 2));
    const InitOut io = referenceSizes(cfg);
    expectModuleSizes(io);
    for (float zoom : {1.0f, 1.000009f, 0.999991f}) {
        ProcIn pi = configuredCrops(io, zoom);
        ProcOut po = untouchedOutput();
        ASSERT_EQ(GenSizeProc(po, pi, cfg), 0u);
        EXPECT_EQ(window(po.rrz_zoom_main), window(io.main.rrz)) << zoom;
        EXPECT_EQ(window(po.rrz_zoom_auxi), window(io.auxi.rrz)) << zoom;
        EXPECT_EQ(window(po.traw_main), Window{});
        EXPECT_EQ(window(po.traw_auxi), Window{});
    }
}

TEST_F(GenSizeProcTest, VelmoZoomShrinksBothWindowsAroundTheCentre) {
    InitIn cfg = dualTwelveMegapixel(featureWord(kVelmo, 2));
    const InitOut io = referenceSizes(cfg);
    expectModuleSizes(io);
    ProcIn pi = configuredCrops(io, 2.0f);
    ProcOut po = untouchedOutput();
    ASSERT_EQ(GenSizeProc(po, pi, cfg), 0u);
    // usage = max(2 ceil(U / 2 / 2), out): 4000 -> 2000, 2250 -> 2 x 563 = 1126.
    // offset = (in - usage) / 2: (4000 - 2000) / 2 = 1000, (3000 - 1126) / 2 = 937.
    EXPECT_EQ(window(po.rrz_zoom_main), (Window{4000, 3000, 1000, 937, 2000, 1126, 1920, 1080}));
    EXPECT_EQ(window(po.rrz_zoom_auxi), (Window{4000, 3000, 1000, 937, 2000, 1126, 1024, 576}));
    EXPECT_EQ(window(po.traw_main), Window{});
    EXPECT_EQ(window(po.traw_auxi), Window{});
}

TEST_F(GenSizeProcTest, VelmoZoomBeyondTheConstraintUsesTheConstraint) {
    // A two-pixel auxiliary sensor needs twice its output as usage, so its
    // zoom limit is 4000 / (2 x 1024) = 1.953125, well before the output size
    // would stop the window from shrinking.
    InitIn cfg = dualTwelveMegapixel(featureWord(kVelmo, 2));
    cfg.sensor_auxi.mode_2px_en = 1;
    const InitOut io = referenceSizes(cfg);
    ASSERT_EQ(io.zoom_constraint, 1.953125f);
    ASSERT_EQ(window(io.auxi.rrz), (Window{4000, 3000, 0, 375, 4000, 2250, 1024, 576}));
    ProcIn pi = configuredCrops(io, 3.0f);
    ProcOut po = untouchedOutput();
    ASSERT_EQ(GenSizeProc(po, pi, cfg), 0u);
    // 4000 / 1.953125 = 2048, 2250 / 1.953125 = 1152; offsets (4000 - 2048) / 2 = 976
    // and (3000 - 1152) / 2 = 924. Zoom 3 itself would give 1920 and 1080 (clamped).
    EXPECT_EQ(window(po.rrz_zoom_main), (Window{4000, 3000, 976, 924, 2048, 1152, 1920, 1080}));
    EXPECT_EQ(window(po.rrz_zoom_auxi), (Window{4000, 3000, 976, 924, 2048, 1152, 1024, 576}));
    EXPECT_EQ(po.zoom_constraint, 1.953125f);
}

TEST_F(GenSizeProcTest, VelmoZoomBelowOneGrowsTheWindowPastItsInput) {
    InitIn cfg = dualTwelveMegapixel(featureWord(kVelmo, 2));
    const InitOut io = referenceSizes(cfg);
    expectModuleSizes(io);
    ProcIn pi = configuredCrops(io, 0.5f);
    ProcOut po = untouchedOutput();
    ASSERT_EQ(GenSizeProc(po, pi, cfg), 0u);
    // usage 8000 x 4500 in a 4000 x 3000 input: the unsigned offsets wrap,
    // (2^32 - 4000) / 2 = 2147481648 and (2^32 - 1500) / 2 = 2147482898.
    EXPECT_EQ(window(po.rrz_zoom_main), (Window{4000, 3000, 2147481648, 2147482898, 8000, 4500, 1920, 1080}));
    EXPECT_EQ(window(po.rrz_zoom_auxi), (Window{4000, 3000, 2147481648, 2147482898, 8000, 4500, 1024, 576}));
}

TEST_F(GenSizeProcTest, CropModesWithoutWindowsLeaveTheCallersWindows) {
    struct Case {
        int32_t feature;
        int32_t cropMode;
    };
    for (const Case& c : {Case{kSat, 0}, Case{kSat, 3}, Case{kVelmo, 0}, Case{kVelmo, 1}, Case{kVelmo, 3}}) {
        InitIn cfg = dualTwelveMegapixel(featureWord(c.feature, c.cropMode));
        const InitOut io = referenceSizes(cfg);
        ProcIn pi = configuredCrops(io, 2.0f);
        ProcOut po = untouchedOutput();
        ASSERT_EQ(GenSizeProc(po, pi, cfg), 0u);
        EXPECT_EQ(window(po.rrz_zoom_main), kUntouchedWindow) << c.feature << "/" << c.cropMode;
        EXPECT_EQ(window(po.rrz_zoom_auxi), kUntouchedWindow);
        EXPECT_EQ(window(po.traw_main), kUntouchedWindow);
        EXPECT_EQ(window(po.traw_auxi), kUntouchedWindow);
        EXPECT_EQ(po.dpe.dpe_frm_w, io.dpe.dpe_frm_w);  // the stage sizes are still filled
    }
}

TEST_F(GenSizeProcTest, SatCropModeTwoUsesTheConfiguredWindowsWhateverTheZoom) {
    InitIn cfg = dualTwelveMegapixel(featureWord(kSat, 2));
    const InitOut io = referenceSizes(cfg);
    expectModuleSizes(io);
    ProcIn pi = configuredCrops(io, 2.0f);
    pi.p1_main.usage_w = 2000;  // P1's crops play no part either
    ProcOut po = untouchedOutput();
    ASSERT_EQ(GenSizeProc(po, pi, cfg), 0u);
    EXPECT_EQ(window(po.rrz_zoom_main), (Window{4000, 3000, 0, 375, 4000, 2250, 1920, 1080}));
    EXPECT_EQ(window(po.rrz_zoom_auxi), (Window{4000, 3000, 0, 375, 4000, 2250, 1024, 576}));
    EXPECT_EQ(window(po.traw_main), Window{});
    EXPECT_EQ(window(po.traw_auxi), Window{});
}

// ---- stage sizes -------------------------------------------------------------------

TEST_F(GenSizeProcTest, StageSizesComeFromTheConfigurationSizes) {
    InitIn cfg = dualTwelveMegapixel(featureWord(kVelmo, 0));
    const InitOut io = referenceSizes(cfg);
    ProcIn pi = configuredCrops(io, 1.0f);
    ProcOut po = untouchedOutput();
    po.rrz_zoom_auxi.usage_w = 1000;  // crop mode 0 keeps the caller's window...
    po.rrz_zoom_auxi.usage_h = 5000;
    ASSERT_EQ(GenSizeProc(po, pi, cfg), 0u);

    EXPECT_EQ(po.rrz_zoom_main.p1_fe_w, io.main.p1.fe_w);
    EXPECT_EQ(po.rrz_zoom_main.p1_fe_h, io.main.p1.fe_h);
    EXPECT_EQ(po.rrz_zoom_main.p1_depth_w, io.main.p1.depth_w);
    EXPECT_EQ(po.rrz_zoom_main.p1_depth_h, io.main.p1.depth_h);
    ASSERT_EQ(io.auxi.p1.fe_w, 1280);
    ASSERT_EQ(io.auxi.p1.fe_h, 720);
    EXPECT_EQ(po.rrz_zoom_auxi.p1_fe_w, 1000);  // ...which bounds the auxiliary features
    EXPECT_EQ(po.rrz_zoom_auxi.p1_fe_h, 720);
    EXPECT_EQ(po.rrz_zoom_auxi.p1_depth_w, io.auxi.p1.depth_w);
    EXPECT_EQ(po.rrz_zoom_auxi.p1_depth_h, io.auxi.p1.depth_h);

    // FE-B as configured (main rot_h from rot_w), FE-C halved with the same grid.
    const auto& fe = io.auxi.fe_b;
    EXPECT_EQ(std::memcmp(&po.wpe_auxi_fe_b, &fe, sizeof fe), 0);
    EXPECT_EQ(po.wpe_main_fe_b.rot_h, io.main.fe_b.rot_w);
    const auto& c = po.wpe_auxi_fe_c;
    EXPECT_EQ((std::array<int32_t, 10>{c.in_w, c.in_h, c.offset_x, c.offset_y, c.usage_w, c.usage_h, c.rot_w,
                                       c.rot_h, c.grid_w, c.grid_h}),
              (std::array<int32_t, 10>{512, 288, 16, 9, 480, 270, 592, 592, 4, 4}));
    EXPECT_EQ(po.wpe_main_fe_c.in_w, 480);
    EXPECT_EQ(po.wpe_main_fe_c.rot_h, io.main.fe_b.rot_w / 2);
    EXPECT_EQ(po.wpe_main_fe_c.grid_w, 28);

    // N3D: P1 depth in, DPE frame as rotation size, nothing resized or cropped.
    const auto& sub = po.wpe_sub_n3d;
    EXPECT_EQ((std::array<int32_t, 14>{sub.in_w, sub.in_h, sub.resize_w, sub.resize_h, sub.crop_x, sub.crop_y,
                                       sub.crop_w, sub.crop_h, sub.rot_w, sub.rot_h, sub.wpe_grid_in_w,
                                       sub.wpe_grid_in_h, sub.wpe_grid_w, sub.wpe_grid_h}),
              (std::array<int32_t, 14>{io.auxi.p1.depth_w, io.auxi.p1.depth_h, 0, 0, 0, 0, 0, 0, io.dpe.dpe_frm_w,
                                       io.dpe.dpe_frm_h, 4, 4, io.auxi.wpe_grid_w, io.auxi.wpe_grid_h}));
    EXPECT_EQ(po.wpe_main_n3d.in_w, io.main.p1.depth_w);
    EXPECT_EQ(po.wpe_main_n3d.wpe_grid_in_w, 28);
    EXPECT_EQ(po.wpe_main_n3d.wpe_grid_w, io.main.wpe_grid_w);
    EXPECT_EQ(po.wpe_main_n3d.module_angle, io.main.wpe_traw_setting.module_angle);
    EXPECT_EQ(std::memcmp(&po.dpe, &io.dpe, sizeof io.dpe), 0);
    EXPECT_EQ(po.zoom_constraint, io.zoom_constraint);
}

TEST_F(GenSizeProcTest, QuarterTurnModuleKeepsTheSubOutputGridUnswapped) {
    for (float angle : {90.0f, 270.0f}) {
        InitIn cfg = dualTwelveMegapixel(featureWord(kVelmo, 0));
        cfg.module_angle = angle;
        const InitOut io = referenceSizes(cfg);
        ASSERT_NE(io.auxi.wpe_grid_w, io.auxi.wpe_grid_h);
        ProcIn pi = configuredCrops(io, 1.0f);
        ProcOut po = untouchedOutput();
        ASSERT_EQ(GenSizeProc(po, pi, cfg), 0u);
        EXPECT_EQ(po.wpe_sub_n3d.wpe_grid_w, io.auxi.wpe_grid_w) << angle;
        EXPECT_EQ(po.wpe_sub_n3d.wpe_grid_h, io.auxi.wpe_grid_h) << angle;
        // The other grids are square on this module: 28 main (OIS), 4 auxiliary.
        EXPECT_EQ(po.wpe_main_fe_b.grid_h, 28);
        EXPECT_EQ(po.wpe_auxi_fe_c.grid_w, 4);
        EXPECT_EQ(po.wpe_sub_n3d.wpe_grid_in_h, 4);
    }
}

// ---- SAT crop mode 1 ------------------------------------------------------------------

TEST_F(GenSizeProcTest, SatFollowsTheMainCropAndKeepsTheAuxiliaryView) {
    InitIn cfg = dualTwelveMegapixel(featureWord(kSat, 1));
    const InitOut io = referenceSizes(cfg);
    expectModuleSizes(io);
    ProcIn pi = configuredCrops(io, 2.0f);
    pi.p1_main = {4000, 3000, 1000, 750, 2000, 1124, 1900, 1068, 0, 0, 0, 0};
    log.clear();
    ProcOut po = untouchedOutput();
    ASSERT_EQ(GenSizeProc(po, pi, cfg), 0u);

    // Main: P1's window; TRAW takes the whole P1 output down to FE size:
    // A = 1856 (1900 aligned down to 64), out_w = min(1856, 960),
    // out_h = min(2 floor(1856 x 540 / 960 / 2) = 1044, 540).
    EXPECT_EQ(window(po.rrz_zoom_main), (Window{4000, 3000, 1000, 750, 2000, 1124, 1900, 1068}));
    EXPECT_EQ(window(po.traw_main), (Window{1900, 1068, 0, 0, 1900, 1068, 960, 540}));
    // Auxiliary: the configured window (centred), P1's output size; TRAW crops
    // 1024 / 4000 x 4000 = 1024 and 576 / 2250 x 2250 = 576: nothing.
    EXPECT_EQ(window(po.rrz_zoom_auxi), (Window{4000, 3000, 0, 375, 4000, 2250, 1024, 576}));
    EXPECT_EQ(window(po.traw_auxi), (Window{1024, 576, 0, 0, 1024, 576, 1024, 576}));
    EXPECT_TRUE(errorLines(log).empty());
}

TEST_F(GenSizeProcTest, AllZeroFeatureWordIsSatCropModeOne) {
    InitIn cfg = dualTwelveMegapixel(0);
    InitIn reference = cfg;
    reference.module_variation = 0.0f;  // the SAT preparation GenSizeProc applies itself
    const InitOut io = referenceSizes(reference);
    expectModuleSizes(io);
    ProcIn pi = configuredCrops(io, 1.0f);
    properties.set("vendor.debug.velmoUtil.gensize.debuglevel", "1");
    log.clear();
    ProcOut po = untouchedOutput();
    ASSERT_EQ(GenSizeProc(po, pi, cfg), 0u);
    EXPECT_EQ(window(po.traw_main), (Window{1920, 1080, 0, 0, 1920, 1080, 960, 540}));
    EXPECT_EQ(window(po.rrz_zoom_auxi), (Window{4000, 3000, 0, 375, 4000, 2250, 1024, 576}));
    EXPECT_TRUE(contains(log.texts(),
                         "[GenSizeProc] Feature: SAT, crop_mode: 1, zoom_ratio: 1.000000, zoom_constraint: 3.906250\n"));
}

TEST_F(GenSizeProcTest, SatCheckOneAuxiliaryCroppedMoreThanConfigured) {
    InitIn cfg = dualTwelveMegapixel(featureWord(kSat, 1));
    const InitOut io = referenceSizes(cfg);
    expectModuleSizes(io);
    ProcIn pi = configuredCrops(io, 1.0f);
    pi.p1_auxi.usage_w = 3999;  // one pixel narrower than configured
    pi.p1_auxi.out_w = 1000;
    pi.p1_auxi.out_h = 563;
    log.clear();
    ProcOut po = untouchedOutput();
    ASSERT_EQ(GenSizeProc(po, pi, cfg), 0u);

    // The auxiliary window becomes P1's (offset (4000 - 3999) / 2 = 0); main
    // narrows by 2 (offset (4000 - 3998) / 2 = 1); TRAW takes P1's output
    // whole, 1000 aligned down to 64 = 960 wide, 563 down to even = 562 high.
    EXPECT_EQ(window(po.rrz_zoom_auxi), (Window{4000, 3000, 0, 375, 3999, 2250, 1000, 563}));
    EXPECT_EQ(window(po.rrz_zoom_main), (Window{4000, 3000, 1, 375, 3998, 2250, 1920, 1080}));
    EXPECT_EQ(window(po.traw_auxi), (Window{1000, 563, 0, 0, 1000, 563, 960, 562}));

    EXPECT_EQ(errorLines(log), (std::vector<std::string>{
                          "[Gensize Error] sub FOV < main FOV after p1 crop, SAT auxi P1 crop more than gensize init "
                          "configuration,  n3d should not learning\n",
                          "[Gensize Error] rrz_zoom_zuxi in_w: 4000, in_h: 3000, usage_w: 3999, usage_h: 2250, "
                          "offset_x: 0, offset_y: 375",
                      }));
}

TEST_F(GenSizeProcTest, SatCheckTwoTrawWindowTallerThanItsInput) {
    InitIn cfg = dualTwelveMegapixel(featureWord(kSat, 1));
    const InitOut io = referenceSizes(cfg);
    expectModuleSizes(io);
    ProcIn pi = configuredCrops(io, 1.0f);
    pi.p1_auxi.out_h = 563;  // 563 / 2250 x 2250 rounds up in single precision: 564 rows
    log.clear();
    ProcOut po = untouchedOutput();
    ASSERT_EQ(GenSizeProc(po, pi, cfg), 0u);
    // Uncropped, height aligned down to 16: 560.
    EXPECT_EQ(window(po.traw_auxi), (Window{1024, 563, 0, 0, 1024, 563, 1024, 560}));
    EXPECT_EQ(window(po.rrz_zoom_auxi), (Window{4000, 3000, 0, 375, 4000, 2250, 1024, 563}));
    EXPECT_EQ(errorLines(log), std::vector<std::string>{"[Gensize Error] sub cam occurs negative traw offset!\n"});
}

TEST_F(GenSizeProcTest, SatCheckThreeResizerWindowWiderThanItsInput) {
    // An odd usable width of 3999 is rounded up to an even usage of 4000 when
    // the auxiliary keeps its whole width.
    InitIn cfg = dualTwelveMegapixel(featureWord(kSat, 1));
    cfg.sensor_auxi.sensor_scale_w = 3999;
    cfg.only_crop_ratio = 1;
    const InitOut io = referenceSizes(cfg);
    ASSERT_EQ(window(io.auxi.rrz), (Window{3999, 3000, 0, 375, 4000, 2250, 1024, 576}));
    ProcIn pi = configuredCrops(io, 1.0f);
    pi.p1_auxi.out_w = 2000;  // 2000 / 4000 x 4000 and 1125 / 2250 x 2250 are exact
    pi.p1_auxi.out_h = 1125;
    log.clear();
    ProcOut po = untouchedOutput();
    ASSERT_EQ(GenSizeProc(po, pi, cfg), 0u);
    // Without the check the offset would be (3999 - 4000) / 2 wrapped = 2147483647.
    EXPECT_EQ(window(po.rrz_zoom_auxi), (Window{3999, 3000, 0, 375, 4000, 2250, 2000, 1125}));
    EXPECT_EQ(window(po.traw_auxi), (Window{2000, 1125, 0, 0, 2000, 1125, 1024, 576}));
    EXPECT_EQ(errorLines(log), std::vector<std::string>{"[Gensize Error] sub cam occurs negative traw offset!\n"});
}

// ---- failures and unsupported words ---------------------------------------------------------

TEST_F(GenSizeProcTest, FailedSizingLeavesTheOutputUntouched) {
    struct Case {
        int32_t feature;
        const char* line;
    };
    for (const Case& c : {Case{kSat, "[GenSizeProc] Gensizeinit error\n"},
                          Case{kVelmo, "[GenSizeProc] GenSizeInit Fail\n"}}) {
        InitIn cfg = dualTwelveMegapixel(featureWord(c.feature, 2));
        cfg.ai_tracking_w = 64;    // 640 / 64 = 10: high band
        cfg.ai_tracking_h = 3600;  // 360 / 3600 = 0.1: low band
        ProcIn pi{};
        gen_procIn_testcase(pi, cfg);
        log.clear();
        ProcOut po = untouchedOutput();
        EXPECT_EQ(GenSizeProc(po, pi, cfg), 5u);
        const ProcOut untouched = untouchedOutput();
        EXPECT_EQ(std::memcmp(&po, &untouched, sizeof po), 0);
        ASSERT_FALSE(log.texts().empty());
        EXPECT_EQ(log.texts().back(), c.line);
    }
}

TEST_F(GenSizeProcTest, UnsupportedFeatureWordFillsZeroSizesWithoutSizing) {
    for (int32_t word : {3, featureWord(0, 2), featureWord(3, 1)}) {
        InitIn cfg = dualTwelveMegapixel(word);
        ProcIn pi{};
        gen_procIn_testcase(pi, cfg);
        log.clear();
        ProcOut po = untouchedOutput();
        EXPECT_EQ(GenSizeProc(po, pi, cfg), 0u);
        EXPECT_EQ(log.texts(), std::vector<std::string>{
                                   "[GenSizeProc] GenSizeProc error, currently not support SAT + Velmo yet\n"});

        EXPECT_EQ(window(po.rrz_zoom_main), kUntouchedWindow);
        EXPECT_EQ(window(po.traw_auxi), kUntouchedWindow);
        EXPECT_EQ(po.rrz_zoom_main.p1_fe_w, 0);
        EXPECT_EQ(po.rrz_zoom_auxi.p1_fe_h, 0);
        EXPECT_EQ(po.rrz_zoom_auxi.p1_depth_w, 0);
        // Everything from the FE records on is zero.
        const auto* tail = reinterpret_cast<const unsigned char*>(&po.wpe_main_fe_b);
        const std::size_t tailSize = sizeof po - offsetof(ProcOut, wpe_main_fe_b);
        EXPECT_EQ(std::vector<unsigned char>(tail, tail + tailSize), std::vector<unsigned char>(tailSize, 0));
    }
}

// ---- debug block --------------------------------------------------------------------------------

std::vector<std::string> GenSizeProcTest::debugBlockLines(const char* level) {
    properties.set("vendor.debug.velmoUtil.gensize.debuglevel", level);
    InitIn cfg = dualTwelveMegapixel(featureWord(kVelmo, 2));
    ProcIn pi{};
    gen_procIn_testcase(pi, cfg);
    pi.zoom_ratio = 2.0f;
    log.clear();
    ProcOut po{};
    EXPECT_EQ(GenSizeProc(po, pi, cfg), 0u);
    // Everything after GenSizeInit's own output record dump.
    std::vector<std::string> lines = log.texts();
    std::size_t start = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].rfind("[GenSizeProc] Feature:", 0) == 0) start = i;
    }
    return start == 0 ? std::vector<std::string>{} : std::vector<std::string>(lines.begin() + start, lines.end());
}

TEST_F(GenSizeProcTest, DebugBlockFollowsTheLevelProperty) {
    EXPECT_TRUE(debugBlockLines("0").empty());

    const std::vector<std::string> level1 = debugBlockLines("1");
    ASSERT_FALSE(level1.empty());
    EXPECT_EQ(level1.front(),
              "[GenSizeProc] Feature: Velmo, crop_mode: 2, zoom_ratio: 2.000000, zoom_constraint: 3.906250\n");
    EXPECT_TRUE(contains(level1, "[GensizeProc][STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT][DEBUG]\n"));
    EXPECT_TRUE(contains(level1, "[GensizeProc][STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT][DEBUG]\n"));
    EXPECT_TRUE(contains(level1, "[GensizeProc][STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT][DEBUG]\n"));
    EXPECT_TRUE(contains(level1, "[GenSizeProc] zoom_ratio: 2.000000\n"));
    EXPECT_TRUE(contains(level1, "[GenSizeProc] traw_auxi\n"));
    EXPECT_FALSE(contains(level1, "[GenSizeProc] wpe_main_fe_b\n"));
    EXPECT_FALSE(contains(level1, "[GenSizeProc] main wpe_traw_init\n"));

    const std::vector<std::string> level2 = debugBlockLines("2");
    EXPECT_TRUE(contains(level2, "[GenSizeProc] main wpe_traw_init\n"));
    EXPECT_TRUE(contains(level2, "[GenSizeProc] wpe_main_fe_b\n"));
    EXPECT_TRUE(contains(level2, "[GenSizeProc] dpe\n"));
    EXPECT_GT(level2.size(), level1.size());
}

// ---- dumps of the per-frame records ----------------------------------------------------------------

TEST_F(GenSizeProcTest, SampleInputAndItsDump) {
    ProcIn pi{};
    pi.p1_main.p1_fe_w = 77;  // left as it was
    gen_procIn_testcase(pi, InitIn{});
    EXPECT_EQ(pi.zoom_ratio, 1.0f);
    EXPECT_EQ(window(pi.p1_main), (Window{4096, 2304, 0, 0, 4096, 2304, 2586, 1456}));
    EXPECT_EQ(window(pi.p1_auxi), (Window{4096, 2304, 0, 0, 4096, 2304, 2586, 1456}));
    EXPECT_EQ(pi.p1_main.p1_fe_w, 77);

    log.clear();
    show_proc_in_log(pi);
    EXPECT_EQ(log.texts(), (std::vector<std::string>{
                               "[GensizeProc][STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT][DEBUG]\n",
                               "[GenSizeProc] zoom_ratio: 1.000000\n",
                               "[GenSizeProc] p1_main\n",
                               pi.p1_main.toString(),
                               "[GenSizeProc] p1_auxi\n",
                               pi.p1_auxi.toString(),
                           }));
}

TEST_F(GenSizeProcTest, OutputDumpAddsStagesFromLevel2) {
    ProcOut po{};
    po.traw_auxi.out_w = 960;
    GENSIZE::debugLevel = 1;
    {
        log.clear();
        show_proc_out_log(po);
        EXPECT_EQ(log.texts(), (std::vector<std::string>{
                                   "[GensizeProc][STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT][DEBUG]\n",
                                   "[GenSizeProc] rrz_zoom_main\n",
                                   po.rrz_zoom_main.toString(),
                                   "[GenSizeProc] rrz_zoom_auxi\n",
                                   po.rrz_zoom_auxi.toString(),
                                   "[GenSizeProc] traw_main\n",
                                   po.traw_main.toString(),
                                   "[GenSizeProc] traw_auxi\n",
                                   po.traw_auxi.toString(),
                               }));
    }
    GENSIZE::debugLevel = 2;
    log.clear();
    show_proc_out_log(po);
    const std::vector<std::string> lines = log.texts();
    const std::vector<std::string> labels = {
        "[GenSizeProc] wpe_main_fe_b\n", "[GenSizeProc] wpe_auxi_fe_b\n", "[GenSizeProc] wpe_main_fe_c\n",
        "[GenSizeProc] wpe_auxi_fe_c\n", "[GenSizeProc] wpe_main_n3d\n",  "[GenSizeProc] wpe_sub_n3d\n",
        "[GenSizeProc] dpe\n"};
    std::size_t next = 0;
    for (const std::string& line : lines) {
        if (next < labels.size() && line == labels[next]) ++next;
    }
    EXPECT_EQ(next, labels.size());  // all seven, in this order
    EXPECT_EQ(lines.back(), po.dpe.toString());
}

}  // namespace
