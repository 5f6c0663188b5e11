// The query loop on an evenly spaced axis-aligned lattice. Compiled once per
// SIMD target and dispatched at run time, like MeshQueryRows.cpp.
//
// Why a located triangle is the walk's, bit for bit.
//
// Lanes find each query's cell by comparing it with the lattice's column x
// and row y, pick the triangle T by the diagonal, and compute its weights in
// T with the walk's own formula from the same corner floats (the lattice
// check compares positions bit for bit). The walk, had it reached T, would
// return T with exactly these weights; what is left to show is that it
// reaches T. A query is taken without walking only when every weight in T is
// at least kLatticeMargin (1e-3) and T lies at most kLatticeReach cells, in
// rows and in columns, from the walk's start, which is derived exactly as
// the sequential loop derives it, from the previous query's final triangle.
//
// On an exactly even lattice every triangle edge lies on a line of one of
// three families (rows, columns, anti-diagonals), and no such line crosses
// the inside of a triangle. A point whose weights in T are all at least m is
// therefore at least m (in units of the family's spacing) from every such
// line, and its weight in any triangle V with respect to any of V's edges
// has the sign of T's centroid's and a magnitude of at least m: every test
// the walk makes ("> 0" to choose the step, ">= -EPS" to stop) comes out as
// for the centroid, and no triangle other than T can stop it. The walk's path
// is thus the centroid's, a function of the start and T alone, independent of
// the cell size by affine invariance. LatticeRowsTest runs that walk in exact
// integer arithmetic for every start within kLatticeReach: each reaches T in
// at most kLatticeMaxSteps steps, never steps back and never leaves the cells
// spanned by start and T, so the mesh edge never blocks a step and the search
// limit (checked to exceed kLatticeMaxSteps) never ends it early.
//
// The real lattice differs from the even one by at most 1e-5 of a cell per
// vertex (checked), which moves the lines near T by less than 2e-4 of a cell
// within kLatticeReach + 1 cells; float evaluation of the weights of a point
// that close (every operand within a few cells, each operation off by half
// an ulp) errs by a few 1e-5 at most; EPS (2e-16) against a cell area of at
// least 1e-6 is negligible. Together they stay well below the 1e-3 margin.
// Queries off the lattice, near its lines, far from their start, NaN or huge
// are walked from their exact start, in order.

#include "vwmt/core/LatticeRows.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#ifndef HWY_DISABLED_TARGETS
#define HWY_DISABLED_TARGETS \
    (HWY_SSSE3 | HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)
#endif

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vwmt/core/LatticeRows.cpp"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"
#include "vwmt/core/BarycentricLanes-inl.h"

