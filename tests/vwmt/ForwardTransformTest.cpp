// The forward OIS transform (direction 0), checked on frames whose grid can be
// worked out by hand: no vectors give the geometric identity, a uniform shift
// moves every node by the shift resized to the P1 scale, a quarter turn maps
// node (i, j) onto (j, last - i).

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>
#include <vector>

#include "vwmt/TransformTestSupport.h"

namespace {

// Heap allocations made by this process while counting is on.
int gAllocations = 0;
bool gCounting = false;

}  // namespace

// AddressSanitizer brings its own allocator, whose array forms would meet
// these replacements halfway; under it the count is not taken.
#if !defined(__SANITIZE_ADDRESS__)
#define VELMO_COUNT_ALLOCATIONS 1
// The replacements pair malloc with free themselves; GCC cannot see that
// through inlined new-expressions and would flag every delete.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void* operator new(std::size_t bytes) {
    if (gCounting) ++gAllocations;
    if (void* p = std::malloc(bytes ? bytes : 1)) return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t bytes) { return operator new(bytes); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
#pragma GCC diagnostic pop
#endif

namespace {

using velmo::testing::fixed;
using velmo::testing::frameGeometry;
using velmo::testing::LogCapture;
using velmo::testing::ScopedProperties;
using velmo::testing::TransformRig;

class ForwardTransform : public ::testing::Test {
protected:
    void SetUp() override { velmo::testing::resetTransformerGlobals(); }
    void TearDown() override { velmo::testing::resetTransformerGlobals(); }
    ScopedProperties properties_;
    LogCapture logs_;
};

GridFromOisParam rotatedTo(int w, int h, float angle) {
    GridFromOisParam g{};
    g.srcImg.size = {1920, 1080};  // replaced by the rotated size in the forward fix-up
    g.rotImg.size = {w, h};
    g.rotAngle = angle;
    return g;
}

struct ShiftCase {
    const char* name;
    int vectW, vectH, contentW, contentH;
    VWMTRect p1Crop;  // on the 4000 x 3000 tg crop
    int rotW, rotH;
    double vx, vy;    // sensor pixels, before the 0.88 OIS scale
};

// Every node moves by the shift x 0.88 x (P1 size / crop size): the
// displacement of the sensor at the P1 scale. No shift: the identity grid
// i (rotW - 1) / (contentW - 1) in pixels x 32.
const ShiftCase kShiftCases[] = {
    {"identity, full crop", 3, 3, 5, 4, {0, 0, 0, 0}, 401, 301, 0.0, 0.0},
    {"identity, one column", 1, 3, 5, 4, {0, 0, 0, 0}, 401, 301, 0.0, 0.0},
    {"identity, centre crop", 4, 3, 5, 5, {1000, 500, 2000, 1500}, 401, 301, 0.0, 0.0},
    {"shift, full crop", 3, 3, 5, 4, {0, 0, 0, 0}, 2001, 1501, 10.0, -5.0},
    {"shift, centre crop", 4, 3, 5, 5, {1000, 500, 2000, 1500}, 2001, 1501, 10.0, -5.0},
    {"shift, one column", 1, 4, 3, 5, {0, 0, 0, 0}, 2001, 1501, -7.0, 3.0},
    {"shift, one column under a crop", 1, 4, 3, 5, {1000, 500, 2000, 1500}, 1001, 801, 4.0, 6.0},
};

TEST_F(ForwardTransform, UniformShiftMovesEveryNodeByTheResizedShift) {
    for (const ShiftCase& c : kShiftCases) {
        TransformRig rig(c.vectW, c.vectH, c.contentW, c.contentH, VWMT_DIRECTION_FORWARD, 0.0f);
        rig.x().assign(rig.x().size(), c.vx);
        rig.y().assign(rig.y().size(), c.vy);
        const VWMTRect crop = c.p1Crop.w == 0 ? VWMTRect{0, 0, 4000, 3000} : c.p1Crop;
        rig.forward(frameGeometry(c.p1Crop, {640, 480}), rotatedTo(c.rotW, c.rotH, 0.0f));
        const double shiftX = c.vx * double(0.88f) * c.rotW / crop.w;
        const double shiftY = c.vy * double(0.88f) * c.rotH / crop.h;
        const std::vector<int32_t> gx = rig.gridX(), gy = rig.gridY();
        for (int j = 0; j < c.contentH; ++j) {
            for (int i = 0; i < c.contentW; ++i) {
                const size_t k = size_t(j) * c.contentW + i;
                EXPECT_EQ(gx[k], fixed(double(i) * (c.rotW - 1) / (c.contentW - 1) + shiftX))
                    << c.name << " node " << i << "," << j;
                EXPECT_EQ(gy[k], fixed(double(j) * (c.rotH - 1) / (c.contentH - 1) + shiftY))
                    << c.name << " node " << i << "," << j;
            }
        }
        EXPECT_TRUE(logs_.lines().size() > 0);  // construction lines only
    }
}

TEST_F(ForwardTransform, OneColumnRowsTakeTheirOwnVector) {
    // Column values 0, 10, 20 lie at 0, 2000 and 4000 along the 4000-pixel
    // fixed-up sensor and are re-sampled along the crop, which the tg crop's
    // x offset of 40 moves: mesh rows read 0.2, 10.2 and 20 (clamped). Both
    // mesh columns take their row's value, so the shift depends on y alone
    // and is piecewise linear between the mesh rows at 0, 750 and 1500.
    TransformRig rig(1, 3, 3, 5, VWMT_DIRECTION_FORWARD, 0.0f);
    rig.x() = {0.0, 10.0, 20.0};
    rig.forward(frameGeometry({0, 0, 0, 0}, {640, 480}), rotatedTo(2000, 1500, 0.0f));
    const double rowValue[3] = {0.2, 10.2, 20.0};
    const std::vector<int32_t> gx = rig.gridX(), gy = rig.gridY();
    for (int j = 0; j < 5; ++j) {
        const double y = j * 1499.0 / 4 + 0.5;  // the pixel centre the node reads, P1 pixels
        const int band = y < 750.0 ? 0 : 1;
        const double t = (y - 750.0 * band) / 750.0;
        const double value = rowValue[band] * (1 - t) + rowValue[band + 1] * t;
        const double shift = 0.5 * double(0.88f) * value;  // P1 is half the crop
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(gx[size_t(j) * 3 + i], fixed(i * 1999.0 / 2 + shift)) << i << "," << j;
            EXPECT_EQ(gy[size_t(j) * 3 + i], fixed(y - 0.5)) << i << "," << j;
        }
    }
}

TEST_F(ForwardTransform, VectorGradientIsReadWhereTheCropLiesOnTheSensor) {
    // vx = 5 per vector column, vy = 10 per vector row: on the 4000 x 3000
    // fixed-up sensor vx(x) = x / 400 and vy(y) = y / 150. The P1 crop at
    // (1000, 500) sits at (1040, 530) behind the tg crop's offset, so P1 pixel
    // u lies on the sensor at 1040 + u / sX, and moves by sX x 0.88 x vx there.
    TransformRig rig(3, 3, 5, 5, VWMT_DIRECTION_FORWARD, 0.0f);
    for (int k = 0; k < 9; ++k) {
        rig.x()[k] = 5.0 * (k % 3);
        rig.y()[k] = 10.0 * (k / 3);
    }
    rig.forward(frameGeometry({1000, 500, 2000, 1500}, {640, 480}), rotatedTo(2001, 1501, 0.0f));
    const double sX = 2001.0 / 2000, sY = 1501.0 / 1500, scale = double(0.88f);
    const std::vector<int32_t> gx = rig.gridX(), gy = rig.gridY();
    for (int k = 0; k < 25; ++k) {
        const double u = (k % 5) * 500.0 + 0.5, v = (k / 5) * 375.0 + 0.5;  // pixel centres read
        EXPECT_EQ(gx[k], fixed(u - 0.5 + sX * scale * (1040.0 + u / sX) / 400.0)) << k;
        EXPECT_EQ(gy[k], fixed(v - 0.5 + sY * scale * (530.0 + v / sY) / 150.0)) << k;
    }
}

TEST_F(ForwardTransform, ConstructorOffsetMovesTheVectorsUnscaled) {
    // The offset of the offset constructors is added after the OIS scale.
    double offset[2] = {2.0, -1.0};
    for (int vectW : {3, 1}) {
        VectWarpMapTrans trans(vectW, 3, offset);
        VWMTInput in{};
        in.gridParam.content_w = vectW == 1 ? 2 : 3;  // OIS off: the mesh takes the content size
        in.gridParam.content_h = 3;
        in.gridParam.buffer_size = 3;
        trans.updateVectSize(in);
        std::vector<uint32_t> work(size_t(trans.getWorkingBufferSize()) / 4 + 1);
        trans.setWorkingBuffer(reinterpret_cast<char*>(work.data()));
        std::vector<double> x(size_t(vectW) * 3, 0.0), y(x.size(), 0.0);
        trans.transformVectToWarpMap(x.data(), y.data(), frameGeometry({0, 0, 0, 0}, {640, 480}),
                                     rotatedTo(2001, 1501, 0.0f));
        const int cw = in.gridParam.content_w;
        const velmo::testing::GridSizes sizes{vectW, 3, vectW == 1 ? 2 : 3, 3, cw, 3};
        std::vector<int32_t> gx(size_t(cw) * 3), gy(gx.size());
        const char* base = reinterpret_cast<const char*>(work.data());
        std::memcpy(gx.data(), base + velmo::testing::workingOffset(sizes, 18), gx.size() * 4);
        std::memcpy(gy.data(), base + velmo::testing::workingOffset(sizes, 19), gy.size() * 4);
        for (int k = 0; k < cw * 3; ++k) {
            EXPECT_EQ(gx[k], fixed((k % cw) * 2000.0 / (cw - 1) + 2.0 * 2001 / 4000)) << vectW << " " << k;
            EXPECT_EQ(gy[k], fixed((k / cw) * 750.0 - 1.0 * 1501 / 3000)) << vectW << " " << k;
        }
    }
}

TEST_F(ForwardTransform, RotationHelperTurnsTheGridInPlace) {
    // Nodes every 100 pixels of a 200 x 200 source, turned 90 degrees about
    // (100, 100): (x, y) -> (y, 200 - x). Guards after each array catch
    // writes past the content grid.
    TransformRig rig(3, 3, 3, 3, VWMT_DIRECTION_FORWARD, 90.0f);
    rig.write(13, std::vector<int>{0, 3, 1, 1, 3, 4, 1, 4, 2, 2, 4, 5, 3, 6, 4, 4, 6, 7, 4, 7, 5, 5, 7, 8});
    const float guard = -12345.0f;
    const float scratchGuard = -999.0f;  // differs, so a copy past the grid shows
    std::vector<float> nodes, rotated(22, guard), scratch(22, scratchGuard);
    for (int k = 0; k < 9; ++k) {
        nodes.push_back(100.0f * (k % 3));
        nodes.push_back(100.0f * (k / 3));
    }
    std::vector<float> grid = nodes;
    grid.insert(grid.end(), 4, guard);
    GridFromOisParam g{};
    g.srcImg.size = {200, 200};
    g.rotAngle = 90.0f;
    rig.trans().genRotateGridXYByMeshInterPolation(nodes.data(), rotated.data(), grid.data(), scratch.data(), g);
    for (int k = 0; k < 9; ++k) {
        EXPECT_NEAR(grid[2 * k], nodes[2 * k + 1], 1e-3) << k;
        EXPECT_NEAR(grid[2 * k + 1], 200.0f - nodes[2 * k], 1e-3) << k;
        EXPECT_NEAR(rotated[2 * k], nodes[2 * k + 1], 1e-3) << k;
    }
    for (int k = 18; k < 22; ++k) {
        EXPECT_EQ(grid[k], guard);
        EXPECT_EQ(rotated[k], guard);
        EXPECT_EQ(scratch[k], scratchGuard);
    }
}

TEST_F(ForwardTransform, ArraysOutsideTheStepsStayUntouched) {
    // Content 6 x 6 has more triangles than the 3 x 3 mesh, so nothing spills
    // into arrays 14 to 16; the backward transform alone uses arrays 3 and 4,
    // and a full vector grid needs none of arrays 20 to 24.
    struct Case {
        VWMT_DIRECTION dir;
        std::vector<int> untouched;
    } const cases[] = {{VWMT_DIRECTION_FORWARD, {3, 4, 14, 15, 16, 20, 21, 22, 23, 24}},
                       {VWMT_DIRECTION_BACKWARD, {14, 15, 16, 20, 21, 22, 23, 24}}};
    for (const Case& c : cases) {
        TransformRig rig(3, 3, 6, 6, c.dir, 0.0f);
        std::memset(rig.buffer(), 0x7F, rig.bufferBytes());
        rig.x().assign(9, 1.5);
        const ImgSizeDescription d = frameGeometry({0, 0, 0, 0}, {640, 480});
        GridFromOisParam g = rotatedTo(640, 480, 0.0f);
        g.srcImg.size = {640, 480};
        if (c.dir == VWMT_DIRECTION_FORWARD)
            rig.forward(d, g);
        else
            rig.backward(d, g, c.dir);
        for (int array : c.untouched) {
            size_t bytes = 0;
            velmo::testing::workingOffset(rig.sizes(), array, &bytes);
            for (uint8_t b : rig.read<uint8_t>(array, bytes)) ASSERT_EQ(b, 0x7F) << "array " << array;
        }
        EXPECT_NE(rig.read<uint8_t>(18, 1)[0], 0x7F);
    }
}

TEST_F(ForwardTransform, QuarterTurnMapsColumnsOntoRows) {
    // Square 401 x 401 image, nodes every 100 pixels: at 90 degrees node (i, j)
    // reads the source at (100 j, 400 - 100 i); at 180 at (400 - 100 i, 400 - 100 j).
    struct Case {
        float angle;
        int xi, xj, x0, yi, yj, y0;  // source = (xi i + xj j + x0, yi i + yj j + y0) x 100
    } const cases[] = {{90.0f, 0, 1, 0, -1, 0, 4}, {180.0f, -1, 0, 4, 0, -1, 4}, {-90.0f, 0, -1, 4, 1, 0, 0}};
    for (const auto& c : cases) {
        TransformRig rig(4, 4, 5, 5, VWMT_DIRECTION_FORWARD, c.angle);
        rig.forward(frameGeometry({0, 0, 0, 0}, {640, 480}), rotatedTo(401, 401, c.angle));
        const std::vector<int32_t> gx = rig.gridX(), gy = rig.gridY();
        for (int j = 0; j < 5; ++j) {
            for (int i = 0; i < 5; ++i) {
                const size_t k = size_t(j) * 5 + i;
                EXPECT_EQ(gx[k], fixed(100.0 * (c.xi * i + c.xj * j + c.x0))) << c.angle << " " << i << "," << j;
                EXPECT_EQ(gy[k], fixed(100.0 * (c.yi * i + c.yj * j + c.y0))) << c.angle << " " << i << "," << j;
            }
        }
    }
}

TEST_F(ForwardTransform, FinalRoundingIsHalfAwayFromZeroAfterTheCornerShift) {
    // A 2 x 2 content grid over a 2 x 2 output: the query points are the pixel
    // centres (0.5, 0.5) ... (1.5, 1.5); with the mesh on those points each
    // node reads its own value exactly, and the grid holds (value - 0.5) x 32.
    TransformRig rig(2, 2, 2, 2, VWMT_DIRECTION_FORWARD, 0.0f);
    std::vector<int> triangles = {0, 2, 1, 1, 2, 3};
    rig.write(13, triangles);
    std::vector<float> vertices = {0.5f, 0.5f, 1.5f, 0.5f, 0.5f, 1.5f, 1.5f, 1.5f};
    std::vector<float> values = {0.0f, -0.015625f, 1.0f, 0.515625f, 0.484375f, 0.5f, -1.0f, 100.0f};
    const int want[8] = {-16, -17, 16, 1, -1, 0, -48, 3184};
    std::vector<float> queries(8, 0.0f);
    std::vector<int> gx(4, 7), gy(4, 7);
    GridFromOisParam g{};
    g.srcImg.size = {2, 2};
    g.rotImg.size = {2, 2};
    rig.trans().warpMapTransformation_byMeshOpt(gx.data(), gy.data(), vertices.data(), values.data(), queries.data(),
                                                nullptr, 2, 2, g);
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(gx[k], want[2 * k]) << "node " << k << " value " << values[2 * k];
        EXPECT_EQ(gy[k], want[2 * k + 1]) << "node " << k << " value " << values[2 * k + 1];
        EXPECT_EQ(queries[2 * k], vertices[2 * k]);
        EXPECT_EQ(queries[2 * k + 1], vertices[2 * k + 1]);
    }
}

