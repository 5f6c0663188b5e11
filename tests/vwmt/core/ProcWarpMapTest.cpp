#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

#include "vwmt/core/ProcWarpMap.h"

namespace {

using VWMT::ProcWarpMap;

// Fixed point of a pixel value v; v / 32 is exact, so v is exactly the scaled value.
int fixedPointOf(float v) {
    float in = v / 32.0f;
    int out = 0x7eadbeef;
    ProcWarpMap::fmtTrnasOfDataType(&out, &in, 1);
    return out;
}

TEST(FixedPoint, WorkedExamples) {
    float in[] = {1.0f, 0.015625f, -0.015625f, -1.0f};
    int out[4];
    ProcWarpMap::fmtTrnasOfDataType(out, in, 4);
    EXPECT_EQ(out[0], 32);
    EXPECT_EQ(out[1], 1);
    EXPECT_EQ(out[2], -1);
    EXPECT_EQ(out[3], -32);
}

TEST(FixedPoint, HalvesRoundAwayFromZero) {
    EXPECT_EQ(fixedPointOf(2.5f), 3);
    EXPECT_EQ(fixedPointOf(-2.5f), -3);
    EXPECT_EQ(fixedPointOf(-1.2f), -1);
    EXPECT_EQ(fixedPointOf(-0.3f), 0);
    EXPECT_EQ(fixedPointOf(-0.0f), 0);
}

TEST(FixedPoint, HalfIsAddedInDouble) {
    // In float, 0.49999997 + 0.5 rounds to 1 and 8388609 + 0.5 to 8388610.
    EXPECT_EQ(fixedPointOf(0.49999997f), 0);
    EXPECT_EQ(fixedPointOf(-0.49999997f), 0);
    EXPECT_EQ(fixedPointOf(8388609.0f), 8388609);
    EXPECT_EQ(fixedPointOf(-8388609.0f), -8388609);
}

TEST(FixedPoint, OutOfRangeSaturatesAndNanIsZero) {
    EXPECT_EQ(fixedPointOf(1e10f), std::numeric_limits<int32_t>::max());
    EXPECT_EQ(fixedPointOf(-1e10f), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(fixedPointOf(std::numeric_limits<float>::quiet_NaN()), 0);
}

TEST(WarpMapLayout, InterleavedToPlaneAndBack) {
    std::vector<float> map = {1, 10, 2, 20, 3, 30};
    std::vector<float> work(6);
    ProcWarpMap::remap_WarpMapXY_InterleavedToPlane(map.data(), 3, work.data());
    EXPECT_EQ(map, (std::vector<float>{1, 2, 3, 10, 20, 30}));

    double xs[] = {0.1, -4};
    double ys[] = {2.5, 1e-50};
    float pairs[4];
    ProcWarpMap::remap_WarpMapXY_PlaneToInterleaved(xs, ys, pairs, 2);
    EXPECT_EQ(pairs[0], 0.1f);
    EXPECT_EQ(pairs[1], 2.5f);
    EXPECT_EQ(pairs[2], -4.0f);
    EXPECT_EQ(pairs[3], 0.0f);

    double interleaved[] = {1, -1, 2, -2};
    double x[2], y[2];
    ProcWarpMap::divideXYChannel_WarpMap(x, y, interleaved, 2);
    EXPECT_EQ(x[0], 1);
    EXPECT_EQ(x[1], 2);
    EXPECT_EQ(y[0], -1);
    EXPECT_EQ(y[1], -2);
}

// A map whose x is 10 x column + row and y is 100 x row + column, on a 2 x 2
// grid over a 2 x 2 image: grid line 0 sits at pixel 0, so its pixel centre
// is a quarter of the grid cell in, line 1 at three quarters.
TEST(GeoToPixel, SamplesAffineMapAtPixelCentres) {
    float in[8];
    for (int r = 0; r < 2; ++r)
        for (int c = 0; c < 2; ++c) {
            in[2 * (r * 2 + c)] = static_cast<float>(10 * c + r);
            in[2 * (r * 2 + c) + 1] = static_cast<float>(100 * r + c);
        }
    float out[8];
    ProcWarpMap::fmtTrnasOfCoordDef_GeoToPixel(out, in, 2, 2, 2, 2, 0);
    const float positions[2] = {0.25f, 0.75f};
    for (int r = 0; r < 2; ++r)
        for (int c = 0; c < 2; ++c) {
            const float fy = positions[r], fx = positions[c];
            EXPECT_EQ(out[2 * (r * 2 + c)], 10 * fx + fy - 0.5f) << r << "," << c;
            EXPECT_EQ(out[2 * (r * 2 + c) + 1], 100 * fy + fx - 0.5f) << r << "," << c;
        }
}

// Three grid columns over a 2-pixel-wide image: the columns move to 0.5, 1 and
// 1.5 grid units. A single row stays on itself.
TEST(GeoToPixel, SingleRowAndColumnsBetweenPixels) {
    float in[] = {0, 7, 4, 7, 8, 7};
    float out[6];
    ProcWarpMap::fmtTrnasOfCoordDef_GeoToPixel(out, in, 3, 1, 2, 1, 0);
    const float expected[] = {1.5f, 6.5f, 3.5f, 6.5f, 5.5f, 6.5f};
    for (int e = 0; e < 6; ++e) EXPECT_EQ(out[e], expected[e]) << e;
}

TEST(GeoToPixel, ColumnIndexMapOnMatchingImage) {
    constexpr int N = 5;
    float in[2 * N * 2];
    for (int r = 0; r < 2; ++r)
        for (int c = 0; c < N; ++c) {
            in[2 * (r * N + c)] = static_cast<float>(c);
            in[2 * (r * N + c) + 1] = static_cast<float>(r);
        }
    float out[2 * N * 2];
    ProcWarpMap::fmtTrnasOfCoordDef_GeoToPixel(out, in, N, 2, N, 7, 0);
    for (int c = 0; c < N; ++c) {
        const double expected = (c + 0.5) * (N - 1) / N - 0.5;
        EXPECT_NEAR(out[2 * c], expected, 1e-6) << c;
        EXPECT_NEAR(out[2 * (N + c)], expected, 1e-6) << c;
    }
}

TEST(CenterOffset, EvenSizesAverageTheFourMiddleValues) {
    // H = 2 rows of W = 4: the middle columns are 1 and 2.
    int mapX[] = {0, 1, 2, 0, 0, 3, 5, 0};
    int mapY[] = {9, -4, -4, 9, 9, -4, -5, 9};
    const auto offset = VWMT::find_center_offset(mapX, mapY, 2, 4);
    EXPECT_EQ(offset.x, 2.75f);
    EXPECT_EQ(offset.y, -4.25f);
}

TEST(CenterOffset, OddSizesTakeTheMiddleValue) {
    int mapX[] = {0, 0, 0, 0, 7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};  // 5 rows of 3
    int mapY[15] = {};
    mapY[1 * 3 + 1] = 100;
    mapY[2 * 3 + 1] = -6;
    const auto offset = VWMT::find_center_offset(mapX, mapY, 5, 3);
    EXPECT_EQ(offset.x, 0.0f);  // row 2, not row 1
    EXPECT_EQ(offset.y, -6.0f);
}

TEST(CenterOffset, SumWrapsInThirtyTwoBits) {
    int mapX[] = {1000000000, 1000000000, 1000000000, 1000000000};
    int mapY[] = {-1, -1, -1, -1};
    const auto offset = VWMT::find_center_offset(mapX, mapY, 2, 2);
    EXPECT_EQ(offset.x, (4000000000.0f - 4294967296.0f) / 4);
    EXPECT_EQ(offset.y, -1.0f);
}

// Planes without a centre, or without data, are not read.
TEST(CenterOffset, EmptyOrNullPlanesPrintOneLineAndGiveZero) {
    int plane[4] = {4, 4, 4, 4};
    const struct {
        int* x;
        int* y;
        int H, W;
        const char* line;
    } cases[] = {{plane, plane, 0, 4, "[find_center_offset] planes of 0 x 4 have no centre\n"},
                 {plane, plane, -2, -2, "[find_center_offset] planes of -2 x -2 have no centre\n"},
                 {plane, plane, 2, -1, "[find_center_offset] planes of 2 x -1 have no centre\n"},
                 {nullptr, plane, 2, 2, "[find_center_offset] mapX or mapY is null\n"},
                 {plane, nullptr, 2, 2, "[find_center_offset] mapX or mapY is null\n"}};
    for (const auto& c : cases) {
        testing::internal::CaptureStdout();
        const auto offset = VWMT::find_center_offset(c.x, c.y, c.H, c.W);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), c.line);
        EXPECT_EQ(offset.x, 0.0f);
        EXPECT_EQ(offset.y, 0.0f);
    }
}

