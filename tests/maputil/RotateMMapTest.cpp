#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <numeric>
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

constexpr int32_t S = 0x5A5A5A5A;  // sentinel of the destination

// A source map and a destination buffer (with one spare row, to see that
// nothing is written past Hr), both sentinel-filled where unused.
struct MapCase {
    int32_t width, height, stride, degrees;
    int32_t dstWidth, dstHeight, dstStride;
    int32_t imageWidth, padding;
    std::vector<int32_t> srcX, srcY;

    RotateMMapParam param(std::vector<int32_t>& dstX, std::vector<int32_t>& dstY) {
        dstX.assign(static_cast<std::size_t>(dstStride) * (dstHeight + 1), S);
        dstY.assign(dstX.size(), S);
        return {srcX.data(), srcY.data(), width,          height,    stride,
                degrees,     dstX.data(), dstY.data(),    dstWidth,  dstHeight,
                dstStride,   imageWidth,  480,            padding};
    }
};

struct Planes {
    std::vector<int32_t> x, y;
};

Planes run(MapCase& m, bool vector) {
    Planes out;
    const RotateMMapParam p = m.param(out.x, out.y);
    EXPECT_EQ(vector ? RotateMMap(p) : rotateMMapScalar(p), 0);
    return out;
}

std::vector<int32_t> ramp(int32_t from, int32_t count) {
    std::vector<int32_t> v(static_cast<std::size_t>(count));
    std::iota(v.begin(), v.end(), from);
    return v;
}

// ---- hand-worked maps: the scalar path and every vector target -------------------

struct Worked {
    const char* what;
    MapCase map;
    std::vector<int32_t> x, y;  // the destination; the rest stays sentinel
};

