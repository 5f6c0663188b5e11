#include "vwmt/core/MemoryManager.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using VWMT::MemoryManager;

int64_t offsetOf(const MemoryManager& arena, int index) {
    return arena.arrayAddress(index) - arena.base();
}

// Byte sizes of the 53 arrays of a mesh-only arena (every other sizing
// argument 0), written out from the layout: n vertices, c cells.
std::vector<int64_t> meshOnlySizes(int64_t w, int64_t h) {
    const int64_t n = w * h, c = (w - 1) * (h - 1);
    std::vector<int64_t> sizes(53, 0);
    sizes[2] = 8 * n;
    sizes[4] = 24 * c;
    for (int i = 5; i <= 10; ++i) sizes[i] = 8 * n;
    sizes[11] = 12 * n;
    sizes[12] = 24 * c;
    sizes[24] = sizes[25] = sizes[27] = 4 * (w + h);
    for (int i = 32; i <= 38; i += 2) sizes[i] = 12 * w;
    for (int i = 33; i <= 39; i += 2) sizes[i] = 12 * h;
    sizes[40] = sizes[42] = 8 * w;
    sizes[41] = sizes[43] = 8 * h;
    sizes[46] = 12 * n;
    sizes[47] = sizes[48] = 8 * n;
    sizes[49] = sizes[50] = 48 * c;
    return sizes;
}

TEST(MemoryManagerCarving, MeshOf66By66PacksEveryArrayBackToBack) {
    MemoryManager arena(2500000, nullptr, 0, 0, 66, 66, 0, 0, 0, 0, 0, 0);
    const std::vector<int64_t> sizes = meshOnlySizes(66, 66);
    int64_t expected = 0;
    for (int index = 0; index < 53; ++index) {
        EXPECT_EQ(offsetOf(arena, index), expected) << "array " << index;
        expected += sizes[index];
    }
    EXPECT_EQ(expected, 1036608);
    EXPECT_EQ(arena.cursor() - arena.base(), 1036608);
    // The two corner tables sit just before the (empty) grid storages.
    EXPECT_EQ(offsetOf(arena, 49), 1036608 - 2 * 202800);
    EXPECT_EQ(offsetOf(arena, 51), 1036608);

    testing::internal::CaptureStdout();
    arena.printMemoryUsage("B");
    arena.printMemoryUsage("KB");
    arena.printMemoryUsage("MB");
    arena.printMemoryUsage("GB");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Memory Heap Utilization: 1036608 / 2500000 (Bytes)\n"
              "Memory Heap Utilization: 1012.31 / 2441.41 (KB)\n"
              "Memory Heap Utilization: 0.99 / 2.38 (MB)\n");
}

