// GenSize's entry points where the reference cases leave them open:
// GenSizeInit's result codes with their exact log lines and the fitting loop's
// guard, showErrorLog's texts, GenSizeProc's tolerance around zoom 1 and its
// debug block. The record arithmetic itself is pinned by GenSizeReferenceTest.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "SizingConfig.h"
#include "gensize/GenSize.h"
#include "gensize/GenSizeInternal.h"
#include "support/LogCapture.h"

namespace {

using velmo::testing::dualTwelveMegapixel;
using velmo::testing::LogCapture;
using velmo::testing::plainConfig;
using velmo::testing::ScopedProperties;
using Config = STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT;
using Output = STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT;
using ProcIn = STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT;
using ProcOut = STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT;

// Properties, the debug level and the log start clean in every test.
class Sizing : public ::testing::Test {
protected:
    void SetUp() override { GENSIZE::debugLevel = 0; }
    void TearDown() override { GENSIZE::debugLevel = 0; }

    ScopedProperties properties;
    LogCapture log;
};

const char* const kVersionLine = "[GenSizeInit] version v3.0.47.20240321\n";
const char* const kVelmoLine = "[GENSIZE][GenSizeInit] Init Velmo Mode On!\n";

class GenSizeInitTest : public Sizing {
protected:
    uint32_t run(Config in) {
        out = Output{};
        log.clear();
        return GenSizeInit(out, in);
    }

    std::vector<std::string> linesWith(const char* part) const {
        std::vector<std::string> found;
        for (const auto& text : log.texts())
            if (text.find(part) != std::string::npos) found.push_back(text);
        return found;
    }

