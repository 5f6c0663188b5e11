#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/LogCapture.h"
#include "vwmt/BilinearInterpolation.h"
#include "vwmt/VectWarpMapTrans.h"

namespace {

using velmo::testing::LogCapture;
using Table = std::vector<std::vector<myOffset>>;

// Column c, row r holds (10 c + r, -r): one value per grid point.
Table labelledTable(int cols, int rows) {
    Table table(cols, std::vector<myOffset>(rows));
    for (int c = 0; c < cols; ++c)
        for (int r = 0; r < rows; ++r) table[c][r] = {10.0f * c + r, -1.0f * r};
    return table;
}

struct Query {
    const char* what;
    int imageW, imageH, maxCol, maxRow;
    float x, y;
    float dx, dy;
    size_t logLines;  // a missing table entry gives (0, 0) and one line
};

// 5 x 3 grid points on 640 x 200: cells of 160 x 100.
const float kScale = static_cast<float>(1.0 / 1.00001);
const Query kQueries[] = {
    {"grid point (0, 0) is a border point", 640, 200, 4, 2, 0.0f, 0.0f, 0.0f, 0.0f, 0},
    {"left of the image: column 0", 640, 200, 4, 2, -500.0f, 110.0f, 1.0f, -1.0f, 0},
    {"right of the image: last column", 640, 200, 4, 2, 9000.0f, 40.0f, 40.0f, 0.0f, 0},
    {"below the image: last row", 640, 200, 4, 2, 250.0f, 1e6f, 22.0f, -2.0f, 0},
    {"nearest line rounds halves up", 640, 200, 4, 2, 240.0f, -1.0f, 20.0f, 0.0f, 0},
    {"right border exactly", 640, 200, 4, 2, 640.0f, 100.0f, 41.0f, -1.0f, 0},
    {"inside: halfway between columns 1 and 2", 640, 200, 4, 2, 240.0f, 100.0f, 16.0f * kScale, -1.0f * kScale, 0},
    {"641 wide still has cells of 160", 641, 200, 4, 2, 240.0f, 100.0f, 16.0f * kScale, -1.0f * kScale, 0},
    {"641 wide: 640 is the right border", 641, 200, 4, 2, 640.0f, 100.0f, 41.0f, -1.0f, 0},
    {"one grid column: division by zero gives 0", 640, 200, 0, 2, 300.0f, 100.0f, 1.0f, -1.0f, 0},
    {"column 5 is past the table", 640, 200, 5, 2, 639.0f, 100.0f, 0.0f, 0.0f, 1},
    {"row 3 is one past each column", 640, 200, 4, 3, 250.0f, 1e6f, 0.0f, 0.0f, 1},
    {"inside, next to row 3", 640, 300, 4, 3, 240.0f, 250.0f, 0.0f, 0.0f, 1},
};

TEST(BilinearInterpolation, OffsetsAtQueryPoints) {
    const Table table = labelledTable(5, 3);
    for (const Query& q : kQueries) {
        int w = q.imageW, h = q.imageH;
        LogCapture log;
        const myOffset got = bilinear_interpolation(q.x, q.y, table, w, h, q.maxCol, q.maxRow);
        EXPECT_FLOAT_EQ(got.dx, q.dx) << q.what;
        EXPECT_FLOAT_EQ(got.dy, q.dy) << q.what;
        EXPECT_TRUE(w == q.imageW && h == q.imageH) << q.what;
        ASSERT_EQ(log.lines().size(), q.logLines) << q.what;
        for (const auto& line : log.lines()) EXPECT_EQ(line.text.rfind("[VWMT][bilinear_interpolation] ", 0), 0u);
    }
}

// A 3 x 2 grid moved by (3, -2) everywhere, on a 200 x 100 image.
struct MovedGrid {
    std::vector<float> before{0, 0, 100, 0, 200, 0, 0, 100, 100, 100, 200, 100};
    std::vector<float> after{3, -2, 103, -2, 203, -2, 3, 98, 103, 98, 203, 98};
};

TEST(BilinearInterpolation, MemberMovesQueriesByTheirOffsets) {
    MovedGrid grid;
    VectWarpMapTrans trans(3, 2);
    // Border points take (3, -2); interior points (3, -2) / 1.00001.
    std::vector<float> queries{0, 0, 50, 50, 150, 25, 200, 100, -10, 50, 120, 80};
    std::vector<float> out(queries.size(), -1.0f), want;
    for (size_t k = 0; k < 6; ++k) {
        const float scale = k == 1 || k == 2 || k == 5 ? static_cast<float>(1.0 / 1.00001) : 1.0f;
        want.insert(want.end(), {3.0f * scale + queries[2 * k], -2.0f * scale + queries[2 * k + 1]});
    }
    testing::internal::CaptureStdout();
    trans.genQueriedGridXYByBilinerInterpolation(grid.after.data(), grid.before.data(), queries.data(), out.data(),
                                                 3, 2, 3, 2, 200, 100);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\n\n[FUNC] genQueriedGridXYByBilinerInterpolation offset: \n");
    EXPECT_EQ(out, want);
    // Offsets (i, 10 j) at node (i, j): (150, 25) lies in the cell of columns
    // 1 and 2 (100 wide), a quarter down: (1.5, 2.5) / 1.00001.
    std::vector<float> moved{0, 0, 101, 0, 202, 0, 0, 110, 101, 110, 202, 110}, at(12), want2;
    for (size_t k = 0; k < 6; ++k) {
        at[2 * k] = 150.0f;
        at[2 * k + 1] = 25.0f;
        want2.insert(want2.end(), {150.0f + static_cast<float>(1.5 / 1.00001), 25.0f + static_cast<float>(2.5 / 1.00001)});
    }
    testing::internal::CaptureStdout();
    trans.genQueriedGridXYByBilinerInterpolation(moved.data(), grid.before.data(), at.data(), out.data(), 3, 2, 3, 2,
                                                 200, 100);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, want2);
}

