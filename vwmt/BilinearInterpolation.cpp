#include "vwmt/BilinearInterpolation.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>

#include "common/Numerics.h"
#include "platform/Log.h"
#include "vwmt/VectWarpMapTrans.h"

namespace {

constexpr const char* kLogTag = "OISWarpMap";

using OffsetTable = std::vector<std::vector<myOffset>>;

// table[col][row], or null when the table has no such entry.
const myOffset* entryAt(const OffsetTable& table, int col, int row) {
    if (col < 0 || row < 0 || static_cast<size_t>(col) >= table.size()) return nullptr;
    const std::vector<myOffset>& column = table[static_cast<size_t>(col)];
    if (static_cast<size_t>(row) >= column.size()) return nullptr;
    return &column[static_cast<size_t>(row)];
}

myOffset missingEntry(int col, int row) {
    VELMO_LOG(kLogTag, "[VWMT][%s] offset table has no grid point (%d, %d)\n", "bilinear_interpolation", col,
              row);
    return {0.0f, 0.0f};
}

// Nearest grid line to g (halves up), kept on the table's lines 0..last.
int nearestLine(float g, int last) {
    int line = velmo::toInt32(static_cast<double>(g) + 0.5);
    line = std::min(line, last);
    return std::max(line, 0);
}

// One component of the bilinear blend, summed in float in this order.
float blend(float p00, float p10, float p01, float p11, float ax, float bx, float ay, float by) {
    float s = (p00 * ax) * ay + (p10 * bx) * ay;
    s = s + (p01 * ax) * by;
    return s + (p11 * bx) * by;
}

// The blend is divided by the cell area plus 1e-5 (in double), a guard
// against an empty cell kept for its effect on the results: unit cells scale
// every interior offset by 1 / 1.00001.
float divideByCellArea(float s, int cellArea) {
    return static_cast<float>(static_cast<double>(s) / (static_cast<double>(cellArea) + 0.00001));
}

}  // namespace

myOffset bilinear_interpolation(float x, float y, const OffsetTable& table, int& imageW, int& imageH, int maxCol,
                                int maxRow) {
    const int cellW = velmo::sdiv(imageW, maxCol);
    const int cellH = velmo::sdiv(imageH, maxRow);
    const float gx = x / static_cast<float>(cellW);
    const float gy = y / static_cast<float>(cellH);

    const bool interior = 0.0f < gx && gx < static_cast<float>(maxCol) && 0.0f < gy &&
                          gy < static_cast<float>(maxRow);
    if (!interior) {
        const int col = nearestLine(gx, maxCol);
        const int row = nearestLine(gy, maxRow);
        const myOffset* nearest = entryAt(table, col, row);
        return nearest != nullptr ? *nearest : missingEntry(col, row);
    }

    const int x0 = velmo::toInt32(gx);
    const int x1 = std::min(x0 + 1, maxCol);
    const int y0 = velmo::toInt32(gy);
    const int y1 = std::min(y0 + 1, maxRow);
    const myOffset* p00 = entryAt(table, x0, y0);
    const myOffset* p10 = entryAt(table, x1, y0);
    const myOffset* p01 = entryAt(table, x0, y1);
    const myOffset* p11 = entryAt(table, x1, y1);
    if (p00 == nullptr || p10 == nullptr || p01 == nullptr || p11 == nullptr) return missingEntry(x1, y1);

    const float ax = static_cast<float>(x1) - gx;
    const float bx = gx - static_cast<float>(x0);
    const float ay = static_cast<float>(y1) - gy;
    const float by = gy - static_cast<float>(y0);
    const int cellArea = (x1 - x0) * (y1 - y0);
    return {divideByCellArea(blend(p00->dx, p10->dx, p01->dx, p11->dx, ax, bx, ay, by), cellArea),
            divideByCellArea(blend(p00->dy, p10->dy, p01->dy, p11->dy, ax, bx, ay, by), cellArea)};
}

namespace {

bool bilinearArgumentsUsable(const char* name, const float* gridAfter, const float* gridBefore,
                             const float* queryXY, const float* out, int gridW, int gridH, int queryW,
                             int queryH) {
    if (gridAfter == nullptr || gridBefore == nullptr || queryXY == nullptr || out == nullptr) {
        VELMO_LOG(kLogTag, "[VWMT][%s] null point array\n", name);
        return false;
    }
    if (gridW < 1 || gridH < 1 || queryW < 1 || queryH < 1) {
        VELMO_LOG(kLogTag, "[VWMT][%s] grid %dx%d or query grid %dx%d below 1x1\n", name, gridW, gridH, queryW,
                  queryH);
        return false;
    }
    // The table takes its shape from the query grid but is filled from the grid.
    if (queryW < gridW || queryH < gridH) {
        VELMO_LOG(kLogTag, "[VWMT][%s] query grid %dx%d cannot hold the offsets of the %dx%d grid\n", name,
                  queryW, queryH, gridW, gridH);
        return false;
    }
    return true;
}

// queryW columns of queryH offsets; the gridW x gridH top-left block holds
// the displacement gridAfter - gridBefore of each grid point.
OffsetTable tabulateOffsets(const float* gridAfter, const float* gridBefore, int gridW, int gridH, int queryW,
                            int queryH) {
    OffsetTable table(static_cast<size_t>(queryW),
                      std::vector<myOffset>(static_cast<size_t>(queryH), myOffset{0.0f, 0.0f}));
    for (int row = 0; row < gridH; ++row) {
        for (int col = 0; col < gridW; ++col) {
            const ptrdiff_t k = static_cast<ptrdiff_t>(row) * gridW + col;
            table[static_cast<size_t>(col)][static_cast<size_t>(row)] = {gridAfter[2 * k] - gridBefore[2 * k],
                                                                         gridAfter[2 * k + 1] - gridBefore[2 * k + 1]};
        }
    }
    return table;
}

}  // namespace

void VectWarpMapTrans::genQueriedGridXYByBilinerInterpolation(float* gridAfter, float* gridBefore,
                                                              float* queryXY, float* out, int gridW, int gridH,
                                                              int queryW, int queryH, int imageW, int imageH) {
    const char* const name = "genQueriedGridXYByBilinerInterpolation";
    if (!bilinearArgumentsUsable(name, gridAfter, gridBefore, queryXY, out, gridW, gridH, queryW, queryH)) return;
    std::printf("\n\n[FUNC] %s offset: \n", name);

    const OffsetTable table = tabulateOffsets(gridAfter, gridBefore, gridW, gridH, queryW, queryH);
    const ptrdiff_t count = static_cast<ptrdiff_t>(queryW) * queryH;
    for (ptrdiff_t k = 0; k < count; ++k) {
        const float x = queryXY[2 * k];
        const float y = queryXY[2 * k + 1];
        const myOffset offset = bilinear_interpolation(x, y, table, imageW, imageH, gridW - 1, gridH - 1);
        out[2 * k] = offset.dx + x;
        out[2 * k + 1] = offset.dy + y;
    }
}
