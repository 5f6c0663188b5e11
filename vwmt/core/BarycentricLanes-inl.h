// The walk's weights and blend, lane by lane: the same IEEE operations in the
// same order as barycentric() and blend() in TriangleWalk.h, so that every
// vector loop gives the sequential loop's bits. Included once per SIMD target
// after hwy/highway.h, like Highway's own -inl headers.

#if defined(VELMO_VWMT_CORE_BARYCENTRIC_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef VELMO_VWMT_CORE_BARYCENTRIC_LANES_INL_H_
#undef VELMO_VWMT_CORE_BARYCENTRIC_LANES_INL_H_
#else
#define VELMO_VWMT_CORE_BARYCENTRIC_LANES_INL_H_
#endif

#include "hwy/highway.h"
#include "vwmt/core/TriangleWalk.h"

HWY_BEFORE_NAMESPACE();
namespace velmo {
namespace mesh {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Weights of (qx, qy) in the triangle (x0, y0), (x1, y1), (x2, y2).
template <class V>
HWY_INLINE void BarycentricLanes(V qx, V qy, V x0, V y0, V x1, V y1, V x2, V y2, V& b0, V& b1,
                                 V& b2) {
    const hn::DFromV<V> df;
    const V eps = hn::Set(df, kEps);
    const V y12 = hn::Sub(y1, y2), x12 = hn::Sub(x1, x2);
    const V y02 = hn::Sub(y0, y2), x02 = hn::Sub(x0, x2);
    const V px = hn::Sub(qx, x2), py = hn::Sub(qy, y2);
    b0 = hn::Div(hn::Sub(hn::Mul(y12, px), hn::Mul(x12, py)),
                 hn::Add(hn::Sub(hn::Mul(y12, x02), hn::Mul(x12, y02)), eps));
    b1 = hn::Div(hn::Sub(hn::Mul(y02, px), hn::Mul(x02, py)),
                 hn::Add(hn::Sub(hn::Mul(x12, y02), hn::Mul(y12, x02)), eps));
    b2 = hn::Sub(hn::Sub(hn::Set(df, 1.0f), b0), b1);
}

// b0 x a + b1 x b + b2 x c, summed left to right.
template <class V>
HWY_INLINE V BlendLanes(V b0, V b1, V b2, V a, V b, V c) {
    return hn::Add(hn::Add(hn::Mul(b0, a), hn::Mul(b1, b)), hn::Mul(b2, c));
}

}  // namespace HWY_NAMESPACE
}  // namespace mesh
}  // namespace velmo
HWY_AFTER_NAMESPACE();

#endif
