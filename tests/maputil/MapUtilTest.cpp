// RotateMMap and PowerSaving: hand-worked maps and fields on the scalar
// reference and every vector target, the vector paths against the scalar
// reference over every width and tail, and the refusals.

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <numeric>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "maputil/PowerSaving.h"
#include "maputil/PowerSavingScalar.h"
#include "maputil/RotateMMap.h"
#include "maputil/RotateMMapScalar.h"
#include "maputil/RotateMMapVector.h"
#include "support/LogCapture.h"

namespace {

using velmo::maputil::FieldStats;
using velmo::maputil::fieldStatsScalar;
using velmo::maputil::fieldStatsVector;
using velmo::maputil::powerSavingScalar;
using velmo::maputil::rotateMMapScalar;
using velmo::testing::LogCapture;

// Runs a check once per vector target compiled into the library and supported
// by this CPU, with run-time dispatch pinned to that target, so the narrower
// paths (SSE4, NEON) are checked even where wider ones exist. The 128-bit
// target (NEON on phones without SVE) must be among them, not only the widest
// target of the test machine.
template <class Check>
void forEachVectorTarget(Check check) {
    const std::vector<int64_t> targets = velmo::maputil::compiledVectorTargets();
    ASSERT_GE(targets.size(), 2u);
#if HWY_ARCH_X86
    ASSERT_NE(std::find(targets.begin(), targets.end(), HWY_SSE4), targets.end());
#elif HWY_ARCH_ARM_A64
    ASSERT_NE(std::find(targets.begin(), targets.end(), HWY_NEON), targets.end());
#endif
    for (int64_t target : targets) {
        SCOPED_TRACE(hwy::TargetName(target));
        hwy::SetSupportedTargetsForTest(target);
        ASSERT_EQ(velmo::maputil::dispatchedTarget(), target);
        check();
    }
    hwy::SetSupportedTargetsForTest(0);
}

uint32_t nextRandom(uint32_t& state) {
    state = state * 1664525u + 1013904223u;
    return state;
}

// ==== RotateMMap ====

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

using Planes = std::pair<std::vector<int32_t>, std::vector<int32_t>>;  // x, y

Planes run(MapCase& m, bool vector) {
    Planes out;
    const RotateMMapParam p = m.param(out.first, out.second);
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
        Planes expected(c.x, c.y);
        expected.first.resize(static_cast<std::size_t>(m.dstStride) * (m.dstHeight + 1), S);
        expected.second.resize(expected.first.size(), S);
        EXPECT_EQ(run(m, false), expected);
        forEachVectorTarget([&] { EXPECT_EQ(run(m, true), expected); });
    }
}

// ---- vector rows against the per-column reference -------------------------------

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
            forEachVectorTarget([&] { ASSERT_EQ(run(m, true), scalar); });
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
        EXPECT_EQ(log.texts(), std::vector<std::string>{std::string("[RotateMMap] ") + c.line + "\n"});
        for (const auto& line : log.lines()) EXPECT_EQ(line.module, 0x10004001);
    }
}

// ==== PowerSaving ====

struct Field {
    int32_t width, height, stride;
    std::vector<int32_t> x, y;

    Field(int32_t w, int32_t h, int32_t s, int32_t fillX = 0, int32_t fillY = 0)
        : width(w), height(h), stride(s),
          x(static_cast<std::size_t>(s) * (h > 0 ? h : 0), fillX),
          y(static_cast<std::size_t>(s) * (h > 0 ? h : 0), fillY) {}

    int32_t& atX(int32_t r, int32_t c) { return x[static_cast<std::size_t>(r) * stride + c]; }
    int32_t& atY(int32_t r, int32_t c) { return y[static_cast<std::size_t>(r) * stride + c]; }

    // Precision 16, scale 3/2 on x and 1/2 on y; thresholds set per case.
    PowerSavingParam param(int32_t thrMaxX, int32_t thrMaxY, int32_t thrAvgX, int32_t thrAvgY) {
        return {x.data(), y.data(), width, height, stride, 16, 3, 1, 2, 2, thrMaxX, thrMaxY, thrAvgX, thrAvgY};
    }
};

