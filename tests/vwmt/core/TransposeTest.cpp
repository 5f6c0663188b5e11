#include <gtest/gtest.h>

#include <numeric>
#include <utility>
#include <vector>

#include "vwmt/core/InPlaceTranspose.h"
#include "vwmt/core/Transpose.h"

namespace {

enum Turn { kTranspose, kClockwise, kCounterClockwise, kHalf };

// The defining index formulas, written into a fresh array.
std::vector<int> turnedCopy(const std::vector<int>& img, int W, int H, Turn turn) {
    std::vector<int> out(img.size());
    for (size_t y = 0; y < static_cast<size_t>(H); ++y)
        for (size_t x = 0; x < static_cast<size_t>(W); ++x) {
            const size_t to[] = {x * H + y, x * H + (H - 1 - y), (W - 1 - x) * H + y, (H - 1 - y) * W + (W - 1 - x)};
            out[to[turn]] = img[y * W + x];
        }
    return out;
}

void turnInPlace(std::vector<int>& img, int W, int H, Turn turn) {
    void (*const turns[])(int*, int, int) = {VWMT::transpose_image, VWMT::transpose_image_clockwise,
                                             VWMT::transpose_image_counterclockwise, VWMT::transpose_image_opposite};
    turns[turn](img.data(), W, H);
}

TEST(Transpose, SmallImageByHand) {
    // 1 2 3
    // 4 5 6
    const std::vector<int> expected[] = {{1, 4, 2, 5, 3, 6}, {4, 1, 5, 2, 6, 3}, {3, 6, 2, 5, 1, 4}, {6, 5, 4, 3, 2, 1}};
    for (Turn turn : {kTranspose, kClockwise, kCounterClockwise, kHalf}) {
        std::vector<int> img = {1, 2, 3, 4, 5, 6};
        turnInPlace(img, 3, 2, turn);
        EXPECT_EQ(img, expected[turn]) << turn;
    }
}

// Every shape up to 24 x 24 (each in-place strategy on its own up to 40 x 40),
// and large ones: past the stack copy, with common factors of many kinds, with
// a side beyond the line buffer, and 256 rows whose 16-column blocks fill the
// line buffer to its last element.
TEST(Transpose, MatchesTheDefiningFormulasOnEveryShape) {
    using namespace velmo::transpose;
    std::vector<std::pair<int, int>> shapes = {{600, 600}, {601, 599}, {600, 400}, {66, 50}, {64, 72},
                                               {1000, 7},  {5, 4096},  {3, 70001}, {640, 480}, {300, 256}};
    for (int W = 1; W <= 40; ++W)
        for (int H = 1; H <= 40; ++H) {
            std::vector<int> src(static_cast<size_t>(W) * H);
            std::iota(src.begin(), src.end(), 1000);
            const std::vector<int> expected = turnedCopy(src, W, H, kTranspose);
            for (auto strategy : {byLines, byCycles, throughStack}) {
                std::vector<int> img = src;
                strategy(img.data(), W, H);
                ASSERT_EQ(img, expected) << W << "x" << H;
            }
            if (W == H) {
                std::vector<int> img = src;
                squareBySwaps(img.data(), W);
                ASSERT_EQ(img, expected) << "square " << W;
            }
            if (W <= 24 && H <= 24) shapes.emplace_back(W, H);
        }
    for (const auto& [W, H] : shapes) {
        std::vector<int> src(static_cast<size_t>(W) * H);
        std::iota(src.begin(), src.end(), 1000);
        for (Turn turn : {kTranspose, kClockwise, kCounterClockwise, kHalf}) {
            std::vector<int> img = src;
            turnInPlace(img, W, H, turn);
            ASSERT_EQ(img, turnedCopy(src, W, H, turn)) << W << "x" << H << " turn " << turn;
        }
    }
}

}  // namespace
