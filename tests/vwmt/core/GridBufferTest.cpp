#include "vwmt/core/GridBuffer.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using VWMT::Grid_Buffer;
using VWMT::MemoryManager;

std::vector<float> gridOf(float seed) {
    return {seed, seed + 1, seed + 2, seed + 3, seed + 4, seed + 5, seed + 6, seed + 7};
}

TEST(GridBufferRing, KeepsTheLastDepthSerials) {
    MemoryManager arena(4096, nullptr, 0, 0, 0, 0, 0, 0, 2, 2, 3, 0);
    Grid_Buffer ring(&arena, 11, 2, 2, 3);
    for (int serial = 1; serial <= 4; ++serial) {
        std::vector<float> grid = gridOf(10.0f * serial);
        EXPECT_EQ(ring.storeGrid(grid.data(), serial), 0);
    }
    std::vector<float> out(8, -1.0f);
    EXPECT_EQ(ring.getGrid(out.data(), 1), 1);  // 4 - 3 >= 1: too old
    EXPECT_EQ(ring.getGrid(out.data(), 5), 2);  // beyond the latest: too new
    EXPECT_EQ(out, std::vector<float>(8, -1.0f));
    EXPECT_EQ(ring.getGrid(nullptr, 2), 0);     // probe only
    EXPECT_EQ(ring.getGrid(out.data(), 4), 0);
    EXPECT_EQ(out, gridOf(40.0f));
    EXPECT_EQ(ring.getGrid(out.data(), 2), 0);
    EXPECT_EQ(out, gridOf(20.0f));
    // Serial 1's slot (1 mod 3) now holds serial 4, and the pointer is not checked.
    EXPECT_EQ(ring.getGridPointer(1), ring.getGridPointer(4));
    EXPECT_EQ(ring.getGridPointer(4), arena.floatArray(51) + 8);
}

TEST(GridBufferRing, TooOldBoundaryIsInclusive) {
    MemoryManager arena(4096, nullptr, 0, 0, 0, 0, 0, 0, 2, 2, 3, 0);
    Grid_Buffer ring(&arena, 12, 2, 2, 3);
    std::vector<float> grid = gridOf(1.0f);
    EXPECT_EQ(ring.storeGrid(grid.data(), 10), 0);  // far ahead is accepted
    EXPECT_EQ(ring.latestSerial(), 10);
    EXPECT_EQ(ring.storeGrid(grid.data(), 7), 1);   // 10 - 3 >= 7
    EXPECT_EQ(ring.storeGrid(grid.data(), 8), 0);
    EXPECT_EQ(ring.latestSerial(), 10);             // an older store keeps the latest
    EXPECT_EQ(ring.assignExpandedScalarToGrid(0.1, 7), 1);
    EXPECT_EQ(ring.assignExpandedScalarToGrid(0.1, 11), 0);
    EXPECT_EQ(ring.latestSerial(), 11);
    std::vector<float> out(8);
    EXPECT_EQ(ring.getGrid(out.data(), 8), 1);      // 11 - 3 >= 8 now
    EXPECT_EQ(ring.getGrid(out.data(), 11), 0);
    EXPECT_EQ(out, std::vector<float>(8, 0.1f));
    EXPECT_EQ(ring.getGridPointer(11), arena.floatArray(52) + 16);
}

TEST(GridBufferRing, ZeroDepthHoldsNothing) {
    MemoryManager arena(4096, nullptr, 0, 0, 0, 0, 0, 0, 2, 2, 3, 0);
    Grid_Buffer ring(&arena, 11, 2, 2, 0);
    std::vector<float> grid = gridOf(1.0f);
    EXPECT_EQ(ring.storeGrid(grid.data(), 1), 1);
    EXPECT_EQ(ring.assignExpandedScalarToGrid(2.0, 1), 1);
    EXPECT_EQ(ring.getGrid(grid.data(), 0), 1);
    EXPECT_EQ(ring.getGridPointer(1), nullptr);
    EXPECT_EQ(ring.latestSerial(), 0);
}

TEST(GridBufferRing, OtherIdentifiersHaveNoStorage) {
    MemoryManager arena(4096, nullptr, 0, 0, 0, 0, 0, 0, 2, 2, 3, 0);
    Grid_Buffer ring(&arena, 13, 2, 2, 3);
    EXPECT_EQ(ring.getGridPointer(1), nullptr);
}

TEST(GridBufferPrint, SerialChecksAndCornerSummary) {
    MemoryManager arena(4096, nullptr, 0, 0, 0, 0, 0, 0, 2, 2, 3, 0);
    Grid_Buffer ring(&arena, 11, 2, 2, 3);
    std::vector<float> grid = {1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f, -7.5f, 8.125f};
    ring.storeGrid(grid.data(), 4);
    testing::internal::CaptureStdout();
    ring.printGrid(1);
    ring.printGrid(5);
    ring.printGrid(4);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Erorr: Serial is too old.\n"
              "Erorr: Serial is too new.\n"
              "Print grid of serial 4\n"
              "\n"
              "       |-------  0 -------|  ...  |-------  1 -------|  \n"
              "   0:  (    1.00,     2.00)  ...  (    3.00,     4.00)  \n"
              "    :\n"
              "   1:  (    5.00,     6.00)  ...  (   -7.50,     8.12)  \n"
              "\n");
}

TEST(GridBufferPrint, WideGridShowsThreeColumnsEachSide) {
    MemoryManager arena(4096, nullptr, 0, 0, 0, 0, 0, 0, 8, 6, 1, 0);
    Grid_Buffer ring(&arena, 11, 8, 6, 1);
    std::vector<float> grid(96);
    for (int i = 0; i < 48; ++i) {
        grid[2 * i] = static_cast<float>(i % 8);   // column
        grid[2 * i + 1] = static_cast<float>(i / 8);  // row
    }
    testing::internal::CaptureStdout();
    ring.printGrid(grid.data());
    const std::string text = testing::internal::GetCapturedStdout();
    const std::string header =
        "       |-------  0 -------|  |-------  1 -------|  |-------  2 -------|  ...  "
        "|-------  5 -------|  |-------  6 -------|  |-------  7 -------|  \n";
    EXPECT_EQ(text.substr(0, 1 + header.size()), "\n" + header);
    EXPECT_NE(text.find("   5:  (    0.00,     5.00)"), std::string::npos) << text;
    EXPECT_NE(text.find("(    6.00,     2.00)  (    7.00,     2.00)  \n    :\n   3:"), std::string::npos) << text;
}

TEST(GridBufferPrint, TooSmallGridPrintsOnlyEllipsis) {
    MemoryManager arena(4096, nullptr, 0, 0, 0, 0, 0, 0, 1, 4, 1, 0);
    Grid_Buffer ring(&arena, 11, 1, 4, 1);
    std::vector<float> grid(8, 0.0f);
    testing::internal::CaptureStdout();
    ring.printGrid(grid.data());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n       ...  \n    :\n\n");
}

}  // namespace
