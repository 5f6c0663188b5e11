#include "maputil/PowerSaving.h"

#include <cstdio>

#include "common/Numerics.h"
#include "maputil/PowerSavingScalar.h"

namespace velmo {
namespace maputil {
namespace {

constexpr const char* kTag = "PowerSaving";

// x / y in single precision, from the integers converted to float.
float ratio(int32_t x, int32_t y) { return static_cast<float>(x) / static_cast<float>(y); }

}  // namespace

bool powerSavingInputUsable(const PowerSavingParam& p) {
    if (p._width < 1 || p._height < 1) return true;  // nothing is read
    if (p._map_x == nullptr) {
        std::printf("[%s] _map_x is null\n", kTag);
        return false;
    }
    if (p._map_y == nullptr) {
        std::printf("[%s] _map_y is null\n", kTag);
        return false;
    }
    if (p._stride < p._width) {
        std::printf("[%s] _stride %d is below _width %d\n", kTag, p._stride, p._width);
        return false;
    }
    return true;
}

bool decidePowerSaving(const PowerSavingParam& p, const FieldStats& stats) {
    std::printf("[%s] x magnitude max=%d\n", kTag, stats.maxAbsX);
    std::printf("[%s] y magnitude max=%d\n", kTag, stats.maxAbsY);

    // With no rows the sums stay 0 and the means are 0 / 0.
    const float count = static_cast<float>(wrapMul(p._width, p._height));
    const float avgX = static_cast<float>(stats.sumX) / count;
    const float avgY = static_cast<float>(stats.sumY) / count;
    std::printf("[%s] x avg=%f\n", kTag, printable(avgX));
    std::printf("[%s] y avg=%f\n", kTag, printable(avgY));

    const float scaleX = ratio(p._scale_num_x, p._scale_den_x);
    const float scaleY = ratio(p._scale_num_y, p._scale_den_y);
    const float precision = static_cast<float>(p._precision);
    const float maxScaledX = scaleX * (static_cast<float>(stats.maxAbsX) / precision);
    const float maxScaledY = scaleY * (static_cast<float>(stats.maxAbsY) / precision);
    const float avgScaledX = scaleX * (avgX / precision);
    const float avgScaledY = scaleY * (avgY / precision);
    std::printf("[%s] x magnitude max_scaled=%f\n", kTag, printable(maxScaledX));
    std::printf("[%s] y magnitude max_scaled=%f\n", kTag, printable(maxScaledY));
    std::printf("[%s] x avg_scaled=%f\n", kTag, printable(avgScaledX));
    std::printf("[%s] y avg_scaled=%f\n", kTag, printable(avgScaledY));

    // Strict comparisons: a NaN fails its check.
    return maxScaledX < static_cast<float>(p._thr_max_x) &&
           maxScaledY < static_cast<float>(p._thr_max_y) &&
           avgScaledX < static_cast<float>(p._thr_avg_x) &&
           avgScaledY < static_cast<float>(p._thr_avg_y);
}

}  // namespace maputil
}  // namespace velmo

bool PowerSaving(PowerSavingParam param) {
    if (!velmo::maputil::powerSavingInputUsable(param)) return false;
    return velmo::maputil::decidePowerSaving(param, velmo::maputil::fieldStatsVector(param));
}