TEST(EnlargeWithNAligned, Modes) {
    EXPECT_EQ(VWMT::enlargeWithNAligned(100, 0.5f, 16, ALIGN_CEIL), 64);
    EXPECT_EQ(VWMT::enlargeWithNAligned(100, 0.5f, 16, ALIGN_FLOOR), 48);
    EXPECT_EQ(VWMT::enlargeWithNAligned(100, 0.5f, 16, ALIGN_ROUND), 48);
    EXPECT_EQ(VWMT::enlargeWithNAligned(10, 1, 4, ALIGN_ROUND), 12);
    EXPECT_EQ(VWMT::enlargeWithNAligned(-10, 1, 4, ALIGN_CEIL), -8);
    EXPECT_EQ(VWMT::enlargeWithNAligned(-10, 1, 4, ALIGN_ROUND), -12);
    EXPECT_EQ(VWMT::enlargeWithNAligned(-10, 1, 4, ALIGN_FLOOR), -12);
}

TEST(EnlargeWithNAligned, UnknownModeRoundsUp) {
    EXPECT_EQ(VWMT::enlargeWithNAligned(10, 1, 4, static_cast<VWMT::AlignMode>(3)), 12);
    EXPECT_EQ(VWMT::enlargeWithNAligned(10, 1, 4, static_cast<VWMT::AlignMode>(-1)), 12);
}

TEST(EnlargeWithNAligned, ProductIsSinglePrecision) {
    // 0.1f x 30 is 3.0000000447 exactly, 3 in float: no extra step of 1.
    EXPECT_EQ(VWMT::enlargeWithNAligned(0.1f, 30, 1, ALIGN_CEIL), 3);
}

TEST(EnlargeWithNAligned, ZeroAlignmentGivesZero) {
    EXPECT_EQ(VWMT::enlargeWithNAligned(10, 1, 0, ALIGN_CEIL), 0);
    EXPECT_EQ(VWMT::enlargeWithNAligned(0, 1, 0, ALIGN_ROUND), 0);
}

}  // namespace
