// The preparation both OIS transforms share: vector scaling into the working
// buffer and the geometry fix-ups.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "vwmt/TransformTestSupport.h"

namespace {

using namespace velmo::testing;

class GeometryFixup : public ::testing::Test {
protected:
    TransformerGlobals globals_;
    ScopedProperties properties_;
    LogCapture logs_;
    VectWarpMapTrans trans_{4, 4, 1};
};

// Both fix-ups describe the frame as if the tg crop were the whole sensor,
// and take the tg crop's size where the P1 crop has none.
TEST_F(GeometryFixup, TgCropBecomesTheSensorAndFillsAnEmptyP1Crop) {
    const struct {
        VWMTRect p1Crop;
        int w, h;
    } cases[] = {{{12, 34, 0, 720}, 4000, 720}, {{12, 34, 1280, 0}, 1280, 3000}, {{12, 34, 0, 0}, 4000, 3000},
                 {{12, 34, 1280, 720}, 1280, 720}};
    for (const auto& c : cases) {
        for (int backward = 0; backward < 2; ++backward) {
            SCOPED_TRACE(::testing::Message() << c.p1Crop.w << "x" << c.p1Crop.h << " backward " << backward);
            ImgSizeDescription d = frameGeometry(c.p1Crop, {640, 480});
            GridFromOisParam g = gridParam({1920, 1080}, {0, 0}, {1080, 1920}, 90.0f);
            if (backward) trans_.hack_backward_configuration(d, g, VWMT_DIRECTION_BACKWARD_VERTICAL);
            if (!backward) trans_.hack_forward_configuration(d, g);
            const int got[] = {d.p1Crop.x, d.p1Crop.y, d.p1Crop.w, d.p1Crop.h, d.sensorSize.w, d.sensorSize.h,
                               d.binningSize.w, d.binningSize.h, d.analogCrop.x, d.analogCrop.y, d.analogCrop.w,
                               d.analogCrop.h, d.digitalCrop.x, d.digitalCrop.y, d.digitalCrop.w, d.digitalCrop.h,
                               d.tgCrop.x, d.tgCrop.y};
            const std::vector<int> want = {12, 34, c.w, c.h, 4000, 3000, 4000, 3000, 0, 0, 4000, 3000, 0, 0, 4000, 3000,
                                           40, 30};
            EXPECT_EQ(std::vector<int>(got, got + 18), want);
        }
    }
}

// The forward fix-up works on the rotated image: source and P1 take its
// size, the rest of the output chain is kept. From level 1 it logs the
// geometry before and after.
TEST_F(GeometryFixup, ForwardWorksOnTheRotatedImage) {
    for (int level : {0, 2}) {
        VWMT::logLevel = level;
        logs_.clear();
        ImgSizeDescription d = frameGeometry({0, 0, 0, 720}, {1920, 1440});
        GridFromOisParam g = gridParam({1920, 1440}, {960, 720}, {1080, 1920}, 90.0f);
        trans_.hack_forward_configuration(d, g);
        EXPECT_EQ(std::vector<float>({float(g.srcImg.size.w), float(g.srcImg.size.h), float(d.p1Resize.w),
                                      float(d.p1Resize.h), float(g.rzImg.size.w), float(g.rotImg.size.w), g.rotAngle}),
                  std::vector<float>({1080, 1920, 1080, 1920, 960, 1080, 90.0f}));
        EXPECT_EQ(logs_.texts().size(), level ? 4u : 0u);
    }
    EXPECT_EQ(logs_.texts()[3],
              "[VWMT][hack_forward_configuration][_gridParam][after] srcImg.size: (1080, 1920), rzImg.size: "
              "(960, 720), CropImg.size: (0, 0, 0, 0), rotImg.size: (1080, 1920), rotAngle: (90.000000)\n");
}

// The backward fix-up brings the rotated size back to the source scale,
// (rot x src) / rz in 32-bit integers, exchanging it for a vertical module at
// a quarter turn; dir 2 drops the rotation. P1 and the source stay as given.
TEST_F(GeometryFixup, BackwardRotatedSize) {
    const struct {
        VWMT_DIRECTION dir;
        VWMTSize src, rz, rot;
        float angle;
        VWMTSize wantRot;
        float wantAngle;
    } cases[] = {
        {VWMT_DIRECTION_BACKWARD, {1920, 1080}, {0, 0}, {1080, 1920}, 90.0f, {1920, 1080}, 0.0f},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, {1920, 1080}, {0, 0}, {1000, 600}, 270.0f, {600, 1000}, 270.0f},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, {1920, 1080}, {0, 0}, {1000, 600}, -90.0f, {600, 1000}, -90.0f},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, {1920, 1080}, {0, 0}, {1000, 600}, 180.0f, {1000, 600}, 180.0f},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, {1920, 1080}, {0, 0}, {1000, 600}, 90.5f, {1000, 600}, 90.5f},
        // rz width 0, height not: the exchange branch, no division.
        {VWMT_DIRECTION_BACKWARD_VERTICAL, {1920, 1080}, {0, 540}, {1000, 600}, 90.0f, {600, 1000}, 90.0f},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, {4000, 3000}, {2000, 1500}, {1000, 500}, 90.0f, {2000, 1000}, 90.0f},
        // Product before division: 3 x 5 / 2 = 7, not 3 x (5 / 2) = 6.
        {VWMT_DIRECTION_BACKWARD_VERTICAL, {5, 5}, {2, 2}, {3, 3}, 0.0f, {7, 7}, 0.0f},
        {VWMT_DIRECTION_BACKWARD, {5, 5}, {2, 2}, {3, 3}, 90.0f, {12, 12}, 0.0f},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, {1920, 1080}, {960, 0}, {1000, 600}, 0.0f, {2000, 0}, 0.0f},
        {VWMT_DIRECTION_BACKWARD_VERTICAL, {-7, 7}, {2, 2}, {1, 1}, 0.0f, {-3, 3}, 0.0f},
        // 70000 x 70000 wraps to 605032704 in 32 bits.
        {VWMT_DIRECTION_BACKWARD_VERTICAL, {70000, 1}, {1, 1}, {70000, 1}, 0.0f, {605032704, 1}, 0.0f},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << "dir " << c.dir << " src " << c.src.w << " rz " << c.rz.w << "x"
                                          << c.rz.h << " rot " << c.rot.w << " angle " << c.angle);
        ImgSizeDescription d = frameGeometry({0, 0, 0, 0}, {777, 555});
        GridFromOisParam g = gridParam(c.src, c.rz, c.rot, c.angle);
        trans_.hack_backward_configuration(d, g, c.dir);
        EXPECT_EQ(std::vector<int>({g.rotImg.size.w, g.rotImg.size.h, d.p1Resize.w, g.srcImg.size.w}),
                  std::vector<int>({c.wantRot.w, c.wantRot.h, 777, c.src.w}));
        EXPECT_EQ(g.rotAngle, c.wantAngle);
    }
}

