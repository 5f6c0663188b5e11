#pragma once

// Everything one RotateMMap call needs before it touches a row: the destination
// band, the angle and the sampling steps, worked out once and shared by the
// scalar reference and the vector rows.

#include <cstdint>

#include "maputil/RotateMMap.h"

namespace velmo {
namespace maputil {

struct RotationPlan {
    const int32_t* srcX;
    const int32_t* srcY;
    int32_t srcWidth;   // W
    int32_t srcHeight;  // H
    int32_t srcStride;
    int32_t* dstX;
    int32_t* dstY;
    int32_t dstStride;  // Sr
    int32_t rows;       // Hr
    int32_t bandStart;  // x0: first destination column written
    int32_t bandWidth;  // N: columns written per row
    bool angleZero;     // 0 degrees only rescales, without centring
    float sinA;
    float cosA;
    float stepX;        // sx: source extent per destination column
    float stepY;        // sy: source extent per destination row
    float centreX;      // cW: integer half of W
    float centreY;      // cH
    float rotCentreX;   // cRW: integer half of the rotated extent
    float rotCentreY;   // cRH
};

// Logs the diagnostics the property asks for, checks the input and fills
// `plan`. False when no row is to be written (no rows, or bad input, which it
// has logged).
bool planRotation(const RotateMMapParam& param, RotationPlan& plan);

}  // namespace maputil
}  // namespace velmo
