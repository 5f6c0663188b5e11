// The preparation both OIS transforms share: vector scaling into the working
// buffer and the geometry fix-ups.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "vwmt/TransformTestSupport.h"

namespace {

using velmo::testing::LogCapture;
using velmo::testing::ScopedProperties;
using velmo::testing::TransformRig;

class GeometryFixup : public ::testing::Test {
protected:
    void SetUp() override { velmo::testing::resetTransformerGlobals(); }
    void TearDown() override { velmo::testing::resetTransformerGlobals(); }

    ScopedProperties properties_;
    LogCapture logs_;
    VectWarpMapTrans trans_{4, 4, 1};
};

GridFromOisParam gridParam(VWMTSize src, VWMTSize rz, VWMTSize rot, float angle) {
    GridFromOisParam g{};
    g.srcImg.size = src;
    g.rzImg.size = rz;
    g.CropImg.size = {0, 0, 0, 0};
    g.rotImg.size = rot;
    g.rotAngle = angle;
    return g;
}

// Both fix-ups describe the frame as if the tg crop were the whole sensor.
void expectTgCropIsSensor(const ImgSizeDescription& d, const char* name) {
    SCOPED_TRACE(name);
    EXPECT_EQ(d.sensorSize.w, 4000);
    EXPECT_EQ(d.sensorSize.h, 3000);
    EXPECT_EQ(d.binningSize.w, 4000);
    EXPECT_EQ(d.binningSize.h, 3000);
    for (const VWMTRect& r : {d.analogCrop, d.digitalCrop}) {
        EXPECT_EQ(r.x, 0);
        EXPECT_EQ(r.y, 0);
        EXPECT_EQ(r.w, 4000);
        EXPECT_EQ(r.h, 3000);
    }
    EXPECT_EQ(d.tgCrop.x, 40);  // tg crop kept
    EXPECT_EQ(d.tgCrop.y, 30);
}

TEST_F(GeometryFixup, P1CropSizeFallsBackToTgCropSidebySide) {
    struct Case {
        VWMTRect p1Crop;
        int w, h;
    } const cases[] = {
        {{12, 34, 0, 720}, 4000, 720},
        {{12, 34, 1280, 0}, 1280, 3000},
        {{12, 34, 0, 0}, 4000, 3000},
        {{12, 34, 1280, 720}, 1280, 720},
    };
    for (const Case& c : cases) {
        for (int backward = 0; backward < 2; ++backward) {
            ImgSizeDescription d = velmo::testing::frameGeometry(c.p1Crop, {640, 480});
            GridFromOisParam g = gridParam({1920, 1080}, {0, 0}, {1080, 1920}, 90.0f);
            if (backward)
                trans_.hack_backward_configuration(d, g, VWMT_DIRECTION_BACKWARD_VERTICAL);
            else
                trans_.hack_forward_configuration(d, g);
            EXPECT_EQ(d.p1Crop.w, c.w) << c.p1Crop.w << "x" << c.p1Crop.h << " backward " << backward;
            EXPECT_EQ(d.p1Crop.h, c.h) << c.p1Crop.w << "x" << c.p1Crop.h << " backward " << backward;
            EXPECT_EQ(d.p1Crop.x, 12);
            EXPECT_EQ(d.p1Crop.y, 34);
            expectTgCropIsSensor(d, backward ? "backward" : "forward");
        }
    }
}

TEST_F(GeometryFixup, ForwardWorksOnTheRotatedImage) {
    ImgSizeDescription d = velmo::testing::frameGeometry({0, 0, 2000, 1500}, {1920, 1440});
    GridFromOisParam g = gridParam({1920, 1440}, {960, 720}, {1080, 1920}, 90.0f);
    trans_.hack_forward_configuration(d, g);
    EXPECT_EQ(g.srcImg.size.w, 1080);
    EXPECT_EQ(g.srcImg.size.h, 1920);
    EXPECT_EQ(d.p1Resize.w, 1080);
    EXPECT_EQ(d.p1Resize.h, 1920);
    EXPECT_EQ(g.rzImg.size.w, 960);  // the rest of the output chain is kept
    EXPECT_EQ(g.rotImg.size.w, 1080);
    EXPECT_EQ(g.rotAngle, 90.0f);
    expectTgCropIsSensor(d, "forward");
}

TEST_F(GeometryFixup, BackwardRotatedSize) {
    struct Case {
        const char* name;
        VWMT_DIRECTION dir;
        VWMTSize src, rz, rot;
        float angle;
        VWMTSize wantRot;
        float wantAngle;
    } const cases[] = {
        {"dir 2 drops the rotation", VWMT_DIRECTION_BACKWARD, {1920, 1080}, {0, 0}, {1080, 1920}, 90.0f,
         {1920, 1080}, 0.0f},
        {"dir 1 at 270 exchanges", VWMT_DIRECTION_BACKWARD_VERTICAL, {1920, 1080}, {0, 0}, {1000, 600}, 270.0f,
         {600, 1000}, 270.0f},
        {"dir 1 at 90 exchanges", VWMT_DIRECTION_BACKWARD_VERTICAL, {1920, 1080}, {0, 0}, {1000, 600}, 90.0f,
         {600, 1000}, 90.0f},
        {"dir 1 at -90 exchanges", VWMT_DIRECTION_BACKWARD_VERTICAL, {1920, 1080}, {0, 0}, {1000, 600}, -90.0f,
         {600, 1000}, -90.0f},
        {"dir 1 at 180 keeps", VWMT_DIRECTION_BACKWARD_VERTICAL, {1920, 1080}, {0, 0}, {1000, 600}, 180.0f,
         {1000, 600}, 180.0f},
        {"dir 1 at 90.5 keeps", VWMT_DIRECTION_BACKWARD_VERTICAL, {1920, 1080}, {0, 0}, {1000, 600}, 90.5f,
         {1000, 600}, 90.5f},
        {"rz width 0, height not: exchange branch", VWMT_DIRECTION_BACKWARD_VERTICAL, {1920, 1080}, {0, 540},
         {1000, 600}, 90.0f, {600, 1000}, 90.0f},
        {"resized: back to source scale", VWMT_DIRECTION_BACKWARD_VERTICAL, {4000, 3000}, {2000, 1500},
         {1000, 500}, 90.0f, {2000, 1000}, 90.0f},
        // (rot x src) / rz left to right: 3 x 5 / 2 = 7, not 3 x (5 / 2) = 6.
        {"product before division", VWMT_DIRECTION_BACKWARD_VERTICAL, {5, 5}, {2, 2}, {3, 3}, 0.0f, {7, 7}, 0.0f},
        {"dir 2 scales the source size", VWMT_DIRECTION_BACKWARD, {5, 5}, {2, 2}, {3, 3}, 90.0f, {12, 12}, 0.0f},
        {"odd product truncates", VWMT_DIRECTION_BACKWARD_VERTICAL, {5, 7}, {2, 2}, {3, 3}, 0.0f, {7, 10}, 0.0f},
        {"zero rz height gives 0", VWMT_DIRECTION_BACKWARD_VERTICAL, {1920, 1080}, {960, 0}, {1000, 600}, 0.0f,
         {2000, 0}, 0.0f},
        {"negative product truncates toward zero", VWMT_DIRECTION_BACKWARD_VERTICAL, {-7, 7}, {2, 2}, {1, 1},
         0.0f, {-3, 3}, 0.0f},
        // 70000 x 70000 wraps to 605032704 in 32 bits.
        {"32-bit product wraps", VWMT_DIRECTION_BACKWARD_VERTICAL, {70000, 1}, {1, 1}, {70000, 1}, 0.0f,
         {605032704, 1}, 0.0f},
    };
    for (const Case& c : cases) {
        ImgSizeDescription d = velmo::testing::frameGeometry({0, 0, 0, 0}, {777, 555});
        GridFromOisParam g = gridParam(c.src, c.rz, c.rot, c.angle);
        trans_.hack_backward_configuration(d, g, c.dir);
        EXPECT_EQ(g.rotImg.size.w, c.wantRot.w) << c.name;
        EXPECT_EQ(g.rotImg.size.h, c.wantRot.h) << c.name;
        EXPECT_EQ(g.rotAngle, c.wantAngle) << c.name;
        EXPECT_EQ(d.p1Resize.w, 777) << c.name;  // P1 stays as the caller gave it
        EXPECT_EQ(g.srcImg.size.w, c.src.w) << c.name;
    }
}

TEST_F(GeometryFixup, BackwardDivisionByZeroWidthDoesNotTrap) {
    // rz (0, 0) with dir 2 and angle 0: nothing divides; rz (0, x) exchanges.
    ImgSizeDescription d = velmo::testing::frameGeometry({0, 0, 0, 0}, {640, 480});
    GridFromOisParam g = gridParam({1920, 1080}, {0, 0}, {1080, 1920}, 270.0f);
    trans_.hack_backward_configuration(d, g, VWMT_DIRECTION_BACKWARD);
    EXPECT_EQ(g.rotImg.size.w, 1920);  // angle is 0 by the time of the exchange
    EXPECT_EQ(g.rotImg.size.h, 1080);
}

TEST_F(GeometryFixup, BeforeAndAfterLinesFromLevelOne) {
    const struct {
        int level;
        size_t lines;
    } cases[] = {{0, 0}, {1, 4}, {2, 4}};
    for (const auto& c : cases) {
        VWMT::logLevel = c.level;
        logs_.clear();
        ImgSizeDescription d = velmo::testing::frameGeometry({0, 0, 0, 720}, {640, 480});
        GridFromOisParam g = gridParam({1920, 1080}, {0, 0}, {1080, 1920}, 90.0f);
        trans_.hack_forward_configuration(d, g);
        ASSERT_EQ(logs_.lines().size(), c.lines) << "level " << c.level;
    }
    const std::vector<std::string> texts = logs_.texts();
    EXPECT_EQ(texts[0],
              "[VWMT][hack_forward_configuration][_imgSizeDesc][before] sensorSize: (8000, 6000), analogCrop: "
              "(100, 100, 7000, 5000), binningSize: (3500, 2500), digitalCrop: (10, 10, 3400, 2400), tgCrop: "
              "(40, 30, 4000, 3000), p1Crop: (0, 0, 0, 720), p1Resize: (640, 480)\n");
    EXPECT_EQ(texts[1],
              "[VWMT][hack_forward_configuration][_gridParam][before] srcImg.size: (1920, 1080), rzImg.size: "
              "(0, 0), CropImg.size: (0, 0, 0, 0), rotImg.size: (1080, 1920), rotAngle: (90.000000)\n");
    EXPECT_EQ(texts[2],
              "[VWMT][hack_forward_configuration][_imgSizeDesc][after] sensorSize: (4000, 3000), analogCrop: "
              "(0, 0, 4000, 3000), binningSize: (4000, 3000), digitalCrop: (0, 0, 4000, 3000), tgCrop: "
              "(40, 30, 4000, 3000), p1Crop: (0, 0, 4000, 720), p1Resize: (1080, 1920)\n");
    EXPECT_EQ(texts[3],
              "[VWMT][hack_forward_configuration][_gridParam][after] srcImg.size: (1080, 1920), rzImg.size: "
              "(0, 0), CropImg.size: (0, 0, 0, 0), rotImg.size: (1080, 1920), rotAngle: (90.000000)\n");
    EXPECT_EQ(logs_.lines()[0].tag, "OISWarpMap");
}

class VectorScaling : public ::testing::Test {
protected:
    void SetUp() override { velmo::testing::resetTransformerGlobals(); }
    void TearDown() override { velmo::testing::resetTransformerGlobals(); }
    ScopedProperties properties_;
    LogCapture logs_;
};

TEST_F(VectorScaling, WorkingArrayGetsScaledVectorsCallerKeepsItsOwn) {
    // Both transforms, a full grid and a single column.
    struct Case {
        int w, h;
        VWMT_DIRECTION dir;
    } const cases[] = {{3, 3, VWMT_DIRECTION_FORWARD}, {3, 3, VWMT_DIRECTION_BACKWARD}, {1, 3, VWMT_DIRECTION_FORWARD}};
    for (const Case& c : cases) {
        TransformRig rig(c.w, c.h, 4, 4, c.dir, 0.0f);
        for (size_t i = 0; i < rig.x().size(); ++i) {
            rig.x()[i] = 10.0;
            rig.y()[i] = -2.5 * double(i);
        }
        const ImgSizeDescription d = velmo::testing::frameGeometry({0, 0, 0, 0}, {400, 300});
        GridFromOisParam g = gridParam({400, 300}, {0, 0}, {400, 300}, 0.0f);
        if (c.dir == VWMT_DIRECTION_FORWARD)
            rig.forward(d, g);
        else
            rig.backward(d, g, c.dir);
        const std::vector<float> scaled = rig.read<float>(0, 2 * rig.x().size());
        for (size_t i = 0; i < rig.x().size(); ++i) {
            EXPECT_EQ(scaled[2 * i], 8.8f) << i;
            EXPECT_EQ(scaled[2 * i + 1], static_cast<float>(-2.5 * double(i) * double(0.88f))) << i;
            EXPECT_NEAR(rig.x()[i], 10.0, 1e-14) << i;
            EXPECT_NEAR(rig.y()[i], -2.5 * double(i), 1e-14) << i;
        }
    }
}

TEST_F(VectorScaling, ScaleIsReReadWhenRestoring) {
    VWMT::ois_scale_x = 0.5f;
    VWMT::ois_scale_y = 0.0f;  // a zero scale leaves the caller's values not-a-number
    TransformRig rig(2, 2, 3, 3, VWMT_DIRECTION_FORWARD, 0.0f);
    rig.x().assign(4, 6.0);
    rig.y().assign(4, 6.0);
    rig.forward(velmo::testing::frameGeometry({0, 0, 0, 0}, {400, 300}), gridParam({400, 300}, {0, 0}, {400, 300}, 0.0f));
    const std::vector<float> scaled = rig.read<float>(0, 8);
    EXPECT_EQ(scaled[0], 3.0f);
    EXPECT_EQ(scaled[1], 0.0f);
    EXPECT_EQ(rig.x()[3], 6.0);
    EXPECT_TRUE(std::isnan(rig.y()[3]));
}

TEST_F(VectorScaling, LevelTwoPrintsFirstThreeOrZeros) {
    VWMT::logLevel = 2;
    TransformRig rig(1, 2, 3, 3, VWMT_DIRECTION_FORWARD, 0.0f);
    rig.x() = {10.0, 20.0};
    rig.y() = {-1.0, 0.5};
    logs_.clear();
    rig.forward(velmo::testing::frameGeometry({0, 0, 0, 0}, {400, 300}), gridParam({400, 300}, {0, 0}, {400, 300}, 0.0f));
    std::vector<std::string> scaleLines;
    for (const std::string& t : logs_.texts())
        if (t.find("scale:") != std::string::npos) scaleLines.push_back(t);
    const std::vector<std::string> want = {
        "[VWMT][transformVectToWarpMap]ois x bf scale: 10.000000, 20.000000, 0.000000\n",
        "[VWMT][transformVectToWarpMap]ois y bf scale: -1.000000, 0.500000, 0.000000\n",
        "[VWMT][transformVectToWarpMap]ois x af scale: 8.800000, 17.600000, 0.000000\n",
        "[VWMT][transformVectToWarpMap]ois y af scale: -0.880000, 0.440000, 0.000000\n",
    };
    EXPECT_EQ(scaleLines, want);

    VWMT::logLevel = 1;
    logs_.clear();
    rig.backward(velmo::testing::frameGeometry({0, 0, 0, 0}, {400, 300}), gridParam({400, 300}, {0, 0}, {400, 300}, 0.0f),
                 VWMT_DIRECTION_BACKWARD);
    for (const std::string& t : logs_.texts()) EXPECT_EQ(t.find("scale:"), std::string::npos) << t;
    EXPECT_EQ(logs_.lines().size(), 4u);  // the fix-up's before and after lines only
}

TEST_F(VectorScaling, ColumnResampledOverTheCrop) {
    // n vectors lie at i * a / (n - 1) (integer division) and are re-sampled at
    // i * b / (n - 1) + c.
    struct Case {
        const char* name;
        int n, a, c, b;
        std::vector<float> in;
        std::vector<float> want;
    } const cases[] = {
        {"middle half", 3, 4000, 1000, 2000, {0, 0, 10, 20, 30, 40}, {5, 10, 10, 20, 20, 30}},
        {"whole width", 3, 4000, 0, 4000, {1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6}},
        // Samples at 0, 3, 6, 10 (truncated); queries at 0, 1, 2, 3.
        {"truncated positions", 4, 10, 0, 3, {0, 0, 3, 30, 6, 60, 10, 100}, {0, 0, 1, 10, 2, 20, 3, 30}},
        {"outside clamps", 2, 100, -50, 300, {1, 2, 5, 6}, {1, 2, 5, 6}},
        {"two vectors, inner quarter", 2, 100, 25, 50, {0, 0, 100, 200}, {25, 50, 75, 150}},
    };
    for (const Case& c : cases) {
        TransformRig rig(1, c.n, 4, 4, VWMT_DIRECTION_FORWARD, 0.0f);
        std::vector<float> in = c.in, out(c.want.size(), -1.0f);
        rig.trans().resampleVectorWithImageCropping_OneDimension(out.data(), in.data(), c.n, c.a, c.c, c.b);
        for (size_t k = 0; k < out.size(); ++k) EXPECT_FLOAT_EQ(out[k], c.want[k]) << c.name << " " << k;
    }
}

TEST_F(VectorScaling, ColumnResampleRefusesMoreVectorsThanMeshRows) {
    TransformRig rig(1, 3, 4, 4, VWMT_DIRECTION_FORWARD, 0.0f);
    std::vector<float> in(200, 1.0f), out(200, -1.0f);
    logs_.clear();
    rig.trans().resampleVectorWithImageCropping_OneDimension(out.data(), in.data(), 100, 10, 0, 10);
    EXPECT_EQ(logs_.lines().size(), 1u);
    EXPECT_EQ(out[0], -1.0f);
}

}  // namespace
