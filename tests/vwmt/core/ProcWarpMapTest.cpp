#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

#include "vwmt/core/ProcWarpMap.h"

namespace {

using VWMT::ProcWarpMap;

TEST(FixedPoint, ScalesBy32RoundsHalvesAwayInDoubleAndSaturates) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    // Pixel values; v / 32 is exact, so v is exactly the scaled value.
    const struct {
        float pixels;
        int fixed;
    } cases[] = {{32, 32}, {1, 1}, {-1, -1}, {-32, -32}, {2.5f, 3}, {-2.5f, -3}, {-1.2f, -1}, {-0.3f, 0},
                 {-0.0f, 0},
                 // In float, 0.49999997 + 0.5 rounds to 1 and 8388609 + 0.5 to 8388610.
                 {0.49999997f, 0}, {-0.49999997f, 0}, {8388609.0f, 8388609}, {-8388609.0f, -8388609},
                 {1e10f, std::numeric_limits<int32_t>::max()}, {-1e10f, std::numeric_limits<int32_t>::min()},
                 {nan, 0}};
    for (const auto& c : cases) {
        float in = c.pixels / 32.0f;
        int out = 0x7eadbeef;
        ProcWarpMap::fmtTrnasOfDataType(&out, &in, 1);
        EXPECT_EQ(out, c.fixed) << c.pixels;
    }
}

TEST(WarpMapLayout, InterleavedToPlaneAndBack) {
    std::vector<float> map = {1, 10, 2, 20, 3, 30}, work(6);
    ProcWarpMap::remap_WarpMapXY_InterleavedToPlane(map.data(), 3, work.data());
    EXPECT_EQ(map, (std::vector<float>{1, 2, 3, 10, 20, 30}));
    double xs[] = {0.1, -4}, ys[] = {2.5, 1e-50};
    std::vector<float> pairs(4);
    ProcWarpMap::remap_WarpMapXY_PlaneToInterleaved(xs, ys, pairs.data(), 2);
    EXPECT_EQ(pairs, (std::vector<float>{0.1f, 2.5f, -4.0f, 0.0f}));
    double interleaved[] = {1, -1, 2, -2}, planes[4];
    ProcWarpMap::divideXYChannel_WarpMap(planes, planes + 2, interleaved, 2);
    EXPECT_EQ(std::vector<double>(planes, planes + 4), (std::vector<double>{1, 2, -1, -2}));
}

TEST(GeoToPixel, WorkedGrids) {
    // x = 10 x column + row, y = 100 x row + column on a 2 x 2 grid over a
    // 2 x 2 image: pixel centres sit a quarter and three quarters of a cell in.
    float in[] = {0, 0, 10, 1, 1, 100, 11, 101};
    std::vector<float> out(8);
    ProcWarpMap::fmtTrnasOfCoordDef_GeoToPixel(out.data(), in, 2, 2, 2, 2, 0);
    EXPECT_EQ(out, (std::vector<float>{2.25f, 24.75f, 7.25f, 25.25f, 2.75f, 74.75f, 7.75f, 75.25f}));
    // Three columns over 2 pixels move to 0.5, 1 and 1.5 cells; one row stays.
    float row[] = {0, 7, 4, 7, 8, 7};
    out.resize(6);
    ProcWarpMap::fmtTrnasOfCoordDef_GeoToPixel(out.data(), row, 3, 1, 2, 1, 0);
    EXPECT_EQ(out, (std::vector<float>{1.5f, 6.5f, 3.5f, 6.5f, 5.5f, 6.5f}));
    // One column, and two rows over a single pixel row: both rows sample its centre.
    float column[] = {5, 0, 5, 4};
    ProcWarpMap::fmtTrnasOfCoordDef_GeoToPixel(out.data(), column, 1, 2, 1, 1, 0);
    EXPECT_EQ(out, (std::vector<float>{4.5f, 1.5f, 4.5f, 1.5f, 5.5f, 6.5f}));
}

TEST(CenterOffset, MiddleValuesOrOneLineAndZero) {
    int plane[4] = {4, 4, 4, 4};
    int evenX[] = {0, 1, 2, 0, 0, 3, 5, 0}, evenY[] = {9, -4, -4, 9, 9, -4, -5, 9};  // 2 rows of 4
    int oddX[15] = {0, 0, 0, 0, 7}, oddY[15] = {0, 0, 0, 0, 100, 0, 0, -6};       // 5 rows of 3: row 2
    int bigX[] = {1000000000, 1000000000, 1000000000, 1000000000}, bigY[] = {-1, -1, -1, -1};
    const struct {
        int* x;
        int* y;
        int H, W;
        float cx, cy;
        const char* line;
    } cases[] = {{evenX, evenY, 2, 4, 2.75f, -4.25f, ""},
                 {oddX, oddY, 5, 3, 0.0f, -6.0f, ""},
                 {bigX, bigY, 2, 2, (4000000000.0f - 4294967296.0f) / 4, -1.0f, ""},  // 32-bit sum wraps
                 {plane, plane, 0, 4, 0, 0, "[find_center_offset] planes of 0 x 4 have no centre\n"},
                 {plane, plane, -2, -2, 0, 0, "[find_center_offset] planes of -2 x -2 have no centre\n"},
                 {plane, plane, 2, -1, 0, 0, "[find_center_offset] planes of 2 x -1 have no centre\n"},
                 {nullptr, plane, 2, 2, 0, 0, "[find_center_offset] mapX or mapY is null\n"},
                 {plane, nullptr, 2, 2, 0, 0, "[find_center_offset] mapX or mapY is null\n"}};
    for (const auto& c : cases) {
        testing::internal::CaptureStdout();
        const auto offset = VWMT::find_center_offset(c.x, c.y, c.H, c.W);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), c.line);
        EXPECT_EQ(offset.x, c.cx) << c.H << " x " << c.W;
        EXPECT_EQ(offset.y, c.cy) << c.H << " x " << c.W;
    }
}

TEST(EnlargeWithNAligned, Modes) {
    const struct {
        float size, ratio;
        int align, mode, expected;
    } cases[] = {{100, 0.5f, 16, ALIGN_CEIL, 64}, {100, 0.5f, 16, ALIGN_FLOOR, 48}, {100, 0.5f, 16, ALIGN_ROUND, 48},
                 {10, 1, 4, ALIGN_ROUND, 12},     {-10, 1, 4, ALIGN_CEIL, -8},      {-10, 1, 4, ALIGN_ROUND, -12},
                 {-10, 1, 4, ALIGN_FLOOR, -12},   {10, 1, 4, 3, 12},                {10, 1, 4, -1, 12},  // unknown: up
                 {0.1f, 30, 1, ALIGN_CEIL, 3},  // a float product: 3, not 3.0000000447
                 {10, 1, 0, ALIGN_CEIL, 0},       {0, 1, 0, ALIGN_ROUND, 0}};
    for (const auto& c : cases) {
        EXPECT_EQ(VWMT::enlargeWithNAligned(c.size, c.ratio, c.align, static_cast<VWMT::AlignMode>(c.mode)), c.expected)
            << c.size << " x " << c.ratio << " / " << c.align << " mode " << c.mode;
    }
}

}  // namespace
