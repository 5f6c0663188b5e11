// Whole frames through oisVecToGrid: worked forward and backward frames, the
// vector dump, refusals of bad input, and a per-frame path free of the heap.

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include "support/LogCapture.h"
#include "vwmt/TransformerTestSupport.h"
#include "vwmt/VectWarpMapTrans.h"

extern thread_local char tempStrX[4096];
extern thread_local char tempStrY[4096];

// Every heap allocation of this test program passes through here, so a frame
// can be checked for allocations.
namespace {
std::atomic<bool> gCounting{false};
std::atomic<long> gAllocations{0};

void* countedAlloc(std::size_t n) {
    if (gCounting.load(std::memory_order_relaxed)) gAllocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(n ? n : 1)) return p;
    throw std::bad_alloc();
}
}  // namespace

void* operator new(std::size_t n) { return countedAlloc(n); }
void* operator new[](std::size_t n) { return countedAlloc(n); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept {
    if (gCounting.load(std::memory_order_relaxed)) gAllocations.fetch_add(1, std::memory_order_relaxed);
    return std::malloc(n ? n : 1);
}
void* operator new[](std::size_t n, const std::nothrow_t& tag) noexcept { return operator new(n, tag); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }

namespace {

using velmo::testing::LogCapture;
using velmo::testing::OutputPlanes;
using velmo::testing::TransformerGlobals;
using velmo::testing::makeInput;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// A transformer, its working buffer and one frame's vectors and planes.
struct Frame {
    Frame(int vectW, int vectH, int isOisOn, int side)
        : trans(vectW, vectH, isOisOn),
          planes(side),
          vx(static_cast<size_t>(vectW) * vectH, 0.0),
          vy(static_cast<size_t>(vectW) * vectH, 0.0) {
        in = makeInput(vectW, vectH, VWMT_DIRECTION_FORWARD, side, side, side, 0.0f);
        in.inOisX = vx.data();
        in.inOisY = vy.data();
        testing::internal::GetCapturedStdout();  // the arena's usage print
        log.clear();
    }
    // Carves a working buffer for the sizes of `sizing` (a frame's input).
    void carveFor(const VWMTInput& sizing) {
        trans.updateVectSize(sizing);
        work.assign(static_cast<size_t>(trans.getWorkingBufferSize()) / 4, 0x77777777u);
        trans.setWorkingBuffer(reinterpret_cast<char*>(work.data()));
    }
    void carve() { carveFor(in); }
    void run() {
        out = planes.record();
        trans.oisVecToGrid(in, out);
    }
    // 1280 x 960 timing-generator crop resized to 640 x 480 in the front end;
    // a vector of 10 sensor pixels, scaled by 0.88, moves the grid by 4.4.
    void geometry(int srcW, int srcH, int rotW, int rotH, float angle, VWMT_DIRECTION dir) {
        ImgSizeDescription& d = in.imgSizeDesc;
        d.sensorSize = {1280, 960};
        d.analogCrop = {0, 0, 1280, 960};
        d.binningSize = {1280, 960};
        d.digitalCrop = {0, 0, 1280, 960};
        d.tgCrop = {0, 0, 1280, 960};
        d.p1Crop = {0, 0, 0, 0};
        d.p1Resize = {640, 480};
        GridFromOisParam& g = in.gridParam;
        g.srcImg.size = {srcW, srcH};
        g.rzImg.size = {0, 0};
        g.CropImg.size = {0, 0, 0, 0};
        g.rotImg.size = {rotW, rotH};
        g.rotAngle = angle;
        in.dir = dir;
    }
    void fillVectors(double x, double y) {
        std::fill(vx.begin(), vx.end(), x);
        std::fill(vy.begin(), vy.end(), y);
    }

    TransformerGlobals globals;
    LogCapture log;
    bool stdoutCaptured = (testing::internal::CaptureStdout(), true);
    VectWarpMapTrans trans;
    OutputPlanes planes;
    std::vector<double> vx, vy;
    std::vector<uint32_t> work;
    VWMTInput in{};
    VWMTOutput out{};
};

// Lines that report an error.
std::vector<std::string> errors(const LogCapture& log) {
    std::vector<std::string> found;
    for (const std::string& text : log.texts())
        if (text.find("Error") != std::string::npos) found.push_back(text);
    return found;
}

void expectBlock(const OutputPlanes& p, int w, int h, const char* what) {
    for (int j = 0; j < p.side; ++j)
        for (int i = 0; i < p.side; ++i)
            EXPECT_EQ(p.X(i, j) != OutputPlanes::kUntouched, i < w && j < h) << what << " at " << i << "," << j;
}

// The forward grid (source positions in the 660 x 480 source of a 640 x 480
// output) at nodes 159.75 i across and 119.75 j down, re-centred by
// (660 - 640) / 2 = 10 pixels: no shake gives 5112 i + 320 and 3832 j; a
// shake of 4.4 pixels adds 140.8, rounded to 141.
TEST(OisFrame, ForwardFrameWorkedByHand) {
    struct Case {
        double vx;
        int addX;
    } cases[] = {{0.0, 0}, {10.0, 141}};
    for (const Case& c : cases) {
        Frame f(6, 5, 1, 8);
        f.in.gridParam.content_w = f.in.gridParam.content_h = 5;
        f.geometry(660, 480, 640, 480, 0.0f, VWMT_DIRECTION_FORWARD);
        f.carve();
        f.fillVectors(c.vx, 0.0);
        f.run();
        EXPECT_TRUE(errors(f.log).empty());
        for (int j = 0; j < 5; ++j) {
            for (int i = 0; i < 5; ++i) {
                EXPECT_EQ(f.planes.X(i, j), 5112 * i + 320 + c.addX) << c.vx << " at " << i << "," << j;
                EXPECT_EQ(f.planes.Y(i, j), 3832 * j) << c.vx << " at " << i << "," << j;
                EXPECT_EQ(f.planes.W(i, j), OutputPlanes::kUntouched);
            }
        }
        expectBlock(f.planes, 5, 5, "forward");
        // The caller's vectors come back after the scaling.
        for (double v : f.vx) EXPECT_DOUBLE_EQ(v, c.vx);
    }
}

// The backward grid is the inverse: a shake of +4.4 pixels fetches from 4.4
// pixels back, (159.75 i - 4.4) x 32 = 5112 i - 140.8, rounded away from zero
// to -141; the final copy re-rounds -141 + 0.5 toward zero to -140.
TEST(OisFrame, BackwardFrameWorkedByHand) {
    struct Case {
        double vx;
        int addX0, addX;
    } cases[] = {{0.0, 0, 0}, {10.0, -140, -141}};
    for (const Case& c : cases) {
        Frame f(6, 5, 1, 8);
        f.in.gridParam.content_w = f.in.gridParam.content_h = 5;
        f.geometry(640, 480, 300, 200, 0.0f, VWMT_DIRECTION_BACKWARD);
        f.carve();
        f.fillVectors(c.vx, 0.0);
        f.run();
        EXPECT_TRUE(errors(f.log).empty());
        for (int j = 0; j < 5; ++j) {
            for (int i = 0; i < 5; ++i) {
                EXPECT_EQ(f.planes.X(i, j), 5112 * i + (i == 0 ? c.addX0 : c.addX)) << c.vx << " at " << i;
                EXPECT_EQ(f.planes.Y(i, j), 3832 * j) << c.vx << " at " << i << "," << j;
            }
        }
        expectBlock(f.planes, 5, 5, "backward");
    }
}

// A vertical module at 90 degrees swaps the 4 x 3 content up front and turns
// it back: 4 wide, 3 tall. At -90 nothing is swapped and the counter-clockwise
// turn leaves 3 wide, 4 tall.
TEST(OisFrame, VerticalModuleBlockShape) {
    struct Case {
        float angle;
        int w, h;
    } cases[] = {{90.0f, 4, 3}, {270.0f, 4, 3}, {-90.0f, 3, 4}, {180.0f, 4, 3}, {0.0f, 4, 3}};
    for (const Case& c : cases) {
        Frame f(4, 4, 1, 6);
        f.in.gridParam.content_w = 4;
        f.in.gridParam.content_h = 3;
        f.geometry(640, 480, 480, 640, c.angle, VWMT_DIRECTION_BACKWARD_VERTICAL);
        f.carve();
        f.run();
        EXPECT_TRUE(errors(f.log).empty()) << c.angle;
        expectBlock(f.planes, c.w, c.h, "vertical");
    }
}

// Arrays 18 and 19 lie after 16 G + 48 C + 48 M + 24 cells + 48 meshH bytes:
// 2200 and 2264 for a 4 x 4 grid, mesh and content. An unknown direction
// runs no transform and copies them as they stand.
TEST(OisFrame, UnknownDirectionCopiesTheWorkingGridAtItsCarvedOffset) {
    Frame f(4, 4, 1, 4);
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

// The triangle list of the mesh may run past array 13 into 14 to 16: an
// 8 x 8 mesh (49 cells) on a buffer carved for 4 x 4 content (9 cells).
TEST(OisFrame, MeshTrianglesMaySpillIntoUnreadArrays) {
    Frame f(8, 8, 1, 4);
    f.geometry(640, 480, 640, 480, 0.0f, VWMT_DIRECTION_FORWARD);
    f.carve();
    f.run();
    EXPECT_TRUE(errors(f.log).empty());
    expectBlock(f.planes, 4, 4, "spill");
}

// Two nodes each way is the smallest grid; a one-column vector grid becomes a
// two-column mesh. No shake: the corners of the 640 x 480 image.
TEST(OisFrame, SmallestGridsAreAccepted) {
    const int vectorGrids[][2] = {{2, 2}, {1, 2}, {2, 3}};
    for (const auto& v : vectorGrids) {
        Frame f(v[0], v[1], 1, 2);
        f.in.gridParam.content_w = f.in.gridParam.content_h = 2;
        f.geometry(640, 480, 640, 480, 0.0f, VWMT_DIRECTION_FORWARD);
        f.carve();
        f.run();
        EXPECT_TRUE(errors(f.log).empty()) << v[0] << " x " << v[1];
        EXPECT_EQ(f.planes.x, (std::vector<int32_t>{0, 20448, 0, 20448})) << v[0] << " x " << v[1];
        EXPECT_EQ(f.planes.y, (std::vector<int32_t>{0, 0, 15328, 15328})) << v[0] << " x " << v[1];
    }
}

// Carved for a 2 x 2 content, arrays 13 to 16 hold 24 + 16 M bytes: a 6 x 6
// mesh needs 25 cells x 24 = 600 of 600; a 7 x 7 mesh 864 of 808.
TEST(OisFrame, MeshTriangleSpillStopsAtArray16) {
    struct Case {
        int mesh;
        bool accepted;
    } cases[] = {{6, true}, {7, false}};
    for (const Case& c : cases) {
        Frame f(c.mesh, c.mesh, 1, 2);
        f.in.gridParam.content_w = f.in.gridParam.content_h = 2;
        f.geometry(640, 480, 640, 480, 0.0f, VWMT_DIRECTION_FORWARD);
        f.carve();
        f.run();
        EXPECT_EQ(errors(f.log).empty(), c.accepted) << c.mesh;
        EXPECT_EQ(f.planes.untouched(), !c.accepted) << c.mesh;
    }
}

TEST(OisFrame, BadFramesAreRefusedWithOneLineAndNoWrite) {
    struct Case {
        const char* name;
        void (*spoil)(Frame&);
    } cases[] = {
        {"null inOisX", [](Frame& f) { f.in.inOisX = nullptr; }},
        {"null inOisY", [](Frame& f) { f.in.inOisY = nullptr; }},
        {"no vector columns", [](Frame& f) { f.in.vect_w = 0; }},
        {"negative vector rows", [](Frame& f) { f.in.vect_h = -1; }},
        {"one-row mesh", [](Frame& f) { f.in.vect_h = 1; }},
        {"one-column content", [](Frame& f) { f.in.gridParam.content_w = 1; }},
        {"content wider than buffer", [](Frame& f) { f.in.gridParam.content_w = 5; }},
        {"no buffer", [](Frame& f) { f.in.gridParam.buffer_size = 0; }},
        {"more vectors than carved", [](Frame& f) { f.in.vect_w = 5; }},
        {"more content than carved",
         [](Frame& f) {
             f.in.gridParam.buffer_size = 5;
             f.in.gridParam.content_w = f.in.gridParam.content_h = 5;
         }},
    };
    for (const Case& c : cases) {
        Frame f(4, 4, 1, 6);
        f.in.gridParam.buffer_size = 4;
        f.in.gridParam.content_w = f.in.gridParam.content_h = 4;
        f.geometry(640, 480, 640, 480, 0.0f, VWMT_DIRECTION_FORWARD);
        f.carve();
        f.fillVectors(10.0, -3.0);
        const std::vector<uint32_t> workBefore = f.work;
        c.spoil(f);
        f.log.clear();
        f.run();
        ASSERT_EQ(f.log.texts().size(), 1u) << c.name;
        EXPECT_EQ(f.log.texts()[0].rfind("[VWMT][oisVecToGrid] Error: ", 0), 0u) << c.name;
        EXPECT_TRUE(f.planes.untouched()) << c.name;
        EXPECT_EQ(f.work, workBefore) << c.name;
        for (double v : f.vx) EXPECT_EQ(v, 10.0) << c.name;
    }
}

TEST(OisFrame, RefusedWithoutAUsableWorkingBuffer) {
    struct Case {
        const char* name;
        int offset;  // into a valid block; -1: null
    } cases[] = {{"never set", -2}, {"null", -1}, {"misaligned", 1}};
    for (const Case& c : cases) {
        Frame f(4, 4, 1, 4);
        std::vector<uint32_t> block(1024, 0x77777777u);
        if (c.offset != -2) {
            f.log.clear();
            char* buf = c.offset < 0 ? nullptr : reinterpret_cast<char*>(block.data()) + c.offset;
            EXPECT_EQ(f.trans.setWorkingBuffer(buf), 0);
            ASSERT_EQ(f.log.texts().size(), 1u) << c.name;
            EXPECT_EQ(f.log.texts()[0].rfind("[VWMT][setWorkingBuffer] Error: ", 0), 0u) << c.name;
        }
        f.log.clear();
        f.run();
        ASSERT_EQ(f.log.texts().size(), 1u) << c.name;
        EXPECT_EQ(f.log.texts()[0], "[VWMT][oisVecToGrid] Error: no working buffer set\n") << c.name;
        EXPECT_TRUE(f.planes.untouched()) << c.name;
        for (uint32_t word : block) ASSERT_EQ(word, 0x77777777u) << c.name;
    }
}

// With OIS off the grid is pure geometry: the vectors are never read.
TEST(OisFrame, OisOffIgnoresTheVectors) {
    std::vector<int32_t> reference;
    const std::vector<double> contents[] = {{0, 0, 0, 0}, {kNaN, kInf, -1e30, 1e30}, {}};
    for (const auto& values : contents) {
        Frame f(2, 2, 0, 6);
        f.in.gridParam.content_w = 5;
        f.in.gridParam.content_h = 4;
        f.geometry(640, 480, 0, 0, 0.0f, VWMT_DIRECTION_BACKWARD);
        f.vx = f.vy = values;
        f.in.inOisX = values.empty() ? nullptr : f.vx.data();
        f.in.inOisY = values.empty() ? nullptr : f.vy.data();
        f.run();
        EXPECT_TRUE(f.log.texts().empty());
        expectBlock(f.planes, 5, 4, "ois off");
        EXPECT_EQ(f.planes.X(4, 3), 20448);  // 639 pixels
        EXPECT_EQ(f.planes.W(4, 3), 16384);
        if (reference.empty()) reference = f.planes.x;
        EXPECT_EQ(f.planes.x, reference);
    }
}

TEST(OisFrame, OisOffRefusals) {
    struct Case {
        const char* name;
        void (*spoil)(Frame&);
    } cases[] = {
        {"no vector columns", [](Frame& f) { f.in.vect_w = 0; }},
        {"no buffer", [](Frame& f) { f.in.gridParam.buffer_size = -4; }},
        {"content taller than buffer", [](Frame& f) { f.in.gridParam.content_h = 7; }},
        {"null vectors while dumped",
         [](Frame& f) {
             VWMT::logLevel = 1;
             f.in.inOisY = nullptr;
         }},
    };
    for (const Case& c : cases) {
        Frame f(2, 2, 0, 6);
        f.geometry(640, 480, 0, 0, 0.0f, VWMT_DIRECTION_BACKWARD);
        c.spoil(f);
        f.run();
        const auto found = errors(f.log);
        ASSERT_EQ(found.size(), 1u) << c.name;
        EXPECT_EQ(found[0].rfind("[VWMT][oisVecToGrid] Error: ", 0), 0u) << c.name;
        EXPECT_TRUE(f.planes.untouched()) << c.name;
    }
}

// Extreme shakes must neither hang nor write outside the content block.
TEST(OisFrame, ExtremeVectorsStayInsideTheBlock) {
    const double values[] = {kNaN, kInf, -kInf, 1e30, -1e30};
    for (VWMT_DIRECTION dir : {VWMT_DIRECTION_FORWARD, VWMT_DIRECTION_BACKWARD}) {
        for (double v : values) {
            Frame f(5, 4, 1, 7);
            f.in.gridParam.content_w = 6;
            f.in.gridParam.content_h = 5;
            f.geometry(640, 480, 640, 480, 30.0f, dir);
            f.carve();
            f.fillVectors(v, -v);
            f.vx[3] = 2.0;
            f.run();
            expectBlock(f.planes, 6, 5, "extreme");
        }
    }
}

// -0.7 prints as 0; values beyond int32 saturate and NaN prints 0, as on Arm.
// With OIS off the member grid (28 x 28) is larger than the 2 x 2 passed in:
// only the caller's four values are read.
TEST(OisFrameDump, PrintsIntegerPartsOfTheCallersVectors) {
    Frame f(28, 28, 0, 4);
    std::vector<double> x = {1.9, -0.7, -2.5, 0.3}, y = {1e30, kNaN, -1e30, -3.99};
    f.in = makeInput(2, 2, VWMT_DIRECTION_BACKWARD, 2, 2, 4, 0.0f);
    f.in.inOisX = x.data();
    f.in.inOisY = y.data();
    VWMT::logLevel = 1;
    f.run();
    std::vector<std::string> dump;
    for (const std::string& t : f.log.texts())
        if (t.rfind("[VWMT][oisVecToGrid]", 0) == 0) dump.push_back(t);
    const std::vector<std::string> expected = {
        "[VWMT][oisVecToGrid] vect_w: 2, vect_h: 2, dir: 2\n",
        "[VWMT][oisVecToGrid]inOisX: 1,0,-2,0,\n",
        "[VWMT][oisVecToGrid]inOisY: 2147483647,0,-2147483648,-3,\n",
    };
    EXPECT_EQ(dump, expected);
    expectBlock(f.planes, 2, 2, "dump");
}

// "inOisX: 70," and 816 times "1000," fill 4091 bytes; the next value fits
// but for its comma (cut: the 4096th byte holds the terminator), and it and
// each of the 82 values after it report an overflow, for both planes.
TEST(OisFrameDump, LongDumpIsCutAtTheBufferEnd) {
    Frame f(30, 30, 0, 4);
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

TEST(OisFrameDump, NothingIsFormattedAtLevelZero) {
    Frame f(2, 2, 0, 4);
    f.in = makeInput(2, 2, VWMT_DIRECTION_BACKWARD, 2, 2, 4, 0.0f);
    f.in.inOisX = f.vx.data();
    f.in.inOisY = f.vy.data();
    std::strcpy(tempStrX, "marker");
    f.run();
    EXPECT_TRUE(f.log.texts().empty());
    EXPECT_STREQ(tempStrX, "marker");
}

// The per-frame path must not touch the heap, whatever the branch.
TEST(OisFrameHeap, FramesMakeNoAllocation) {
    struct Case {
        int isOisOn;
        VWMT_DIRECTION dir;
        float angle;
        int content;
    } cases[] = {
        {1, VWMT_DIRECTION_FORWARD, 0.0f, 28},           {1, VWMT_DIRECTION_FORWARD, 90.0f, 28},
        {1, VWMT_DIRECTION_FORWARD, 12.0f, 66},          {1, VWMT_DIRECTION_BACKWARD, 0.0f, 28},
        {1, VWMT_DIRECTION_BACKWARD_VERTICAL, 90.0f, 28}, {1, VWMT_DIRECTION_BACKWARD_VERTICAL, 45.0f, 30},
        {1, VWMT_DIRECTION_BACKWARD_VERTICAL, 180.0f, 28}, {0, VWMT_DIRECTION_FORWARD, 90.0f, 28},
    };
    for (const Case& c : cases) {
        Frame f(28, 28, c.isOisOn, 68);
        f.in.gridParam.content_w = f.in.gridParam.content_h = c.content;
        f.geometry(640, 480, 640, 480, c.angle, c.dir);
        f.in.gridParam.content_w = c.content + 1;  // a rectangular grid
        f.carve();
        f.fillVectors(3.0, -2.0);
        f.out = f.planes.record();
        gAllocations = 0;
        gCounting = true;
        f.trans.oisVecToGrid(f.in, f.out);
        gCounting = false;
        EXPECT_EQ(gAllocations.load(), 0) << "dir " << c.dir << " angle " << c.angle;
        EXPECT_TRUE(errors(f.log).empty());
        EXPECT_NE(f.planes.X(0, 0), OutputPlanes::kUntouched);
    }
}

}  // namespace
