#include "maputil/PowerSavingScalar.h"

#include <cstddef>

namespace velmo {
namespace maputil {

FieldStats fieldStatsScalar(const PowerSavingParam& p) {
    FieldStats stats;
    // Rows of no elements: not even their start is formed, since the planes
    // may be null.
    if (p._width < 1) return stats;
    for (int32_t r = 0; r < p._height; ++r) {
        const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(r) * p._stride;
        for (int32_t c = 0; c < p._width; ++c) addElement(stats, p._map_x[row + c], p._map_y[row + c]);
    }
    return stats;
}

bool powerSavingScalar(PowerSavingParam param) {
    if (!powerSavingInputUsable(param)) return false;
    return decidePowerSaving(param, fieldStatsScalar(param));
}

}  // namespace maputil
}  // namespace velmo
