#pragma once

// The per-column reference of RotateMMap. The vector rows finish each row with
// these functions and must match them exactly, so tests run the whole call
// through rotateMMapScalar and compare.

#include <cstddef>
#include <cstdint>

#include "common/Numerics.h"
#include "maputil/RotateMMap.h"
#include "maputil/RotationPlan.h"

namespace velmo {
namespace maputil {

// Centre of destination column (or row) i, in destination units.
inline float cellCentre(int32_t i) { return static_cast<float>(i) + 0.5f; }

// Adding 0.5 before truncating toward zero rounds positive values half up but
// moves negative ones toward zero; the map has always been sampled this way.
inline int32_t roundUp(float v) { return toInt32(v + 0.5f); }

inline bool inside(int32_t i, int32_t size) { return i >= 0 && i < size; }

inline std::ptrdiff_t elementIndex(int32_t column, int32_t row, int32_t stride) {
    return static_cast<std::ptrdiff_t>(row) * stride + column;
}

// ---- 0 degrees: nearest-neighbour rescale, no centring ----------------------

// Source row or column sampled by destination row or column i.
inline int32_t scaledSample(float step, int32_t i) { return roundUp(step * cellCentre(i)); }

// One destination column of a row whose source row is `srcRow` (null when that
// row lies outside the map).
inline void scaleColumn(const RotationPlan& p, const int32_t* srcRowX, const int32_t* srcRowY,
                        int32_t j, int32_t* outX, int32_t* outY) {
    const int32_t x = scaledSample(p.stepX, j);
    if (srcRowX == nullptr || !inside(x, p.srcWidth)) {
        *outX = 0;
        *outY = 0;
        return;
    }
    *outX = srcRowX[x];
    *outY = srcRowY[x];
}

// ---- any other angle: inverse-rotated sampling, forward-rotated vectors -----

// The row's share of the sample point: A for the column, B for the row.
struct RotatedRow {
    float a;
    float b;
};

inline RotatedRow rotatedRow(const RotationPlan& p, int32_t r) {
    const float dy = p.stepY * cellCentre(r) - p.rotCentreY;
    const float a = ((p.sinA * dy) + p.centreX) - 0.5f;
    const float b = ((p.cosA * dy) + p.centreY) - 0.5f;
    return {a, b};
}

inline float columnOffset(const RotationPlan& p, int32_t j) {
    return p.stepX * cellCentre(j) - p.rotCentreX;
}

// Vector (vx, vy) rotated forward by the angle.
inline int32_t rotatedX(const RotationPlan& p, float vx, float vy) {
    return roundUp((p.cosA * vx) - (p.sinA * vy));
}
inline int32_t rotatedY(const RotationPlan& p, float vx, float vy) {
    return roundUp((p.sinA * vx) + (p.cosA * vy));
}

inline void rotateColumn(const RotationPlan& p, RotatedRow row, int32_t j, int32_t* outX,
                         int32_t* outY) {
    *outX = 0;
    *outY = 0;
    const float dx = columnOffset(p, j);
    const int32_t x = roundUp(row.a + p.cosA * dx);
    if (!inside(x, p.srcWidth)) return;
    const int32_t y = roundUp(row.b - p.sinA * dx);
    if (!inside(y, p.srcHeight)) return;
    const std::ptrdiff_t at = elementIndex(x, y, p.srcStride);
    const float vx = static_cast<float>(p.srcX[at]);
    const float vy = static_cast<float>(p.srcY[at]);
    *outX = rotatedX(p, vx, vy);
    *outY = rotatedY(p, vx, vy);
}

// ---- whole calls -------------------------------------------------------------

// Source row r of the 0-degree path, or null pointers when it is off the map.
struct ScaledRow {
    const int32_t* x;
    const int32_t* y;
};
inline ScaledRow scaledRow(const RotationPlan& p, int32_t r) {
    const int32_t y = scaledSample(p.stepY, r);
    // A map without columns has no rows to point at either (its stride may
    // be anything, even negative).
    if (!inside(y, p.srcHeight) || p.srcWidth < 1) return {nullptr, nullptr};
    const std::ptrdiff_t at = elementIndex(0, y, p.srcStride);
    return {p.srcX + at, p.srcY + at};
}

// Writes every row of the band one column at a time.
void rotateRowsScalar(const RotationPlan& plan);

// RotateMMap with the scalar rows: the reference for the vector rows.
int rotateMMapScalar(RotateMMapParam param);

}  // namespace maputil
}  // namespace velmo
