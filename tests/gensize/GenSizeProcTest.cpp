// What the reference cases leave open in GenSizeProc: the tolerance around
// zoom 1, the sample input, and the debug block with its level property. The
// per-frame windows, stage sizes and failure lines are pinned by
// GenSizeReferenceTest.

#include <array>
#include <cstdint>
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

TEST_F(GenSizeProcTest, DebugBlockFollowsTheLevelProperty) {
    EXPECT_TRUE(debugBlock("0", kVelmoCropTwo).empty());

    const std::vector<std::string> level1 = debugBlock("1", kVelmoCropTwo);
    ASSERT_FALSE(level1.empty());
    EXPECT_EQ(level1.front(),
              "[GenSizeProc] Feature: Velmo, crop_mode: 2, zoom_ratio: 2.000000, zoom_constraint: 3.906250\n");
    const std::vector<std::string> levelOneLabels = {
        "[GensizeProc][STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT][DEBUG]\n",
        "[GensizeProc][STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT][DEBUG]\n",
        "[GensizeProc][STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT][DEBUG]\n",
        "[GenSizeProc] zoom_ratio: 2.000000\n",
        "[GenSizeProc] p1_main\n",
        "[GenSizeProc] p1_auxi\n",
        "[GensizeProc][STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT][DEBUG]\n",
        "[GenSizeProc] rrz_zoom_main\n",
        "[GenSizeProc] rrz_zoom_auxi\n",
        "[GenSizeProc] traw_main\n",
        "[GenSizeProc] traw_auxi\n",
    };
    EXPECT_TRUE(inOrder(level1, levelOneLabels));
    EXPECT_FALSE(inOrder(level1, {"[GenSizeProc] main wpe_traw_init\n"}));
    EXPECT_FALSE(inOrder(level1, {"[GenSizeProc] wpe_main_fe_b\n"}));

    // Level 2 adds the configuration stages and, after traw_auxi, the seven per-frame stages.
    std::vector<std::string> levelTwoLabels = levelOneLabels;
    levelTwoLabels.insert(levelTwoLabels.begin() + 2, "[GenSizeProc] main wpe_traw_init\n");
    for (const char* stage : {"wpe_main_fe_b", "wpe_auxi_fe_b", "wpe_main_fe_c", "wpe_auxi_fe_c", "wpe_main_n3d",
                              "wpe_sub_n3d", "dpe"}) {
        levelTwoLabels.push_back(std::string("[GenSizeProc] ") + stage + "\n");
    }
    EXPECT_TRUE(inOrder(debugBlock("2", kVelmoCropTwo), levelTwoLabels));

    // The all-zero feature word is SAT in crop mode 1.
    const std::vector<std::string> sat = debugBlock("1", 0);
    ASSERT_FALSE(sat.empty());
    EXPECT_EQ(sat.front(), "[GenSizeProc] Feature: SAT, crop_mode: 1, zoom_ratio: 2.000000, zoom_constraint: 3.906250\n");
}

}  // namespace
