// The arena's carve of the fixed array layout, and the grid ring kept in it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "vwmt/core/GridBuffer.h"
#include "vwmt/core/MemoryManager.h"

namespace {

using VWMT::Grid_Buffer;
using VWMT::MemoryManager;

int64_t offsetOf(const MemoryManager& arena, int index) { return arena.arrayAddress(index) - arena.base(); }

size_t lineCount(const std::string& text) { return static_cast<size_t>(std::count(text.begin(), text.end(), '\n')); }

// Byte sizes of the 53 arrays of a mesh-only arena (every other sizing
// argument 0), written out from the layout: n vertices, c cells.
std::vector<int64_t> meshOnlySizes(int64_t w, int64_t h) {
    const int64_t n = w * h, c = (w - 1) * (h - 1);
    std::vector<int64_t> sizes(53, 0);
    sizes[2] = 8 * n;
    sizes[4] = sizes[12] = 24 * c;
    for (int i = 5; i <= 10; ++i) sizes[i] = 8 * n;
    sizes[11] = sizes[46] = 12 * n;
    sizes[24] = sizes[25] = sizes[27] = 4 * (w + h);
    for (int i = 32; i <= 38; i += 2) sizes[i] = 12 * w;
    for (int i = 33; i <= 39; i += 2) sizes[i] = 12 * h;
    sizes[40] = sizes[42] = 8 * w;
    sizes[41] = sizes[43] = 8 * h;
    sizes[47] = sizes[48] = 8 * n;
    sizes[49] = sizes[50] = 48 * c;
    return sizes;
}

// Arrays are packed back to back; a negative cell count (one side 0 gives
// (0 - 1) x (5 - 1)) is refused array by array, with one line each.
TEST(MemoryManagerCarving, MeshArenasPackEveryArrayBackToBack) {
    const struct {
        int w, h;
        int64_t used;
    } cases[] = {{66, 66, 1036608}, {0, 0, 144}, {0, 5, 3 * 20 + 4 * 60 + 2 * 40}};
    for (const auto& c : cases) {
        testing::internal::CaptureStdout();
        MemoryManager arena(2500000, nullptr, 0, 0, c.w, c.h, 0, 0, 0, 0, 0, 0);
        const std::string printed = testing::internal::GetCapturedStdout();
        const std::vector<int64_t> sizes = meshOnlySizes(c.w, c.h);
        int64_t expected = 0, refused = 0;
        for (int index = 0; index < 53; ++index) {
            if (sizes[index] < 0) {
                EXPECT_EQ(arena.arrayAddress(index), nullptr) << index;
                EXPECT_NE(printed.find("array " + std::to_string(index) + " "), std::string::npos) << printed;
                ++refused;
                continue;
            }
            EXPECT_EQ(offsetOf(arena, index), expected) << c.w << "x" << c.h << " array " << index;
            expected += sizes[index];
        }
        EXPECT_EQ(expected, c.used);
        EXPECT_EQ(arena.cursor() - arena.base(), c.used);
        EXPECT_EQ(lineCount(printed), static_cast<size_t>(refused)) << printed;
    }
    // Vector sizes 2 x 3 (one cell from the zero mesh): arrays 13 to 16 hold 12 floats each.
    MemoryManager vectors(2500000, nullptr, 0, 0, 0, 0, 2, 3, 0, 0, 0, 0);
    EXPECT_EQ(offsetOf(vectors, 17), 48 + 4 * 48);
    EXPECT_EQ(offsetOf(vectors, 45), 516);  // array 44 (2 x vecW floats) ends at 516
    EXPECT_EQ(vectors.cursor() - vectors.base(), 636);

    MemoryManager arena(2500000, nullptr, 0, 0, 66, 66, 0, 0, 0, 0, 0, 0);
    testing::internal::CaptureStdout();
    for (const char* unit : {"B", "KB", "MB", "GB"}) arena.printMemoryUsage(unit);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Memory Heap Utilization: 1036608 / 2500000 (Bytes)\n"
              "Memory Heap Utilization: 1012.31 / 2441.41 (KB)\n"
              "Memory Heap Utilization: 0.99 / 2.38 (MB)\n");
}

TEST(MemoryManagerBlock, PackedDoublesAndAnExternalBlock) {
    std::vector<unsigned char> block(4096);
    {
        // listLenA = 1 puts array 19 (vecH doubles) four bytes past the
        // block start, after arrays 0, 4 and 12.
        MemoryManager arena(4096, block.data(), 1, 0, 0, 0, 0, 2, 0, 0, 0, 0);
        EXPECT_EQ(arena.base(), block.data());
        EXPECT_EQ(offsetOf(arena, 19), 4 + 24 + 24);
        EXPECT_EQ(arena.floatArray(19), nullptr);
        EXPECT_EQ(arena.floatArray(12), reinterpret_cast<float*>(arena.arrayAddress(12)));
        arena.writeDouble(19, 1, -0.1);
        arena.writeDouble(19, 0, 3.5);
        EXPECT_EQ(arena.readDouble(19, 0), 3.5);
        EXPECT_EQ(arena.readDouble(19, 1), -0.1);
        // Requests past the block, or of a negative count, get nothing and one line each.
        testing::internal::CaptureStdout();
        EXPECT_EQ(arena.allocateFloat(1024), nullptr);
        EXPECT_EQ(arena.allocateDouble(-1), nullptr);
        EXPECT_EQ(lineCount(testing::internal::GetCapturedStdout()), 2u);
    }
    block[0] = 1;  // still ours after the arena is gone: ASan objects otherwise
}