#ifndef VELMO_LATTICE_ROWS_SHARED
#define VELMO_LATTICE_ROWS_SHARED
namespace velmo {
namespace mesh {
namespace {

constexpr int kMaxLatticeLanes = 16;

// Lattices wider or taller than this are walked.
constexpr int kMaxLatticeCells = 1024;

// Column x and row y of the lattice, each followed by a vector's worth of
// copies of its last entry so that a vector loaded from any cell stays in
// the array; and the first guess of a query's cell (comparisons decide).
struct LatticeGeometry {
    float colX[kMaxLatticeCells + 1 + kMaxLatticeLanes];
    float rowY[kMaxLatticeCells + 1 + kMaxLatticeLanes];
    float x0, invW, y0, invH;
};

uint32_t bitsOf(float v) {
    uint32_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    return bits;
}

// Spacing of `count` + 1 strictly increasing, evenly spaced coordinates at
// `stride` floats apart, or 0 when they are not.
double evenSpacing(const float* first, int64_t stride, int count) {
    const double start = first[0], end = first[stride * count];
    for (int k = 0; k < count; ++k) {
        if (!(first[stride * k] < first[stride * (k + 1)])) return 0.0;
    }
    if (!std::isfinite(start) || !std::isfinite(end)) return 0.0;
    const double step = (end - start) / count;
    if (!(step >= 1e-3 && step <= 1e9)) return 0.0;
    for (int k = 0; k <= count; ++k) {
        if (std::fabs(first[stride * k] - (start + step * k)) > 1e-5 * step) return 0.0;
    }
    return step;
}

bool measureLattice(const RowsJob& job, LatticeGeometry* geometry) {
    const MeshShape& s = job.shape;
    if (s.cellsW > kMaxLatticeCells || s.cellsH > kMaxLatticeCells || job.meshXY == nullptr ||
        job.triangles == nullptr || job.values == nullptr || job.queryXY == nullptr ||
        job.out == nullptr || job.queryW < 1 || job.queryH < 1 || !s.hasCells() ||
        s.searchLimit <= kLatticeMaxSteps) {
        return false;
    }
    const int64_t w = int64_t{s.cellsW} + 1, vertices = w * (int64_t{s.cellsH} + 1);
    if (int64_t{s.numTriangles} != 2 * int64_t{s.cellsW} * s.cellsH || 2 * vertices > INT32_MAX ||
        !hasStandardConnectivity(job.triangles, s.cellsW, s.cellsH)) {
        return false;
    }
    const float* xy = job.meshXY;
    for (int64_t r = 0; r <= s.cellsH; ++r) {
        const uint32_t y = bitsOf(xy[2 * r * w + 1]);
        for (int64_t c = 0; c <= s.cellsW; ++c) {
            if (bitsOf(xy[2 * (r * w + c)]) != bitsOf(xy[2 * c]) ||
                bitsOf(xy[2 * (r * w + c) + 1]) != y) {
                return false;
            }
        }
    }
    const double stepX = evenSpacing(xy, 2, s.cellsW);
    const double stepY = evenSpacing(xy + 1, 2 * w, s.cellsH);
    if (stepX == 0.0 || stepY == 0.0) return false;
    if (geometry == nullptr) return true;
    for (int k = 0; k < s.cellsW + 1 + kMaxLatticeLanes; ++k) {
        geometry->colX[k] = xy[2 * std::min(k, s.cellsW)];
    }
    for (int k = 0; k < s.cellsH + 1 + kMaxLatticeLanes; ++k) {
        geometry->rowY[k] = xy[2 * w * std::min(k, s.cellsH) + 1];
    }
    geometry->x0 = xy[0];
    geometry->invW = static_cast<float>(1.0 / stepX);
    geometry->y0 = xy[1];
    geometry->invH = static_cast<float>(1.0 / stepY);
    return true;
}

}  // namespace
}  // namespace mesh
}  // namespace velmo
#endif