TEST(MemoryManagerCarving, AllZeroSizesStillCarveOneCell) {
    // (0 - 1) x (0 - 1) = 1 cell: arrays 4 and 12 hold 6 floats, 49 and 50 twelve.
    MemoryManager arena(2500000, nullptr, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    for (int index = 0; index <= 4; ++index) EXPECT_EQ(offsetOf(arena, index), 0) << index;
    for (int index = 5; index <= 12; ++index) EXPECT_EQ(offsetOf(arena, index), 24) << index;
    for (int index = 13; index <= 49; ++index) EXPECT_EQ(offsetOf(arena, index), 48) << index;
    EXPECT_EQ(offsetOf(arena, 50), 96);
    EXPECT_EQ(offsetOf(arena, 51), 144);
    EXPECT_EQ(offsetOf(arena, 52), 144);
    testing::internal::CaptureStdout();
    arena.printMemoryUsage("B");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Memory Heap Utilization: 144 / 2500000 (Bytes)\n");
}

TEST(MemoryManagerCarving, NegativeCellCountIsRefusedArrayByArray) {
    // One mesh side 0: n = 0 but c = (0 - 1) x (5 - 1) = -4 for arrays 4, 12, 49, 50.
    testing::internal::CaptureStdout();
    MemoryManager arena(2500000, nullptr, 0, 0, 0, 5, 0, 0, 0, 0, 0, 0);
    const std::string printed = testing::internal::GetCapturedStdout();
    for (int index : {4, 12, 49, 50}) EXPECT_EQ(arena.arrayAddress(index), nullptr) << index;
    // Only meshW + meshH arrays (24, 25, 27: 20 bytes each) and 3 x meshH (33..39: 60 each)
    // and meshH doubles (41, 43: 40 each) take room.
    EXPECT_EQ(arena.cursor() - arena.base(), 3 * 20 + 4 * 60 + 2 * 40);
    EXPECT_EQ(offsetOf(arena, 5), 0);
    size_t lines = 0;
    for (char ch : printed) lines += ch == '\n';
    EXPECT_EQ(lines, 4u) << printed;
    EXPECT_NE(printed.find("array 4 "), std::string::npos) << printed;
    EXPECT_NE(printed.find("array 50 "), std::string::npos) << printed;
}

TEST(MemoryManagerCapacity, RequestsPastTheBlockAreRefusedWithOneLine) {
    testing::internal::CaptureStdout();
    MemoryManager arena(100, nullptr, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);  // 144 bytes wanted
    std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(offsetOf(arena, 49), 48);
    EXPECT_EQ(arena.arrayAddress(50), nullptr);  // 96 + 48 > 100
    EXPECT_EQ(offsetOf(arena, 51), 96);         // empty arrays still fit
    EXPECT_EQ(arena.cursor() - arena.base(), 96);
    EXPECT_NE(printed.find("array 50 "), std::string::npos) << printed;

    testing::internal::CaptureStdout();
    EXPECT_EQ(arena.allocateFloat(1), reinterpret_cast<float*>(arena.base() + 96));
    EXPECT_EQ(arena.allocateInt(1), nullptr);  // 100 + 4 > 100
    EXPECT_EQ(arena.allocateDouble(-1), nullptr);
    EXPECT_EQ(arena.allocateDouble(0), static_cast<void*>(arena.base() + 100));
    printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(arena.cursor() - arena.base(), 100);
    size_t lines = 0;
    for (char ch : printed) lines += ch == '\n';
    EXPECT_EQ(lines, 2u) << printed;
    EXPECT_NE(printed.find("allocateInt(1)"), std::string::npos) << printed;
    EXPECT_NE(printed.find("allocateDouble(-1)"), std::string::npos) << printed;
}

TEST(MemoryManagerAllocation, CursorMovesByElementSize) {
    MemoryManager arena(1000, nullptr, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    unsigned char* start = arena.cursor();
    EXPECT_EQ(reinterpret_cast<unsigned char*>(arena.allocateFloat(3)), start);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(arena.allocateInt(1)), start + 12);
    EXPECT_EQ(static_cast<unsigned char*>(arena.allocateDouble(2)), start + 16);
    EXPECT_EQ(arena.cursor(), start + 32);
}

TEST(MemoryManagerDoubles, PackedDoubleArraysAreReachableWithoutAlignment) {
    // listLenA = 1 puts array 19 (vecH doubles) four bytes past the block start.
    MemoryManager arena(1000, nullptr, 1, 0, 0, 0, 0, 2, 0, 0, 0, 0);
    EXPECT_EQ(offsetOf(arena, 19), 4 + 24 + 24);  // after array 0 and arrays 4, 12
    EXPECT_EQ(arena.floatArray(19), nullptr);
    arena.writeDouble(19, 1, -0.1);
    arena.writeDouble(19, 0, 3.5);
    EXPECT_EQ(arena.readDouble(19, 0), 3.5);
    EXPECT_EQ(arena.readDouble(19, 1), -0.1);
}

TEST(MemoryManagerBlock, ExternalBufferIsUsedAndNotFreed) {
    std::vector<unsigned char> block(4096);
    {
        MemoryManager arena(4096, block.data(), 0, 0, 2, 2, 0, 0, 0, 0, 0, 0);
        EXPECT_EQ(arena.base(), block.data());
        EXPECT_EQ(arena.floatArray(49), reinterpret_cast<float*>(arena.arrayAddress(49)));
    }
    block[0] = 1;  // still ours after the arena is gone (ASan would object otherwise)
    EXPECT_EQ(block[0], 1);
}

}  // namespace
