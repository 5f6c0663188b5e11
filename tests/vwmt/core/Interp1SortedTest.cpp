#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "vwmt/core/Interp1Sorted.h"

namespace {

using VWMT::Interp1_Sorted;
using Record = std::array<float, 4>;  // i0, w0, i1, w1

std::vector<Record> ascendingTable(const std::vector<float>& x, const std::vector<float>& q) {
    std::vector<Record> table(q.size());
    Interp1_Sorted::getIndicesAndWeights(table[0].data(), static_cast<int>(x.size()), x.data(),
                                         static_cast<int>(q.size()), q.data());
    return table;
}

std::vector<Record> anyOrderTable(const std::vector<float>& x, bool xDescending, const std::vector<float>& q,
                                  bool qDescending) {
    std::vector<Record> table(q.size());
    std::vector<float> xWork(x.size(), -1.0f), qWork(q.size(), -1.0f);
    float* xw = xWork.data();
    float* qw = qWork.data();
    Interp1_Sorted::getIndicesAndWeights(table[0].data(), static_cast<int>(x.size()), x.data(), xDescending, &xw,
                                         static_cast<int>(q.size()), q.data(), qDescending, &qw);
    return table;
}

TEST(Interp1Sorted, ClampsOutsideAndSplitsInside) {
    const auto table = ascendingTable({0, 10, 20}, {-5, 0, 5, 20, 25});
    const std::vector<Record> expected = {
        {0, 1, 1, 0}, {0, 1, 1, 0}, {0, 0.5f, 1, 0.5f}, {1, 0, 2, 1}, {1, 0, 2, 1}};
    EXPECT_EQ(table, expected);
}

TEST(Interp1Sorted, WeightsFavourTheNearerSample) {
    const auto table = ascendingTable({0, 10, 20, 40}, {12, 35});
    // 12 lies 2 past 10 and 8 before 20; 35 lies 15 past 20 and 5 before 40.
    EXPECT_EQ(table[0], (Record{1, 0.8f, 2, 0.2f}));
    EXPECT_EQ(table[1], (Record{2, 0.25f, 3, 0.75f}));
}

TEST(Interp1Sorted, SingleSampleRepeatsTheStartRecord) {
    for (const Record& r : ascendingTable({7}, {-3, 7, 100})) EXPECT_EQ(r, (Record{0, 1, 0, 0}));
}

TEST(Interp1Sorted, QueryBelowAnEarlierOneClampsToTheCursor) {
    // The cursor stays on sample 2 after 25; 5 is not looked up again.
    const auto table = ascendingTable({0, 10, 20, 30}, {25, 5});
    EXPECT_EQ(table[0], (Record{2, 0.5f, 3, 0.5f}));
    EXPECT_EQ(table[1], (Record{2, 1, 3, 0}));
}

TEST(Interp1Sorted, DuplicateSamplesTakeTheFirstMatchingInterval) {
    // 10 already ends [0, 10], so the empty interval [10, 10] is never divided by.
    const auto table = ascendingTable({0, 10, 10, 20}, {10, 10, 15});
    EXPECT_EQ(table[0], (Record{0, 0, 1, 1}));
    EXPECT_EQ(table[1], (Record{0, 0, 1, 1}));
    EXPECT_EQ(table[2], (Record{2, 0.5f, 3, 0.5f}));
}

TEST(Interp1Sorted, DescendingSamplesReportCallerIndices) {
    const auto table = anyOrderTable({20, 10, 0}, true, {5, 12}, false);
    EXPECT_EQ(table[0], (Record{2, 0.5f, 1, 0.5f}));
    EXPECT_EQ(table[1], (Record{1, 0.8f, 0, 0.2f}));  // 0.8 stays with sample 10
}

TEST(Interp1Sorted, DescendingQueriesKeepCallerOrder) {
    const auto table = anyOrderTable({0, 10, 20}, false, {25, 12, 5}, true);
    const std::vector<Record> expected = {{1, 0, 2, 1}, {1, 0.8f, 2, 0.2f}, {0, 0.5f, 1, 0.5f}};
    EXPECT_EQ(table, expected);
}

TEST(Interp1Sorted, BothDescending) {
    const auto table = anyOrderTable({20, 10, 0}, true, {12, 5}, true);
    EXPECT_EQ(table[0], (Record{1, 0.8f, 0, 0.2f}));
    EXPECT_EQ(table[1], (Record{2, 0.5f, 1, 0.5f}));
}

TEST(Interp1Sorted, WeightedSumAppliesOneTableToEveryComponent) {
    const auto table = ascendingTable({0, 10, 20}, {-5, 5, 15, 25});
    const float xy[] = {1, 100, 3, 300, 7, 700};  // (x, y) per sample
    std::vector<float> out(9, -1.0f);
    float* end = Interp1_Sorted::applyWeightedSum(out.data(), 4, 2, table[0].data(), xy);
    EXPECT_EQ(end, out.data() + 8);
    const std::vector<float> expected = {1, 100, 2, 200, 5, 500, 7, 700, -1};
    EXPECT_EQ(out, expected);
}

}  // namespace
