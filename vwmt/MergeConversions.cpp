// Compiled once per SIMD target and dispatched at run time. Each lane performs
// the scalar reference's IEEE operations in the same order, including the
// float-to-double widening of the fixed-point rounding, so the bits never
// depend on the CPU.

#include "vwmt/MergeConversions.h"

#include <cstring>

#include "common/Numerics.h"
#include "vwmt/core/ProcWarpMap.h"

// As for the mesh query loop: targets that add nothing here are left out to
// keep the build short.
#ifndef HWY_DISABLED_TARGETS
#define HWY_DISABLED_TARGETS \
    (HWY_SSSE3 | HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)
#endif

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vwmt/MergeConversions.cpp"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#ifndef VELMO_MERGE_CONVERSIONS_SHARED
#define VELMO_MERGE_CONVERSIONS_SHARED
namespace velmo {
namespace comb {
namespace {

// Scaling by a power of two commutes with rounding to float, so converting
// the integer first and scaling in float is the exactly scaled value rounded
// once.
inline float pixelsOf(int fixed) { return static_cast<float>(fixed) * 0.03125f; }

}  // namespace
}  // namespace comb
}  // namespace velmo
#endif

HWY_BEFORE_NAMESPACE();
namespace velmo {
namespace comb {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

void InterleaveFromFixedPoint(const int* xs, const int* ys, float* out, int64_t n) {
    const hn::ScalableTag<float> df;
    const hn::RebindToSigned<decltype(df)> di;
    const int64_t lanes = static_cast<int64_t>(hn::Lanes(df));
    const auto scale = hn::Set(df, 0.03125f);
    int64_t k = 0;
    for (; k + lanes <= n; k += lanes) {
        const auto x = hn::Mul(hn::ConvertTo(df, hn::LoadU(di, xs + k)), scale);
        const auto y = hn::Mul(hn::ConvertTo(df, hn::LoadU(di, ys + k)), scale);
        hn::StoreInterleaved2(x, y, df, out + 2 * k);
    }
    for (; k < n; ++k) {
        out[2 * k] = pixelsOf(xs[k]);
        out[2 * k + 1] = pixelsOf(ys[k]);
    }
}

// Fixed point of as many pixel values as a vector holds doubles: v x 32 in
// float, widened, plus 0.5, minus 1 when negative, then truncated with the
// 64-bit Arm conversion's saturation and NaN to 0.
template <class DD>
HWY_INLINE void FixPointScaled(DD dd, hn::Vec<hn::Rebind<float, DD>> times32, int* out) {
    const hn::Rebind<int32_t, DD> di;
    const auto scaled = hn::PromoteTo(dd, times32);
    const auto half = hn::Add(scaled, hn::Set(dd, 0.5));
    auto rounded = hn::IfThenElse(hn::Lt(scaled, hn::Zero(dd)), hn::Sub(half, hn::Set(dd, 1.0)), half);
    // NaN to 0, and out-of-range values pinned to the ends, whose truncation
    // is then exact on every target.
    rounded = hn::IfThenElseZero(hn::Eq(rounded, rounded), rounded);
    rounded = hn::Min(hn::Max(rounded, hn::Set(dd, -2147483648.0)), hn::Set(dd, 2147483647.0));
    hn::StoreU(hn::DemoteTo(di, rounded), di, out);
}

template <class DD>
HWY_INLINE void FixPoint(DD dd, const float* in, int* out) {
    const hn::Rebind<float, DD> df;
    FixPointScaled(dd, hn::Mul(hn::LoadU(df, in), hn::Set(df, 32.0f)), out);
}

void SplitAndFixPoint(float* map, int64_t n, float* work, int* outX, int* outY) {
    const hn::ScalableTag<float> df;
    const hn::ScalableTag<double> dd;
    const int64_t lanes = static_cast<int64_t>(hn::Lanes(df));
    const int64_t wide = static_cast<int64_t>(hn::Lanes(dd));
    float* const workY = work + n;
    int64_t k = 0;
    for (; k + lanes <= n; k += lanes) {
        hn::Vec<decltype(df)> x, y;
        hn::LoadInterleaved2(df, map + 2 * k, x, y);
        hn::StoreU(x, df, work + k);
        hn::StoreU(y, df, workY + k);
#if HWY_TARGET == HWY_SCALAR
        for (int64_t h = 0; h < lanes; h += wide) {
            FixPoint(dd, work + k + h, outX + k + h);
            FixPoint(dd, workY + k + h, outY + k + h);
        }
#else
        // Each half of the vectors widened to a double vector in registers
        // (reading the planes back stalls on the stores just made).
        const hn::Rebind<float, decltype(dd)> dh;
        const auto x32 = hn::Mul(x, hn::Set(df, 32.0f)), y32 = hn::Mul(y, hn::Set(df, 32.0f));
        if constexpr (hn::MaxLanes(decltype(dh)()) * 2 == hn::MaxLanes(decltype(df)())) {
            FixPointScaled(dd, hn::LowerHalf(dh, x32), outX + k);
            FixPointScaled(dd, hn::UpperHalf(dh, x32), outX + k + wide);
            FixPointScaled(dd, hn::LowerHalf(dh, y32), outY + k);
            FixPointScaled(dd, hn::UpperHalf(dh, y32), outY + k + wide);
        } else {
            for (int64_t h = 0; h < lanes; h += wide) {
                FixPoint(dd, work + k + h, outX + k + h);
                FixPoint(dd, workY + k + h, outY + k + h);
            }
        }
#endif
    }
    const int64_t done = k;
    for (; k < n; ++k) {
        work[k] = map[2 * k];
        workY[k] = map[2 * k + 1];
    }
    if (done < n) {
        VWMT::ProcWarpMap::fmtTrnasOfDataType(outX + done, work + done, static_cast<int>(n - done));
        VWMT::ProcWarpMap::fmtTrnasOfDataType(outY + done, workY + done, static_cast<int>(n - done));
    }
    std::memcpy(map, work, sizeof(float) * 2 * static_cast<size_t>(n));
}

}  // namespace HWY_NAMESPACE
}  // namespace comb
}  // namespace velmo
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace velmo {
namespace comb {

HWY_EXPORT(InterleaveFromFixedPoint);
HWY_EXPORT(SplitAndFixPoint);

void interleaveFromFixedPoint(const int* xs, const int* ys, float* out, int64_t n) {
    HWY_DYNAMIC_DISPATCH(InterleaveFromFixedPoint)(xs, ys, out, n);
}

void interleaveFromFixedPointScalar(const int* xs, const int* ys, float* out, int64_t n) {
    for (int64_t k = 0; k < n; ++k) {
        out[2 * k] = pixelsOf(xs[k]);
        out[2 * k + 1] = pixelsOf(ys[k]);
    }
}

void splitAndFixPoint(float* map, int64_t n, float* work, int* outX, int* outY) {
    if (n < 1) return;
    HWY_DYNAMIC_DISPATCH(SplitAndFixPoint)(map, n, work, outX, outY);
}

void splitAndFixPointScalar(float* map, int64_t n, float* work, int* outX, int* outY) {
    if (n < 1) return;
    VWMT::ProcWarpMap::remap_WarpMapXY_InterleavedToPlane(map, static_cast<int>(n), work);
    VWMT::ProcWarpMap::fmtTrnasOfDataType(outX, map, static_cast<int>(n));
    VWMT::ProcWarpMap::fmtTrnasOfDataType(outY, map + n, static_cast<int>(n));
}

}  // namespace comb
}  // namespace velmo
#endif
