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

// Per-lane statistics; the sums run in unsigned lanes so that they wrap
// without signed overflow on every target.
struct LaneStats {
    VI maxAbsX, maxAbsY;
    VU sumX, sumY;
};

HWY_INLINE void AddLanes(LaneStats& s, VI x, VI y) {
    const DU du;
    // Abs wraps on every target: |INT32_MIN| stays INT32_MIN.
    s.maxAbsX = hn::Max(s.maxAbsX, hn::Abs(x));
    s.maxAbsY = hn::Max(s.maxAbsY, hn::Abs(y));
    s.sumX = hn::Add(s.sumX, hn::BitCast(du, x));
    s.sumY = hn::Add(s.sumY, hn::BitCast(du, y));
}

FieldStats Reduce(const LaneStats& s) {
    const DI di;
    const DU du;
    // The tag is capped at kStep lanes.
    int32_t maxX[kStep];
    int32_t maxY[kStep];
    uint32_t sumX[kStep];
    uint32_t sumY[kStep];
    hn::StoreU(s.maxAbsX, di, maxX);
    hn::StoreU(s.maxAbsY, di, maxY);
    hn::StoreU(s.sumX, du, sumX);
    hn::StoreU(s.sumY, du, sumY);
    FieldStats stats;
    for (size_t i = 0; i < hn::Lanes(di); ++i) {
        merge(stats, FieldStats{maxX[i], maxY[i], fromBits(sumX[i]), fromBits(sumY[i])});
    }
    return stats;
}

FieldStats FieldStatsLanes(const PowerSavingParam& p) {
    const DI di;
    const DU du;
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(di));
    const VI smallest = hn::Set(di, std::numeric_limits<int32_t>::min());
    LaneStats lanesStats{smallest, smallest, hn::Zero(du), hn::Zero(du)};
    FieldStats tail;
    for (int32_t r = 0; r < p._height; ++r) {
        const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(r) * p._stride;
        const int32_t* x = p._map_x + row;
        const int32_t* y = p._map_y + row;
        int32_t c = 0;
        for (; c + kStep <= p._width; c += kStep) {
            for (int32_t l = 0; l < kStep; l += lanes) {
                AddLanes(lanesStats, hn::LoadU(di, x + c + l), hn::LoadU(di, y + c + l));
            }
        }
        for (; c < p._width; ++c) addElement(tail, x[c], y[c]);
    }
    FieldStats stats = Reduce(lanesStats);
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
