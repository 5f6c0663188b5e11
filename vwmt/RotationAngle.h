#pragma once

#include "common/Trig.h"

namespace velmo {

// Sine and cosine of an angle in degrees. The radian factor is the camera
// stack's historic constant, applied in double and rounded to float, so that
// every rotation of the transformer sees the same float angle.
inline void sinCosOfDegrees(float degrees, float* s, float* c) {
    const float theta = static_cast<float>(static_cast<double>(degrees) * 0.01745329);
    trig::sincosf(theta, s, c);
}

}  // namespace velmo