std::vector<float> gridOf(float seed) {
    return {seed, seed + 1, seed + 2, seed + 3, seed + 4, seed + 5, seed + 6, seed + 7};
}

TEST(GridBufferRing, KeepsTheLastDepthSerials) {
    MemoryManager arena(4096, nullptr, 0, 0, 0, 0, 0, 0, 2, 2, 3, 0);
    EXPECT_EQ(arena.floatArray(52) - arena.floatArray(51), 2 * 2 * 2 * 3);
    EXPECT_EQ(arena.cursor() - arena.base(), 144 + 2 * 96);
    Grid_Buffer ring(&arena, 11, 2, 2, 3);
    for (int serial = 1; serial <= 4; ++serial) EXPECT_EQ(ring.storeGrid(gridOf(10.0f * serial).data(), serial), 0);
    std::vector<float> out(8, -1.0f);
    // 4 - 3 >= 1 is too old, beyond the latest too new; a null output only probes.
    EXPECT_EQ((std::vector<int>{ring.getGrid(out.data(), 1), ring.getGrid(out.data(), 5), ring.getGrid(nullptr, 2)}),
              (std::vector<int>{1, 2, 0}));
    EXPECT_EQ(out, std::vector<float>(8, -1.0f));
    EXPECT_EQ(ring.getGrid(out.data(), 4), 0);
    EXPECT_EQ(out, gridOf(40.0f));
    // Serial 1's slot (1 mod 3) now holds serial 4, and the pointer is not checked.
    EXPECT_EQ(ring.getGridPointer(1), ring.getGridPointer(4));
    EXPECT_EQ(ring.getGridPointer(4), arena.floatArray(51) + 8);
    // A scalar fills its own slot only: serial 4's slot, just after, keeps its grid.
    EXPECT_EQ(ring.assignExpandedScalarToGrid(0.1, 6), 0);
    EXPECT_EQ(ring.getGrid(out.data(), 6), 0);
    EXPECT_EQ(out, std::vector<float>(8, 0.1f));
    EXPECT_EQ(ring.getGrid(out.data(), 4), 0);
    EXPECT_EQ(out, gridOf(40.0f));

    // Far ahead is accepted, 10 - 3 >= 7 refused; an older store keeps the latest.
    Grid_Buffer second(&arena, 12, 2, 2, 3);
    EXPECT_EQ((std::vector<int>{second.storeGrid(out.data(), 10), second.storeGrid(out.data(), 7),
                                second.storeGrid(out.data(), 8), second.latestSerial(),
                                second.assignExpandedScalarToGrid(0.1, 7)}),
              (std::vector<int>{0, 1, 0, 10, 1}));
    EXPECT_EQ(second.getGridPointer(11), arena.floatArray(52) + 16);

    // Depth 1 holds the latest grid, no depth holds nothing; other
    // identifiers have no storage.
    Grid_Buffer one(&arena, 12, 2, 2, 1), empty(&arena, 11, 2, 2, 0);
    EXPECT_EQ((std::vector<int>{one.storeGrid(out.data(), 1), one.getGrid(out.data(), 1), empty.storeGrid(out.data(), 1),
                                empty.assignExpandedScalarToGrid(2.0, 1), empty.getGrid(out.data(), 0),
                                empty.latestSerial()}),
              (std::vector<int>{0, 0, 1, 1, 1, 0}));
    EXPECT_EQ(empty.getGridPointer(1), nullptr);
    EXPECT_EQ(Grid_Buffer(&arena, 13, 2, 2, 3).getGridPointer(1), nullptr);
}

TEST(GridBufferPrint, SerialChecksAndCornerSummaries) {
    MemoryManager arena(4096, nullptr, 0, 0, 0, 0, 0, 0, 8, 8, 1, 0);
    Grid_Buffer ring(&arena, 11, 2, 2, 3), wide(&arena, 11, 8, 8, 1), narrow(&arena, 11, 1, 4, 1);
    std::vector<float> grid = {1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f, -7.5f, 8.125f};
    ring.storeGrid(grid.data(), 4);
    testing::internal::CaptureStdout();
    ring.printGrid(1);
    ring.printGrid(5);
    ring.printGrid(4);
    narrow.printGrid(grid.data());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Erorr: Serial is too old.\n"
              "Erorr: Serial is too new.\n"
              "Print grid of serial 4\n"
              "\n"
              "       |-------  0 -------|  ...  |-------  1 -------|  \n"
              "   0:  (    1.00,     2.00)  ...  (    3.00,     4.00)  \n"
              "    :\n"
              "   1:  (    5.00,     6.00)  ...  (   -7.50,     8.12)  \n"
              "\n"
              "\n       ...  \n    :\n\n");

    // Eight columns and rows show three on each side.
    grid.resize(128);
    for (int i = 0; i < 64; ++i) {
        grid[2 * i] = static_cast<float>(i % 8);      // column
        grid[2 * i + 1] = static_cast<float>(i / 8);  // row
    }
    testing::internal::CaptureStdout();
    wide.printGrid(grid.data());
    const std::string text = testing::internal::GetCapturedStdout();
    const std::string header =
        "\n       |-------  0 -------|  |-------  1 -------|  |-------  2 -------|  ...  "
        "|-------  5 -------|  |-------  6 -------|  |-------  7 -------|  \n";
    EXPECT_EQ(text.substr(0, header.size()), header);
    EXPECT_NE(text.find("(    6.00,     2.00)  (    7.00,     2.00)  \n    :\n   5:  (    0.00,     5.00)"),
              std::string::npos) << text;
}

}  // namespace
