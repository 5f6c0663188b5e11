#pragma once

// Shared arithmetic of the size generator's stages.
//
// The sizing rules work on 32-bit sizes that are unsigned to the hardware, in
// single precision: a size becomes a float through uint32_t, quotients and
// products are float, and the result comes back through the saturating
// conversion (64-bit Arm semantics, so NaN and negatives give 0, and an
// alignment of 0 gives a size of 0 instead of a trap).

#include <cmath>
#include <cstdint>

#include "common/Numerics.h"
#include "gensize/GenSizeRecords.h"
#include "gensize/RecordText.h"  // kLogTag

namespace velmo {
namespace gensize {

constexpr const char* kVersion = "v3.0.47.20240321";

// The degree-to-radian factor of the sizing rules: a truncated constant, used
// in double precision, that decides the last bits of every angle.
constexpr double kDegToRad = 0.01745329;

// A size field as the hardware sees it: unsigned, then single precision.
inline float sizeToFloat(int32_t v) { return static_cast<float>(static_cast<uint32_t>(v)); }
inline float sizeToFloat(uint32_t v) { return static_cast<float>(v); }

// Stores a size computed in unsigned 32-bit arithmetic in a record field.
inline int32_t toField(uint32_t v) { return fromBits(v); }

// n x ceil(x / n): the quotient in single precision, truncated to an unsigned
// integer and multiplied by n with 32-bit wrap-around.
inline uint32_t alignUpF(float x, uint32_t n) {
    const float quotient = x / static_cast<float>(n);
    return toUint32(std::ceil(quotient)) * n;
}

// n x round(x / n), halves away from zero.
inline uint32_t alignRoundF(float x, uint32_t n) {
    const float quotient = x / static_cast<float>(n);
    return toUint32(roundHalfAway(quotient)) * n;
}

// Half of a size, as the half-resolution stages take it: a logical shift.
inline int32_t halfSize(int32_t v) { return toField(static_cast<uint32_t>(v) >> 1); }

// 2 x ceil(x x 0.5): up to the next even size. Like every alignment, the
// rounded quotient becomes an integer before it is multiplied, in 32-bit
// unsigned arithmetic (a float product would saturate where this wraps).
inline uint32_t ceilEven(float x) { return toUint32(std::ceil(x * 0.5f)) * 2u; }

// 2 x floor(x x 0.5): down to the previous even size.
inline float floorEven(float x) { return 2.0f * std::floor(x * 0.5f); }

// A module angle whose integer part is non-zero marks a slanted module. The
// comparison is the Arm truncation without converting NaN or huge angles.
inline bool hasWholeDegrees(float angle) { return std::fabs(angle) >= 1.0f; }

// The fitting loop of GenSizeInit: shrinks the FE size (w, h) until both
// resizers can deliver it. Returns 0, or ERR_FE_FIT_NOT_CONVERGED when a round
// leaves (w, h) unchanged or maxRounds rounds pass without a fit.
struct FeatureSize {
    int32_t w;
    int32_t h;
    int32_t rot;
};
constexpr int kMaxFitRounds = 10000;
uint32_t fitFeatureSize(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out,
                        STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& cfg, FeatureSize start,
                        float mainFactor, float auxiFactor, int maxRounds = kMaxFitRounds);

// SAT zoom has no two-pixel auxiliary path and no module tolerance, and
// derives its depth size from half the P1 feature output. GenSizeInit applies
// it in SAT mode; GenSizeProc applies it too, so that an all-zero feature word
// (SAT there) sizes like SAT.
void prepareSatConfig(STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& cfg);

// GenSizeInit with a chosen round limit for the fitting loop.
uint32_t runGenSizeInit(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out, const STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& in,
                        int maxFitRounds);

}  // namespace gensize
}  // namespace velmo