struct Outcome {
    bool result;
    std::string printed;
};

template <class Call>
Outcome printedBy(Call call) {
    ::testing::internal::CaptureStdout();
    const bool result = call();
    return {result, ::testing::internal::GetCapturedStdout()};
}

// Runs PowerSaving on every vector target and the scalar reference, checks
// they agree, and checks the common outcome (or the start of what it prints).
void expectDecision(const PowerSavingParam& p, bool result, const std::string& printed, bool wholeText = true) {
    const Outcome reference = printedBy([&] { return powerSavingScalar(p); });
    EXPECT_EQ(reference.result, result);
    EXPECT_EQ(wholeText ? reference.printed : reference.printed.substr(0, printed.size()), printed);
    forEachVectorTarget([&] {
        const Outcome vector = printedBy([&] { return PowerSaving(p); });
        EXPECT_EQ(vector.result, reference.result);
        EXPECT_EQ(vector.printed, reference.printed);
    });
}

// The statistics lines, as many as values are given.
std::string report(std::vector<const char*> values) {
    const char* names[] = {"x magnitude max", "y magnitude max", "x avg", "y avg", "x magnitude max_scaled",
                           "y magnitude max_scaled", "x avg_scaled", "y avg_scaled"};
    std::string text;
    for (std::size_t i = 0; i < values.size(); ++i) {
        text += std::string("[PowerSaving] ") + names[i] + "=" + values[i] + "\n";
    }
    return text;
}

// +32 and -32 equally often: the means are 0, the maxima 32, scaled
// 1.5 * 32 / 16 = 3 on x and 0.5 * 32 / 16 = 1 on y; only the maxima decide,
// and 3 < 3 fails: the comparison is strict.
TEST(PowerSaving, OppositeMotionIsJudgedByTheMaxima) {
    Field f(20, 2, 20);
    for (int32_t c = 0; c < 20; ++c) {
        f.atX(0, c) = f.atX(1, c) = (c % 2 ? 32 : -32);
        f.atY(0, c) = -32;
        f.atY(1, c) = 32;
    }
    const std::string printed =
        report({"32", "32", "0.000000", "0.000000", "3.000000", "1.000000", "0.000000", "0.000000"});
    expectDecision(f.param(4, 2, 1, 1), true, printed);
    expectDecision(f.param(3, 2, 1, 1), false, printed);
}

// From a field that passes, each threshold lowered on its own turns the
// decision. x: max 48 -> 4.5, mean (16 * 34 - 32 + 48) / 36 = 15.555555 ->
// 1.458333; y: max 32 -> 1, mean (16 * 35 + 32) / 36 = 16.444445 -> 0.513889.
TEST(PowerSaving, EachThresholdFailsAlone) {
    Field f(18, 2, 18, 16, 16);
    f.atX(1, 17) = -32;  // the magnitude counts, the sign does not
    f.atY(0, 3) = 32;
    f.atX(1, 16) = 48;
    const std::string printed =
        report({"48", "32", "15.555555", "16.444445", "4.500000", "1.000000", "1.458333", "0.513889"});
    expectDecision(f.param(5, 2, 2, 1), true, printed);
    expectDecision(f.param(4, 2, 2, 1), false, printed);
    expectDecision(f.param(5, 1, 2, 1), false, printed);
    expectDecision(f.param(5, 2, 1, 1), false, printed);
    expectDecision(f.param(5, 2, 2, 0), false, printed);
}

// |INT32_MIN| wraps to INT32_MIN, the smallest magnitude there is, so a field
// of INT32_MIN passes. x: max 7 -> 1.5 * 7 / 16 = 0.65625; the 36 INT32_MIN
// sum to 0 (wrapping), mean (-7 + 5) / 38 = -0.052632, scaled -0.004934.
// y: 38 x INT32_MIN, max -2^31 -> 0.5 * -2^31 / 16, mean 0.
TEST(PowerSaving, MostNegativeValueCountsAsTheSmallestMagnitude) {
    Field f(19, 2, 19, INT32_MIN, INT32_MIN);
    f.atX(1, 5) = -7;
    f.atX(0, 18) = 5;
    expectDecision(f.param(1, 1, 1, 1), true,
                   report({"7", "-2147483648", "-0.052632", "0.000000", "0.656250", "-67108864.000000", "-0.004934",
                          "0.000000"}));
}

