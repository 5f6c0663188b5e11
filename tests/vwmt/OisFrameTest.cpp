// Whole frames through oisVecToGrid: worked forward and backward frames, the
// vector dump and refusals of bad input; no frame may touch the heap.

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "vwmt/TransformTestSupport.h"

extern thread_local char tempStrX[4096];
extern thread_local char tempStrY[4096];

namespace {

using namespace velmo::testing;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// Defaults and captured logs from before the transformer is built; the
// arena's usage print is kept off the output.
struct Quiet {
    Quiet() { ::testing::internal::CaptureStdout(); }
    TransformerGlobals globals;
    LogCapture log;
};

// A vector of 10 sensor pixels, scaled by 0.88, moves the grid by 4.4.
struct Frame : Quiet, FrameRig {
    Frame(int vectW, int vectH, int isOisOn, int side, int content) : FrameRig(vectW, vectH, isOisOn, side, content) {
        ::testing::internal::GetCapturedStdout();
        log.clear();
    }
    std::vector<std::string> errors() const {
        std::vector<std::string> found;
        for (const std::string& text : log.texts())
            if (text.find("Error") != std::string::npos) found.push_back(text);
        return found;
    }
    // Exactly the top-left w x h block of the planes is written.
    void expectBlock(int w, int h, const std::string& what) const {
        for (int j = 0; j < planes.side; ++j)
            for (int i = 0; i < planes.side; ++i)
                EXPECT_EQ(planes.X(i, j) != OutputPlanes::kUntouched, i < w && j < h) << what << " " << i << "," << j;
    }
};

// Nodes 159.75 i across and 119.75 j down. Forward: source positions in the
// 660 x 480 source of a 640 x 480 output, re-centred by (660 - 640) / 2 = 10
// pixels: 5112 i + 320 and 3832 j; a shake of 4.4 pixels adds 140.8 -> 141.
// Backward is the inverse: (159.75 i - 4.4) x 32 = 5112 i - 140.8 -> -141; at
// node 0 the final copy re-rounds -141 + 0.5 toward zero to -140. A vertical
// module whose rotated image is the source needs no padding: the same grid.
TEST(OisFrame, FramesWorkedByHand) {
    const struct {
        VWMT_DIRECTION dir;
        int srcW, rotW, rotH;
        double vx;
        int base, add0, add;
    } cases[] = {{VWMT_DIRECTION_FORWARD, 660, 640, 480, 0.0, 320, 0, 0},
                 {VWMT_DIRECTION_FORWARD, 660, 640, 480, 10.0, 320, 141, 141},
                 {VWMT_DIRECTION_BACKWARD, 640, 300, 200, 0.0, 0, 0, 0},
                 {VWMT_DIRECTION_BACKWARD, 640, 300, 200, 10.0, 0, -140, -141},
                 {VWMT_DIRECTION_BACKWARD_VERTICAL, 640, 640, 480, 10.0, 0, -140, -141}};
    for (const auto& c : cases) {
        Frame f(6, 5, 1, 8, 5);
        f.geometry(c.srcW, c.rotW, c.rotH, 0.0f, c.dir);
        f.carve();
        f.fillVectors(c.vx, 0.0);
        EXPECT_EQ(allocationsIn([&] { f.run(); }), 0);
        EXPECT_TRUE(f.errors().empty());
        for (int j = 0; j < 5; ++j) {
            for (int i = 0; i < 5; ++i) {
                EXPECT_EQ(f.planes.X(i, j), 5112 * i + c.base + (i == 0 ? c.add0 : c.add)) << c.dir << " " << c.vx;
                EXPECT_EQ(f.planes.Y(i, j), 3832 * j) << c.dir << " " << c.vx << " at " << i << "," << j;
            }
        }
        f.expectBlock(5, 5, "worked");
        EXPECT_EQ(f.planes.weight, std::vector<int32_t>(64, OutputPlanes::kUntouched));
        // The caller's vectors come back after the scaling.
        for (double v : f.vx) EXPECT_DOUBLE_EQ(v, c.vx);
    }
}

// Arrays 18 and 19 lie after 16 G + 48 C + 48 M + 24 cells + 48 meshH bytes:
// 2200 and 2264 for a 4 x 4 grid, mesh and content. An unknown direction
// runs no transform and copies them as they stand.
TEST(OisFrame, UnknownDirectionCopiesTheWorkingGridAtItsCarvedOffset) {
    Frame f(4, 4, 1, 4, 4);
    f.carve();
    ASSERT_EQ(f.work.size() * 4, 2840u);
    for (int k = 0; k < 16; ++k) {
        f.work[2200 / 4 + k] = static_cast<uint32_t>(100 + k);
        f.work[2264 / 4 + k] = static_cast<uint32_t>(200 + k);
    }
    f.in.dir = static_cast<VWMT_DIRECTION>(3);
    f.run();
    for (int k = 0; k < 16; ++k) {
        EXPECT_EQ(f.planes.X(k % 4, k / 4), 100 + k);
        EXPECT_EQ(f.planes.Y(k % 4, k / 4), 200 + k);
    }
}

// Two nodes each way is the smallest grid; a one-column vector grid becomes a
// two-column mesh. The mesh's triangle list may run past array 13 into 14 to
// 16, no further: carved for a 2 x 2 content those hold 24 + 16 M bytes, so a
// 6 x 6 mesh needs 25 cells x 24 = 600 of 600, a 7 x 7 mesh 864 of 808. No
// shake: the corners of the 640 x 480 image, 639 and 479 pixels.
TEST(OisFrame, MeshSizesAcceptedAndRefused) {
    const struct {
        int vectW, vectH, content;
        bool accepted;
    } cases[] = {{2, 2, 2, true}, {1, 2, 2, true}, {2, 3, 2, true}, {8, 8, 4, true}, {6, 6, 2, true},
                 {7, 7, 2, false}};
    for (const auto& c : cases) {
        Frame f(c.vectW, c.vectH, 1, 4, c.content);
        f.geometry(640, 640, 480, 0.0f, VWMT_DIRECTION_FORWARD);
        f.carve();
        f.run();
        const std::string what = std::to_string(c.vectW) + " x " + std::to_string(c.vectH);
        EXPECT_EQ(f.errors().empty(), c.accepted) << what;
        if (!c.accepted) {
            EXPECT_TRUE(f.planes.untouched()) << what;
            continue;
        }
        f.expectBlock(c.content, c.content, what);
        const int last = c.content - 1;
        EXPECT_EQ(f.planes.X(last, last), 20448) << what;
        EXPECT_EQ(f.planes.Y(last, last), 15328) << what;
        EXPECT_EQ(f.planes.X(0, last), 0) << what;
        EXPECT_EQ(f.planes.Y(last, 0), 0) << what;
    }
}

// Each spoils a frame that runs cleanly (4 x 4 vectors, content and buffer),
// given to oisVecToGrid (entry 0) or straight to the forward (1) or backward
// (2) transform.
TEST(OisFrame, BadFramesAreRefusedWithOneLineAndNoWrite) {
    const struct {
        int entry, isOisOn;
        const char* needle;
        void (*spoil)(Frame&);
    } cases[] = {
        {0, 1, "is NULL", [](Frame& f) { f.in.inOisX = nullptr; }},
        {0, 1, "is NULL", [](Frame& f) { f.in.inOisY = nullptr; }},
        {0, 1, "vect_w(0) or vect_h(4) below 1", [](Frame& f) { f.in.vect_w = 0; }},
        {0, 1, "vect_w(4) or vect_h(-1) below 1", [](Frame& f) { f.in.vect_h = -1; }},
        {0, 1, "mesh(4, 1) or content(4, 4) too small", [](Frame& f) { f.in.vect_h = 1; }},
        {0, 1, "content(1, 4) too small", [](Frame& f) { f.in.gridParam.content_w = 1; }},
        {0, 1, "content(5, 4) larger than buffer(4, 4)", [](Frame& f) { f.in.gridParam.content_w = 5; }},
        {0, 1, "buffer size(0) below 1", [](Frame& f) { f.in.gridParam.buffer_size = 0; }},
        {0, 1, "working array 0 needs 160 bytes, 128 carved", [](Frame& f) { f.in.vect_w = 5; }},
        {0, 1, "needs 200 bytes, 128 carved",
         [](Frame& f) { f.in.gridParam.buffer_size = f.in.gridParam.content_w = f.in.gridParam.content_h = 5; }},
        {0, 1, "no working buffer set", [](Frame& f) { f.trans.setWorkingBuffer(nullptr); }},
        // With OIS off the vectors are not read, but the sizes still are.
        {0, 0, "vect_w(0) or vect_h(2) below 1", [](Frame& f) { f.in.vect_w = 0; }},
        {0, 0, "buffer size(-4) below 1", [](Frame& f) { f.in.gridParam.buffer_size = -4; }},
        {0, 0, "content(4, 7) larger than buffer(4, 4)", [](Frame& f) { f.in.gridParam.content_h = 7; }},
        {0, 0, "is NULL",
         [](Frame& f) {
             VWMT::logLevel = 1;  // the dump reads the vectors
             f.in.inOisX = nullptr;
         }},
        {1, 1, "no working buffer set", [](Frame& f) { f.trans.setWorkingBuffer(nullptr); }},
        {1, 1, "is NULL", [](Frame& f) { f.in.inOisX = nullptr; }},
        {2, 1, "is NULL", [](Frame& f) { f.in.inOisX = nullptr; }},
        // Below two content nodes a side the mesh steps would divide by zero.
        {2, 1, "content(1, 4) too small", [](Frame& f) {
             f.in.gridParam.content_w = 1;
             f.trans.updateVectSize(f.in);
         }},
        // With OIS off the mesh takes the content size, which is not the vector grid's.
        {1, 0, "mesh(4, 4) does not match gridIn(2, 2)", [](Frame& f) { f.carve(); }},
    };
    for (const auto& c : cases) {
        Frame f(c.isOisOn ? 4 : 2, c.isOisOn ? 4 : 2, c.isOisOn, 6, 4);
        f.in.gridParam.buffer_size = 4;
        f.geometry(640, 640, 480, 0.0f, c.isOisOn ? VWMT_DIRECTION_FORWARD : VWMT_DIRECTION_BACKWARD);
        if (c.isOisOn) f.carve();
        f.fillVectors(10.0, -3.0);
        c.spoil(f);
        const std::vector<uint32_t> workBefore = f.work;
        f.log.clear();
        if (c.entry == 0) f.run();
        if (c.entry == 1) f.trans.transformVectToWarpMap(f.in.inOisX, f.in.inOisY, f.in.imgSizeDesc, f.in.gridParam);
        if (c.entry == 2)
            f.trans.transformForwardVectToBackwardWarpMap(f.in.inOisX, f.in.inOisY, f.in.imgSizeDesc, f.in.gridParam,
                                                          VWMT_DIRECTION_BACKWARD);
        const auto found = f.errors();
        ASSERT_EQ(found.size(), 1u) << c.needle;
        if (VWMT::logLevel == 0) {
            EXPECT_EQ(f.log.texts().size(), 1u) << c.needle;
        }
        const char* entries[] = {"oisVecToGrid", "transformVectToWarpMap", "transformForwardVectToBackwardWarpMap"};
        EXPECT_EQ(found[0].rfind(std::string("[VWMT][") + entries[c.entry] + "] Error: ", 0), 0u) << found[0];
        EXPECT_NE(found[0].find(c.needle), std::string::npos) << found[0];
        EXPECT_TRUE(f.planes.untouched()) << c.needle;
        EXPECT_EQ(f.work, workBefore) << c.needle;
        for (double v : f.vx) EXPECT_EQ(v, 10.0) << c.needle;
    }
}

// Extreme shakes must neither hang nor write outside the content block; with
// OIS off the vectors are never read and the grid is the plain 640 x 480 one
// (639 pixels at the last column, full weight).
TEST(OisFrame, ExtremeVectorsStayInsideTheBlock) {
    for (int isOisOn : {1, 0}) {
        for (VWMT_DIRECTION dir : {VWMT_DIRECTION_FORWARD, VWMT_DIRECTION_BACKWARD}) {
            for (double v : {kNaN, kInf, -kInf, 1e30, -1e30}) {
                Frame f(5, 4, isOisOn, 7, 6);
                f.in.gridParam.content_h = 5;
                f.geometry(640, isOisOn ? 640 : 0, isOisOn ? 480 : 0, isOisOn ? 30.0f : 0.0f, dir);
                if (isOisOn) f.carve();
                f.fillVectors(v, -v);
                f.vx[3] = 2.0;
                EXPECT_EQ(allocationsIn([&] { f.run(); }), 0);
                f.expectBlock(6, 5, "extreme " + std::to_string(v));
                if (isOisOn == 0 && dir == VWMT_DIRECTION_BACKWARD) {
                    EXPECT_EQ(f.planes.X(5, 4), 20448);
                    EXPECT_EQ(f.planes.W(5, 4), 16384);
                }
            }
        }
    }
}

// -0.7 prints as 0; values beyond int32 saturate and NaN prints 0, as on Arm.
// With OIS off the member grid (28 x 28) is larger than the 2 x 2 passed in:
// only the caller's four values are read. Level 0 formats nothing.
TEST(OisFrameDump, PrintsIntegerPartsOfTheCallersVectorsFromLevelOne) {
    for (int level : {0, 1}) {
        Frame f(28, 28, 0, 4, 2);
        std::vector<double> x = {1.9, -0.7, -2.5, 0.3}, y = {1e30, kNaN, -1e30, -3.99};
        f.in = makeInput(2, 2, VWMT_DIRECTION_BACKWARD, 2, 2, 4, 0.0f);
        f.in.inOisX = x.data();
        f.in.inOisY = y.data();
        std::strcpy(tempStrX, "marker");
        VWMT::logLevel = level;
        f.run();
        const std::vector<std::string> expected = {
            "[VWMT][oisVecToGrid] vect_w: 2, vect_h: 2, dir: 2\n",
            "[VWMT][oisVecToGrid]inOisX: 1,0,-2,0,\n",
            "[VWMT][oisVecToGrid]inOisY: 2147483647,0,-2147483648,-3,\n",
        };
        std::vector<std::string> dump;
        for (const std::string& t : f.log.texts())
            if (t.rfind("[VWMT][oisVecToGrid]", 0) == 0) dump.push_back(t);
        EXPECT_EQ(dump, level ? expected : std::vector<std::string>{});
        EXPECT_EQ(f.log.texts().empty(), level == 0);
        EXPECT_EQ(std::strcmp(tempStrX, "marker") == 0, level == 0);
        f.expectBlock(2, 2, "dump");
    }
}

// "inOisX: 70," and 816 times "1000," fill 4091 bytes; the next value fits
// but for its comma (cut: the 4096th byte holds the terminator), and it and
// each of the 82 values after it report an overflow, for both planes.
TEST(OisFrameDump, LongDumpIsCutAtTheBufferEnd) {
    Frame f(30, 30, 0, 4, 2);
    f.in = makeInput(30, 30, VWMT_DIRECTION_BACKWARD, 2, 2, 4, 0.0f);
    f.fillVectors(1000.0, 1000.0);
    f.vx[0] = f.vy[0] = 70.0;
    f.in.inOisX = f.vx.data();
    f.in.inOisY = f.vy.data();
    VWMT::logLevel = 1;
    f.run();
    std::string body = "70,";
    for (int i = 0; i < 816; ++i) body += "1000,";
    int overflows = 0;
    std::string xLine;
    for (const std::string& t : f.log.texts()) {
        if (t == "snprintf fail, string more than max length\n") ++overflows;
        if (t.rfind("[VWMT][oisVecToGrid]inOisX: ", 0) == 0) xLine = t;
    }
    EXPECT_EQ(overflows, 2 * 83);
    EXPECT_EQ(xLine, "[VWMT][oisVecToGrid]inOisX: " + body + "1000\n");
    EXPECT_EQ(std::strlen(tempStrY), 4095u);
}

}  // namespace
