// The forward OIS transform (direction 0), checked on frames whose grid can be
// worked out by hand: no vectors give the geometric identity, a uniform shift
// moves every node by the shift resized to the P1 scale, a quarter turn maps
// node (i, j) onto (j, last - i).

#include <gtest/gtest.h>

#include <vector>

#include "vwmt/TransformTestSupport.h"

namespace {

using namespace velmo::testing;

class ForwardTransform : public ::testing::Test {
protected:
    TransformerGlobals globals_;
    ScopedProperties properties_;
    LogCapture logs_;
};

// srcImg is replaced by the rotated size in the forward fix-up.
GridFromOisParam rotatedTo(int w, int h, float angle) { return gridParam({1920, 1080}, {0, 0}, {w, h}, angle); }

// Every node moves by the shift x 0.88 x (P1 size / crop size): the
// displacement of the sensor at the P1 scale. No shift: the identity grid
// i (rotW - 1) / (contentW - 1) in pixels x 32.
TEST_F(ForwardTransform, UniformShiftMovesEveryNodeByTheResizedShift) {
    const struct {
        int vectW, vectH, contentW, contentH;
        VWMTRect p1Crop;  // on the 4000 x 3000 tg crop
        int rotW, rotH;
        double vx, vy;  // sensor pixels, before the 0.88 OIS scale
    } cases[] = {
        {3, 3, 5, 4, {0, 0, 0, 0}, 401, 301, 0.0, 0.0},
        {1, 3, 5, 4, {0, 0, 0, 0}, 401, 301, 0.0, 0.0},
        {4, 3, 5, 5, {1000, 500, 2000, 1500}, 401, 301, 0.0, 0.0},
        {3, 3, 5, 4, {0, 0, 0, 0}, 2001, 1501, 10.0, -5.0},
        {4, 3, 5, 5, {1000, 500, 2000, 1500}, 2001, 1501, 10.0, -5.0},
        {1, 4, 3, 5, {0, 0, 0, 0}, 2001, 1501, -7.0, 3.0},
        {1, 4, 3, 5, {1000, 500, 2000, 1500}, 1001, 801, 4.0, 6.0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.vectW << " columns, shift " << c.vx << ", crop " << c.p1Crop.w);
        TransformRig rig(c.vectW, c.vectH, c.contentW, c.contentH, VWMT_DIRECTION_FORWARD, 0.0f);
        rig.x().assign(rig.x().size(), c.vx);
        rig.y().assign(rig.y().size(), c.vy);
        const VWMTRect crop = c.p1Crop.w == 0 ? VWMTRect{0, 0, 4000, 3000} : c.p1Crop;
        rig.forward(frameGeometry(c.p1Crop, {640, 480}), rotatedTo(c.rotW, c.rotH, 0.0f));
        const double shiftX = c.vx * double(0.88f) * c.rotW / crop.w, shiftY = c.vy * double(0.88f) * c.rotH / crop.h;
        const std::vector<int32_t> gx = rig.gridX(), gy = rig.gridY();
        for (int k = 0; k < c.contentW * c.contentH; ++k) {
            EXPECT_EQ(gx[k], fixed(double(k % c.contentW) * (c.rotW - 1) / (c.contentW - 1) + shiftX)) << k;
            EXPECT_EQ(gy[k], fixed(double(k / c.contentW) * (c.rotH - 1) / (c.contentH - 1) + shiftY)) << k;
        }
    }
}

// Column values 0, 10, 20 lie at 0, 2000 and 4000 along the 4000-pixel
// fixed-up sensor and are re-sampled along the crop, which the tg crop's x
// offset of 40 moves: mesh rows read 0.2, 10.2 and 20 (clamped). Both mesh
// columns take their row's value, so the shift depends on y alone and is
// piecewise linear between the mesh rows at 0, 750 and 1500.
TEST_F(ForwardTransform, OneColumnRowsTakeTheirOwnVector) {
    TransformRig rig(1, 3, 3, 5, VWMT_DIRECTION_FORWARD, 0.0f);
    rig.x() = {0.0, 10.0, 20.0};
    rig.forward(frameGeometry({0, 0, 0, 0}, {640, 480}), rotatedTo(2000, 1500, 0.0f));
    const double rowValue[3] = {0.2, 10.2, 20.0};
    const std::vector<int32_t> gx = rig.gridX(), gy = rig.gridY();
    for (int j = 0; j < 5; ++j) {
        const double y = j * 1499.0 / 4 + 0.5;  // the pixel centre the node reads, P1 pixels
        const int band = y < 750.0 ? 0 : 1;
        const double t = (y - 750.0 * band) / 750.0;
        const double shift = 0.5 * double(0.88f) * (rowValue[band] * (1 - t) + rowValue[band + 1] * t);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(gx[size_t(j) * 3 + i], fixed(i * 1999.0 / 2 + shift)) << i << "," << j;
            EXPECT_EQ(gy[size_t(j) * 3 + i], fixed(y - 0.5)) << i << "," << j;
        }
    }
}

