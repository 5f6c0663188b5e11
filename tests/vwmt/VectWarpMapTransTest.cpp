// Construction, per-frame sizes and the working buffer of the OIS transformer.

#include "vwmt/VectWarpMapTrans.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/LogCapture.h"
#include "vwmt/TransformerTestSupport.h"

namespace {

using velmo::testing::LogCapture;
using velmo::testing::ScopedProperties;
using velmo::testing::TransformerGlobals;
using velmo::testing::makeInput;

const std::string kLogLevelKey = "vendor.velmoUtil.vwmt.logLevel";

TEST(VectWarpMapTransInit, GridConstructorLogsVersionSizesAndReadsTheLogLevel) {
    TransformerGlobals globals;
    ScopedProperties props;
    props.set(kLogLevelKey.c_str(), "3");
    LogCapture log;
    testing::internal::CaptureStdout();
    VectWarpMapTrans trans(9, 7);
    EXPECT_EQ(testing::internal::GetCapturedStdout().rfind("Memory Heap Utilization: ", 0), 0u);
    const std::vector<std::string> expected = {
        "[VWMT][VectWarpMapTrans] VectWMTrans v 2. 4.20\n",
        "[VWMT][VectWarpMapTrans] version: 20240827-2",
        "[VWMT][VectWarpMapTrans] Init VectWMTrans gridInW(9), gridInH(7)\n",
        "[VWMT][VectWarpMapTrans] Init VectWMTrans meshW(9), meshH(7)\n",
        "[VWMT][VectWarpMapTrans] Init VectWMTrans warpmapW(12), warpmapH(12)\n",
        "[VWMT][VectWarpMapTrans] logLevel: 3\n",
    };
    EXPECT_EQ(log.texts(), expected);
    for (const auto& line : log.lines()) {
        EXPECT_EQ(line.module, 0x10004001);
        EXPECT_EQ(line.tag, "OISWarpMap");
    }
    EXPECT_EQ(VWMT::logLevel, 3);
}

// The warp engine takes grids in steps of four nodes; a one-column grid
// becomes a two-column mesh, a one-row grid stays one row.
TEST(VectWarpMapTransInit, WarpMapSideAndMeshSize) {
    struct Case {
        int w, h;
        const char* warpmap;
        const char* mesh;
    } cases[] = {
        {9, 7, "warpmapW(12), warpmapH(12)", "meshW(9), meshH(7)"},
        {8, 8, "warpmapW(8), warpmapH(8)", "meshW(8), meshH(8)"},
        {1, 5, "warpmapW(8), warpmapH(8)", "meshW(2), meshH(5)"},
        {3, 1, "warpmapW(4), warpmapH(4)", "meshW(3), meshH(1)"},
        {1, 1, "warpmapW(4), warpmapH(4)", "meshW(2), meshH(1)"},
        {28, 28, "warpmapW(28), warpmapH(28)", "meshW(28), meshH(28)"},
        {29, 2, "warpmapW(32), warpmapH(32)", "meshW(29), meshH(2)"},
    };
    TransformerGlobals globals;
    for (const Case& c : cases) {
        LogCapture log;
        testing::internal::CaptureStdout();
        VectWarpMapTrans trans(c.w, c.h);
        testing::internal::GetCapturedStdout();
        const auto texts = log.texts();
        ASSERT_GE(texts.size(), 5u);
        EXPECT_EQ(texts[3], std::string("[VWMT][VectWarpMapTrans] Init VectWMTrans ") + c.mesh + "\n") << c.w;
        EXPECT_EQ(texts[4], std::string("[VWMT][VectWarpMapTrans] Init VectWMTrans ") + c.warpmap + "\n") << c.w;
    }
}

TEST(VectWarpMapTransInit, UpdateGridLenToMeshLen) {
    TransformerGlobals globals;
    LogCapture log;
    VectWarpMapTrans trans(4, 4, 0);
    const int cases[][2] = {{1, 2}, {2, 2}, {0, 0}, {-1, -1}, {66, 66}};
    for (const auto& c : cases) EXPECT_EQ(trans.updateGridLenToMeshLen(c[0]), c[1]) << c[0];
}

TEST(VectWarpMapTransInit, PerFrameConstructorWithOisOnReadsAllThreeProperties) {
    TransformerGlobals globals;
    ScopedProperties props;
    props.set(kLogLevelKey.c_str(), "1");
    props.set("vendor.velmoUtil.vwmt.ois_scale_x", "0.5");
    LogCapture log;
    testing::internal::CaptureStdout();
    VectWarpMapTrans trans(9, 7, 1);
    EXPECT_NE(testing::internal::GetCapturedStdout(), "");
    const std::vector<std::string> expected = {
        "[VWMT][VectWarpMapTrans] VectWMTrans v 2. 4.20\n",
        "[VWMT][VectWarpMapTrans] version: 20240827-2",
        "[VWMT][VectWarpMapTrans] Init VectWMTrans gridInW(9), gridInH(7), isOisOn(1)\n",
        "[VWMT][VectWarpMapTrans] Init VectWMTrans meshW(9), meshH(7)\n",
        "[VWMT][VectWarpMapTrans] Init VectWMTrans warpmapW(12), warpmapH(12)\n",
        "[VWMT][VectWarpMapTrans] Init VectWMTrans buffer_w(12), buffer_h(12), content_w(12), content_h(12),\n",
        "[VWMT][VectWarpMapTrans] logLevel: 1, isOisOn: 1\n",
        "[VWMT][VectWarpMapTrans] ois_scale_x: 0.500000, ois_scale_y: 0.880000\n",
    };
    EXPECT_EQ(log.texts(), expected);
    EXPECT_EQ(VWMT::ois_scale_x, 0.5f);
    EXPECT_EQ(VWMT::ois_scale_y, 0.88f);
    // G = 63, M = 63, C = 144, 11 x 11 content cells, meshH 7:
    // 16*63 + 56*144 + 80*63 + 24*121 + 48*7.
    EXPECT_EQ(trans.getWorkingBufferSize(), 1008 + 8064 + 5040 + 2904 + 336);
}

// Any isOisOn other than 1 stands by at 28 x 28 without an arena.
TEST(VectWarpMapTransInit, PerFrameConstructorStandsByWithoutArena) {
    for (int isOisOn : {0, 2, -1}) {
        TransformerGlobals globals;
        ScopedProperties props;
        props.set("vendor.velmoUtil.vwmt.ois_scale_y", "1.25");
        LogCapture log;
        testing::internal::CaptureStdout();
        VectWarpMapTrans trans(9, 7, isOisOn);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "no arena, no usage print";
        const std::string on = std::to_string(isOisOn);
        const std::vector<std::string> expected = {
            "[VWMT][VectWarpMapTrans] VectWMTrans v 2. 4.20\n",
            "[VWMT][VectWarpMapTrans] version: 20240827-2",
            "[VWMT][VectWarpMapTrans] Init VectWMTrans gridInW(9), gridInH(7), isOisOn(" + on + ")\n",
            "[VWMT][VectWarpMapTrans] logLevel: 0, isOisOn: " + on + "\n",
            "[VWMT][VectWarpMapTrans] ois_scale_x: 0.880000, ois_scale_y: 1.250000\n",
        };
        EXPECT_EQ(log.texts(), expected);
        // G = 63 as given; mesh and content 28 x 28 (784 nodes, 729 cells).
        EXPECT_EQ(trans.getWorkingBufferSize(), 1008 + 56 * 784 + 80 * 784 + 24 * 729 + 48 * 28) << isOisOn;
    }
}

TEST(VectWarpMapTransInit, OffsetConstructorsLogWithoutPrefixAndReadNoProperty) {
    TransformerGlobals globals;
    ScopedProperties props;
    props.set(kLogLevelKey.c_str(), "4");
    double offset[2] = {1.5, -2.25};
    {
        LogCapture log;
        VectWarpMapTrans trans(1, 5, offset);
        const std::vector<std::string> expected = {
            "VectWMTrans v 2. 4.20\n",
            "VectWMTrans gridInW(1), gridInH(5), vectOffset(1.500000, -2.250000)\n",
        };
        EXPECT_EQ(log.texts(), expected);
        // Mesh 2 x 5; no content, so the cell term is (0 - 1)(0 - 1) = 1 cell:
        // 16*5 + 0 + 80*10 + 24*1 + 48*5.
        EXPECT_EQ(trans.getWorkingBufferSize(), 80 + 800 + 24 + 240);
    }
    {
        LogCapture log;
        VectWarpMapTrans trans(6, 4, 10, 1, offset);
        EXPECT_EQ(log.texts().size(), 2u);
        // Content 10 x 1 has no cells: 16*24 + 56*10 + 80*24 + 0 + 48*4.
        EXPECT_EQ(trans.getWorkingBufferSize(), 384 + 560 + 1920 + 0 + 192);
    }
    EXPECT_EQ(VWMT::logLevel, 0);
}

TEST(VectWarpMapTransInit, NullOffsetIsTakenAsZeroWithOneLine) {
    TransformerGlobals globals;
    LogCapture log;
    VectWarpMapTrans trans(4, 4, static_cast<double*>(nullptr));
    ASSERT_EQ(log.texts().size(), 3u);
    EXPECT_EQ(log.texts()[1], "VectWMTrans gridInW(4), gridInH(4), vectOffset(0.000000, 0.000000)\n");
    EXPECT_NE(log.texts()[2].find("[VWMT][VectWarpMapTrans] Error: vectOffset"), std::string::npos);
}

// Content sizes after updateVectSize, read from its level-1 log.
std::string perFrameContent(VectWarpMapTrans& trans, const VWMTInput& in) {
    LogCapture log;
    trans.updateVectSize(in);
    const auto texts = log.texts();
    return texts.empty() ? "" : texts.back();
}

TEST(VectWarpMapTransFrameSize, OnlyAVerticalModuleAtAQuarterTurnSwapsTheContent) {
    struct Case {
        float angle;
        int dir;
        bool swapped;
    } cases[] = {
        {90.0f, 1, true},   {270.0f, 1, true},  {90.0f, 2, false},  {90.0f, 0, false}, {270.0f, 2, false},
        {89.9f, 1, false},  {-90.0f, 1, false}, {180.0f, 1, false}, {0.0f, 1, false},  {90.0001f, 1, false},
    };
    TransformerGlobals globals;
    VWMT::logLevel = 1;
    LogCapture quiet;
    VectWarpMapTrans trans(4, 4, 1);
    for (const Case& c : cases) {
        VWMTInput in = makeInput(5, 3, static_cast<VWMT_DIRECTION>(c.dir), 16, 10, 16, c.angle);
        const std::string expected = c.swapped
            ? "[VWMT][updateVectSize] Perframe VectWMTrans buffer_w(16), buffer_h(16), content_w(10), content_h(16)\n"
            : "[VWMT][updateVectSize] Perframe VectWMTrans buffer_w(16), buffer_h(16), content_w(16), content_h(10)\n";
        EXPECT_EQ(perFrameContent(trans, in), expected) << c.angle << " dir " << c.dir;
    }
}

TEST(VectWarpMapTransFrameSize, LogsTheFourPerFrameLinesAtLevelOne) {
    TransformerGlobals globals;
    LogCapture quiet;
    VectWarpMapTrans trans(4, 4, 1);
    VWMTInput in = makeInput(1, 6, VWMT_DIRECTION_FORWARD, 8, 7, 9, 0.0f);
    {
        LogCapture log;
        trans.updateVectSize(in);
        EXPECT_TRUE(log.texts().empty()) << "level 0 is silent";
    }
    VWMT::logLevel = 1;
    LogCapture log;
    trans.updateVectSize(in);
    const std::vector<std::string> expected = {
        "[VWMT][updateVectSize] Perframe VectWMTrans gridInW(1), gridInH(6)\n",
        "[VWMT][updateVectSize] Perframe VectWMTrans meshW(2), meshH(6)\n",
        "[VWMT][updateVectSize] Perframe VectWMTrans meshW_resampled(8), meshH_resampled(7)\n",
        "[VWMT][updateVectSize] Perframe VectWMTrans buffer_w(9), buffer_h(9), content_w(8), content_h(7)\n",
    };
    EXPECT_EQ(log.texts(), expected);
}

// With OIS off the vector grid keeps its constructed size; mesh and content
// follow the output content.
TEST(VectWarpMapTransFrameSize, OisOffTakesMeshAndContentFromTheOutput) {
    TransformerGlobals globals;
    LogCapture quiet;
    VectWarpMapTrans trans(9, 7, 0);
    VWMTInput in = makeInput(3, 3, VWMT_DIRECTION_BACKWARD_VERTICAL, 6, 5, 8, 90.0f);
    trans.updateVectSize(in);
    // G = 63 (unchanged), M = C = 30 (not swapped), 20 cells, meshH 5.
    EXPECT_EQ(trans.getWorkingBufferSize(), 16 * 63 + 56 * 30 + 80 * 30 + 24 * 20 + 48 * 5);
}

// The size is documented in 32-bit arithmetic: 16 x 2.5e9 wraps to 1345294336.
TEST(VectWarpMapTransBuffer, SizeWrapsAt32BitsAndSuchACarveIsRefused) {
    TransformerGlobals globals;
    LogCapture log;
    VectWarpMapTrans trans(50000, 50000, 2);
    EXPECT_EQ(trans.getWorkingBufferSize(), 1345294336 + 56 * 784 + 80 * 784 + 24 * 729 + 48 * 28);
    std::vector<uint32_t> buffer(1024, 0xabababab);
    log.clear();
    EXPECT_EQ(trans.setWorkingBuffer(reinterpret_cast<char*>(buffer.data())), 0);
    ASSERT_EQ(log.texts().size(), 1u);
    EXPECT_EQ(log.texts()[0].rfind("[VWMT][setWorkingBuffer] Error: ", 0), 0u);
    for (uint32_t word : buffer) ASSERT_EQ(word, 0xababababu);
}

}  // namespace
