// What the reference cases leave open in GenSizeProc: the tolerance around
// zoom 1, the sample input, and the debug block with its level property. The
// per-frame windows, stage sizes and failure lines are pinned by
// GenSizeReferenceTest.

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gensize/GenSize.h"
#include "gensize/SizingConfig.h"
#include "support/LogCapture.h"

namespace {

using velmo::testing::dualTwelveMegapixel;
using InitIn = STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT;
using InitOut = STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT;
using ProcIn = STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT;
using ProcOut = STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT;
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

class GenSizeProcTest : public ::testing::Test {
protected:
    void SetUp() override { GENSIZE::debugLevel = 0; }
    void TearDown() override { GENSIZE::debugLevel = 0; }

    std::vector<std::string> debugBlock(const char* level, int32_t word);

    velmo::testing::ScopedProperties properties;
    velmo::testing::LogCapture log;
};

// Within 1e-5 of 1 the configured windows stay; just outside, a zoom of
// 0.99998 already grows the 4000-wide usage to 2 x ceil(2000.04) = 4002.
TEST_F(GenSizeProcTest, ZoomWithinTheToleranceOfOneKeepsTheConfiguredWindows) {
    InitIn cfg = dualTwelveMegapixel(kVelmoCropTwo);
    InitIn initCfg = cfg;
    initCfg.has_mdp = -1;  // as GenSizeProc calls it
    InitOut io{};
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

TEST_F(GenSizeProcTest, SampleInputFillsBothWindowsAndZoomOne) {
    ProcIn pi{};
    pi.p1_main.p1_fe_w = 77;  // left as it was
    gen_procIn_testcase(pi, InitIn{});
    EXPECT_EQ(pi.zoom_ratio, 1.0f);
    EXPECT_EQ(window(pi.p1_main), (Window{4096, 2304, 0, 0, 4096, 2304, 2586, 1456}));
    EXPECT_EQ(window(pi.p1_auxi), (Window{4096, 2304, 0, 0, 4096, 2304, 2586, 1456}));
    EXPECT_EQ(pi.p1_main.p1_fe_w, 77);
}

// The lines GenSizeProc adds after its GenSizeInit call, at a debug level set
// through the property, sizing the sample input at zoom 2.
std::vector<std::string> GenSizeProcTest::debugBlock(const char* level, int32_t word) {
    properties.set("vendor.debug.velmoUtil.gensize.debuglevel", level);
    InitIn cfg = dualTwelveMegapixel(word);
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