TEST_F(ForwardTransform, RefusesWithOneLineAndNoWrite) {
    struct Case {
        const char* name;
        bool setBuffer;
        bool nullX, nullY;
        bool standBy;
    } const cases[] = {
        {"no working buffer", false, false, false, false},
        {"null x vectors", true, true, false, false},
        {"null y vectors", true, false, true, false},
        {"stand-by mesh does not match the vector grid", true, false, false, true},
    };
    for (const Case& c : cases) {
        VectWarpMapTrans trans(3, 3, c.standBy ? 0 : 1);
        std::vector<uint32_t> work(size_t(trans.getWorkingBufferSize()) / 4 + 1, 0xA5A5A5A5u);
        if (c.setBuffer) trans.setWorkingBuffer(reinterpret_cast<char*>(work.data()));
        std::vector<double> x(9, 10.0), y(9, 10.0);
        logs_.clear();
        trans.transformVectToWarpMap(c.nullX ? nullptr : x.data(), c.nullY ? nullptr : y.data(),
                                     frameGeometry({0, 0, 0, 0}, {640, 480}), rotatedTo(401, 301, 0.0f));
        ASSERT_EQ(logs_.lines().size(), 1u) << c.name;
        EXPECT_NE(logs_.texts()[0].find("[VWMT][transformVectToWarpMap]"), std::string::npos) << c.name;
        for (uint32_t word : work) ASSERT_EQ(word, 0xA5A5A5A5u) << c.name;
        EXPECT_EQ(x[0], 10.0) << c.name;  // never scaled
    }
}

