// PowerSaving on fields of every shape, the planes exactly as long as the
// rows they describe; the vector statistics must match the scalar ones.

#include "FuzzSupport.h"
#include "maputil/PowerSaving.h"
#include "maputil/PowerSavingScalar.h"

using namespace velmo::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t bytes) {
    FuzzedDataProvider in(data, bytes);
    const int32_t w = size(in, 0, 80);
    const int32_t h = size(in, 0, 40);
    const int32_t stride = in.ConsumeBool() ? velmo::wrapAdd(w, in.ConsumeIntegralInRange<int32_t>(0, 8))
                                            : size(in, 0, 90);
    const int64_t count = planeElements(w, h, stride);
    if (count < 0 || count > kMaxElements) return 0;

    // Braced initialisers run in order: precision, the four scales, the four thresholds.
    PowerSavingParam p{nullptr,        nullptr,        w,              h,              stride,
                       size(in, 1, 64), size(in, 1, 8), size(in, 1, 8), size(in, 1, 8), size(in, 1, 8),
                       size(in, 0, 64), size(in, 0, 64), size(in, 0, 64), size(in, 0, 64)};

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
    if (vec != ref) differs("PowerSaving decision");
    if (velmo::maputil::powerSavingInputUsable(p)) {
        const velmo::maputil::FieldStats a = velmo::maputil::fieldStatsVector(p);
        const velmo::maputil::FieldStats b = velmo::maputil::fieldStatsScalar(p);
        if (std::memcmp(&a, &b, sizeof a) != 0) differs("PowerSaving statistics");
    }
    return 0;
}
