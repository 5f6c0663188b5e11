// PowerSaving on fields of every shape, the planes exactly as long as the
// rows they describe; the vector statistics must match the scalar ones.

#include "FuzzSupport.h"
#include "maputil/PowerSaving.h"
#include "maputil/PowerSavingScalar.h"

using velmo::fuzz::Exact;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t bytes) {
    FuzzedDataProvider in(data, bytes);
    const int32_t w = velmo::fuzz::size(in, 0, 80);
    const int32_t h = velmo::fuzz::size(in, 0, 40);
    const int32_t stride = in.ConsumeBool() ? velmo::wrapAdd(w, in.ConsumeIntegralInRange<int32_t>(0, 8))
                                            : velmo::fuzz::size(in, 0, 90);
    const int64_t count = velmo::fuzz::planeElements(w, h, stride);
    if (count < 0 || count > velmo::fuzz::kMaxElements) return 0;

    PowerSavingParam p{};
    p._width = w;
    p._height = h;
    p._stride = stride;
    p._precision = velmo::fuzz::size(in, 1, 64);
    p._scale_num_x = velmo::fuzz::size(in, 1, 8);
    p._scale_num_y = velmo::fuzz::size(in, 1, 8);
    p._scale_den_x = velmo::fuzz::size(in, 1, 8);
    p._scale_den_y = velmo::fuzz::size(in, 1, 8);
    p._thr_max_x = velmo::fuzz::size(in, 0, 64);
    p._thr_max_y = velmo::fuzz::size(in, 0, 64);
    p._thr_avg_x = velmo::fuzz::size(in, 0, 64);
    p._thr_avg_y = velmo::fuzz::size(in, 0, 64);

    Exact<int32_t> xs(count), ys(count);
    const bool wide = in.ConsumeBool();
    for (int64_t i = 0; i < count; ++i) {
        xs[i] = wide ? in.ConsumeIntegral<int32_t>() : in.ConsumeIntegralInRange<int32_t>(-64, 64);
        ys[i] = wide ? in.ConsumeIntegral<int32_t>() : in.ConsumeIntegralInRange<int32_t>(-64, 64);
    }
    const bool nullPlanes = count == 0 && in.ConsumeBool();
    p._map_x = nullPlanes ? nullptr : xs.get();
    p._map_y = nullPlanes ? nullptr : ys.get();

    const bool vec = PowerSaving(p);
    const bool ref = velmo::maputil::powerSavingScalar(p);
    if (vec != ref) velmo::fuzz::differs("PowerSaving decision");
    if (velmo::maputil::powerSavingInputUsable(p)) {
        const auto a = velmo::maputil::fieldStatsVector(p);
        const auto b = velmo::maputil::fieldStatsScalar(p);
        if (a.maxAbsX != b.maxAbsX || a.maxAbsY != b.maxAbsY || a.sumX != b.sumX || a.sumY != b.sumY)
            velmo::fuzz::differs("PowerSaving statistics");
    }
    return 0;
}
