#pragma once

// The warp-grid working arena: one block, 53 arrays carved from it in a fixed
// order at construction, then a bump cursor for further arrays. Nothing is
// returned before the arena is destroyed, so per-frame work never allocates.

#include <cstdint>

#include "velmoExport.h"

namespace VWMT {

class VELMO_EXPORT MemoryManager {
public:
    static constexpr int kArrayCount = 53;

    MemoryManager(int heapSize, void* buffer, int listLenA, int listLenB, int meshW, int meshH,
                  int vecW, int vecH, int bufW, int bufH, int bufDepth, int scratchLen);
    ~MemoryManager();
    MemoryManager(const MemoryManager&) = delete;
    MemoryManager& operator=(const MemoryManager&) = delete;

    // Carves the 53 arrays from the cursor, packed with no padding. An array
    // that does not fit the capacity, or whose element count is negative, is
    // refused: its address is null, the cursor stays, and one line says why.
    void arrangeMemoryForArrays(int listLenA, int listLenB, int meshW, int meshH, int vecW,
                                int vecH, int bufW, int bufH, int bufDepth, int scratchLen);

    // Bump allocations; null (cursor unmoved, one printed line) when the
    // request is negative or does not fit. Packing keeps 4-byte granularity, so
    // the double block comes back as a byte address: access it with memcpy.
    float* allocateFloat(int count);
    int* allocateInt(int count);
    void* allocateDouble(int count);

    void printMemoryUsage(const char* unit) const;

    // Byte address of carved array `index` (null when refused or out of range).
    unsigned char* arrayAddress(int index) const;
    // Typed views of the 4-byte arrays; null for the 8-byte arrays, whose
    // packed addresses need not be 8-byte aligned.
    float* floatArray(int index) const;
    int* intArray(int index) const;
    // Element access to the 8-byte arrays without a misaligned load or store.
    double readDouble(int index, int element) const;
    void writeDouble(int index, int element, double value) const;

    unsigned char* base() const { return base_; }
    unsigned char* cursor() const { return cursor_; }
    int capacity() const { return capacity_; }

private:
    VELMO_LOCAL unsigned char* carve(const char* what, int index, int64_t count, int elementBytes);

    unsigned char* base_;
    unsigned char* cursor_;
    int capacity_;
    bool ownsBlock_;
    unsigned char* arrays_[kArrayCount];
};

}  // namespace VWMT
