#pragma once

// In-place transposes of W x H row-major int32 images (the result is H wide
// and W tall), none of which touches the heap. Each gives the same result; the
// image turns pick the fastest that applies.

#include <cstddef>

namespace velmo {
namespace transpose {

// Stack budget of the small-image copy and of the line buffer: 16 KiB.
constexpr size_t kStackElements = 4096;

// W = H = n: swaps across the diagonal, tile by tile.
void squareBySwaps(int* img, size_t n);
// W x H up to kStackElements values: through a copy on the stack.
void throughStack(int* img, size_t W, size_t H);
// Sides up to kStackElements: row and column shuffles through one line buffer.
void byLines(int* img, size_t W, size_t H);
// Any size: follows the cycles of the permutation (slowest).
void byCycles(int* img, size_t W, size_t H);

}  // namespace transpose
}  // namespace velmo
