// The backward OIS transform (directions 1 and 2): the forward displacement is
// inverted, so a uniform shift moves every node by minus the resized shift;
// right angles leave the rotation to the grid writer, other angles rotate on
// the mesh and round in single precision.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "vwmt/TransformTestSupport.h"

namespace {

using namespace velmo::testing;

class BackwardTransform : public ::testing::Test {
protected:
    void run(TransformRig& rig, VWMTSize p1, VWMTSize rot, float angle) {
        rig.backward(frameGeometry({0, 0, 0, 0}, p1), gridParam(p1, {0, 0}, rot, angle), VWMT_DIRECTION_BACKWARD_VERTICAL);
    }
    TransformerGlobals globals_;
    ScopedProperties properties_;
    LogCapture logs_;
};

const double kPi = 3.14159265358979323846;

TEST_F(BackwardTransform, UniformShiftMovesEveryNodeBackByTheResizedShift) {
    const struct {
        int vectW, vectH, contentW, contentH;
        VWMTRect p1Crop;
        VWMTSize p1;  // P1 resize; the source image has its size
        double vx, vy;
    } cases[] = {
        {3, 3, 5, 4, {0, 0, 0, 0}, {401, 301}, 0.0, 0.0},
        {1, 3, 5, 4, {0, 0, 0, 0}, {401, 301}, 0.0, 0.0},
        {3, 3, 5, 4, {0, 0, 0, 0}, {2001, 1501}, 10.0, -5.0},
        {4, 3, 5, 5, {1000, 500, 2000, 1500}, {2001, 1501}, 10.0, -5.0},
        {1, 4, 3, 5, {0, 0, 0, 0}, {2001, 1501}, -7.0, 3.0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.vectW << " columns, shift " << c.vx << ", crop " << c.p1Crop.w);
        TransformRig rig(c.vectW, c.vectH, c.contentW, c.contentH, VWMT_DIRECTION_BACKWARD, 0.0f);
        rig.x().assign(rig.x().size(), c.vx);
        rig.y().assign(rig.y().size(), c.vy);
        const VWMTRect crop = c.p1Crop.w == 0 ? VWMTRect{0, 0, 4000, 3000} : c.p1Crop;
        rig.backward(frameGeometry(c.p1Crop, c.p1), gridParam(c.p1, {0, 0}, {123, 456}, 30.0f), VWMT_DIRECTION_BACKWARD);
        const double shiftX = c.vx * double(0.88f) * c.p1.w / crop.w, shiftY = c.vy * double(0.88f) * c.p1.h / crop.h;
        const std::vector<int32_t> gx = rig.gridX(), gy = rig.gridY();
        for (int k = 0; k < c.contentW * c.contentH; ++k) {
            EXPECT_EQ(gx[k], fixed(double(k % c.contentW) * (c.p1.w - 1) / (c.contentW - 1) - shiftX)) << k;
            EXPECT_EQ(gy[k], fixed(double(k / c.contentW) * (c.p1.h - 1) / (c.contentH - 1) - shiftY)) << k;
        }
    }
}

// Source and rotated image 401 x 401, 5 x 5 nodes every 100 pixels, no
// vectors. Right angles leave the nodes where they are (the grid writer turns
// them); any other angle turns the pixel centres about the image centre
// (200.5, 200.5).
TEST_F(BackwardTransform, RightAnglesLeaveTheTurnToTheGridWriterOthersTurnThePixelCentres) {
    for (float angle : {0.0f, 90.0f, 180.0f, 270.0f, -90.0f, 45.0f, -30.0f, 90.5f}) {
        const bool right = std::fmod(angle, 90.0f) == 0.0f;
        TransformRig rig(3, 3, 5, 5, VWMT_DIRECTION_BACKWARD_VERTICAL, angle);
        run(rig, {401, 401}, {401, 401}, angle);
        const double s = right ? 0.0 : std::sin(angle * kPi / 180.0), c = right ? 1.0 : std::cos(angle * kPi / 180.0);
        const std::vector<int32_t> gx = rig.gridX(), gy = rig.gridY();
        for (int k = 0; k < 25; ++k) {
            const double dx = 100.0 * (k % 5) + 0.5 - 200.5, dy = 100.0 * (k / 5) + 0.5 - 200.5;
            EXPECT_EQ(gx[k], fixed(200.5 + c * dx + s * dy - 0.5)) << angle << " node " << k;
            EXPECT_EQ(gy[k], fixed(200.5 + c * dy - s * dx - 0.5)) << angle << " node " << k;
        }
        // A turned map is left in array 6 and copied over the queries of array 5.
        if (!right) {
            EXPECT_EQ(rig.read<float>(5, 50), rig.read<float>(6, 50)) << angle;
        }
    }
}

// dir 1 without resize keeps the rotated size: the canvas is (rot - src) / 2
// wider on each side, truncated toward zero (41 / 2 = 20, -41 / 2 = -20). Off
// the right angles the offset stays fractional: with rot 442 the centres
// start at -20.5 + 0.5, not -20 + 0.5, before the 30 degree turn.
TEST_F(BackwardTransform, PaddingCentresTheSourceInTheRotatedCanvas) {
    const struct {
        int rotW, rotH;
        float angle;
        double stepX, padX, stepY, padY;
    } cases[] = {{442, 301, 0.0f, 147.0, 20.0, 150.0, 0.0},       {360, 301, 0.0f, 359.0 / 3, -20.0, 150.0, 0.0},
                 {401, 301, 0.0f, 400.0 / 3, 0.0, 150.0, 0.0},    {401, 336, 0.0f, 400.0 / 3, 0.0, 167.5, 17.0},
                 {442, 301, 30.0f, 147.0, 20.5, 150.0, 0.0}};
    for (const auto& c : cases) {
        TransformRig rig(3, 3, 4, 3, VWMT_DIRECTION_BACKWARD_VERTICAL, c.angle);
        run(rig, {401, 301}, {c.rotW, c.rotH}, c.angle);
        const double s = std::sin(c.angle * kPi / 180.0), cs = std::cos(c.angle * kPi / 180.0);
        const std::vector<int32_t> gx = rig.gridX(), gy = rig.gridY();
        for (int k = 0; k < 12; ++k) {
            const double dx = c.stepX * (k % 4) - c.padX - 200.0, dy = c.stepY * (k / 4) - c.padY - 150.0;
            EXPECT_EQ(gx[k], fixed(200.0 + cs * dx + s * dy)) << c.rotW << "x" << c.rotH << " node " << k;
            EXPECT_EQ(gy[k], fixed(150.0 + cs * dy - s * dx)) << c.rotW << "x" << c.rotH << " node " << k;
        }
    }
}

TEST_F(BackwardTransform, RefusesWithOneLineAndNoWrite) {
    const struct {
        int contentW, contentH;  // below 2 divides by zero in the mesh steps
        bool nullX;
        const char* needle;
    } cases[] = {{4, 4, true, "is NULL"}, {1, 4, false, "content(1, 4) too small"}, {4, 1, false, "content(4, 1) too small"}};
    for (const auto& c : cases) {
        TransformRig rig(3, 3, c.contentW, c.contentH, VWMT_DIRECTION_BACKWARD, 0.0f);
        const std::vector<uint32_t> before = rig.read<uint32_t>(0, rig.bufferBytes() / 4 - 1);
        logs_.clear();
        rig.trans().transformForwardVectToBackwardWarpMap(c.nullX ? nullptr : rig.x().data(), rig.y().data(),
                                                          frameGeometry({0, 0, 0, 0}, {401, 301}),
                                                          gridParam({401, 301}, {0, 0}, {401, 301}, 0.0f),
                                                          VWMT_DIRECTION_BACKWARD);
        ASSERT_EQ(logs_.texts().size(), 1u) << c.needle;
        EXPECT_EQ(logs_.texts()[0].rfind("[VWMT][transformForwardVectToBackwardWarpMap] Error: ", 0), 0u);
        EXPECT_NE(logs_.texts()[0].find(c.needle), std::string::npos) << logs_.texts()[0];
        EXPECT_EQ(rig.read<uint32_t>(0, rig.bufferBytes() / 4 - 1), before) << c.needle;
    }
    // The padding step alone refuses a grid larger than the content's 3 x 3
    // cells of triangles, even by one column.
    std::vector<float> vertices(2 * 100, 0.0f), values(2 * 100, 1.0f), grid(2 * 100), out(2 * 100);
    TransformRig rig(3, 3, 4, 4, VWMT_DIRECTION_BACKWARD, 0.0f);
    for (int w : {10, 5}) {
        logs_.clear();
        rig.trans().paddingWarpGridOpt(vertices.data(), values.data(), grid.data(), out.data(), w, 4,
                                       frameGeometry({0, 0, 0, 0}, {401, 301}),
                                       gridParam({401, 301}, {0, 0}, {401, 301}, 0.0f));
        EXPECT_EQ(logs_.texts().size(), 1u) << w;
        EXPECT_EQ(values, std::vector<float>(2 * 100, 1.0f)) << w;
    }
}

}  // namespace