class VectorScaling : public GeometryFixup {
protected:
    const ImgSizeDescription d_ = frameGeometry({0, 0, 0, 0}, {400, 300});
    const GridFromOisParam g_ = gridParam({400, 300}, {0, 0}, {400, 300}, 0.0f);
};

// Both transforms, a full grid and a single column: array 0 gets the vectors
// x the OIS scale as floats. The scale is read again to restore the caller's
// values: a zero scale leaves them not-a-number.
TEST_F(VectorScaling, WorkingArrayGetsScaledVectorsCallerKeepsItsOwn) {
    const struct {
        int w;
        VWMT_DIRECTION dir;
    } cases[] = {{2, VWMT_DIRECTION_FORWARD}, {2, VWMT_DIRECTION_BACKWARD}, {1, VWMT_DIRECTION_FORWARD}};
    for (const auto& c : cases) {
        VWMT::ois_scale_x = 0.5f;
        VWMT::ois_scale_y = 0.0f;
        TransformRig rig(c.w, 2, 3, 3, c.dir, 0.0f);
        std::vector<float> want;
        for (size_t i = 0; i < rig.x().size(); ++i) {
            rig.x()[i] = rig.y()[i] = 6.0 * double(i + 1);
            want.insert(want.end(), {3.0f * float(i + 1), 0.0f});
        }
        if (c.dir == VWMT_DIRECTION_FORWARD) rig.forward(d_, g_);
        if (c.dir != VWMT_DIRECTION_FORWARD) rig.backward(d_, g_, c.dir);
        EXPECT_EQ(rig.read<float>(0, want.size()), want);
        EXPECT_EQ(rig.x().back(), 6.0 * double(rig.x().size()));
        EXPECT_TRUE(std::isnan(rig.y().back()));
    }
}

// n vectors lie at i * a / (n - 1) (integer division) and are re-sampled at
// i * b / (n - 1) + c.
TEST_F(VectorScaling, ColumnResampledOverTheCrop) {
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
    };
    TransformRig rig(1, 4, 4, 4, VWMT_DIRECTION_FORWARD, 0.0f);
    for (const auto& c : cases) {
        std::vector<float> in = c.in, out(c.want.size(), -1.0f);
        rig.trans().resampleVectorWithImageCropping_OneDimension(out.data(), in.data(), c.n, c.a, c.c, c.b);
        for (size_t k = 0; k < out.size(); ++k) EXPECT_FLOAT_EQ(out[k], c.want[k]) << c.n << " " << c.c << " " << k;
    }
    // More vectors than mesh rows are refused.
    std::vector<float> in(200, 1.0f), out(200, -1.0f);
    logs_.clear();
    rig.trans().resampleVectorWithImageCropping_OneDimension(out.data(), in.data(), 100, 10, 0, 10);
    EXPECT_EQ(logs_.texts().size(), 1u);
    EXPECT_EQ(out, std::vector<float>(200, -1.0f));
}

}  // namespace