TEST(RotateMMap, HandWorkedMaps) {
    std::vector<int32_t> saturatedX(16, INT32_MAX), saturatedY(16, -2109677824);
    saturatedX[15] = saturatedY[15] = 0;
    const std::vector<int32_t> zeros(40, 0);
    const Worked cases[] = {
        // 0 degrees, equal sizes: sample x = trunc((j + 0.5) + 0.5) = j + 1, so
        // the map moves one pixel left and up; the last column and row fall off.
        {"0 degrees, equal sizes",
         {4, 2, 4, 0, 4, 2, 6, 4, 0, ramp(1, 8), {-1, -2, -3, -4, -5, -6, -7, -8}},
         {6, 7, 8, 0, S, S, 0, 0, 0, 0, S, S},
         {-6, -7, -8, 0, S, S, 0, 0, 0, 0, S, S}},
        // 8 x 4 into 4 x 2: k = 2, sx = sy = 2, sample = 2i + 1.
        {"0 degrees, halved",
         {8, 4, 8, 0, 4, 2, 4, 8, 0, ramp(100, 32), ramp(200, 32)},
         {109, 111, 113, 115, 125, 127, 129, 131},
         {209, 211, 213, 215, 225, 227, 229, 231}},
        // Image 12 wide with padding 2 into 4 columns: k = ceil(8 / 4) = 2, the
        // band starts at 2 / 2 = 1 and is 4 - 2 = 2 wide; sx = 4 / 2 = 2.
        {"padding leaves the band edges untouched",
         {4, 2, 4, 0, 4, 2, 4, 12, 2, ramp(1, 8), ramp(11, 8)},
         {S, 6, 8, S, S, 0, 0, S},
         {S, 16, 18, S, S, 0, 0, S}},
        // 3 x 2 into 2 x 3. s = 1, c = -4.37e-8, so RW = 2 + 1.3e-7 rounds to
        // 2.0000002 and ceil(RW) = 3: sx = 1.5, cRW = 1; sy = 1, cRH = 1. Row r
        // samples column x = r; column j samples row trunc(1 - dx) with
        // dx = -0.25, 1.25, i.e. rows 1 and 0. Vectors turn to (-vy, vx), and
        // +0.5 then truncation moves negative results toward zero: -4.5 gives -4.
        {"90 degrees",
         {3, 2, 3, 90, 2, 3, 2, 2, 0, {10, -20, 30, -40, 50, -60}, {1, -2, 3, -4, 5, -6}},
         {4, 0, -4, 2, 6, -2},
         {-39, 10, 50, -19, -59, 30}},
        // s = -8.7e-8 makes RH = 2.0000002, ceil(RH) = 3, so sy = 1.5 and the two
        // rows sample source rows trunc(1.25) = 1 and trunc(-0.25) = 0, each
        // reversed; vectors turn to (-vx, -vy) with the same rounding.
        {"180 degrees",
         {4, 2, 4, 180, 4, 2, 4, 4, 0, {10, -20, 30, -40, 50, -60, 0, 0}, {1, -2, 3, -4, 5, -6, 0, 0}},
         {0, 0, 60, -49, 40, -29, 20, -9},
         {0, 0, 6, -4, 4, -2, 2, 0}},
        // (INT32_MAX, INT32_MIN) turned 1 degree: x is about 1.017 * 2^31 and
        // saturates as on 64-bit Arm (x86 would give 0x80000000); the last column
        // samples x = 16, off the map. y = float(s * 2^31 + c * -2^31).
        {"1 degree saturates like Arm",
         {16, 1, 16, 1, 16, 1, 16, 16, 0, std::vector<int32_t>(16, INT32_MAX), std::vector<int32_t>(16, INT32_MIN)},
         saturatedX,
         saturatedY},
        {"no rows writes nothing", {8, 8, 8, 30, 8, 0, 8, 8, 0, ramp(0, 64), ramp(0, 64)}, {}, {}},
        // An empty source map samples outside everywhere: the band becomes zeros.
        {"empty source at 0 degrees", {0, 0, 0, 0, 20, 2, 20, 20, 0, {9}, {9}}, zeros, zeros},
        {"empty source at 45 degrees", {0, 0, 0, 45, 20, 2, 20, 20, 0, {9}, {9}}, zeros, zeros},
    };
    for (const Worked& c : cases) {
        SCOPED_TRACE(c.what);
        MapCase m = c.map;
        std::vector<int32_t> x = c.x, y = c.y;
        x.resize(static_cast<std::size_t>(m.dstStride) * (m.dstHeight + 1), S);
        y.resize(x.size(), S);
        const Planes scalar = run(m, false);
        EXPECT_EQ(scalar.x, x);
        EXPECT_EQ(scalar.y, y);
        forEachVectorTarget([&] {
            const Planes vector = run(m, true);
            EXPECT_EQ(vector.x, x);
            EXPECT_EQ(vector.y, y);
        });
    }
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

// Every band width 1..70 (every tail length, with and without whole steps),
// then realistic shapes: transposed sizes, paddings, strides wider than the
// band, and maps smaller and larger than the destination; each at many angles.
TEST(RotateMMap, VectorMatchesScalarForEveryBandWidthAndShape) {
    std::vector<MapCase> maps = {
        {24, 14, 24, 0, 14, 24, 16, 14, 0, {}, {}},    {24, 14, 32, 0, 14, 24, 14, 28, 0, {}, {}},
        {48, 27, 48, 0, 48, 27, 64, 960, 0, {}, {}},   {40, 24, 40, 0, 40, 24, 40, 1040, 40, {}, {}},
        {33, 17, 35, 0, 37, 19, 41, 300, 7, {}, {}},   {64, 48, 64, 0, 65, 49, 70, 65, 0, {}, {}},
        {1, 1, 1, 0, 17, 3, 17, 17, 0, {}, {}},        {70, 3, 70, 0, 3, 70, 3, 3, 0, {}, {}},
        {17, 40, 20, 0, 45, 9, 50, 1000, 55, {}, {}},
    };
    for (int32_t w = 1; w <= 70; ++w) maps.push_back({w + 3, 5, w + 5, 0, w, 4, w + 2, w, 0, {}, {}});
    std::vector<int32_t> angles{0, 1, 30, 45, 89, 90, 180, 270, -90, 359, 720};
    for (int32_t a = -355; a <= 360; a += 23) angles.push_back(a);
    for (MapCase& m : maps) {
        for (int32_t degrees : angles) {
            SCOPED_TRACE(::testing::Message() << m.width << "x" << m.height << " -> " << m.dstWidth << "x"
                                              << m.dstHeight << " at " << degrees);
            m.degrees = degrees;
            fillSource(m, static_cast<uint32_t>(m.width * 31 + m.dstWidth * 1000 + degrees));
            const Planes scalar = run(m, false);
            forEachVectorTarget([&] {
                const Planes vector = run(m, true);
                ASSERT_EQ(vector.x, scalar.x);
                ASSERT_EQ(vector.y, scalar.y);
            });
            if (::testing::Test::HasFatalFailure()) return;
        }
    }
}

// ---- bad input and diagnostics ---------------------------------------------------

struct BadInput {
    void (*spoil)(RotateMMapParam&);
    const char* line;
};

TEST(RotateMMap, BadInputWritesNothingAndLogsTheField) {
    const BadInput cases[] = {
        {[](RotateMMapParam& p) { p._map_x = nullptr; }, "_map_x is null"},
        {[](RotateMMapParam& p) { p._map_y = nullptr; }, "_map_y is null"},
        {[](RotateMMapParam& p) { p._map_x_rot_buffer = nullptr; }, "_map_x_rot_buffer is null"},
        {[](RotateMMapParam& p) { p._map_y_rot_buffer = nullptr; }, "_map_y_rot_buffer is null"},
        {[](RotateMMapParam& p) { p._width_map_rot_buffer = 0; }, "_width_map_rot_buffer 0 is not positive"},
        {[](RotateMMapParam& p) { p._padding_x_img = 4; }, "_padding_x_img 4 leaves no image of _width_img 8"},
        {[](RotateMMapParam& p) { p._stride_map = 7; }, "_stride_map 7 is below _width_map 8"},
        // Padding -8: k = ceil(24 / 8) = 3, x0 = -8 / 3 = -2.
        {[](RotateMMapParam& p) { p._padding_x_img = -8; }, "_padding_x_img -8 starts the band at column -2"},
        {[](RotateMMapParam& p) { p._stride_map_rot_buffer = 7; }, "_stride_map_rot_buffer 7 is below the band end 8"},
        // The same with a map of negative height.
        {[](RotateMMapParam& p) {
             p._height_map = -3;
             p._stride_map_rot_buffer = 7;
         },
         "_stride_map_rot_buffer 7 is below the band end 8"},
    };
    for (const BadInput& c : cases) {
        SCOPED_TRACE(c.line);
        MapCase m{8, 8, 8, 30, 8, 2, 8, 8, 0, std::vector<int32_t>(64, 1), std::vector<int32_t>(64, 1)};
        std::vector<int32_t> x, y;
        RotateMMapParam p = m.param(x, y);
        c.spoil(p);
        LogCapture log;
        EXPECT_EQ(RotateMMap(p), 0);
        EXPECT_EQ(x, std::vector<int32_t>(24, S));
        EXPECT_EQ(y, std::vector<int32_t>(24, S));
        ASSERT_EQ(log.lines().size(), 1u);
        EXPECT_EQ(log.lines()[0].module, 0x10004001);
        EXPECT_EQ(log.lines()[0].tag, "MMapRotate");
        EXPECT_EQ(log.lines()[0].text, std::string("[RotateMMap] ") + c.line + "\n");
    }
}

// The record is logged for "1" only, and a good call logs nothing else.
TEST(RotateMMap, DetailLogListsTheRecordWhenAskedFor) {
    const std::vector<std::string> record{
        "version 20220824\n",         "_width_map 8\n",          "_height_map 6\n",
        "_stride_map 9\n",            "_degree_rot -90\n",       "_width_map_rot_buffer 6\n",
        "_height_map_rot_buffer 8\n", "_stride_map_rot_buffer 7\n", "_width_img 6\n",
        "_height_img 480\n",          "_padding_x_img 0\n"};
    for (const char* value : {"1", "0", "2", "yes", ""}) {
        ScopedProperties properties;
        properties.set("vendor.mmapRotate.detailLog", value);
        MapCase m{8, 6, 9, -90, 6, 8, 7, 6, 0, std::vector<int32_t>(54, 1), std::vector<int32_t>(54, 1)};
        std::vector<int32_t> x, y;
        LogCapture log;
        RotateMMap(m.param(x, y));
        EXPECT_EQ(log.texts(), std::string(value) == "1" ? record : std::vector<std::string>{}) << value;
        for (const auto& line : log.lines()) EXPECT_EQ(line.tag, "MMapRotate");
    }
}

}  // namespace
