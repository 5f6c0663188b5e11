// The two OIS transforms, checked on frames whose grid can be worked out by
// hand. Forward (direction 0): no vectors give the geometric identity, a
// uniform shift moves every node by the shift resized to the P1 scale, a
// quarter turn maps node (i, j) onto (j, last - i). Backward (directions 1
// and 2) inverts the displacement; right angles leave the rotation to the
// grid writer, other angles rotate on the mesh. Also the one-dimensional
// vector resampling both transforms share.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "vwmt/TransformTestSupport.h"

namespace {

using namespace velmo::testing;

const double kPi = 3.14159265358979323846;

class Transform : public ::testing::Test {
protected:
    TransformerGlobals globals_;
    ScopedProperties properties_;
    LogCapture logs_;
};

// srcImg is replaced by the rotated size in the forward fix-up.
GridFromOisParam rotatedTo(int w, int h, float angle) { return gridParam({1920, 1080}, {0, 0}, {w, h}, angle); }

// Every node moves by the shift x 0.88 x (P1 size / crop size): the
// displacement of the sensor at the P1 scale, away from the source forward,
// toward it backward. No shift: the identity grid i (W - 1) / (contentW - 1)
// in pixels x 32, W the rotated size forward and the P1 size backward.
TEST_F(Transform, UniformShiftMovesEveryNodeByTheResizedShift) {
    const struct {
        VWMT_DIRECTION dir;
        int vectW, vectH, contentW, contentH;
        VWMTRect p1Crop;  // on the 4000 x 3000 tg crop
        int w, h;
        double vx, vy;  // sensor pixels, before the 0.88 OIS scale
    } cases[] = {
        {VWMT_DIRECTION_FORWARD, 3, 3, 5, 4, {0, 0, 0, 0}, 401, 301, 0.0, 0.0},
        {VWMT_DIRECTION_FORWARD, 1, 3, 5, 4, {0, 0, 0, 0}, 401, 301, 0.0, 0.0},
        {VWMT_DIRECTION_FORWARD, 4, 3, 5, 5, {1000, 500, 2000, 1500}, 401, 301, 0.0, 0.0},
        {VWMT_DIRECTION_FORWARD, 3, 3, 5, 4, {0, 0, 0, 0}, 2001, 1501, 10.0, -5.0},
        {VWMT_DIRECTION_FORWARD, 4, 3, 5, 5, {1000, 500, 2000, 1500}, 2001, 1501, 10.0, -5.0},
        {VWMT_DIRECTION_FORWARD, 1, 4, 3, 5, {0, 0, 0, 0}, 2001, 1501, -7.0, 3.0},
        {VWMT_DIRECTION_FORWARD, 1, 4, 3, 5, {1000, 500, 2000, 1500}, 1001, 801, 4.0, 6.0},
        {VWMT_DIRECTION_BACKWARD, 3, 3, 5, 4, {0, 0, 0, 0}, 401, 301, 0.0, 0.0},
        {VWMT_DIRECTION_BACKWARD, 1, 3, 5, 4, {0, 0, 0, 0}, 401, 301, 0.0, 0.0},
        {VWMT_DIRECTION_BACKWARD, 3, 3, 5, 4, {0, 0, 0, 0}, 2001, 1501, 10.0, -5.0},
        {VWMT_DIRECTION_BACKWARD, 4, 3, 5, 5, {1000, 500, 2000, 1500}, 2001, 1501, 10.0, -5.0},
        {VWMT_DIRECTION_BACKWARD, 1, 4, 3, 5, {0, 0, 0, 0}, 2001, 1501, -7.0, 3.0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << "dir " << c.dir << ", " << c.vectW << " columns, shift " << c.vx);
        TransformRig rig(c.vectW, c.vectH, c.contentW, c.contentH, c.dir, 0.0f);
        rig.x.assign(rig.x.size(), c.vx);
        rig.y.assign(rig.y.size(), c.vy);
        const VWMTRect crop = c.p1Crop.w == 0 ? VWMTRect{0, 0, 4000, 3000} : c.p1Crop;
        const bool forward = c.dir == VWMT_DIRECTION_FORWARD;
        if (forward) rig.forward(frameGeometry(c.p1Crop, {640, 480}), rotatedTo(c.w, c.h, 0.0f));
        if (!forward) rig.backward(frameGeometry(c.p1Crop, {c.w, c.h}), gridParam({c.w, c.h}, {0, 0}, {123, 456}, 30.0f), c.dir);
        const double sign = forward ? 1.0 : -1.0;
        const double shiftX = sign * c.vx * double(0.88f) * c.w / crop.w, shiftY = sign * c.vy * double(0.88f) * c.h / crop.h;
        const std::vector<int32_t> gx = rig.gridX(), gy = rig.gridY();
        for (int k = 0; k < c.contentW * c.contentH; ++k) {
            EXPECT_EQ(gx[k], fixed(double(k % c.contentW) * (c.w - 1) / (c.contentW - 1) + shiftX)) << k;
            EXPECT_EQ(gy[k], fixed(double(k / c.contentW) * (c.h - 1) / (c.contentH - 1) + shiftY)) << k;
        }
    }
}

// vx = 5 per vector column, vy = 10 per vector row: on the 4000 x 3000
// fixed-up sensor vx(x) = x / 400 and vy(y) = y / 150. The P1 crop at
// (1000, 500) sits at (1040, 530) behind the tg crop's offset, so P1 pixel u
// lies on the sensor at 1040 + u / sX, and moves by sX x 0.88 x vx there.
TEST_F(Transform, VectorGradientIsReadWhereTheCropLiesOnTheSensor) {
    TransformRig rig(3, 3, 5, 5, VWMT_DIRECTION_FORWARD, 0.0f);
    for (int k = 0; k < 9; ++k) {
        rig.x[k] = 5.0 * (k % 3);
        rig.y[k] = 10.0 * (k / 3);
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
TEST_F(Transform, ConstructorOffsetMovesTheVectorsUnscaled) {
    double offset[2] = {2.0, -1.0};
    for (int vectW : {3, 1}) {
        VectWarpMapTrans trans(vectW, 3, offset);
        const int cw = vectW == 1 ? 2 : 3;  // OIS off: the mesh takes the content size
        trans.updateVectSize(makeInput(0, 0, VWMT_DIRECTION_FORWARD, cw, 3, 3, 0.0f));
        std::vector<int32_t> work(size_t(trans.getWorkingBufferSize()) / 4 + 1);
        trans.setWorkingBuffer(reinterpret_cast<char*>(work.data()));
        std::vector<double> x(size_t(vectW) * 3, 0.0), y(x);
        trans.transformVectToWarpMap(x.data(), y.data(), frameGeometry({0, 0, 0, 0}, {640, 480}),
                                     rotatedTo(2001, 1501, 0.0f));
        const Carve carve = documentedCarve(vectW, 3, cw, 3, cw, 3);
        for (int k = 0; k < cw * 3; ++k) {
            EXPECT_EQ(work[carve.offset[18] / 4 + k], fixed((k % cw) * 2000.0 / (cw - 1) + 2.0 * 2001 / 4000)) << k;
            EXPECT_EQ(work[carve.offset[19] / 4 + k], fixed((k / cw) * 750.0 - 1.0 * 1501 / 3000)) << k;
        }
    }
}

// Content 6 x 6 has more triangles than the 3 x 3 mesh, so nothing spills
// into arrays 14 to 16; the backward transform alone uses arrays 3 and 4, and
// a full vector grid needs none of arrays 20 to 24. The rotated image is 40
// rows taller than the source: the backward canvas pads 20 rows above and
// below, which must not spill into array 24 just before the canvas (0x3F
// bytes make a float small enough to show a stray shift).
TEST_F(Transform, ArraysOutsideTheStepsStayUntouched) {
    for (VWMT_DIRECTION dir : {VWMT_DIRECTION_FORWARD, VWMT_DIRECTION_BACKWARD_VERTICAL}) {
        TransformRig rig(3, 3, 6, 6, dir, 0.0f);
        std::memset(rig.buffer(), 0x3F, rig.work.size() * 4);
        rig.x.assign(9, 1.5);
        const ImgSizeDescription d = frameGeometry({0, 0, 0, 0}, {640, 480});
        const GridFromOisParam g = gridParam({640, 480}, {0, 0}, {640, 520}, 0.0f);
        if (dir == VWMT_DIRECTION_FORWARD) rig.forward(d, g);
        if (dir != VWMT_DIRECTION_FORWARD) rig.backward(d, g, dir);
        for (int array : {3, 4, 14, 15, 16, 20, 21, 22, 23, 24}) {
            if (array < 5 && dir != VWMT_DIRECTION_FORWARD) continue;
            const std::vector<uint8_t> bytes = rig.read<uint8_t>(array, rig.carve.bytes[array]);
            EXPECT_EQ(bytes, std::vector<uint8_t>(bytes.size(), 0x3F)) << "dir " << dir << " array " << array;
        }
        EXPECT_NE(rig.read<uint8_t>(18, 1)[0], 0x3F);
    }
}

// Node (i, j) of the content grid sits at (sx i - px, sy j - py) on the
// source and reads it turned by `turn` about the source centre ((w - 1) / 2,
// (h - 1) / 2). Forward: the rotated image is the source. Backward: right
// angles leave the turn to the grid writer, other angles turn the pixel
// centres; a rotated canvas wider than the source (dir 1, no resize) is
// padded by (rot - src) / 2 on each side, truncated toward zero (41 / 2 = 20,
// -41 / 2 = -20) except off the right angles (20.5 at 442 wide and 30 degrees).
TEST_F(Transform, RotationsTurnTheNodesAboutTheSourceCentre) {
    const struct {
        VWMT_DIRECTION dir;
        float angle, turn;
        int contentW, contentH, srcW, srcH, rotW, rotH;
        double sx, sy, px, py;
    } cases[] = {
        {VWMT_DIRECTION_FORWARD, 90.0f, 90.0f, 5, 5, 401, 401, 401, 401, 100, 100, 0, 0},
        {VWMT_DIRECTION_FORWARD, 180.0f, 180.0f, 5, 5, 401, 401, 401, 401, 100, 100, 0, 0},
        {VWMT_DIRECTION_FORWARD, -90.0f, -90.0f, 5, 5, 401, 401, 401, 401, 100, 100, 0, 0},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, 0.0f, 0.0f, 5, 5, 401, 401, 401, 401, 100, 100, 0, 0},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, 90.0f, 0.0f, 5, 5, 401, 401, 401, 401, 100, 100, 0, 0},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, 180.0f, 0.0f, 5, 5, 401, 401, 401, 401, 100, 100, 0, 0},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, 270.0f, 0.0f, 5, 5, 401, 401, 401, 401, 100, 100, 0, 0},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, -90.0f, 0.0f, 5, 5, 401, 401, 401, 401, 100, 100, 0, 0},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, 45.0f, 45.0f, 5, 5, 401, 401, 401, 401, 100, 100, 0, 0},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, -30.0f, -30.0f, 5, 5, 401, 401, 401, 401, 100, 100, 0, 0},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, 90.5f, 90.5f, 5, 5, 401, 401, 401, 401, 100, 100, 0, 0},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, 0.0f, 0.0f, 4, 3, 401, 301, 442, 301, 147, 150, 20, 0},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, 0.0f, 0.0f, 4, 3, 401, 301, 360, 301, 359.0 / 3, 150, -20, 0},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, 0.0f, 0.0f, 4, 3, 401, 301, 401, 301, 400.0 / 3, 150, 0, 0},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, 0.0f, 0.0f, 4, 3, 401, 301, 401, 336, 400.0 / 3, 167.5, 0, 17},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, 30.0f, 30.0f, 4, 3, 401, 301, 442, 301, 147, 150, 20.5, 0},
    };
    for (const auto& c : cases) {
        const bool forward = c.dir == VWMT_DIRECTION_FORWARD;
        TransformRig rig(forward ? 4 : 3, forward ? 4 : 3, c.contentW, c.contentH, c.dir, c.angle);
        const long allocations = allocationsIn([&] {
            if (forward) rig.forward(frameGeometry({0, 0, 0, 0}, {640, 480}), rotatedTo(c.rotW, c.rotH, c.angle));
            if (!forward)
                rig.backward(frameGeometry({0, 0, 0, 0}, {c.srcW, c.srcH}),
                             gridParam({c.srcW, c.srcH}, {0, 0}, {c.rotW, c.rotH}, c.angle), c.dir);
        });
        EXPECT_EQ(allocations, 0) << c.angle;
        const double s = std::sin(c.turn * kPi / 180.0), cs = std::cos(c.turn * kPi / 180.0);
        const double cx = (c.srcW - 1) / 2.0, cy = (c.srcH - 1) / 2.0;
        const std::vector<int32_t> gx = rig.gridX(), gy = rig.gridY();
        for (int k = 0; k < c.contentW * c.contentH; ++k) {
            const double dx = c.sx * (k % c.contentW) - c.px - cx, dy = c.sy * (k / c.contentW) - c.py - cy;
            EXPECT_EQ(gx[k], fixed(cx + cs * dx + s * dy)) << c.angle << " " << c.rotW << "x" << c.rotH << " node " << k;
            EXPECT_EQ(gy[k], fixed(cy + cs * dy - s * dx)) << c.angle << " " << c.rotW << "x" << c.rotH << " node " << k;
        }
        // A turned map is left in array 6 and copied over the queries of array 5.
        const size_t n = 2 * size_t(c.contentW) * c.contentH;
        if (!forward && c.turn != 0.0f) {
            EXPECT_EQ(rig.read<float>(5, n), rig.read<float>(6, n)) << c.angle;
        }
    }
}

