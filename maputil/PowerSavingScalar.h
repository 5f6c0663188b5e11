#pragma once

// Statistics of a two-plane vector field for PowerSaving, with the per-element
// reference that the vector pass must match.

#include <cstdint>
#include <limits>

#include "common/Numerics.h"
#include "maputil/PowerSaving.h"

namespace velmo {
namespace maputil {

struct FieldStats {
    // Largest |x| and |y|; |INT32_MIN| stays INT32_MIN, so a field holding it
    // reports it as the smallest magnitude.
    int32_t maxAbsX = std::numeric_limits<int32_t>::min();
    int32_t maxAbsY = std::numeric_limits<int32_t>::min();
    // Raw signed sums, wrapping in 32 bits as the camera stack has always
    // computed them.
    int32_t sumX = 0;
    int32_t sumY = 0;
};

inline void addElement(FieldStats& s, int32_t x, int32_t y) {
    const int32_t absX = wrapAbs(x);
    const int32_t absY = wrapAbs(y);
    if (absX > s.maxAbsX) s.maxAbsX = absX;
    if (absY > s.maxAbsY) s.maxAbsY = absY;
    s.sumX = wrapAdd(s.sumX, x);
    s.sumY = wrapAdd(s.sumY, y);
}

// Merges the statistics of two parts of a field (max and wrapping sums are
// order-free, so parts may be gathered in any order).
inline void merge(FieldStats& into, const FieldStats& part) {
    if (part.maxAbsX > into.maxAbsX) into.maxAbsX = part.maxAbsX;
    if (part.maxAbsY > into.maxAbsY) into.maxAbsY = part.maxAbsY;
    into.sumX = wrapAdd(into.sumX, part.sumX);
    into.sumY = wrapAdd(into.sumY, part.sumY);
}

// One element at a time, row by row.
FieldStats fieldStatsScalar(const PowerSavingParam& param);

// 16 elements per step on the widest vector target, then one at a time.
FieldStats fieldStatsVector(const PowerSavingParam& param);

// Prints the statistics, scales them and compares them with the thresholds.
bool decidePowerSaving(const PowerSavingParam& param, const FieldStats& stats);

// False (after one printed line) for planes PowerSaving must not read.
bool powerSavingInputUsable(const PowerSavingParam& param);

// PowerSaving with the scalar statistics: the reference for the vector pass.
bool powerSavingScalar(PowerSavingParam param);

}  // namespace maputil
}  // namespace velmo
