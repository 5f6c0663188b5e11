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

using velmo::testing::fixed;
using velmo::testing::frameGeometry;
using velmo::testing::LogCapture;
using velmo::testing::ScopedProperties;
using velmo::testing::TransformRig;

class BackwardTransform : public ::testing::Test {
protected:
    void SetUp() override { velmo::testing::resetTransformerGlobals(); }
    void TearDown() override { velmo::testing::resetTransformerGlobals(); }
    ScopedProperties properties_;
    LogCapture logs_;
};

GridFromOisParam sourceAndRotated(VWMTSize src, VWMTSize rot, float angle) {
    GridFromOisParam g{};
    g.srcImg.size = src;
    g.rotImg.size = rot;
    g.rotAngle = angle;
    return g;
}

TEST_F(BackwardTransform, UniformShiftMovesEveryNodeBackByTheResizedShift) {
    struct Case {
        const char* name;
        int vectW, vectH, contentW, contentH;
        VWMTRect p1Crop;
        VWMTSize p1;  // P1 resize; the rotated and source images have its size
        double vx, vy;
    } const cases[] = {
        {"identity", 3, 3, 5, 4, {0, 0, 0, 0}, {401, 301}, 0.0, 0.0},
        {"identity, one column", 1, 3, 5, 4, {0, 0, 0, 0}, {401, 301}, 0.0, 0.0},
        {"shift, full crop", 3, 3, 5, 4, {0, 0, 0, 0}, {2001, 1501}, 10.0, -5.0},
        {"shift, centre crop", 4, 3, 5, 5, {1000, 500, 2000, 1500}, {2001, 1501}, 10.0, -5.0},
        {"shift, one column", 1, 4, 3, 5, {0, 0, 0, 0}, {2001, 1501}, -7.0, 3.0},
    };
    for (const auto& c : cases) {
        TransformRig rig(c.vectW, c.vectH, c.contentW, c.contentH, VWMT_DIRECTION_BACKWARD, 0.0f);
        rig.x().assign(rig.x().size(), c.vx);
        rig.y().assign(rig.y().size(), c.vy);
        const VWMTRect crop = c.p1Crop.w == 0 ? VWMTRect{0, 0, 4000, 3000} : c.p1Crop;
        rig.backward(frameGeometry(c.p1Crop, c.p1), sourceAndRotated(c.p1, {123, 456}, 30.0f),
                     VWMT_DIRECTION_BACKWARD);
        const double shiftX = c.vx * double(0.88f) * c.p1.w / crop.w;
        const double shiftY = c.vy * double(0.88f) * c.p1.h / crop.h;
        const std::vector<int32_t> gx = rig.gridX(), gy = rig.gridY();
        for (int j = 0; j < c.contentH; ++j) {
            for (int i = 0; i < c.contentW; ++i) {
                const size_t k = size_t(j) * c.contentW + i;
                EXPECT_EQ(gx[k], fixed(double(i) * (c.p1.w - 1) / (c.contentW - 1) - shiftX))
                    << c.name << " node " << i << "," << j;
                EXPECT_EQ(gy[k], fixed(double(j) * (c.p1.h - 1) / (c.contentH - 1) - shiftY))
                    << c.name << " node " << i << "," << j;
            }
        }
    }
}

// Source and rotated image 401 x 401, 5 x 5 nodes every 100 pixels, no
// vectors. Right angles leave the nodes where they are (the grid writer turns
// them); any other angle turns the pixel centres about the image centre.
TEST_F(BackwardTransform, RightAnglesLeaveTheTurnToTheGridWriter) {
    for (float angle : {0.0f, 90.0f, 180.0f, 270.0f, -90.0f}) {
        TransformRig rig(3, 3, 5, 5, VWMT_DIRECTION_BACKWARD_VERTICAL, angle);
        rig.backward(frameGeometry({0, 0, 0, 0}, {401, 401}), sourceAndRotated({401, 401}, {401, 401}, angle),
                     VWMT_DIRECTION_BACKWARD_VERTICAL);
        const std::vector<int32_t> gx = rig.gridX(), gy = rig.gridY();
        for (int k = 0; k < 25; ++k) {
            EXPECT_EQ(gx[k], fixed(100.0 * (k % 5))) << angle << " node " << k;
            EXPECT_EQ(gy[k], fixed(100.0 * (k / 5))) << angle << " node " << k;
        }
    }
}

TEST_F(BackwardTransform, OtherAnglesTurnThePixelCentres) {
    const double kPi = 3.14159265358979323846;
    for (float angle : {45.0f, -30.0f, 90.5f}) {
        TransformRig rig(3, 3, 5, 5, VWMT_DIRECTION_BACKWARD_VERTICAL, angle);
        rig.backward(frameGeometry({0, 0, 0, 0}, {401, 401}), sourceAndRotated({401, 401}, {401, 401}, angle),
                     VWMT_DIRECTION_BACKWARD_VERTICAL);
        const double s = std::sin(angle * kPi / 180.0), c = std::cos(angle * kPi / 180.0);
        const std::vector<int32_t> gx = rig.gridX(), gy = rig.gridY();
        for (int k = 0; k < 25; ++k) {
            // Pixel centre of node (i, j) relative to the centre (200.5, 200.5).
            const double dx = 100.0 * (k % 5) + 0.5 - 200.5, dy = 100.0 * (k / 5) + 0.5 - 200.5;
            EXPECT_EQ(gx[k], fixed(200.5 + c * dx + s * dy - 0.5)) << angle << " node " << k;
            EXPECT_EQ(gy[k], fixed(200.5 + c * dy - s * dx - 0.5)) << angle << " node " << k;
        }
        // The turned map is left in array 6 and copied over the queries of array 5.
        EXPECT_EQ(rig.read<float>(5, 50), rig.read<float>(6, 50)) << angle;
    }
}