// 17 x 3 values of 2^30 sum to 51 * 2^30, which wraps to -2^30; the mean is
// -1073741824 / 51 = -21053761.25, nearest float -21053762. The columns past
// the width hold values that would change everything if read.
TEST(PowerSaving, SumsWrapAndStrideGapsAreIgnored) {
    Field f(17, 3, 20, 1 << 30, 0);
    for (int32_t r = 0; r < 3; ++r) {
        for (int32_t c = 17; c < 20; ++c) f.atX(r, c) = f.atY(r, c) = INT32_MAX;
    }
    expectDecision(f.param(INT32_MAX, 1, 1, 1), true, report({"1073741824", "0", "-21053762.000000", "0.000000"}),
                   false);
}

TEST(PowerSaving, VectorStatisticsMatchTheReferenceForEveryWidth) {
    uint32_t seed = 12345;
    for (int32_t width = 1; width <= 70; ++width) {
        for (int32_t height : {1, 2, 5}) {
            for (int32_t gap : {0, 3}) {
                Field f(width, height, width + gap);
                for (std::size_t i = 0; i < f.x.size(); ++i) {
                    const uint32_t a = nextRandom(seed);
                    // Mostly large values so the sums wrap; now and then INT32_MIN.
                    f.x[i] = (a & 31) == 0 ? INT32_MIN : static_cast<int32_t>(a);
                    f.y[i] = static_cast<int32_t>(nextRandom(seed) >> (a & 7));
                }
                const PowerSavingParam p = f.param(1, 1, 1, 1);
                const FieldStats reference = fieldStatsScalar(p);
                forEachVectorTarget([&] {
                    const FieldStats vector = fieldStatsVector(p);
                    ASSERT_EQ(std::make_tuple(vector.maxAbsX, vector.maxAbsY, vector.sumX, vector.sumY),
                              std::make_tuple(reference.maxAbsX, reference.maxAbsY, reference.sumX, reference.sumY))
                        << width << "x" << height;
                });
                if (::testing::Test::HasFatalFailure()) return;
            }
        }
    }
}

// Unreadable planes print one line and give false. Null planes with no rows,
// or rows of no elements, are never read (not even a row's start is formed):
// they give the statistics of an empty field (-3 x 4: means of 0 / -12 = -0,
// below the thresholds).
TEST(PowerSaving, BadInput) {
    Field f(4, 2, 4);
    const struct {
        int32_t* x;
        int32_t* y;
        int32_t width, height, stride;
        bool result;
        std::string printed;
    } cases[] = {
        {nullptr, f.y.data(), 4, 2, 4, false, "[PowerSaving] _map_x is null\n"},
        {f.x.data(), nullptr, 4, 2, 4, false, "[PowerSaving] _map_y is null\n"},
        {f.x.data(), f.y.data(), 4, 2, 3, false, "[PowerSaving] _stride 3 is below _width 4\n"},
        // No rows: maxima stay at INT32_MIN, the means are 0 / 0 (printed "nan"
        // on both architectures) and the NaN fails its check.
        {nullptr, nullptr, 8, 0, 8, false,
         report({"-2147483648", "-2147483648", "nan", "nan", "-201326592.000000", "-67108864.000000", "nan", "nan"})},
        {nullptr, nullptr, -3, 4, 8, true, "[PowerSaving] x magnitude max=-2147483648\n[Po"},
    };
    for (const auto& c : cases) {
        const std::string& expected = c.printed;
        const PowerSavingParam p{c.x, c.y, c.width, c.height, c.stride, 16, 3, 1, 2, 2, 1, 1, 1, 1};
        const Outcome out = printedBy([&] { return PowerSaving(p); });
        EXPECT_EQ(out.result, c.result) << expected;
        // A refusal prints its line alone; an empty field prints all its statistics.
        EXPECT_EQ(expected.back() == '\n' ? out.printed : out.printed.substr(0, expected.size()), expected);
    }
}

}  // namespace
