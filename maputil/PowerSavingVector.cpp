// Compiled once per vector target by Highway's foreach_target.h.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "maputil/PowerSavingVector.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep

#include <hwy/highway.h>

#include "maputil/PowerSavingScalar.h"

HWY_BEFORE_NAMESPACE();
namespace velmo {
namespace maputil {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

constexpr int32_t kStep = 16;

using DI = hn::CappedTag<int32_t, kStep>;
using DU = hn::RebindToUnsigned<DI>;
using VI = hn::Vec<DI>;
using VU = hn::Vec<DU>;

// Per-lane maxima and sums, folded into one FieldStats at the end (maximum
// and wrapping addition do not depend on the order).
FieldStats Reduce(VI maxAbsX, VI maxAbsY, VU sumX, VU sumY) {
    const DI di;
    const DU du;
    // The tag is capped at kStep lanes.
    int32_t maxX[kStep];
    int32_t maxY[kStep];
    uint32_t sumsX[kStep];
    uint32_t sumsY[kStep];
    hn::StoreU(maxAbsX, di, maxX);
    hn::StoreU(maxAbsY, di, maxY);
    hn::StoreU(sumX, du, sumsX);
    hn::StoreU(sumY, du, sumsY);
    FieldStats stats;
    for (size_t i = 0; i < hn::Lanes(di); ++i) {
        merge(stats, FieldStats{maxX[i], maxY[i], fromBits(sumsX[i]), fromBits(sumsY[i])});
    }
    return stats;
}

FieldStats FieldStatsLanes(const PowerSavingParam& p) {
    const DI di;
    const DU du;
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(di));
    VI maxAbsX = hn::Set(di, std::numeric_limits<int32_t>::min());
    VI maxAbsY = maxAbsX;
    // The sums run in unsigned lanes so that they wrap without signed
    // overflow on every target.
    VU sumX = hn::Zero(du);
    VU sumY = hn::Zero(du);
    FieldStats tail;
    // Rows of no elements: not even their start is formed, since the planes
    // may be null.
    if (p._width < 1) return tail;
    for (int32_t r = 0; r < p._height; ++r) {
        const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(r) * p._stride;
        const int32_t* xs = p._map_x + row;
        const int32_t* ys = p._map_y + row;
        int32_t c = 0;
        for (; c + kStep <= p._width; c += kStep) {
            for (int32_t l = 0; l < kStep; l += lanes) {
                const VI x = hn::LoadU(di, xs + c + l);
                const VI y = hn::LoadU(di, ys + c + l);
                // Abs wraps on every target: |INT32_MIN| stays INT32_MIN.
                maxAbsX = hn::Max(maxAbsX, hn::Abs(x));
                maxAbsY = hn::Max(maxAbsY, hn::Abs(y));
                sumX = hn::Add(sumX, hn::BitCast(du, x));
                sumY = hn::Add(sumY, hn::BitCast(du, y));
            }
        }
        for (; c < p._width; ++c) addElement(tail, xs[c], ys[c]);
    }
    FieldStats stats = Reduce(maxAbsX, maxAbsY, sumX, sumY);
    merge(stats, tail);
    return stats;
}

}  // namespace HWY_NAMESPACE
}  // namespace maputil
}  // namespace velmo
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace velmo {
namespace maputil {

HWY_EXPORT(FieldStatsLanes);

FieldStats fieldStatsVector(const PowerSavingParam& param) {
    return HWY_DYNAMIC_DISPATCH(FieldStatsLanes)(param);
}

}  // namespace maputil
}  // namespace velmo
#endif  // HWY_ONCE