TEST_F(BackwardTransform, PaddingCentresTheSourceInTheRotatedCanvas) {
    // dir 1 without resize keeps the rotated size: the canvas is (rot - src) / 2
    // wider on each side, truncated toward zero (41 / 2 = 20, -41 / 2 = -20).
    struct Case {
        int rotW, rotH;
        double stepX, padX, stepY, padY;
    } const cases[] = {{442, 301, 147.0, 20.0, 150.0, 0.0},
                       {360, 301, 359.0 / 3, -20.0, 150.0, 0.0},
                       {401, 301, 400.0 / 3, 0.0, 150.0, 0.0},
                       {401, 336, 400.0 / 3, 0.0, 167.5, 17.0}};
    for (const auto& c : cases) {
        TransformRig rig(3, 3, 4, 3, VWMT_DIRECTION_BACKWARD_VERTICAL, 0.0f);
        rig.backward(frameGeometry({0, 0, 0, 0}, {401, 301}),
                     sourceAndRotated({401, 301}, {c.rotW, c.rotH}, 0.0f), VWMT_DIRECTION_BACKWARD_VERTICAL);
        const std::vector<int32_t> gx = rig.gridX(), gy = rig.gridY();
        for (int k = 0; k < 12; ++k) {
            EXPECT_EQ(gx[k], fixed(c.stepX * (k % 4) - c.padX)) << c.rotW << "x" << c.rotH << " node " << k;
            EXPECT_EQ(gy[k], fixed(c.stepY * (k / 4) - c.padY)) << c.rotW << "x" << c.rotH << " node " << k;
        }
    }
}

TEST_F(BackwardTransform, MeshRotationKeepsTheHalfPixelCanvasOffset) {
    // Off the right angles the canvas offset (src - rot) / 2 stays fractional:
    // with rot 442 the centres start at -20.5 + 0.5, not -20 + 0.5.
    TransformRig rig(3, 3, 4, 3, VWMT_DIRECTION_BACKWARD_VERTICAL, 30.0f);
    rig.backward(frameGeometry({0, 0, 0, 0}, {401, 301}), sourceAndRotated({401, 301}, {442, 301}, 30.0f),
                 VWMT_DIRECTION_BACKWARD_VERTICAL);
    const double kPi = 3.14159265358979323846;
    const double s = std::sin(kPi / 6), c = std::cos(kPi / 6);
    const std::vector<int32_t> gx = rig.gridX(), gy = rig.gridY();
    for (int k = 0; k < 12; ++k) {
        const double dx = -20.5 + 147.0 * (k % 4) + 0.5 - 200.5, dy = 150.0 * (k / 4) + 0.5 - 150.5;
        EXPECT_EQ(gx[k], fixed(200.5 + c * dx + s * dy - 0.5)) << k;
        EXPECT_EQ(gy[k], fixed(150.5 + c * dy - s * dx - 0.5)) << k;
    }
}

TEST_F(BackwardTransform, RefusesWithOneLineAndNoWrite) {
    struct Case {
        const char* name;
        int contentW, contentH;  // below 2 divides by zero in the mesh steps
        bool nullX;
    } const cases[] = {{"null x vectors", 4, 4, true}, {"content one column", 1, 4, false}, {"content one row", 4, 1, false}};
    for (const auto& c : cases) {
        TransformRig rig(3, 3, c.contentW, c.contentH, VWMT_DIRECTION_BACKWARD, 0.0f);
        const std::vector<uint32_t> before = rig.read<uint32_t>(0, rig.bufferBytes() / 4 - 1);
        logs_.clear();
        rig.trans().transformForwardVectToBackwardWarpMap(c.nullX ? nullptr : rig.x().data(), rig.y().data(),
                                                          frameGeometry({0, 0, 0, 0}, {401, 301}),
                                                          sourceAndRotated({401, 301}, {401, 301}, 0.0f),
                                                          VWMT_DIRECTION_BACKWARD);
        ASSERT_EQ(logs_.lines().size(), 1u) << c.name;
        EXPECT_NE(logs_.texts()[0].find("[VWMT][transformForwardVectToBackwardWarpMap]"), std::string::npos);
        EXPECT_EQ(rig.read<uint32_t>(0, rig.bufferBytes() / 4 - 1), before) << c.name;
    }
}

TEST_F(BackwardTransform, PaddingRefusesAGridLargerThanTheContentTriangles) {
    TransformRig rig(3, 3, 4, 4, VWMT_DIRECTION_BACKWARD, 0.0f);
    std::vector<float> vertices(2 * 100, 0.0f), values(2 * 100, 1.0f), grid(2 * 100), out(2 * 100);
    logs_.clear();
    rig.trans().paddingWarpGridOpt(vertices.data(), values.data(), grid.data(), out.data(), 10, 10,
                                   frameGeometry({0, 0, 0, 0}, {401, 301}),
                                   sourceAndRotated({401, 301}, {401, 301}, 0.0f));
    EXPECT_EQ(logs_.lines().size(), 1u);
    EXPECT_EQ(values[0], 1.0f);
    // One column more than the content's triangles cover is refused as well.
    logs_.clear();
    rig.trans().paddingWarpGridOpt(vertices.data(), values.data(), grid.data(), out.data(), 5, 4,
                                   frameGeometry({0, 0, 0, 0}, {401, 301}),
                                   sourceAndRotated({401, 301}, {401, 301}, 0.0f));
    EXPECT_EQ(logs_.lines().size(), 1u);
    EXPECT_EQ(values[0], 1.0f);
}

}  // namespace