HWY_BEFORE_NAMESPACE();
namespace velmo {
namespace mesh {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using DF = hn::CappedTag<float, kMaxLatticeLanes>;
using DI = hn::RebindToSigned<DF>;
using VF = hn::Vec<DF>;
using VI = hn::Vec<DI>;
using MF = hn::Mask<DF>;
using MI = hn::Mask<DI>;

// One block of up to a vector of queries of a row, located.
struct Located {
    alignas(64) float x[kMaxLatticeLanes];
    alignas(64) float y[kMaxLatticeLanes];
    alignas(64) float b0[kMaxLatticeLanes];
    alignas(64) float b1[kMaxLatticeLanes];
    alignas(64) float b2[kMaxLatticeLanes];
    alignas(64) int32_t tri[kMaxLatticeLanes];
    alignas(64) int32_t robust[kMaxLatticeLanes];
    alignas(64) int32_t taken[kMaxLatticeLanes];
    alignas(64) int32_t row[kMaxLatticeLanes];
    alignas(64) int32_t col[kMaxLatticeLanes];
};

// Rows in order, each in blocks of a vector of columns. Every block is
// blended and stored as located; in a block where some query was not taken,
// the queries are then gone through in order: those not taken, and those
// whose start moved because the query before was walked to another triangle,
// are settled again from their exact start (taken if that start is within
// reach, walked otherwise) and written again.
void LatticeRows(const RowsJob& job, const LatticeGeometry& geometry, LatticeCounts* counts) {
    const DF df;
    const DI di;
    const int lanes = static_cast<int>(hn::Lanes(df));
    const MeshShape& shape = job.shape;
    const int cellsW = shape.cellsW, cellsH = shape.cellsH, w = cellsW + 1;
    const MeshCorners corners{job.triangles, job.meshXY};
    NoCount counter;

    const VF x0 = hn::Set(df, geometry.x0), invW = hn::Set(df, geometry.invW);
    const VF y0 = hn::Set(df, geometry.y0), invH = hn::Set(df, geometry.invH);
    const VF zero = hn::Zero(df);
    const VF low = hn::Set(df, kLatticeMargin), high = hn::Set(df, 1.0f - kLatticeMargin);
    const VF colsF = hn::Set(df, static_cast<float>(cellsW)), rowsF = hn::Set(df, static_cast<float>(cellsH));
    const VI iOne = hn::Set(di, 1), iTwo = hn::Set(di, 2), beyond = hn::Set(di, kLatticeReach + 1);
    const VI widthV = hn::Set(di, w), cellsWV = hn::Set(di, cellsW);
    const VI lastCol = hn::Set(di, cellsW - 1), cellsHV = hn::Set(di, cellsH);

    // Lane i's start derives from lane i - 1's hit, lane 0's from the hit
    // before the block.
    const MI firstLane = hn::FirstN(di, 1);
    const auto laneBefore = hn::IndicesFromVec(di, hn::Max(hn::Sub(hn::Iota(di, 0), iOne), hn::Zero(di)));

    Located at;
    int rowStartTri = 0, prevTri = 0;
    TrianglePlace prevPlace = locate(shape, prevTri);
    float bary[3] = {0.0f, 0.0f, 0.0f};
    int64_t located = 0, walked = 0, handedOver = 0;
    for (int r = 0; r < job.queryH; ++r) {
        const int64_t rowFirst = int64_t{r} * job.queryW;
        for (int c0 = 0; c0 < job.queryW; c0 += lanes) {
            const int n = std::min(lanes, job.queryW - c0);
            const float* q = job.queryXY + 2 * (rowFirst + c0);
            VF x, y;
            if (n == lanes) {
                hn::LoadInterleaved2(df, q, x, y);
            } else {
                // A short block repeats its last query in the spare lanes.
                for (int j = 0; j < lanes; ++j) {
                    const int k = std::min(j, n - 1);
                    at.x[j] = q[2 * k];
                    at.y[j] = q[2 * k + 1];
                }
                x = hn::Load(df, at.x);
                y = hn::Load(df, at.y);
            }

            // Cell: a guess, kept only where the comparisons confirm it.
            // Lanes off the lattice (NaN included) convert 0 instead.
            const VF gx = hn::Mul(hn::Sub(x, x0), invW), gy = hn::Mul(hn::Sub(y, y0), invH);
            const MF inX = hn::And(hn::Ge(gx, zero), hn::Lt(gx, colsF));
            const MF inY = hn::And(hn::Ge(gy, zero), hn::Lt(gy, rowsF));
            const VI col = hn::ConvertTo(di, hn::IfThenElseZero(inX, gx));
            const VI row = hn::ConvertTo(di, hn::IfThenElseZero(inY, gy));
            // Lanes off the lattice look up the block's first cell instead.
            const MI valid = hn::RebindMask(di, hn::And(inX, inY));
            const int colLo = std::min(cellsW - 1, hn::GetLane(hn::MinOfLanes(di, hn::IfThenElse(valid, col, cellsWV))));
            const int rowLo = std::min(cellsH - 1, hn::GetLane(hn::MinOfLanes(di, hn::IfThenElse(valid, row, cellsHV))));
            const int colHi = std::max(colLo, hn::GetLane(hn::MaxOfLanes(di, hn::IfThenElseZero(valid, col))));
            const int rowHi = std::max(rowLo, hn::GetLane(hn::MaxOfLanes(di, hn::IfThenElseZero(valid, row))));
            const VI colL = hn::IfThenElse(valid, col, hn::Set(di, colLo));
            const VI rowL = hn::IfThenElse(valid, row, hn::Set(di, rowLo));
            VF xa, xb, ya, yb;
            // Column x and row y from a vector of consecutive entries where
            // the block's cells fit one, else gathered.
            if (colHi + 1 - colLo < lanes) {
                const VF ahead = hn::LoadU(df, geometry.colX + colLo);
                const VI at0 = hn::Sub(colL, hn::Set(di, colLo));
                xa = hn::TableLookupLanes(ahead, hn::IndicesFromVec(df, at0));
                xb = hn::TableLookupLanes(ahead, hn::IndicesFromVec(df, hn::Add(at0, iOne)));
            } else {
                xa = hn::GatherIndex(df, geometry.colX, colL);
                xb = hn::GatherIndex(df, geometry.colX, hn::Add(colL, iOne));
            }
            if (rowHi + 1 - rowLo < lanes) {
                const VF ahead = hn::LoadU(df, geometry.rowY + rowLo);
                const VI at0 = hn::Sub(rowL, hn::Set(di, rowLo));
                ya = hn::TableLookupLanes(ahead, hn::IndicesFromVec(df, at0));
                yb = hn::TableLookupLanes(ahead, hn::IndicesFromVec(df, hn::Add(at0, iOne)));
            } else {
                ya = hn::GatherIndex(df, geometry.rowY, rowL);
                yb = hn::GatherIndex(df, geometry.rowY, hn::Add(rowL, iOne));
            }
            const MF inCell = hn::And(hn::And(hn::And(inX, inY), hn::And(hn::Le(xa, x), hn::Le(x, xb))),
                                      hn::And(hn::Le(ya, y), hn::Le(y, yb)));

            // Triangle by the diagonal; a wrong pick near it fails the margin.
            const VF cw = hn::Sub(xb, xa), ch = hn::Sub(yb, ya);
            const MF lower = hn::Gt(hn::Add(hn::Mul(hn::Sub(x, xa), ch), hn::Mul(hn::Sub(y, ya), cw)),
                                    hn::Mul(cw, ch));
            const VF px0 = hn::IfThenElse(lower, xb, xa), py2 = hn::IfThenElse(lower, yb, ya);
            // Corners (px0, ya), (xa, yb), (xb, py2): the standard list's order.
            VF b0, b1, b2;
            BarycentricLanes(x, y, px0, ya, xa, yb, xb, py2, b0, b1, b2);
            auto clear = [&](VF b) { return hn::And(hn::Ge(b, low), hn::Le(b, high)); };
            const MI robust = hn::RebindMask(
                di, hn::And(inCell, hn::And(hn::And(clear(b0), clear(b1)), clear(b2))));
            const VI parity = hn::IfThenElseZero(hn::RebindMask(di, lower), iOne);
            const VI cell = hn::Add(hn::Mul(row, cellsWV), col);
            const VI tri = hn::Add(hn::Add(cell, cell), parity);

            // Each lane's start, from the lane before on the assumption that
            // it was located; the first column's from the row before.
            const VI prevRow = hn::IfThenElse(firstLane, hn::Set(di, prevPlace.row),
                                              hn::TableLookupLanes(row, laneBefore));
            const VI prevCol = hn::IfThenElse(firstLane, hn::Set(di, prevPlace.col),
                                              hn::TableLookupLanes(col, laneBefore));
            VI startRow = prevRow;
            VI startCol = hn::IfThenElse(hn::Eq(prevCol, lastCol), prevCol, hn::Add(prevCol, iOne));
            if (c0 == 0) {
                const int start = firstTriangle(shape, 0, rowStartTri) / 2;
                const int startR = sdiv(start, cellsW);
                startRow = hn::IfThenElse(firstLane, hn::Set(di, startR), startRow);
                startCol = hn::IfThenElse(firstLane, hn::Set(di, start - startR * cellsW), startCol);
            }
            const MI near = hn::And(hn::Lt(hn::Abs(hn::Sub(row, startRow)), beyond),
                                    hn::Lt(hn::Abs(hn::Sub(col, startCol)), beyond));
            const MI taken = hn::And(robust, near);
            float* out = job.out + 2 * (rowFirst + c0);

            // Every lane is blended as located; lanes that turn out otherwise
            // are overwritten below, in order.
            {
                // Values at the corners: vertex (row, col) is row x w + col.
                // When every lane is in one cell row and within half a
                // vector of columns, from the two vertex rows' entries
                // loaded whole (x and y interleaved), else gathered.
                const int base = std::max(0, std::min(colLo, w - lanes / 2));
                const VI pairLo = hn::Set(di, 2 * base);
                VF ax, ay, bx, by, cx, cy;
                if (rowLo == rowHi && w >= lanes / 2 && colHi + 1 - base < lanes / 2) {
                    const float* top = job.values + 2 * (int64_t{rowLo} * w + base);
                    const VF upper = hn::LoadU(df, top), below = hn::LoadU(df, top + 2 * w);
                    const VI ia = hn::Sub(hn::Add(hn::Add(colL, colL), hn::Add(parity, parity)), pairLo);
                    const VI ib = hn::Sub(hn::Add(colL, colL), pairLo), ic = hn::Add(ib, iTwo);
                    ax = hn::TableLookupLanes(upper, hn::IndicesFromVec(df, ia));
                    ay = hn::TableLookupLanes(upper, hn::IndicesFromVec(df, hn::Add(ia, iOne)));
                    bx = hn::TableLookupLanes(below, hn::IndicesFromVec(df, ib));
                    by = hn::TableLookupLanes(below, hn::IndicesFromVec(df, hn::Add(ib, iOne)));
                    const auto icx = hn::IndicesFromVec(df, ic), icy = hn::IndicesFromVec(df, hn::Add(ic, iOne));
                    cx = hn::IfThenElse(lower, hn::TableLookupLanes(below, icx), hn::TableLookupLanes(upper, icx));
                    cy = hn::IfThenElse(lower, hn::TableLookupLanes(below, icy), hn::TableLookupLanes(upper, icy));
                } else {
                    const VI v = hn::Add(hn::Mul(row, widthV), col);
                    const VI va = hn::Add(v, parity), vb = hn::Add(v, widthV);
                    const VI vc = hn::Add(hn::Add(v, iOne), hn::IfThenElseZero(hn::RebindMask(di, lower), widthV));
                    const VI ia = hn::Add(va, va), ib = hn::Add(vb, vb), ic = hn::Add(vc, vc);
                    const float* val = job.values;
                    ax = hn::GatherIndex(df, val, ia);
                    ay = hn::GatherIndex(df, val, hn::Add(ia, iOne));
                    bx = hn::GatherIndex(df, val, ib);
                    by = hn::GatherIndex(df, val, hn::Add(ib, iOne));
                    cx = hn::GatherIndex(df, val, ic);
                    cy = hn::GatherIndex(df, val, hn::Add(ic, iOne));
                }
                const VF ox = BlendLanes(b0, b1, b2, ax, bx, cx), oy = BlendLanes(b0, b1, b2, ay, by, cy);
                if (n == lanes) {
                    hn::StoreInterleaved2(ox, oy, df, out);
                } else {
                    hn::Store(ox, df, at.x);
                    hn::Store(oy, df, at.y);
                    for (int j = 0; j < n; ++j) {
                        out[2 * j] = at.x[j];
                        out[2 * j + 1] = at.y[j];
                    }
                }
            }
            hn::Store(tri, di, at.tri);
            hn::Store(row, di, at.row);
            hn::Store(col, di, at.col);
            if (hn::AllTrue(di, hn::Or(taken, hn::Not(hn::FirstN(di, static_cast<size_t>(n)))))) {
                if (c0 == 0) rowStartTri = at.tri[0];
                prevTri = at.tri[n - 1];
                prevPlace = {prevTri, at.row[n - 1], at.col[n - 1], prevTri & 1};
                located += n;
                continue;
            }

            hn::Store(x, df, at.x);
            hn::Store(y, df, at.y);
            hn::Store(b0, df, at.b0);
            hn::Store(b1, df, at.b1);
            hn::Store(b2, df, at.b2);
            hn::Store(hn::VecFromMask(di, robust), di, at.robust);
            hn::Store(hn::VecFromMask(di, taken), di, at.taken);
            for (int j = 0; j < n; ++j) {
                const int c = c0 + j;
                // A taken lane's start was derived from the lane before's
                // located triangle; if that is its hit, the lane stands.
                if (at.taken[j] != 0 && (j == 0 || prevTri == at.tri[j - 1])) {
                    if (c == 0) rowStartTri = at.tri[j];
                    prevTri = at.tri[j];
                    ++located;
                    continue;
                }
                const int start = firstTriangle(shape, c, c != 0 ? prevTri : rowStartTri);
                const TrianglePlace from = locate(shape, start);
                int hit = prevTri;
                if (at.robust[j] != 0 && std::abs(at.row[j] - from.row) <= kLatticeReach &&
                    std::abs(at.col[j] - from.col) <= kLatticeReach) {
                    hit = at.tri[j];
                    bary[0] = at.b0[j];
                    bary[1] = at.b1[j];
                    bary[2] = at.b2[j];
                    ++located;
                } else {
                    walk(shape, corners, counter, at.x[j], at.y[j], start, &hit, bary);
                    ++walked;
                }
                if (c == 0) rowStartTri = hit;
                prevTri = hit;
                interpolateAt(job.triangles, hit, bary, job.values, out + 2 * j);
            }
            prevPlace = locate(shape, prevTri);
        }
        // Where more than one query in eight needs walking (much of the grid
        // off the mesh, say), the rows left go to the row-parallel walk,
        // from the exact first hit of this row.
        if (walked * 8 > (r + int64_t{1}) * job.queryW && interpolateRowsFrom(job, r + 1, rowStartTri)) {
            handedOver = int64_t{job.queryH - r - 1} * job.queryW;
            break;
        }
    }
    if (counts != nullptr) {
        counts->located = located;
        counts->walked = walked;
        counts->handedOver = handedOver;
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace mesh
}  // namespace velmo
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace velmo {
namespace mesh {

HWY_EXPORT(LatticeRows);

bool isEvenLattice(const RowsJob& job) { return measureLattice(job, nullptr); }

bool interpolateRowsOnLattice(const RowsJob& job, LatticeCounts* counts) {
    LatticeGeometry geometry;
    if (!measureLattice(job, &geometry)) return false;
    HWY_DYNAMIC_DISPATCH(LatticeRows)(job, geometry, counts);
    return true;
}

}  // namespace mesh
}  // namespace velmo
#endif
