#pragma once

// Quarter and half turns of W x H row-major int32 images, in place: the result
// is left in the caller's array, H wide and W tall for the quarter turns. No
// memory is allocated.

#include "velmoExport.h"

namespace VWMT {

// out[x * H + y] = img[y * W + x].
VELMO_EXPORT void transpose_image(int* img, int W, int H);
// A quarter turn clockwise: out[x * H + (H - 1 - y)] = img[y * W + x].
VELMO_EXPORT void transpose_image_clockwise(int* img, int W, int H);
// A quarter turn counter-clockwise: out[(W - 1 - x) * H + y] = img[y * W + x].
VELMO_EXPORT void transpose_image_counterclockwise(int* img, int W, int H);
// A half turn: the W x H values in reverse order.
VELMO_EXPORT void transpose_image_opposite(int* img, int W, int H);

}  // namespace VWMT