TEST_F(ForwardTransform, NonFiniteVectorsFinishInsideTheBuffers) {
    const double inf = std::numeric_limits<double>::infinity();
    const double values[] = {std::numeric_limits<double>::quiet_NaN(), inf, -inf, 1e30, -1e300};
    for (double v : values) {
        for (int column : {0, 1}) {
            TransformRig rig(column ? 1 : 3, 3, 4, 4, VWMT_DIRECTION_FORWARD, 30.0f);
            const size_t bytes = rig.bufferBytes();
            rig.buffer()[bytes - 1] = 0x5A;  // past the carve
            rig.x().assign(rig.x().size(), v);
            rig.y().assign(rig.y().size(), 1.0);
            rig.x()[0] = 2.0;
            rig.forward(frameGeometry({0, 0, 0, 0}, {640, 480}), rotatedTo(401, 301, 30.0f));
            EXPECT_EQ(rig.buffer()[bytes - 1], 0x5A) << v;
            EXPECT_EQ(rig.x()[0], 2.0);
            EXPECT_EQ(std::isnan(rig.x()[1]), std::isnan(v));
        }
    }
}

TEST_F(ForwardTransform, FramesMakeNoHeapAllocation) {
#if !defined(VELMO_COUNT_ALLOCATIONS)
    GTEST_SKIP() << "allocations are counted without AddressSanitizer only";
#endif
    for (int dir : {0, 1, 2}) {
        for (float angle : {0.0f, 90.0f, 45.0f}) {
            TransformRig rig(4, 4, 6, 6, VWMT_DIRECTION(dir), angle);
            rig.x().assign(16, 3.0);
            const ImgSizeDescription d = frameGeometry({0, 0, 0, 0}, {640, 480});
            const GridFromOisParam g = rotatedTo(640, 480, angle);
            gAllocations = 0;
            gCounting = true;
            if (dir == 0)
                rig.forward(d, g);
            else
                rig.backward(d, g, VWMT_DIRECTION(dir));
            gCounting = false;
            EXPECT_EQ(gAllocations, 0) << "dir " << dir << " angle " << angle;
        }
    }
}

}  // namespace
