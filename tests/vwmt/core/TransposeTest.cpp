#include <gtest/gtest.h>

#include <numeric>
#include <utility>
#include <vector>

#include "vwmt/core/InPlaceTranspose.h"
#include "vwmt/core/Transpose.h"

namespace {

// W x H image with distinct values.
std::vector<int> ramp(int W, int H) {
    std::vector<int> img(static_cast<size_t>(W) * H);
    std::iota(img.begin(), img.end(), 1000);
    return img;
}

// The defining formulas, written into a fresh array.
enum class Turn { Transpose, Clockwise, CounterClockwise };

std::vector<int> turnedCopy(const std::vector<int>& img, int W, int H, Turn turn) {
    std::vector<int> out(img.size());
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x) {
            size_t to = 0;
            switch (turn) {
                case Turn::Transpose: to = static_cast<size_t>(x) * H + y; break;
                case Turn::Clockwise: to = static_cast<size_t>(x) * H + (H - 1 - y); break;
                case Turn::CounterClockwise: to = static_cast<size_t>(W - 1 - x) * H + y; break;
            }
            out[to] = img[static_cast<size_t>(y) * W + x];
        }
    return out;
}

TEST(Transpose, SmallImageByHand) {
    // 1 2 3
    // 4 5 6
    std::vector<int> img = {1, 2, 3, 4, 5, 6};
    VWMT::transpose_image(img.data(), 3, 2);
    EXPECT_EQ(img, (std::vector<int>{1, 4, 2, 5, 3, 6}));

    img = {1, 2, 3, 4, 5, 6};
    VWMT::transpose_image_clockwise(img.data(), 3, 2);
    EXPECT_EQ(img, (std::vector<int>{4, 1, 5, 2, 6, 3}));

    img = {1, 2, 3, 4, 5, 6};
    VWMT::transpose_image_counterclockwise(img.data(), 3, 2);
    EXPECT_EQ(img, (std::vector<int>{3, 6, 2, 5, 1, 4}));
}

// Every shape up to 24 x 24, and large ones: past the stack copy, with
// common factors of many kinds, and with a side beyond the line buffer.
std::vector<std::pair<int, int>> shapes() {
    std::vector<std::pair<int, int>> s;
    for (int W = 1; W <= 24; ++W)
        for (int H = 1; H <= 24; ++H) s.emplace_back(W, H);
    s.insert(s.end(), {{600, 600}, {601, 599}, {600, 400}, {66, 50}, {64, 72}, {1000, 7}, {5, 4096}, {3, 70001},
                       {640, 480}});
    return s;
}

// Each in-place strategy on its own, against the defining formula, for every
// shape it accepts.
TEST(Transpose, EveryStrategyMatchesTheFormula) {
    using namespace velmo::transpose;
    for (int W = 1; W <= 40; ++W)
        for (int H = 1; H <= 40; ++H) {
            const std::vector<int> src = ramp(W, H);
            const std::vector<int> expected = turnedCopy(src, W, H, Turn::Transpose);
            std::vector<int> img = src;
            byLines(img.data(), W, H);
            ASSERT_EQ(img, expected) << "lines " << W << "x" << H;
            img = src;
            byCycles(img.data(), W, H);
            ASSERT_EQ(img, expected) << "cycles " << W << "x" << H;
            img = src;
            throughStack(img.data(), W, H);
            ASSERT_EQ(img, expected) << "stack " << W << "x" << H;
            if (W == H) {
                img = src;
                squareBySwaps(img.data(), W);
                ASSERT_EQ(img, expected) << "square " << W;
            }
        }
}

TEST(Transpose, MatchesTheDefiningFormulasOnEveryShape) {
    for (const auto& [W, H] : shapes()) {
        const std::vector<int> src = ramp(W, H);
        for (Turn turn : {Turn::Transpose, Turn::Clockwise, Turn::CounterClockwise}) {
            std::vector<int> img = src;
            switch (turn) {
                case Turn::Transpose: VWMT::transpose_image(img.data(), W, H); break;
                case Turn::Clockwise: VWMT::transpose_image_clockwise(img.data(), W, H); break;
                case Turn::CounterClockwise: VWMT::transpose_image_counterclockwise(img.data(), W, H); break;
            }
            ASSERT_EQ(img, turnedCopy(src, W, H, turn)) << W << "x" << H << " turn " << static_cast<int>(turn);
        }
    }
}

TEST(Transpose, QuarterTurnsRoundTrip) {
    for (const auto& [W, H] : std::vector<std::pair<int, int>>{{5, 3}, {4, 6}, {7, 7}, {8, 8}, {1, 9}}) {
        const std::vector<int> src = ramp(W, H);

        std::vector<int> img = src;
        VWMT::transpose_image_clockwise(img.data(), W, H);
        VWMT::transpose_image_counterclockwise(img.data(), H, W);
        EXPECT_EQ(img, src) << W << "x" << H;

        VWMT::transpose_image_clockwise(img.data(), W, H);
        VWMT::transpose_image_clockwise(img.data(), H, W);
        std::vector<int> half = src;
        VWMT::transpose_image_opposite(half.data(), W, H);
        EXPECT_EQ(img, half) << W << "x" << H;

        VWMT::transpose_image_clockwise(img.data(), W, H);
        VWMT::transpose_image_clockwise(img.data(), H, W);
        EXPECT_EQ(img, src) << W << "x" << H;

        VWMT::transpose_image(img.data(), W, H);
        VWMT::transpose_image(img.data(), H, W);
        EXPECT_EQ(img, src) << W << "x" << H;
    }
}

TEST(Transpose, HalfTurnReverses) {
    std::vector<int> img = {1, 2, 3};
    VWMT::transpose_image_opposite(img.data(), 3, 1);
    EXPECT_EQ(img, (std::vector<int>{3, 2, 1}));
    img = {1, 2, 3, 4, 5, 6};
    VWMT::transpose_image_opposite(img.data(), 2, 3);
    EXPECT_EQ(img, (std::vector<int>{6, 5, 4, 3, 2, 1}));
    img = {9};
    VWMT::transpose_image_opposite(img.data(), 1, 1);
    EXPECT_EQ(img, (std::vector<int>{9}));
}

TEST(Transpose, EmptyImagesAreLeftAlone) {
    std::vector<int> img = {1, 2, 3, 4};
    for (const auto& [W, H] : std::vector<std::pair<int, int>>{{0, 4}, {4, 0}, {-2, 2}, {2, -2}}) {
        VWMT::transpose_image(img.data(), W, H);
        VWMT::transpose_image_clockwise(img.data(), W, H);
        VWMT::transpose_image_counterclockwise(img.data(), W, H);
        VWMT::transpose_image_opposite(img.data(), W, H);
        EXPECT_EQ(img, (std::vector<int>{1, 2, 3, 4})) << W << "x" << H;
    }
}

}  // namespace