// vx = 5 per vector column, vy = 10 per vector row: on the 4000 x 3000
// fixed-up sensor vx(x) = x / 400 and vy(y) = y / 150. The P1 crop at
// (1000, 500) sits at (1040, 530) behind the tg crop's offset, so P1 pixel u
// lies on the sensor at 1040 + u / sX, and moves by sX x 0.88 x vx there.
TEST_F(ForwardTransform, VectorGradientIsReadWhereTheCropLiesOnTheSensor) {
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

// The offset of the offset constructors is added after the OIS scale, then
// resized like any vector: (2, -1) x (2001 / 4000, 1501 / 3000).
TEST_F(ForwardTransform, ConstructorOffsetMovesTheVectorsUnscaled) {
    double offset[2] = {2.0, -1.0};
    for (int vectW : {3, 1}) {
        VectWarpMapTrans trans(vectW, 3, offset);
        const int cw = vectW == 1 ? 2 : 3;  // OIS off: the mesh takes the content size
        trans.updateVectSize(makeInput(0, 0, VWMT_DIRECTION_FORWARD, cw, 3, 3, 0.0f));
        std::vector<uint32_t> work(size_t(trans.getWorkingBufferSize()) / 4 + 1);
        trans.setWorkingBuffer(reinterpret_cast<char*>(work.data()));
        std::vector<double> x(size_t(vectW) * 3, 0.0), y(x);
        trans.transformVectToWarpMap(x.data(), y.data(), frameGeometry({0, 0, 0, 0}, {640, 480}),
                                     rotatedTo(2001, 1501, 0.0f));
        const Carve carve = documentedCarve(vectW, 3, cw, 3, cw, 3);
        const char* base = reinterpret_cast<const char*>(work.data());
        for (int k = 0; k < cw * 3; ++k) {
            int32_t gx, gy;
            std::memcpy(&gx, base + carve.offset[18] + 4 * k, 4);
            std::memcpy(&gy, base + carve.offset[19] + 4 * k, 4);
            EXPECT_EQ(gx, fixed((k % cw) * 2000.0 / (cw - 1) + 2.0 * 2001 / 4000)) << vectW << " " << k;
            EXPECT_EQ(gy, fixed((k / cw) * 750.0 - 1.0 * 1501 / 3000)) << vectW << " " << k;
        }
    }
}

// Content 6 x 6 has more triangles than the 3 x 3 mesh, so nothing spills
// into arrays 14 to 16; the backward transform alone uses arrays 3 and 4, and
// a full vector grid needs none of arrays 20 to 24.
TEST_F(ForwardTransform, ArraysOutsideTheStepsStayUntouched) {
    for (VWMT_DIRECTION dir : {VWMT_DIRECTION_FORWARD, VWMT_DIRECTION_BACKWARD}) {
        TransformRig rig(3, 3, 6, 6, dir, 0.0f);
        std::memset(rig.buffer(), 0x7F, rig.bufferBytes());
        rig.x().assign(9, 1.5);
        const ImgSizeDescription d = frameGeometry({0, 0, 0, 0}, {640, 480});
        const GridFromOisParam g = gridParam({640, 480}, {0, 0}, {640, 480}, 0.0f);
        if (dir == VWMT_DIRECTION_FORWARD) rig.forward(d, g);
        if (dir == VWMT_DIRECTION_BACKWARD) rig.backward(d, g, dir);
        for (int array : {3, 4, 14, 15, 16, 20, 21, 22, 23, 24}) {
            if (array < 5 && dir == VWMT_DIRECTION_BACKWARD) continue;
            const std::vector<uint8_t> bytes = rig.read<uint8_t>(array, rig.carve().bytes[array]);
            EXPECT_EQ(bytes, std::vector<uint8_t>(bytes.size(), 0x7F)) << "dir " << dir << " array " << array;
        }
        EXPECT_NE(rig.read<uint8_t>(18, 1)[0], 0x7F);
    }
}

// Square 401 x 401 image, nodes every 100 pixels: at 90 degrees node (i, j)
// reads the source at (100 j, 400 - 100 i); at 180 at (400 - 100 i, 400 - 100 j).
TEST_F(ForwardTransform, QuarterTurnMapsColumnsOntoRows) {
    const struct {
        float angle;
        int xi, xj, x0, yi, yj, y0;  // source = (xi i + xj j + x0, yi i + yj j + y0) x 100
    } cases[] = {{90.0f, 0, 1, 0, -1, 0, 4}, {180.0f, -1, 0, 4, 0, -1, 4}, {-90.0f, 0, -1, 4, 1, 0, 0}};
    for (const auto& c : cases) {
        TransformRig rig(4, 4, 5, 5, VWMT_DIRECTION_FORWARD, c.angle);
        rig.forward(frameGeometry({0, 0, 0, 0}, {640, 480}), rotatedTo(401, 401, c.angle));
        const std::vector<int32_t> gx = rig.gridX(), gy = rig.gridY();
        for (int k = 0; k < 25; ++k) {
            const int i = k % 5, j = k / 5;
            EXPECT_EQ(gx[k], fixed(100.0 * (c.xi * i + c.xj * j + c.x0))) << c.angle << " " << i << "," << j;
            EXPECT_EQ(gy[k], fixed(100.0 * (c.yi * i + c.yj * j + c.y0))) << c.angle << " " << i << "," << j;
        }
    }
}

// A 2 x 2 content grid over a 2 x 2 output: the query points are the pixel
// centres (0.5, 0.5) ... (1.5, 1.5); with the mesh on those points each node
// reads its own value exactly, and the grid holds (value - 0.5) x 32, halves
// away from zero.
TEST_F(ForwardTransform, FinalRoundingIsHalfAwayFromZeroAfterTheCornerShift) {
    TransformRig rig(2, 2, 2, 2, VWMT_DIRECTION_FORWARD, 0.0f);
    rig.write(13, std::vector<int>{0, 2, 1, 1, 2, 3});
    std::vector<float> vertices = {0.5f, 0.5f, 1.5f, 0.5f, 0.5f, 1.5f, 1.5f, 1.5f};
    std::vector<float> values = {0.0f, -0.015625f, 1.0f, 0.515625f, 0.484375f, 0.5f, -1.0f, 100.0f};
    const int want[8] = {-16, -17, 16, 1, -1, 0, -48, 3184};
    std::vector<float> queries(8, 0.0f);
    std::vector<int> gx(4, 7), gy(4, 7);
    rig.trans().warpMapTransformation_byMeshOpt(gx.data(), gy.data(), vertices.data(), values.data(), queries.data(),
                                                nullptr, 2, 2, gridParam({2, 2}, {0, 0}, {2, 2}, 0.0f));
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(gx[k], want[2 * k]) << "node " << k;
        EXPECT_EQ(gy[k], want[2 * k + 1]) << "node " << k;
    }
    EXPECT_EQ(queries, vertices);
}

