#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "vwmt/core/Interp1Sorted.h"

namespace {

using VWMT::Interp1_Sorted;
using Record = std::array<float, 4>;  // i0, w0, i1, w1

TEST(Interp1Sorted, IndicesAndWeightsInEveryOrder) {
    const struct {
        std::vector<float> x;
        bool xDown;
        std::vector<float> q;
        bool qDown;
        std::vector<Record> expected;
    } cases[] = {
        // Clamped outside, split inside; the nearer sample weighs more.
        {{0, 10, 20}, false, {-5, 0, 5, 20, 25}, false,
         {{0, 1, 1, 0}, {0, 1, 1, 0}, {0, 0.5f, 1, 0.5f}, {1, 0, 2, 1}, {1, 0, 2, 1}}},
        {{0, 10, 20, 40}, false, {12, 35}, false, {{1, 0.8f, 2, 0.2f}, {2, 0.25f, 3, 0.75f}}},
        {{7}, false, {-3, 7, 100}, false, {{0, 1, 0, 0}, {0, 1, 0, 0}, {0, 1, 0, 0}}},
        // The cursor stays on sample 2 after 25: 5 is not looked up again.
        {{0, 10, 20, 30}, false, {25, 5}, false, {{2, 0.5f, 3, 0.5f}, {2, 1, 3, 0}}},
        // 10 already ends [0, 10]: the empty interval [10, 10] is never divided by.
        {{0, 10, 10, 20}, false, {10, 10, 15}, false, {{0, 0, 1, 1}, {0, 0, 1, 1}, {2, 0.5f, 3, 0.5f}}},
        // Descending input reports the caller's indices and order.
        {{20, 10, 0}, true, {5, 12}, false, {{2, 0.5f, 1, 0.5f}, {1, 0.8f, 0, 0.2f}}},
        {{0, 10, 20}, false, {25, 12, 5}, true, {{1, 0, 2, 1}, {1, 0.8f, 2, 0.2f}, {0, 0.5f, 1, 0.5f}}},
        {{20, 10, 0}, true, {12, 5}, true, {{1, 0.8f, 0, 0.2f}, {2, 0.5f, 1, 0.5f}}},
    };
    for (const auto& c : cases) {
        const int nx = static_cast<int>(c.x.size()), nq = static_cast<int>(c.q.size());
        std::vector<Record> table(c.q.size());
        // One sentinel past each work buffer: the reversed copies must stop at its end.
        std::vector<float> xWork(c.x.size() + 1, -1.0f), qWork(c.q.size() + 1, -1.0f);
        float* xw = xWork.data();
        float* qw = qWork.data();
        Interp1_Sorted::getIndicesAndWeights(table[0].data(), nx, c.x.data(), c.xDown, &xw, nq, c.q.data(),
                                             c.qDown, &qw);
        EXPECT_EQ(table, c.expected) << c.x[0] << " .. " << c.q[0];
        EXPECT_EQ(xWork.back() + qWork.back(), -2.0f) << c.x[0] << " .. " << c.q[0];
        if (!c.xDown && !c.qDown) {
            std::vector<Record> ascending(c.q.size());
            Interp1_Sorted::getIndicesAndWeights(ascending[0].data(), nx, c.x.data(), nq, c.q.data());
            EXPECT_EQ(ascending, c.expected) << c.x[0] << " .. " << c.q[0];
        }
    }
}

TEST(Interp1Sorted, WeightedSumAppliesOneTableToEveryComponent) {
    const std::vector<float> x = {0, 10, 20}, q = {-5, 5, 15, 25};
    std::vector<Record> table(q.size());
    Interp1_Sorted::getIndicesAndWeights(table[0].data(), 3, x.data(), 4, q.data());
    const float xy[] = {1, 100, 3, 300, 7, 700};  // (x, y) per sample
    std::vector<float> out(9, -1.0f);
    EXPECT_EQ(Interp1_Sorted::applyWeightedSum(out.data(), 4, 2, table[0].data(), xy), out.data() + 8);
    EXPECT_EQ(out, (std::vector<float>{1, 100, 2, 200, 5, 500, 7, 700, -1}));
}

}  // namespace
