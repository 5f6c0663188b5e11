#include "vwmt/core/Transpose.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "vwmt/core/InPlaceTranspose.h"

namespace VWMT {

namespace {

// Transposes in place without touching the heap; false when there is nothing
// to move. Square images swap across the diagonal, small ones go through a
// stack copy, rectangular ones through row and column shuffles, and only
// images with a side beyond the line buffer follow the permutation cycles.
bool transposeInPlace(int* img, int W, int H) {
    using namespace velmo::transpose;
    if (W < 1 || H < 1) return false;
    const size_t width = static_cast<size_t>(W), height = static_cast<size_t>(H);
    if (W == 1 || H == 1) return true;  // the values already lie in transposed order
    if (W == H) {
        squareBySwaps(img, width);
    } else if (width * height <= kStackElements) {
        throughStack(img, width, height);
    } else if (std::max(width, height) <= kStackElements) {
        byLines(img, width, height);
    } else {
        byCycles(img, width, height);
    }
    return true;
}

void reverseEachRow(int* img, size_t rows, size_t width) {
    for (size_t r = 0; r < rows; ++r) std::reverse(img + r * width, img + (r + 1) * width);
}

void reverseRowOrder(int* img, size_t rows, size_t width) {
    if (rows < 2) return;
    for (size_t top = 0, bottom = rows - 1; top < bottom; ++top, --bottom)
        std::swap_ranges(img + top * width, img + (top + 1) * width, img + bottom * width);
}

}  // namespace

void transpose_image(int* img, int W, int H) { transposeInPlace(img, W, H); }

// Transposed, the source column x is row x; the clockwise turn reads it from
// bottom to top.
void transpose_image_clockwise(int* img, int W, int H) {
    if (!transposeInPlace(img, W, H)) return;
    reverseEachRow(img, static_cast<size_t>(W), static_cast<size_t>(H));
}

// The counter-clockwise turn puts the last source column on top instead.
void transpose_image_counterclockwise(int* img, int W, int H) {
    if (!transposeInPlace(img, W, H)) return;
    reverseRowOrder(img, static_cast<size_t>(W), static_cast<size_t>(H));
}

void transpose_image_opposite(int* img, int W, int H) {
    const int64_t count = static_cast<int64_t>(W) * H;
    if (count < 2) return;
    std::reverse(img, img + count);
}

}  // namespace VWMT