// A 2 x 2 content grid over a 2 x 2 output: the query points are the pixel
// centres (0.5, 0.5) ... (1.5, 1.5); with the mesh on those points each node
// reads its own value exactly, and the grid holds (value - 0.5) x 32, halves
// away from zero. With OIS off the mesh is the content's, so even a vector
// grid of one row serves.
TEST_F(Transform, FinalRoundingIsHalfAwayFromZeroAfterTheCornerShift) {
    for (int isOisOn : {1, 0}) {
        TransformRig rig(isOisOn ? 2 : 3, isOisOn ? 2 : 1, 2, 2, VWMT_DIRECTION_FORWARD, 0.0f, isOisOn);
        const int triangles[] = {0, 2, 1, 1, 2, 3};
        std::memcpy(rig.buffer() + rig.carve.offset[13], triangles, sizeof triangles);
        std::vector<float> vertices = {0.5f, 0.5f, 1.5f, 0.5f, 0.5f, 1.5f, 1.5f, 1.5f};
        std::vector<float> values = {0.0f, -0.015625f, 1.0f, 0.515625f, 0.484375f, 0.5f, -1.0f, 100.0f};
        std::vector<float> queries(8, 0.0f);
        std::vector<int> gx(4, 7), gy(4, 7);
        rig.trans.warpMapTransformation_byMeshOpt(gx.data(), gy.data(), vertices.data(), values.data(),
                                                    queries.data(), nullptr, 2, 2, gridParam({2, 2}, {0, 0}, {2, 2}, 0.0f));
        EXPECT_EQ(gx, std::vector<int>({-16, 16, -1, -48})) << isOisOn;
        EXPECT_EQ(gy, std::vector<int>({-17, 1, 0, 3184})) << isOisOn;
        EXPECT_EQ(queries, vertices);
    }
}