    Output out{};
};

// The worked configuration of SizingConfig.h all the way through.
TEST_F(GenSizeInitTest, PassLogsHeaderEstimatesAndBothDumps) {
    Config in = plainConfig();
    ASSERT_EQ(run(in), 0u);
    const auto lines = log.texts();
    ASSERT_GE(lines.size(), 7u);
    EXPECT_EQ(std::vector<std::string>(lines.begin(), lines.begin() + 6),
              (std::vector<std::string>{kVersionLine, "[GENSIZE][GenSizeInit] debugLevel: 0\n", kVelmoLine,
                                        "[GenSizeInit] Estimated fb            : 1228800.00 mm.pixel\n",
                                        "[GenSizeInit] Estimated working range : 4857 to 76800 mm\n",
                                        "[GenSizeInit] GEN_SIZE_PASS\n"}));
    std::string dump;  // showLog's pieces put back together
    for (std::size_t i = 6; i < lines.size(); ++i) dump += lines[i];
    EXPECT_EQ(dump, in.toString() + out.toString());

    in.has_mdp = -1;  // GenSizeProc's own call announces itself first
    ASSERT_EQ(run(in), 0u);
    EXPECT_EQ(log.texts()[0], "GensizeInit called in GesnzieProc\n");
    EXPECT_EQ(log.texts()[1], kVersionLine);
}

// Each failed rule names itself in the last line and skips the pass line and
// the dumps; a depth size off its alignment only warns.
TEST_F(GenSizeInitTest, RulesReturnTheirCodeAndLogTheirLines) {
    struct Case {
        float angle;
        int dpeW, dpeH, trackW, trackH, dpeAlign;
        uint32_t code;
        const char* warning;  // "input depth size ... Should be (...)", if any
        const char* last;
    };
    const Case cases[] = {
        // Angle 0.9 is not slanted, so the rotated box 656 x 370 is the size; 656 is no multiple of 64.
        {0.9f, 640, 360, 0, 0, 16, 3u, "(640, 360) has wrong alignment. Should be (656, 370)",
         "[GenSize] ERR_DPE_IN_64_ALIGN_SLANTED \n"},
        {0.0f, 4096, 360, 0, 0, 16, 4u, nullptr,
         "[GenSize] ERR_DPE_IN_W_MAXIMUM(Rule: Frame width < 848, Engine width < 784) \n"},
        // 640 / 640 = 1 is the high band, 360 / 720 = 0.5 the middle one.
        {0.0f, 640, 360, 640, 720, 16, 5u, nullptr,
         "[GenSize] ERR_AI_TRACKING_TO_DPE_GUIDE (AI Tracking w h -> DPE w h, > 1x, < 1x ~ 0.25x, < 0.25x) \n"},
        {0.0f, 600, 361, 0, 0, 16, 0u, "(600, 361) has wrong alignment. Should be (640, 362)", nullptr},
        // Alignment 0: "n x ceil(x / n)" gives 0 instead of trapping, and 0 is a multiple of 64.
        {0.0f, 640, 360, 0, 0, 0, 0u, "(640, 360) has wrong alignment. Should be (0, 360)", nullptr},
    };
    for (const Case& k : cases) {
        Config in = plainConfig();
        in.module_angle = k.angle;
        in.dpe_w = k.dpeW;
        in.dpe_h = k.dpeH;
        in.ai_tracking_w = k.trackW;
        in.ai_tracking_h = k.trackH;
        in.align_dpe_in_w = k.dpeAlign;
        EXPECT_EQ(run(in), k.code) << k.dpeW;
        EXPECT_EQ(linesWith("[Warning]"), k.warning == nullptr ? std::vector<std::string>{}
                                                               : std::vector<std::string>{std::string(
                                                                     "[GenSize][Warning] input depth size ") +
                                                                 k.warning + "\n"});
        EXPECT_EQ(linesWith("GEN_SIZE_PASS").size(), k.code == 0 ? 1u : 0u) << k.dpeW;
        if (k.last != nullptr) {
            EXPECT_EQ(log.texts().back(), k.last);
        }
    }
}

// The loop cannot fail to converge through the public entry, so the guard is
// reached with a round limit of 1 on a configuration that needs two rounds
// (main sensor binned to 1500 wide in two-pixel mode: 2 x 960 > 1500).
TEST_F(GenSizeInitTest, FitWithoutConvergenceReturns9AndSkipsTheDepthStage) {
    Config in = plainConfig();
    in.sensor_main.sensor_scale_w = 1500;
    in.sensor_main.sensor_scale_h = 1125;
    in.sensor_main.mode_2px_en = 1;
    out = Output{};
    out.dpe.dpe_frm_w = 1234;
    ASSERT_EQ(velmo::gensize::runGenSizeInit(out, in, 1), 9u);
    EXPECT_EQ(log.texts().back(), "[GenSize] ERR_FE_FIT_NOT_CONVERGED (FE size fitting did not converge) \n");
    EXPECT_TRUE(linesWith("GEN_SIZE_PASS").empty());
    EXPECT_EQ(out.dpe.dpe_frm_w, 1234);

    ASSERT_EQ(run(in), 0u);  // the default limit lets the second round fit
    EXPECT_EQ(out.main.fe_b.in_w, 750);
}

// Up to even: the half is rounded up and truncated before doubling, so the
// doubling wraps in 32 bits where a float product would saturate.
// What SetDPE starts from; the rest of the record holds a recognisable
// pattern, so a field written too early or not at all stands out.
constexpr int kUntouched = 0x55555555;

Output depthInput(int nocW, int nocH) {
    Output out;
    std::memset(&out, 0x55, sizeof out);
    out.dpe.dpe_noc_w = out.dpe.dpe_noc_w_no_rot = nocW;
    out.dpe.dpe_noc_h = out.dpe.dpe_noc_h_no_rot = nocH;
    out.dpe.dpe_padding = 32;
    out.main.fe_b.grid_w = out.main.fe_b.grid_h = 28;
    out.auxi.fe_b.grid_w = out.auxi.fe_b.grid_h = 4;
    return out;
}

// AI tracking: the ratios depth / tracking on each axis must share a band:
// high [1, 999), middle [0.25, 1), low anything else; a zero tracking size
// disables the check. Disparity: pad2 = 32 x ceil(noc_w / 544): 32, 64 from
// 545, 96 from 1089; dv_w = (noc_w + pad2) >> 1, its buffer aligned up to 16.
// The frame, noc_w plus 32 on both sides, may be 4096 wide; a wider one stops
// before the disparity map.
TEST(SetDpe, TrackingBandsDisparityPaddingAndFrameWidthLimit) {
    struct Case {
        int trackW, trackH, noRotW, noRotH, nocW, code, dvW, dvBufW;
    };
    const Case cases[] = {
        {640, 10, 640, 9989, 640, 0, 352, 352},  // 1.0 and 998.9: both high
        {100, 100, 99, 100, 640, 5, kUntouched, kUntouched},  // 0.99 and 1.0: refused before the frame
        {100, 1, 10, 1000, 640, 0, 352, 352},    // 0.1 and 1000: both low
        {400, 400, 100, 396, 640, 0, 352, 352},  // 0.25 and 0.99: both middle
        {100, 100, 100, 24, 640, 5, kUntouched, kUntouched},  // 1.0 and 0.24
        {0, 100, 1, 1000, 640, 0, 352, 352},
        {0, 0, 544, 361, 544, 0, 288, 288},
        {0, 0, 545, 361, 545, 0, 304, 304},
        {0, 0, 1088, 361, 1088, 0, 576, 576},
        {0, 0, 1089, 361, 1089, 0, 592, 592},
        {0, 0, 600, 361, 600, 0, 332, 336},
        {0, 0, 4032, 361, 4032, 0, 2144, 2144},
        {0, 0, 4033, 361, 4033, ERR_DPE_IN_W_MAXIMUM, kUntouched, kUntouched},
    };
    for (const Case& k : cases) {
        Config cfg = plainConfig();
        cfg.align_wpe_in_w = 1;
        cfg.ai_tracking_w = k.trackW;
        cfg.ai_tracking_h = k.trackH;
        Output out = depthInput(k.nocW, 361);
        out.dpe.dpe_noc_w_no_rot = k.noRotW;
        out.dpe.dpe_noc_h_no_rot = k.noRotH;
        SCOPED_TRACE(::testing::Message() << k.noRotW << "/" << k.trackW << ", " << k.noRotH << "/" << k.trackH);
        EXPECT_EQ(SetDPE(out, cfg), k.code);
        const int frameW = k.code == ERR_AI_TRACKING_TO_DPE_GUIDE ? kUntouched : k.nocW + 64;
        EXPECT_EQ((std::array<int, 3>{out.dpe.dpe_frm_w, out.dpe.dpe_dv_w, out.dpe.dpe_dv_buf_w}),
                  (std::array<int, 3>{frameW, k.dvW, k.dvBufW}));
    }
}

TEST(CeilEven, DoublesTheTruncatedHalfInUnsigned32Bits) {
    EXPECT_EQ(velmo::gensize::ceilEven(4001.0f), 4002u);
    EXPECT_EQ(velmo::gensize::ceilEven(4294967295.0f), 0u);  // 2^32: 2^31 x 2 wraps
}

// Codes outside 0..9 log nothing.
TEST(ShowErrorLog, EveryCodeLogsItsFixedText) {
    const std::vector<std::string> expected[] = {
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
        {},
    };
    Output out{};
    out.dpe.working_range_to_disp = 15.8125f;
    for (int code = -1; code <= 10; ++code) {
        LogCapture log;
        showErrorLog(code, out);
        EXPECT_EQ(log.texts(), expected[code < 0 ? 10 : code]) << code;
    }
}

// ---- GenSizeProc ----

using Rrz = STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT;
using Window = std::array<int32_t, 8>;

constexpr int32_t kVelmoCropTwo = 2 | (2 << 16);

Window window(const Rrz& r) { return {r.in_w, r.in_h, r.offset_x, r.offset_y, r.usage_w, r.usage_h, r.out_w, r.out_h}; }

// True when `wanted` appear in `lines` in this order (other lines between).
bool inOrder(const std::vector<std::string>& lines, const std::vector<std::string>& wanted) {
    std::size_t next = 0;
    for (const std::string& line : lines) {
        if (next < wanted.size() && line == wanted[next]) ++next;
    }
    return next == wanted.size();
}

class GenSizeProcTest : public Sizing {
protected:
    std::vector<std::string> debugBlock(const char* level, int32_t word);
};

// Within 1e-5 of 1 the configured windows stay; just outside, a zoom of
// 0.99998 already grows the 4000-wide usage to 2 x ceil(2000.04) = 4002.
TEST_F(GenSizeProcTest, ZoomWithinTheToleranceOfOneKeepsTheConfiguredWindows) {
    Config cfg = dualTwelveMegapixel(kVelmoCropTwo);
    Config initCfg = cfg;
    initCfg.has_mdp = -1;  // as GenSizeProc calls it
    Output io{};
    ASSERT_EQ(GenSizeInit(io, initCfg), 0u);
    ASSERT_EQ(window(io.main.rrz), (Window{4000, 3000, 0, 375, 4000, 2250, 1920, 1080}));
    const std::pair<float, bool> cases[] = {{1.0f, true}, {1.000009f, true}, {0.999991f, true}, {0.99998f, false}};
    for (const auto& k : cases) {
        ProcIn pi{};
        pi.zoom_ratio = k.first;
        pi.p1_main = io.main.rrz;
        pi.p1_auxi = io.auxi.rrz;
        ProcOut po{};
        ASSERT_EQ(GenSizeProc(po, pi, cfg), 0u);
        EXPECT_EQ(window(po.rrz_zoom_main) == window(io.main.rrz), k.second) << k.first;
        EXPECT_EQ(window(po.rrz_zoom_auxi) == window(io.auxi.rrz), k.second) << k.first;
    }
}

// The lines GenSizeProc adds after its GenSizeInit call, at a debug level set
// through the property, sizing the sample input at zoom 2.
std::vector<std::string> GenSizeProcTest::debugBlock(const char* level, int32_t word) {
    properties.set("vendor.debug.velmoUtil.gensize.debuglevel", level);
    Config cfg = dualTwelveMegapixel(word);
    ProcIn pi{};
    gen_procIn_testcase(pi, cfg);
    pi.zoom_ratio = 2.0f;
    log.clear();
    ProcOut po{};
    EXPECT_EQ(GenSizeProc(po, pi, cfg), 0u);
    const std::vector<std::string> lines = log.texts();
    std::size_t start = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].rfind("[GenSizeProc] Feature:", 0) == 0) start = i;
    }
    return start == 0 ? std::vector<std::string>{} : std::vector<std::string>(lines.begin() + start, lines.end());
}

