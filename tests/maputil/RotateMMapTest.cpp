#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <string>
#include <vector>

#include "maputil/RotateMMap.h"
#include "maputil/RotateMMapScalar.h"
#include "maputil/VectorTargets.h"
#include "support/LogCapture.h"

namespace {

using velmo::maputil::rotateMMapScalar;
using velmo::testing::forEachVectorTarget;
using velmo::testing::LogCapture;
using velmo::testing::ScopedProperties;

constexpr int32_t kSentinel = 0x5A5A5A5A;

// A source map and a destination buffer (with one spare row, to see that
// nothing is written past Hr), both sentinel-filled where unused.
struct MapCase {
    int32_t width, height, stride, degrees;
    int32_t dstWidth, dstHeight, dstStride;
    int32_t imageWidth, padding;
    std::vector<int32_t> srcX, srcY;

    RotateMMapParam param(std::vector<int32_t>& dstX, std::vector<int32_t>& dstY) {
        const std::size_t dstSize = static_cast<std::size_t>(dstStride) * (dstHeight + 1);
        dstX.assign(dstSize, kSentinel);
        dstY.assign(dstSize, kSentinel);
        return {srcX.data(), srcY.data(), width,          height,    stride,
                degrees,     dstX.data(), dstY.data(),    dstWidth,  dstHeight,
                dstStride,   imageWidth,  480,            padding};
    }
};

struct Planes {
    std::vector<int32_t> x, y;
};

Planes runScalar(MapCase& m) {
    Planes out;
    EXPECT_EQ(rotateMMapScalar(m.param(out.x, out.y)), 0);
    return out;
}

Planes runVector(MapCase& m) {
    Planes out;
    EXPECT_EQ(RotateMMap(m.param(out.x, out.y)), 0);
    return out;
}

// Checks the scalar path and every vector target against the same expected
// planes (the spare row included).
void expectEverywhere(MapCase m, const std::vector<int32_t>& x, const std::vector<int32_t>& y) {
    std::vector<int32_t> expectX = x, expectY = y;
    expectX.resize(static_cast<std::size_t>(m.dstStride) * (m.dstHeight + 1), kSentinel);
    expectY.resize(expectX.size(), kSentinel);
    const Planes scalar = runScalar(m);
    EXPECT_EQ(scalar.x, expectX);
    EXPECT_EQ(scalar.y, expectY);
    forEachVectorTarget([&] {
        const Planes vector = runVector(m);
        EXPECT_EQ(vector.x, expectX);
        EXPECT_EQ(vector.y, expectY);
    });
}

constexpr int32_t S = kSentinel;

// ---- hand-worked maps ----------------------------------------------------------

// 0 degrees, equal sizes: sample x = trunc((j + 0.5) + 0.5) = j + 1, so the map
// moves one pixel left and up, and the last column and row fall off it.
TEST(RotateMMapHandWorked, AngleZeroEqualSizesShiftsByOnePixel) {
    MapCase m{4, 2, 4, 0, 4, 2, 6, 4, 0, {1, 2, 3, 4, 5, 6, 7, 8}, {-1, -2, -3, -4, -5, -6, -7, -8}};
    expectEverywhere(m, {6, 7, 8, 0, S, S, 0, 0, 0, 0, S, S},
                     {-6, -7, -8, 0, S, S, 0, 0, 0, 0, S, S});
}

// 0 degrees, 8 x 4 into 4 x 2: k = 2, sx = sy = 2, sample = 2i + 1.
TEST(RotateMMapHandWorked, AngleZeroHalvesTheMap) {
    MapCase m{8, 4, 8, 0, 4, 2, 4, 8, 0, {}, {}};
    for (int32_t i = 0; i < 32; ++i) {
        m.srcX.push_back(100 + i);
        m.srcY.push_back(200 + i);
    }
    expectEverywhere(m, {109, 111, 113, 115, 125, 127, 129, 131},
                     {209, 211, 213, 215, 225, 227, 229, 231});
}

// Image 12 wide with padding 2 into 4 columns: k = ceil(8 / 4) = 2, the band
// starts at 2 / 2 = 1 and is 4 - 2 = 2 wide; sx = 4 / 2 = 2.
TEST(RotateMMapHandWorked, PaddingLeavesTheBandEdgesUntouched) {
    MapCase m{4, 2, 4, 0, 4, 2, 4, 12, 2, {1, 2, 3, 4, 5, 6, 7, 8}, {11, 12, 13, 14, 15, 16, 17, 18}};
    expectEverywhere(m, {S, 6, 8, S, S, 0, 0, S}, {S, 16, 18, S, S, 0, 0, S});
}

// 90 degrees, 3 x 2 into 2 x 3. s = 1, c = -4.37e-8, so RW = 2 + 1.3e-7 rounds
// to 2.0000002 and ceil(RW) = 3: sx = 1.5, cRW = 1; sy = 1, cRH = 1.
// Row r samples column x = r; column j samples row trunc(1 - dx) with
// dx = -0.25, 1.25, i.e. rows 1 and trunc(-0.25) = 0. Vectors turn to
// (-vy, vx), and +0.5 then truncation moves negative results toward zero:
// -vy + 0.5 = -4.5 gives -4.
TEST(RotateMMapHandWorked, NinetyDegrees) {
    MapCase m{3, 2, 3, 90, 2, 3, 2, 2, 0, {10, -20, 30, -40, 50, -60}, {1, -2, 3, -4, 5, -6}};
    expectEverywhere(m, {4, 0, -4, 2, 6, -2}, {-39, 10, 50, -19, -59, 30});
}

// 180 degrees, 4 x 2: s = -8.7e-8 makes RH = 2.0000002, ceil(RH) = 3, so
// sy = 1.5 and the two rows sample source rows trunc(1.25) = 1 and
// trunc(-0.25) = 0, each reversed; vectors turn to (-vx, -vy) with the same
// asymmetric rounding.
TEST(RotateMMapHandWorked, OneEightyDegrees) {
    MapCase m{4, 2, 4, 180, 4, 2, 4, 4, 0, {10, -20, 30, -40, 50, -60, 0, 0}, {1, -2, 3, -4, 5, -6, 0, 0}};
    expectEverywhere(m, {0, 0, 60, -49, 40, -29, 20, -9}, {0, 0, 6, -4, 4, -2, 2, 0});
}

// 1 degree on a 16 x 1 map of (INT32_MAX, INT32_MIN): the rotated x value is
// about 1.017 * 2^31 and saturates as on 64-bit Arm (x86 would give
// 0x80000000); the last column samples x = 16, off the map. The y value is
// float(s * 2^31 + c * -2^31) = -2109677824 (worked in single precision).
TEST(RotateMMapHandWorked, OneDegreeSaturatesLikeArm) {
    MapCase m{16, 1, 16, 1, 16, 1, 16, 16, 0,
              std::vector<int32_t>(16, INT32_MAX), std::vector<int32_t>(16, INT32_MIN)};
    std::vector<int32_t> x(16, INT32_MAX), y(16, -2109677824);
    x[15] = 0;
    y[15] = 0;
    expectEverywhere(m, x, y);
}

// ---- vector rows against the per-column reference -------------------------------

uint32_t nextRandom(uint32_t& state) {
    state = state * 1664525u + 1013904223u;
    return state;
}

// Motion values, with some near the int32 limits so saturation shows.
void fillSource(MapCase& m, uint32_t seed) {
    const std::size_t size = static_cast<std::size_t>(m.stride) * m.height;
    m.srcX.resize(size);
    m.srcY.resize(size);
    for (std::size_t i = 0; i < size; ++i) {
        const uint32_t a = nextRandom(seed), b = nextRandom(seed);
        const bool extreme = (a >> 28) == 0;
        m.srcX[i] = extreme ? static_cast<int32_t>(a | 0x7fff0000u) : static_cast<int32_t>(a % 2001) - 1000;
        m.srcY[i] = extreme ? static_cast<int32_t>(b | 0x80000000u) : static_cast<int32_t>(b % 2001) - 1000;
    }
}

void expectVectorMatchesScalar(MapCase& m) {
    const Planes scalar = runScalar(m);
    forEachVectorTarget([&] {
        const Planes vector = runVector(m);
        ASSERT_EQ(vector.x, scalar.x);
        ASSERT_EQ(vector.y, scalar.y);
    });
}

std::vector<int32_t> sweepAngles() {
    std::vector<int32_t> angles{0, 1, 30, 45, 89, 90, 180, 270, -90, 359, 720};
    for (int32_t a = -355; a <= 360; a += 23) angles.push_back(a);
    return angles;
}

// The comparisons below must reach the 128-bit code (NEON on phones without
// SVE), not only the widest target of the test machine.
TEST(RotateMMapVector, ChecksTheNarrowVectorTarget) {
    const std::vector<int64_t> targets = velmo::maputil::compiledVectorTargets();
#if HWY_ARCH_X86
    const int64_t narrow = HWY_SSE4;
#elif HWY_ARCH_ARM_A64
    const int64_t narrow = HWY_NEON;
#else
    const int64_t narrow = targets.empty() ? 0 : targets.back();
#endif
    EXPECT_NE(std::find(targets.begin(), targets.end(), narrow), targets.end());
    EXPECT_GE(targets.size(), 2u);
}

// Every band width 1..70 (every tail length, with and without whole steps).
TEST(RotateMMapVector, MatchesScalarForEveryBandWidth) {
    for (int32_t degrees : sweepAngles()) {
        for (int32_t width = 1; width <= 70; ++width) {
            SCOPED_TRACE(::testing::Message() << degrees << " degrees, band " << width);
            MapCase m{width + 3, 5, width + 5, degrees, width, 4, width + 2, width, 0, {}, {}};
            fillSource(m, static_cast<uint32_t>(width * 1000 + degrees));
            expectVectorMatchesScalar(m);
            if (::testing::Test::HasFatalFailure()) return;
        }
    }
}

// Realistic shapes: transposed sizes, paddings, strides wider than the band,
// and maps smaller and larger than the destination.
TEST(RotateMMapVector, MatchesScalarForMapShapes) {
    const struct Shape {
        int32_t width, height, stride, dstWidth, dstHeight, dstStride, imageWidth, padding;
    } shapes[] = {
        {24, 14, 24, 14, 24, 16, 14, 0},     {24, 14, 32, 14, 24, 14, 28, 0},
        {48, 27, 48, 48, 27, 64, 960, 0},    {40, 24, 40, 40, 24, 40, 1040, 40},
        {33, 17, 35, 37, 19, 41, 300, 7},    {64, 48, 64, 65, 49, 70, 65, 0},
        {1, 1, 1, 17, 3, 17, 17, 0},         {70, 3, 70, 3, 70, 3, 3, 0},
        {17, 40, 20, 45, 9, 50, 1000, 55},
    };
    for (const Shape& s : shapes) {
        for (int32_t degrees : sweepAngles()) {
            SCOPED_TRACE(::testing::Message() << s.width << "x" << s.height << " -> " << s.dstWidth
                                              << "x" << s.dstHeight << " at " << degrees);
            MapCase m{s.width,     s.height,    s.stride,    degrees, s.dstWidth, s.dstHeight,
                      s.dstStride, s.imageWidth, s.padding, {},      {}};
            fillSource(m, static_cast<uint32_t>(s.width * 31 + degrees));
            expectVectorMatchesScalar(m);
            if (::testing::Test::HasFatalFailure()) return;
        }
    }
}

// Only the band [x0, x0 + N) of the first Hr rows is written.
TEST(RotateMMapVector, LeavesColumnsOutsideTheBandUntouched) {
    for (int32_t degrees : {0, 30, 90}) {
        // Image 1040 with padding 40 into 40 columns: k = 24, x0 = 1, N = 38.
        MapCase m{40, 24, 40, degrees, 40, 24, 44, 1040, 40, {}, {}};
        fillSource(m, 7u);
        forEachVectorTarget([&] {
            const Planes out = runVector(m);
            for (int32_t r = 0; r <= m.dstHeight; ++r) {
                for (int32_t c = 0; c < m.dstStride; ++c) {
                    const bool inBand = r < m.dstHeight && c >= 1 && c < 39;
                    const std::size_t at = static_cast<std::size_t>(r) * m.dstStride + c;
                    if (!inBand) {
                        ASSERT_EQ(out.x[at], kSentinel) << "row " << r << " column " << c;
                        ASSERT_EQ(out.y[at], kSentinel) << "row " << r << " column " << c;
                    }
                }
            }
        });
    }
}

// ---- documented results and bad input --------------------------------------------

TEST(RotateMMapInput, NoRowsWritesNothing) {
    LogCapture log;
    MapCase m{8, 8, 8, 30, 8, 0, 8, 8, 0, std::vector<int32_t>(64, 1), std::vector<int32_t>(64, 1)};
    std::vector<int32_t> x, y;
    EXPECT_EQ(RotateMMap(m.param(x, y)), 0);
    EXPECT_EQ(x, std::vector<int32_t>(8, kSentinel));
    EXPECT_EQ(y, std::vector<int32_t>(8, kSentinel));
    EXPECT_TRUE(log.lines().empty());
}

// An empty source map samples outside everywhere: the band becomes zeros.
TEST(RotateMMapInput, EmptySourceWritesZeros) {
    for (int32_t degrees : {0, 45}) {
        MapCase m{0, 0, 0, degrees, 20, 2, 20, 20, 0, {}, {}};
        m.srcX.assign(1, 9);
        m.srcY.assign(1, 9);
        std::vector<int32_t> zeros(40, 0);
        expectEverywhere(m, zeros, zeros);
    }
}

struct BadInput {
    const char* what;
    void (*spoil)(RotateMMapParam&);
    const char* line;
};

TEST(RotateMMapInput, BadInputWritesNothingAndLogsTheField) {
    const BadInput cases[] = {
        {"null x plane", [](RotateMMapParam& p) { p._map_x = nullptr; }, "[RotateMMap] _map_x is null\n"},
        {"null y plane", [](RotateMMapParam& p) { p._map_y = nullptr; }, "[RotateMMap] _map_y is null\n"},
        {"null x buffer", [](RotateMMapParam& p) { p._map_x_rot_buffer = nullptr; },
         "[RotateMMap] _map_x_rot_buffer is null\n"},
        {"null y buffer", [](RotateMMapParam& p) { p._map_y_rot_buffer = nullptr; },
         "[RotateMMap] _map_y_rot_buffer is null\n"},
        {"zero width", [](RotateMMapParam& p) { p._width_map_rot_buffer = 0; },
         "[RotateMMap] _width_map_rot_buffer 0 is not positive\n"},
        {"padding eats the image", [](RotateMMapParam& p) { p._padding_x_img = 4; },
         "[RotateMMap] _padding_x_img 4 leaves no image of _width_img 8\n"},
        {"short source stride", [](RotateMMapParam& p) { p._stride_map = 7; },
         "[RotateMMap] _stride_map 7 is below _width_map 8\n"},
        // Padding -8: k = ceil(24 / 8) = 3, x0 = -8 / 3 = -2.
        {"band before the row", [](RotateMMapParam& p) { p._padding_x_img = -8; },
         "[RotateMMap] _padding_x_img -8 starts the band at column -2\n"},
        {"band past the stride", [](RotateMMapParam& p) { p._stride_map_rot_buffer = 7; },
         "[RotateMMap] _stride_map_rot_buffer 7 is below the band end 8\n"},
        {"band past the stride of a map with negative height",
         [](RotateMMapParam& p) {
             p._height_map = -3;
             p._stride_map_rot_buffer = 7;
         },
         "[RotateMMap] _stride_map_rot_buffer 7 is below the band end 8\n"},
    };
    for (const BadInput& c : cases) {
        SCOPED_TRACE(c.what);
        MapCase m{8, 8, 8, 30, 8, 2, 8, 8, 0, std::vector<int32_t>(64, 1), std::vector<int32_t>(64, 1)};
        std::vector<int32_t> x, y;
        RotateMMapParam p = m.param(x, y);
        c.spoil(p);
        LogCapture log;
        EXPECT_EQ(RotateMMap(p), 0);
        EXPECT_EQ(x, std::vector<int32_t>(24, kSentinel));
        EXPECT_EQ(y, std::vector<int32_t>(24, kSentinel));
        ASSERT_EQ(log.lines().size(), 1u);
        EXPECT_EQ(log.lines()[0].module, 0x10004001);
        EXPECT_EQ(log.lines()[0].tag, "MMapRotate");
        EXPECT_EQ(log.lines()[0].text, c.line);
    }
}

// ---- diagnostics ----------------------------------------------------------------

TEST(RotateMMapDiagnostics, DetailLogListsTheRecordWhenAskedFor) {
    ScopedProperties properties;
    properties.set("vendor.mmapRotate.detailLog", "1");
    MapCase m{8, 6, 9, -90, 6, 8, 7, 6, 0, std::vector<int32_t>(54, 1), std::vector<int32_t>(54, 1)};
    std::vector<int32_t> x, y;
    LogCapture log;
    RotateMMap(m.param(x, y));
    const std::vector<std::string> expected{
        "version 20220824\n",           "_width_map 8\n",
        "_height_map 6\n",              "_stride_map 9\n",
        "_degree_rot -90\n",            "_width_map_rot_buffer 6\n",
        "_height_map_rot_buffer 8\n",   "_stride_map_rot_buffer 7\n",
        "_width_img 6\n",               "_height_img 480\n",
        "_padding_x_img 0\n"};
    EXPECT_EQ(log.texts(), expected);
    for (const auto& line : log.lines()) EXPECT_EQ(line.tag, "MMapRotate");
}

TEST(RotateMMapDiagnostics, OtherValuesStayQuiet) {
    for (const char* value : {"0", "2", "yes", ""}) {
        ScopedProperties properties;
        properties.set("vendor.mmapRotate.detailLog", value);
        MapCase m{8, 6, 8, 30, 6, 8, 6, 6, 0, std::vector<int32_t>(48, 1), std::vector<int32_t>(48, 1)};
        std::vector<int32_t> x, y;
        LogCapture log;
        RotateMMap(m.param(x, y));
        EXPECT_TRUE(log.lines().empty()) << value;
    }
}

}  // namespace