TEST(BilinearInterpolation, MemberRefusesWithOneLineAndWritesNothing) {
    const struct {
        const char* needle;
        bool nullOut;
        int gridW, gridH, queryW, queryH;
    } kBadCalls[] = {
        {"null point array", true, 3, 2, 3, 2},
        {"query grid 2x3 cannot hold the offsets of the 3x2 grid", false, 3, 2, 2, 3},
        {"query grid 3x1 cannot hold", false, 3, 2, 3, 1},
        {"grid 0x2 or query grid 3x2 below 1x1", false, 0, 2, 3, 2},
        {"grid 3x0 or query grid 3x2 below 1x1", false, 3, 0, 3, 2},
        {"grid 3x2 or query grid 0x2 below 1x1", false, 3, 2, 0, 2},
        {"grid 3x2 or query grid 3x0 below 1x1", false, 3, 2, 3, 0},
    };
    MovedGrid grid;
    VectWarpMapTrans trans(3, 2);
    std::vector<float> queries(12, 10.0f);
    for (const auto& bad : kBadCalls) {
        std::vector<float> out(12, -1.0f);
        LogCapture log;
        testing::internal::CaptureStdout();
        trans.genQueriedGridXYByBilinerInterpolation(grid.after.data(), grid.before.data(), queries.data(),
                                                     bad.nullOut ? nullptr : out.data(), bad.gridW, bad.gridH,
                                                     bad.queryW, bad.queryH, 200, 100);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << bad.needle;
        ASSERT_EQ(log.lines().size(), 1u) << bad.needle;
        EXPECT_EQ(log.lines()[0].text.rfind("[VWMT][genQueriedGridXYByBilinerInterpolation] ", 0), 0u);
        EXPECT_NE(log.lines()[0].text.find(bad.needle), std::string::npos) << log.lines()[0].text;
        EXPECT_EQ(out, std::vector<float>(12, -1.0f)) << bad.needle;
    }
}

}  // namespace