// "[GenSizeProc] <name>\n" per name; a bracketed name is a record header.
std::vector<std::string> labels(std::initializer_list<const char*> names) {
    std::vector<std::string> lines;
    for (const char* name : names) {
        lines.push_back(name[0] == '[' ? std::string("[GensizeProc]") + name + "[DEBUG]\n"
                                       : std::string("[GenSizeProc] ") + name + "\n");
    }
    return lines;
}

TEST_F(GenSizeProcTest, DebugBlockFollowsTheLevelProperty) {
    EXPECT_TRUE(debugBlock("0", kVelmoCropTwo).empty());

    const std::vector<std::string> level1 = debugBlock("1", kVelmoCropTwo);
    ASSERT_FALSE(level1.empty());
    EXPECT_EQ(level1.front(),
              "[GenSizeProc] Feature: Velmo, crop_mode: 2, zoom_ratio: 2.000000, zoom_constraint: 3.906250\n");
    const std::vector<std::string> records =
        labels({"[STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT]", "====== sensor_main ======", "====== sensor_auxi ======",
                "[STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT]", "main rrz_init", "auxi rrz_init",
                "[STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT]", "zoom_ratio: 2.000000", "p1_main", "p1_auxi",
                "[STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT]", "rrz_zoom_main", "rrz_zoom_auxi", "traw_main", "traw_auxi"});
    EXPECT_TRUE(inOrder(level1, records));

    // Level 2 adds the configuration stages (the motion map section shows the
    // depth stage) and the seven per-frame stages.
    const std::vector<std::string> stages =
        labels({"main wpe_traw_init", "sub wpe_traw_init", "main p1_init", "auxi p1_init", "main fe_b_init",
                "main fe_c_init", "auxi fe_b_init", "auxi fe_c_init", "dpe_init", "me_init",
                "[STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT]", "traw_auxi", "wpe_main_fe_b", "wpe_auxi_fe_b",
                "wpe_main_fe_c", "wpe_auxi_fe_c", "wpe_main_n3d", "wpe_sub_n3d", "dpe"});
    EXPECT_FALSE(inOrder(level1, {stages.front()}));
    EXPECT_FALSE(inOrder(level1, {stages[12]}));
    const std::vector<std::string> level2 = debugBlock("2", kVelmoCropTwo);
    EXPECT_TRUE(inOrder(level2, records));
    EXPECT_TRUE(inOrder(level2, stages));
    const auto meInit = std::find(level2.begin(), level2.end(), "[GenSizeProc] me_init\n");
    ASSERT_NE(meInit, level2.end());
    EXPECT_EQ(meInit[1].rfind("[STEREO_KERNEL_GEN_SIZE_DPE_STAGE_STRUCT]", 0), 0u);

    // The all-zero feature word is SAT in crop mode 1.
    const std::vector<std::string> sat = debugBlock("1", 0);
    ASSERT_FALSE(sat.empty());
    EXPECT_EQ(sat.front(), "[GenSizeProc] Feature: SAT, crop_mode: 1, zoom_ratio: 2.000000, zoom_constraint: 3.906250\n");
}

}  // namespace
