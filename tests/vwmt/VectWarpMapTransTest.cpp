// Construction, per-frame sizes and the working buffer of the OIS transformer.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "vwmt/TransformTestSupport.h"

namespace {

using namespace velmo::testing;

// The per-frame constructor logs its version, sizes and the three properties
// it reads; with isOisOn other than 1 it stands by without an arena (no
// usage print) at a 28 x 28 mesh and content.
TEST(VectWarpMapTransInit, PerFrameConstructorLogsAndReadsItsProperties) {
    for (int isOisOn : {1, 2}) {
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
        EXPECT_EQ(VWMT::logLevel, 1);
        EXPECT_EQ(VWMT::ois_scale_y, 1.25f);
    }
}

// The buffer is 16 G + 56 C + 80 M + 24 content cells + 48 meshH bytes, G the
// vector grid, M the mesh and C the content nodes, in 32-bit arithmetic.
TEST(VectWarpMapTransBuffer, SizeFollowsGridMeshAndContent) {
    double offset[2] = {1.5, -2.25};
    const struct {
        int kind;  // 0: per-frame (a = isOisOn), 1: offset, 2: offset with content a x b
        int w, h, a, b;
        int contentW, contentH;  // > 0: after an OIS-off frame of that content, turned a quarter
        int bytes;
    } cases[] = {
        {0, 9, 7, 1, 0, 0, 0, 1008 + 8064 + 5040 + 2904 + 336},  // on: M = G, C = 144, 121 cells
        {0, 9, 7, 2, 0, 0, 0, 1008 + 56 * 784 + 80 * 784 + 24 * 729 + 48 * 28},  // standing by: 28 x 28
        {0, 9, 7, 0, 0, 6, 5, 16 * 63 + 56 * 30 + 80 * 30 + 24 * 20 + 48 * 5},   // off: M = C = 30, not swapped
        {0, 4, 4, 1, 0, 0, 0, 2840},
        {0, 50000, 50000, 2, 0, 0, 0, 1345294336 + 56 * 784 + 80 * 784 + 24 * 729 + 48 * 28},  // 16 x 2.5e9 wraps
        {1, 1, 5, 0, 0, 0, 0, 80 + 800 + 24 + 240},   // mesh 2 x 5, no content: (0 - 1)(0 - 1) = 1 cell
        {2, 6, 4, 10, 1, 0, 0, 384 + 560 + 1920 + 0 + 192},  // content 10 x 1 has no cells
    };
    TransformerGlobals globals;
    LogCapture quiet;
    for (const auto& c : cases) {
        ::testing::internal::CaptureStdout();
        VectWarpMapTrans trans = c.kind == 0   ? VectWarpMapTrans(c.w, c.h, c.a)
                                 : c.kind == 1 ? VectWarpMapTrans(c.w, c.h, offset)
                                               : VectWarpMapTrans(c.w, c.h, c.a, c.b, offset);
        ::testing::internal::GetCapturedStdout();
        if (c.contentW > 0)
            trans.updateVectSize(makeInput(3, 3, VWMT_DIRECTION_BACKWARD_VERTICAL, c.contentW, c.contentH, 8, 90.0f));
        EXPECT_EQ(trans.getWorkingBufferSize(), c.bytes) << c.kind << ": " << c.w << " x " << c.h;
    }
}

// The grid constructor: the warp engine takes grids in steps of four nodes; a
// one-column grid becomes a two-column mesh, a one-row grid stays one row.
TEST(VectWarpMapTransInit, WarpMapSideAndMeshSize) {
    const struct {
        int w, h, meshW, meshH, side;
    } cases[] = {{9, 7, 9, 7, 12}, {8, 8, 8, 8, 8}, {1, 5, 2, 5, 8}, {3, 1, 3, 1, 4}, {1, 1, 2, 1, 4},
                 {28, 28, 28, 28, 28}, {29, 2, 29, 2, 32}};
    TransformerGlobals globals;
    for (const auto& c : cases) {
        LogCapture log;
        ::testing::internal::CaptureStdout();
        VectWarpMapTrans trans(c.w, c.h);
        ::testing::internal::GetCapturedStdout();
        const std::string init = "[VWMT][VectWarpMapTrans] Init VectWMTrans ", side = std::to_string(c.side);
        const auto texts = log.texts();
        ASSERT_GE(texts.size(), 5u);
        EXPECT_EQ(texts[3], init + "meshW(" + std::to_string(c.meshW) + "), meshH(" + std::to_string(c.meshH) + ")\n");
        EXPECT_EQ(texts[4], init + "warpmapW(" + side + "), warpmapH(" + side + ")\n");
    }
    VectWarpMapTrans trans(4, 4, 0);
    const int lengths[][2] = {{1, 2}, {2, 2}, {0, 0}, {-1, -1}, {66, 66}};
    for (const auto& c : lengths) EXPECT_EQ(trans.updateGridLenToMeshLen(c[0]), c[1]) << c[0];
}

// A null or misaligned buffer, or one whose size does not fit 32 bits, is
// refused with one line and nothing is carved.
TEST(VectWarpMapTransBuffer, UnusableBuffersAreRefusedWithOneLine) {
    const struct {
        int grid, isOisOn, offset;  // offset into an aligned block; -1: null
        const char* needle;
    } cases[] = {
        {4, 1, -1, "is NULL or not 4-byte aligned"},
        {4, 1, 1, "is NULL or not 4-byte aligned"},
        {50000, 2, 0, "size does not fit 32 bits for gridIn(50000, 50000), mesh(28, 28), content(28, 28)"},
    };
    for (const auto& c : cases) {
        TransformerGlobals globals;
        ::testing::internal::CaptureStdout();
        VectWarpMapTrans trans(c.grid, c.grid, c.isOisOn);
        ::testing::internal::GetCapturedStdout();
        std::vector<uint32_t> block(1024, 0xabababab);
        LogCapture log;
        EXPECT_EQ(trans.setWorkingBuffer(c.offset < 0 ? nullptr : reinterpret_cast<char*>(block.data()) + c.offset), 0);
        ASSERT_EQ(log.texts().size(), 1u) << c.needle;
        EXPECT_EQ(log.texts()[0].rfind("[VWMT][setWorkingBuffer] Error: ", 0), 0u) << log.texts()[0];
        EXPECT_NE(log.texts()[0].find(c.needle), std::string::npos) << log.texts()[0];
        EXPECT_EQ(block, std::vector<uint32_t>(1024, 0xabababab));
    }
}

}  // namespace