TEST_F(ForwardTransform, RefusesWithOneLineAndNoWrite) {
    const struct {
        bool setBuffer, nullX, nullY;
        int isOisOn;
        const char* needle;
    } cases[] = {
        {false, false, false, 1, "no working buffer set"},
        {true, true, false, 1, "is NULL"},
        {true, false, true, 1, "is NULL"},
        // A stand-by mesh (28 x 28) does not match the 3 x 3 vector grid.
        {true, false, false, 0, "gridIn(3, 3)"},
    };
    for (const auto& c : cases) {
        VectWarpMapTrans trans(3, 3, c.isOisOn);
        std::vector<uint32_t> work(size_t(trans.getWorkingBufferSize()) / 4 + 1, 0xA5A5A5A5u);
        if (c.setBuffer) trans.setWorkingBuffer(reinterpret_cast<char*>(work.data()));
        std::vector<double> x(9, 10.0), y(9, 10.0);
        logs_.clear();
        trans.transformVectToWarpMap(c.nullX ? nullptr : x.data(), c.nullY ? nullptr : y.data(),
                                     frameGeometry({0, 0, 0, 0}, {640, 480}), rotatedTo(401, 301, 0.0f));
        ASSERT_EQ(logs_.texts().size(), 1u) << c.needle;
        EXPECT_EQ(logs_.texts()[0].rfind("[VWMT][transformVectToWarpMap] Error: ", 0), 0u) << logs_.texts()[0];
        EXPECT_NE(logs_.texts()[0].find(c.needle), std::string::npos) << logs_.texts()[0];
        EXPECT_EQ(work, std::vector<uint32_t>(work.size(), 0xA5A5A5A5u)) << c.needle;
        EXPECT_EQ(x[0], 10.0) << "never scaled";
    }
}

TEST_F(ForwardTransform, FramesMakeNoHeapAllocation) {
    for (int dir : {0, 1, 2}) {
        for (float angle : {0.0f, 90.0f, 45.0f}) {
            TransformRig rig(4, 4, 6, 6, VWMT_DIRECTION(dir), angle);
            rig.x().assign(16, 3.0);
            const ImgSizeDescription d = frameGeometry({0, 0, 0, 0}, {640, 480});
            const GridFromOisParam g = rotatedTo(640, 480, angle);
            gAllocations = 0;
            gCountAllocations = true;
            if (dir == 0) rig.forward(d, g);
            if (dir != 0) rig.backward(d, g, VWMT_DIRECTION(dir));
            gCountAllocations = false;
            EXPECT_EQ(gAllocations, 0) << "dir " << dir << " angle " << angle;
        }
    }
}

}  // namespace
