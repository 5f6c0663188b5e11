#include "vwmt/core/GridBuffer.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "common/Numerics.h"

namespace VWMT {
namespace {

// Arena arrays that back the two ring identifiers.
float* storageFor(MemoryManager const* arena, int bufferId) {
    if (arena == nullptr) return nullptr;
    if (bufferId == 11) return arena->floatArray(51);
    if (bufferId == 12) return arena->floatArray(52);
    return nullptr;
}

}  // namespace

Grid_Buffer::Grid_Buffer(MemoryManager const* arena, int bufferId, int gridW, int gridH, int depth)
    : bufferId_(bufferId), gridW_(gridW), gridH_(gridH),
      gridSize_(velmo::wrapMul(2, velmo::wrapMul(gridW, gridH))), depth_(depth), latestSerial_(0),
      storage_(storageFor(arena, bufferId)) {}

void Grid_Buffer::createArrays(MemoryManager const* arena) { storage_ = storageFor(arena, bufferId_); }

// A ring of depth below 1 holds nothing, so every serial reads as too old.
bool Grid_Buffer::isTooOld(int serial) const {
    return depth_ < 1 || int64_t{latestSerial_} - depth_ >= serial;
}

// The slot of a serial is its truncating remainder; a negative serial would
// land before the storage, so it has no slot.
float* Grid_Buffer::slot(int serial) const {
    if (storage_ == nullptr || depth_ < 1 || serial < 0) return nullptr;
    return storage_ + int64_t{serial % depth_} * gridSize_;
}

void Grid_Buffer::noteStored(int serial) {
    if (serial > latestSerial_) latestSerial_ = serial;
}

int Grid_Buffer::storeGrid(float* grid, int serial) {
    float* target = isTooOld(serial) ? nullptr : slot(serial);
    if (target == nullptr) return kTooOld;
    copyGrid(target, grid);
    noteStored(serial);
    return kOk;
}

int Grid_Buffer::assignExpandedScalarToGrid(double value, int serial) {
    float* target = isTooOld(serial) ? nullptr : slot(serial);
    if (target == nullptr) return kTooOld;
    const float narrowed = static_cast<float>(value);
    for (int i = 0; i < gridSize_; ++i) target[i] = narrowed;
    noteStored(serial);
    return kOk;
}

int Grid_Buffer::getGrid(float* out, int serial) {
    if (isTooOld(serial)) return kTooOld;
    if (serial > latestSerial_) return kTooNew;
    float* source = slot(serial);
    if (source == nullptr) return kTooOld;
    if (out != nullptr) copyGrid(out, source);
    return kOk;
}

float* Grid_Buffer::getGridPointer(int serial) { return slot(serial); }

void Grid_Buffer::copyGrid(float* dst, float const* src) {
    if (gridSize_ > 0) std::memcpy(dst, src, static_cast<size_t>(gridSize_) * sizeof(float));
}

void Grid_Buffer::printGrid(int serial) {
    if (isTooOld(serial)) {
        std::puts("Erorr: Serial is too old.");
    } else if (serial > latestSerial_) {
        std::puts("Erorr: Serial is too new.");
    } else if (float const* grid = slot(serial)) {
        std::printf("Print grid of serial %d\n", serial);
        printGrid(grid);
    }
}

void Grid_Buffer::printRow(float const* grid, int row, int k) const {
    auto printPoint = [&](int col) {
        const int64_t at = 2 * (int64_t{row} * gridW_ + col);
        std::printf("(%8.2f, %8.2f)  ", velmo::printable(grid[at]), velmo::printable(grid[at + 1]));
    };
    std::printf("%4d:  ", row);
    for (int col = 0; col < k; ++col) printPoint(col);
    std::printf("...  ");
    for (int col = gridW_ - k; col < gridW_; ++col) printPoint(col);
    std::printf("\n");
}

// Corner summary: k columns and rows from each side of the grid.
void Grid_Buffer::printGrid(float const* grid) {
    std::printf("\n       ");
    const int k = std::min(gridW_ > 7 ? 3 : gridW_ / 2, gridH_ / 2);
    if (k < 1) {
        std::printf("...  \n    :\n");
        std::printf("\n");
        return;
    }
    for (int col = 0; col < k; ++col) std::printf("|-------%3d -------|  ", col);
    std::printf("...  ");
    for (int col = gridW_ - k; col < gridW_; ++col) std::printf("|-------%3d -------|  ", col);
    std::printf("\n");
    for (int row = 0; row < k; ++row) printRow(grid, row, k);
    std::printf("    :\n");
    for (int row = gridH_ - k; row < gridH_; ++row) printRow(grid, row, k);
    std::printf("\n");
}

}  // namespace VWMT
