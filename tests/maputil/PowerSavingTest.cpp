#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "maputil/PowerSaving.h"
#include "maputil/PowerSavingScalar.h"
#include "maputil/VectorTargets.h"

namespace {

using velmo::maputil::FieldStats;
using velmo::maputil::fieldStatsScalar;
using velmo::maputil::fieldStatsVector;
using velmo::maputil::powerSavingScalar;
using velmo::testing::forEachVectorTarget;

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

// No rows: maxima stay at INT32_MIN, the means are 0 / 0 (printed "nan" on
// both architectures) and the NaN fails its check.
TEST(PowerSaving, NoRowsGivesNanMeansAndFalse) {
    Field f(8, 0, 8);
    PowerSavingParam p = f.param(INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX);
    p._precision = 1;
    p._scale_num_x = p._scale_den_x = p._scale_num_y = p._scale_den_y = 1;
    expectDecision(p, false,
                   report({"-2147483648", "-2147483648", "nan", "nan", "-2147483648.000000", "-2147483648.000000",
                          "nan", "nan"}));
}

uint32_t nextRandom(uint32_t& state) {
    state = state * 1664525u + 1013904223u;
    return state;
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
        const char* printed;
    } cases[] = {
        {nullptr, f.y.data(), 4, 2, 4, false, "[PowerSaving] _map_x is null\n"},
        {f.x.data(), nullptr, 4, 2, 4, false, "[PowerSaving] _map_y is null\n"},
        {f.x.data(), f.y.data(), 4, 2, 3, false, "[PowerSaving] _stride 3 is below _width 4\n"},
        {nullptr, nullptr, 8, 0, 8, false, "[PowerSaving] x magnitude max=-2147483648\n[Po"},
        {nullptr, nullptr, -3, 4, 8, true, "[PowerSaving] x magnitude max=-2147483648\n[Po"},
    };
    for (const auto& c : cases) {
        const std::string expected = c.printed;
        const PowerSavingParam p{c.x, c.y, c.width, c.height, c.stride, 16, 3, 1, 2, 2, 1, 1, 1, 1};
        const Outcome out = printedBy([&] { return PowerSaving(p); });
        EXPECT_EQ(out.result, c.result) << expected;
        // A refusal prints its line alone; an empty field prints all its statistics.
        EXPECT_EQ(expected.back() == '\n' ? out.printed : out.printed.substr(0, expected.size()), expected);
    }
}

}  // namespace
