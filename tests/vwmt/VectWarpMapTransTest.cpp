// Construction, per-frame sizes and the working buffer of the OIS transformer.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "vwmt/TransformTestSupport.h"

namespace {

using namespace velmo::testing;

// The per-frame constructor logs its version, sizes and the three properties
// it reads; with isOisOn other than 1 it stands by without an arena (no
// usage print) at a 28 x 28 mesh and content. The buffer size is 16 G + 56 C +
// 80 M + 24 content cells + 48 meshH bytes, G the vector grid, M the mesh and
// C the content nodes: on, G = M = 63, C = 144 (the warp map side), 121 cells;
// standing by, G = 63, M = C = 784, 729 cells.
TEST(VectWarpMapTransInit, PerFrameConstructorLogsReadsItsPropertiesAndSizesTheBuffer) {
    for (int isOisOn : {1, 2, 0}) {
        TransformerGlobals globals;
        ScopedProperties props;
        props.set("vendor.velmoUtil.vwmt.logLevel", "1");
        props.set("vendor.velmoUtil.vwmt.ois_scale_y", "1.25");
        LogCapture log;
        ::testing::internal::CaptureStdout();
        VectWarpMapTrans trans(9, 7, isOisOn);
        EXPECT_EQ(::testing::internal::GetCapturedStdout().rfind("Memory Heap Utilization: ", 0),
                  isOisOn == 1 ? 0u : std::string::npos);
        const std::string on = std::to_string(isOisOn), init = "[VWMT][VectWarpMapTrans] Init VectWMTrans ";
        std::vector<std::string> expected = {"[VWMT][VectWarpMapTrans] VectWMTrans v 2. 4.20\n",
                                             "[VWMT][VectWarpMapTrans] version: 20240827-2",
                                             init + "gridInW(9), gridInH(7), isOisOn(" + on + ")\n"};
        if (isOisOn == 1) {
            expected.push_back(init + "meshW(9), meshH(7)\n");
            expected.push_back(init + "warpmapW(12), warpmapH(12)\n");
            expected.push_back(init + "buffer_w(12), buffer_h(12), content_w(12), content_h(12),\n");
        }
        expected.push_back("[VWMT][VectWarpMapTrans] logLevel: 1, isOisOn: " + on + "\n");
        expected.push_back("[VWMT][VectWarpMapTrans] ois_scale_x: 0.880000, ois_scale_y: 1.250000\n");
        EXPECT_EQ(log.texts(), expected);
        for (const auto& line : log.lines()) EXPECT_EQ(line.module, 0x10004001);
        EXPECT_EQ(trans.getWorkingBufferSize(),
                  isOisOn == 1 ? 1008 + 8064 + 5040 + 2904 + 336 : 1008 + 56 * 784 + 80 * 784 + 24 * 729 + 48 * 28);
        EXPECT_EQ(VWMT::logLevel, 1);
        EXPECT_EQ(VWMT::ois_scale_y, 1.25f);
    }
}

// The grid constructor: the warp engine takes grids in steps of four nodes; a
// one-column grid becomes a two-column mesh, a one-row grid stays one row.
TEST(VectWarpMapTransInit, WarpMapSideAndMeshSize) {
    const struct {
        int w, h;
        const char* mesh;
        const char* warpmap;
    } cases[] = {
        {9, 7, "meshW(9), meshH(7)", "warpmapW(12), warpmapH(12)"},
        {8, 8, "meshW(8), meshH(8)", "warpmapW(8), warpmapH(8)"},
        {1, 5, "meshW(2), meshH(5)", "warpmapW(8), warpmapH(8)"},
        {3, 1, "meshW(3), meshH(1)", "warpmapW(4), warpmapH(4)"},
        {1, 1, "meshW(2), meshH(1)", "warpmapW(4), warpmapH(4)"},
        {28, 28, "meshW(28), meshH(28)", "warpmapW(28), warpmapH(28)"},
        {29, 2, "meshW(29), meshH(2)", "warpmapW(32), warpmapH(32)"},
    };
    TransformerGlobals globals;
    for (const auto& c : cases) {
        LogCapture log;
        ::testing::internal::CaptureStdout();
        VectWarpMapTrans trans(c.w, c.h);
        ::testing::internal::GetCapturedStdout();
        const auto texts = log.texts();
        ASSERT_GE(texts.size(), 5u);
        EXPECT_EQ(texts[3], std::string("[VWMT][VectWarpMapTrans] Init VectWMTrans ") + c.mesh + "\n") << c.w;
        EXPECT_EQ(texts[4], std::string("[VWMT][VectWarpMapTrans] Init VectWMTrans ") + c.warpmap + "\n") << c.w;
    }
    VectWarpMapTrans trans(4, 4, 0);
    const int lengths[][2] = {{1, 2}, {2, 2}, {0, 0}, {-1, -1}, {66, 66}};
    for (const auto& c : lengths) EXPECT_EQ(trans.updateGridLenToMeshLen(c[0]), c[1]) << c[0];
}

TEST(VectWarpMapTransInit, OffsetConstructorsLogWithoutPrefixAndReadNoProperty) {
    TransformerGlobals globals;
    ScopedProperties props;
    props.set("vendor.velmoUtil.vwmt.logLevel", "4");
    double offset[2] = {1.5, -2.25};
    LogCapture log;
    VectWarpMapTrans oneColumn(1, 5, offset);
    const std::vector<std::string> expected = {
        "VectWMTrans v 2. 4.20\n",
        "VectWMTrans gridInW(1), gridInH(5), vectOffset(1.500000, -2.250000)\n",
    };
    EXPECT_EQ(log.texts(), expected);
    // Mesh 2 x 5; no content, so the cell term is (0 - 1)(0 - 1) = 1 cell:
    // 16*5 + 0 + 80*10 + 24*1 + 48*5.
    EXPECT_EQ(oneColumn.getWorkingBufferSize(), 80 + 800 + 24 + 240);
    // Content 10 x 1 has no cells: 16*24 + 56*10 + 80*24 + 0 + 48*4.
    VectWarpMapTrans sized(6, 4, 10, 1, offset);
    EXPECT_EQ(sized.getWorkingBufferSize(), 384 + 560 + 1920 + 0 + 192);
    EXPECT_EQ(VWMT::logLevel, 0);
    log.clear();
    VectWarpMapTrans noOffset(4, 4, static_cast<double*>(nullptr));
    ASSERT_EQ(log.texts().size(), 3u);
    EXPECT_EQ(log.texts()[1], "VectWMTrans gridInW(4), gridInH(4), vectOffset(0.000000, 0.000000)\n");
    EXPECT_EQ(log.texts()[2], "[VWMT][VectWarpMapTrans] Error: vectOffset is NULL, using (0, 0)\n");
}

// Content sizes after updateVectSize, read from its level-1 log: only a
// vertical module (dir 1) at exactly a quarter turn swaps them.
TEST(VectWarpMapTransFrameSize, OnlyAVerticalModuleAtAQuarterTurnSwapsTheContent) {
    const struct {
        float angle;
        int dir;
        bool swapped;
    } cases[] = {
        {90.0f, 1, true},   {270.0f, 1, true},  {90.0f, 2, false},  {90.0f, 0, false}, {270.0f, 2, false},
        {89.9f, 1, false},  {-90.0f, 1, false}, {180.0f, 1, false}, {0.0f, 1, false},  {90.0001f, 1, false},
    };
    TransformerGlobals globals;
    LogCapture log;
    VectWarpMapTrans trans(4, 4, 1);
    for (const auto& c : cases) {
        VWMT::logLevel = 1;
        log.clear();
        trans.updateVectSize(makeInput(5, 3, static_cast<VWMT_DIRECTION>(c.dir), 16, 10, 16, c.angle));
        ASSERT_FALSE(log.texts().empty());
        EXPECT_EQ(log.texts().back(), std::string("[VWMT][updateVectSize] Perframe VectWMTrans buffer_w(16), "
                                                  "buffer_h(16), ") +
                                          (c.swapped ? "content_w(10), content_h(16)\n" : "content_w(16), content_h(10)\n"))
            << c.angle << " dir " << c.dir;
    }
}

// With OIS off the vector grid keeps its constructed size; mesh and content
// follow the output content: G = 63, M = C = 30 (not swapped), 20 cells,
// meshH 5.
TEST(VectWarpMapTransFrameSize, OisOffTakesMeshAndContentFromTheOutput) {
    TransformerGlobals globals;
    LogCapture quiet;
    VectWarpMapTrans off(9, 7, 0);
    off.updateVectSize(makeInput(3, 3, VWMT_DIRECTION_BACKWARD_VERTICAL, 6, 5, 8, 90.0f));
    EXPECT_EQ(off.getWorkingBufferSize(), 16 * 63 + 56 * 30 + 80 * 30 + 24 * 20 + 48 * 5);
}

// 4 x 4 on: 2840 bytes. 50000 x 50000 stands by; its size is documented in
// 32-bit arithmetic, 16 x 2.5e9 wrapping to 1345294336.
TEST(VectWarpMapTransBuffer, UnusableBuffersAreRefusedWithOneLine) {
    const struct {
        int grid, isOisOn, offset;  // offset into an aligned block; -1: null
        int bytes;
        const char* needle;
    } cases[] = {
        {4, 1, -1, 2840, "is NULL or not 4-byte aligned"},
        {4, 1, 1, 2840, "is NULL or not 4-byte aligned"},
        {50000, 2, 0, 1345294336 + 56 * 784 + 80 * 784 + 24 * 729 + 48 * 28,
         "size does not fit 32 bits for gridIn(50000, 50000), mesh(28, 28), content(28, 28)"},
    };
    for (const auto& c : cases) {
        TransformerGlobals globals;
        LogCapture log;
        ::testing::internal::CaptureStdout();
        VectWarpMapTrans trans(c.grid, c.grid, c.isOisOn);
        ::testing::internal::GetCapturedStdout();
        EXPECT_EQ(trans.getWorkingBufferSize(), c.bytes);
        std::vector<uint32_t> block(1024, 0xabababab);
        log.clear();
        EXPECT_EQ(trans.setWorkingBuffer(c.offset < 0 ? nullptr : reinterpret_cast<char*>(block.data()) + c.offset), 0);
        ASSERT_EQ(log.texts().size(), 1u) << c.needle;
        EXPECT_EQ(log.texts()[0].rfind("[VWMT][setWorkingBuffer] Error: ", 0), 0u) << log.texts()[0];
        EXPECT_NE(log.texts()[0].find(c.needle), std::string::npos) << log.texts()[0];
        EXPECT_EQ(block, std::vector<uint32_t>(1024, 0xabababab));
        if (c.grid != 4) continue;
        // Nothing was carved: a frame finds no buffer.
        VWMTInput in = makeInput(4, 4, VWMT_DIRECTION_FORWARD, 4, 4, 4, 0.0f);
        std::vector<double> v(16, 0.0);
        in.inOisX = in.inOisY = v.data();
        OutputPlanes planes(4);
        VWMTOutput out = planes.record();
        log.clear();
        trans.oisVecToGrid(in, out);
        EXPECT_EQ(log.texts(), std::vector<std::string>{"[VWMT][oisVecToGrid] Error: no working buffer set\n"});
        EXPECT_TRUE(planes.untouched());
    }
}

}  // namespace
