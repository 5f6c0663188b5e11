#pragma once

#include <cstdint>

#include "common/Numerics.h"
#include "common/Trig.h"

namespace velmo {

// Sine and cosine of an angle in degrees. The radian factor is the camera
// stack's historic constant, applied in double and rounded to float, so that
// every rotation of the transformer sees the same float angle.
inline void sinCosOfDegrees(float degrees, float* s, float* c) {
    const float theta = static_cast<float>(static_cast<double>(degrees) * 0.01745329);
    trig::sincosf(theta, s, c);
}

// Half of a size difference, truncated toward zero: the offset of one image
// centred inside another (a source inside its rotated canvas). The
// difference wraps at 32 bits like the camera stack's arithmetic.
inline int32_t halfDifference(int32_t a, int32_t b) { return wrapSub(a, b) / 2; }

}  // namespace velmo