// n vectors lie at i * a / (n - 1) (integer division) and are re-sampled at
// i * b / (n - 1) + c; more vectors than mesh rows are refused.
TEST_F(Transform, ColumnResampledOverTheCrop) {
    const struct {
        int n, a, c, b;
        std::vector<float> in, want;
    } cases[] = {
        {3, 4000, 1000, 2000, {0, 0, 10, 20, 30, 40}, {5, 10, 10, 20, 20, 30}},
        {3, 4000, 0, 4000, {1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6}},
        // Samples at 0, 3, 6, 10 (truncated); queries at 0, 1, 2, 3.
        {4, 10, 0, 3, {0, 0, 3, 30, 6, 60, 10, 100}, {0, 0, 1, 10, 2, 20, 3, 30}},
        {2, 100, -50, 300, {1, 2, 5, 6}, {1, 2, 5, 6}},  // outside clamps
        {2, 100, 25, 50, {0, 0, 100, 200}, {25, 50, 75, 150}},
        {100, 10, 0, 10, std::vector<float>(200, 1.0f), std::vector<float>(200, -1.0f)},
    };
    TransformRig rig(1, 4, 4, 4, VWMT_DIRECTION_FORWARD, 0.0f);
    for (const auto& c : cases) {
        std::vector<float> in = c.in, out(c.want.size(), -1.0f);
        logs_.clear();
        rig.trans.resampleVectorWithImageCropping_OneDimension(out.data(), in.data(), c.n, c.a, c.c, c.b);
        EXPECT_EQ(out, c.want) << c.n << " " << c.c;
        EXPECT_EQ(logs_.texts().size(), c.n > 4 ? 1u : 0u) << c.n;
    }
}

}  // namespace
