// Row-parallel query loop. Compiled once per SIMD target and dispatched at run
// time; every target performs, lane by lane, the same IEEE operations in the
// same order as the sequential loop, so the bits never depend on the CPU.

#include "vwmt/core/MeshQueryRows.h"

#include <cstdint>

// Targets that add nothing over their neighbours here; skipping them keeps
// the build short.
#ifndef HWY_DISABLED_TARGETS
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3_DL)
#endif

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vwmt/core/MeshQueryRows.cpp"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#ifndef VELMO_MESH_QUERY_ROWS_SHARED
#define VELMO_MESH_QUERY_ROWS_SHARED
namespace velmo {
namespace mesh {
namespace {

// Search table split into columns, so that lanes can look it up by gather.
struct SplitTable {
    int dCol[16];
    int dRow[16];
    int dParity[16];
};

inline SplitTable splitSearchTable() {
    SplitTable table{};
    for (int i = 0; i < 16; ++i) {
        table.dCol[i] = VWMT::MeshInterpolator::searchTable[i][0];
        table.dRow[i] = VWMT::MeshInterpolator::searchTable[i][1];
        table.dParity[i] = VWMT::MeshInterpolator::searchTable[i][2];
    }
    return table;
}

// Lane state, kept in memory between refills. Everything a lane needs to
// continue its row: the triangle being tested (also as row, column and
// parity, so that the next-triangle step needs no division), the walk's
// previous triangle and step count, and the query it works on.
constexpr int kMaxLanes = 64;
struct alignas(64) LaneState {
    int32_t tri[kMaxLanes];
    int32_t row[kMaxLanes];
    int32_t col[kMaxLanes];
    int32_t parity[kMaxLanes];
    int32_t prev[kMaxLanes];
    int32_t steps[kMaxLanes];
    int32_t query[kMaxLanes];
    int32_t rowEnd[kMaxLanes];
    int32_t frozen[kMaxLanes];
    float qx[kMaxLanes];
    float qy[kMaxLanes];
};

// Hands out rows in order. Each row's first column is walked here, from the
// first hit of the row before, exactly as the sequential loop does; the lane
// then continues at column 1.
class RowFeeder {
public:
    explicit RowFeeder(const RowsJob& job) : job_(job) {}

    bool exhausted() const { return nextRow_ >= job_.queryH; }

    void assign(LaneState& s, int lane) {
        const int r = nextRow_++;
        const int64_t first = int64_t{r} * job_.queryW;
        NoCount counter;
        int tri = 0;
        float bary[3] = {0.0f, 0.0f, 0.0f};
        const int start = firstTriangle(job_.shape, 0, rowStartTri_);
        const float x = job_.queryXY[2 * first], y = job_.queryXY[2 * first + 1];
        if (job_.meshXY != nullptr) {
            walk(job_.shape, MeshCorners{job_.triangles, job_.meshXY}, counter, x, y, start, &tri,
                 bary);
        } else {
            walk(job_.shape, TableCorners{job_.cornerTable}, counter, x, y, start, &tri, bary);
        }
        rowStartTri_ = tri;
        interpolateAt(job_.triangles, tri, bary, job_.values, job_.out + 2 * first);

        const int seed = firstTriangle(job_.shape, 1, tri);
        const int cell = seed / 2;
        s.tri[lane] = seed;
        s.parity[lane] = seed % 2;
        s.row[lane] = sdiv(cell, job_.shape.cellsW);
        s.col[lane] = cell - s.row[lane] * job_.shape.cellsW;
        s.prev[lane] = -1;
        s.steps[lane] = 0;
        s.query[lane] = static_cast<int32_t>(first + 1);
        s.rowEnd[lane] = static_cast<int32_t>(first + job_.queryW);
        s.frozen[lane] = 0;
        s.qx[lane] = job_.queryXY[2 * (first + 1)];
        s.qy[lane] = job_.queryXY[2 * (first + 1) + 1];
    }

private:
    const RowsJob& job_;
    int nextRow_ = 0;
    int rowStartTri_ = 0;
};

}  // namespace
}  // namespace mesh
}  // namespace velmo
#endif

HWY_BEFORE_NAMESPACE();
namespace velmo {
namespace mesh {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

int LaneCount() {
    const hn::ScalableTag<float> df;
    const size_t lanes = hn::Lanes(df);
    return lanes > static_cast<size_t>(kMaxLanes) ? kMaxLanes : static_cast<int>(lanes);
}

template <bool kThroughList>
void WalkRows(const RowsJob& job) {
    using DF = hn::CappedTag<float, kMaxLanes>;
    using DI = hn::RebindToSigned<DF>;
    const DF df;
    const DI di;
    const int lanes = static_cast<int>(hn::Lanes(df));
    using VF = hn::Vec<DF>;
    using VI = hn::Vec<DI>;

    static const SplitTable table = splitSearchTable();
    const MeshShape& shape = job.shape;

    LaneState s;
    RowFeeder feeder(job);
    for (int lane = 0; lane < lanes; ++lane) feeder.assign(s, lane);

    const VF eps = hn::Set(df, kEps);
    const VF negEps = hn::Set(df, -kEps);
    const VF one = hn::Set(df, 1.0f);
    const VF zero = hn::Zero(df);
    const VI iZero = hn::Zero(di);
    const VI iOne = hn::Set(di, 1);
    const VI iMinusOne = hn::Set(di, -1);
    const VI cellsW = hn::Set(di, shape.cellsW);
    const VI cellsH = hn::Set(di, shape.cellsH);
    const VI lastCol = hn::Set(di, shape.cellsW - 1);
    const VI limit = hn::Set(di, shape.searchLimit);

    VI tri = hn::Load(di, s.tri), row = hn::Load(di, s.row), col = hn::Load(di, s.col);
    VI parity = hn::Load(di, s.parity), prev = hn::Load(di, s.prev), steps = hn::Load(di, s.steps);
    VI query = hn::Load(di, s.query), rowEnd = hn::Load(di, s.rowEnd);
    VI frozen = hn::Load(di, s.frozen);
    VF qx = hn::Load(df, s.qx), qy = hn::Load(df, s.qy);

    for (;;) {
        // Corners of the triangle each lane tests.
        const VI tri3 = hn::Add(hn::Add(tri, tri), tri);
        const VI ia = hn::GatherIndex(di, job.triangles, tri3);
        const VI ib = hn::GatherIndex(di, job.triangles, hn::Add(tri3, iOne));
        const VI ic = hn::GatherIndex(di, job.triangles, hn::Add(tri3, hn::Set(di, 2)));
        VF x0, y0, x1, y1, x2, y2;
        if (kThroughList) {
            const float* m = job.meshXY;
            const VI a2 = hn::Add(ia, ia), b2 = hn::Add(ib, ib), c2 = hn::Add(ic, ic);
            x0 = hn::GatherIndex(df, m, a2);
            y0 = hn::GatherIndex(df, m, hn::Add(a2, iOne));
            x1 = hn::GatherIndex(df, m, b2);
            y1 = hn::GatherIndex(df, m, hn::Add(b2, iOne));
            x2 = hn::GatherIndex(df, m, c2);
            y2 = hn::GatherIndex(df, m, hn::Add(c2, iOne));
        } else {
            const float* t = job.cornerTable;
            const VI t6 = hn::Add(tri3, tri3);
            x0 = hn::GatherIndex(df, t, t6);
            y0 = hn::GatherIndex(df, t, hn::Add(t6, iOne));
            x1 = hn::GatherIndex(df, t, hn::Add(t6, hn::Set(di, 2)));
            y1 = hn::GatherIndex(df, t, hn::Add(t6, hn::Set(di, 3)));
            x2 = hn::GatherIndex(df, t, hn::Add(t6, hn::Set(di, 4)));
            y2 = hn::GatherIndex(df, t, hn::Add(t6, hn::Set(di, 5)));
        }

        // Barycentric coordinates, operation for operation as the scalar walk.
        const VF y12 = hn::Sub(y1, y2), x12 = hn::Sub(x1, x2);
        const VF y02 = hn::Sub(y0, y2), x02 = hn::Sub(x0, x2);
        const VF px = hn::Sub(qx, x2), py = hn::Sub(qy, y2);
        const VF b0 = hn::Div(hn::Sub(hn::Mul(y12, px), hn::Mul(x12, py)),
                              hn::Add(hn::Sub(hn::Mul(y12, x02), hn::Mul(x12, y02)), eps));
        const VF b1 = hn::Div(hn::Sub(hn::Mul(y02, px), hn::Mul(x02, py)),
                              hn::Add(hn::Sub(hn::Mul(x12, y02), hn::Mul(y12, x02)), eps));
        const VF b2 = hn::Sub(hn::Sub(one, b0), b1);
        auto within = [&](VF b) { return hn::And(hn::Ge(b, negEps), hn::Le(b, one)); };
        const auto inside = hn::RebindMask(di, hn::And(hn::And(within(b0), within(b1)), within(b2)));

        // Next triangle from the search table.
        const VI index = hn::Add(
            hn::ShiftLeft<3>(parity),
            hn::Add(hn::IfThenElseZero(hn::RebindMask(di, hn::Gt(b0, zero)), hn::Set(di, 4)),
                    hn::Add(hn::IfThenElseZero(hn::RebindMask(di, hn::Gt(b1, zero)), hn::Set(di, 2)),
                            hn::IfThenElseZero(hn::RebindMask(di, hn::Gt(b2, zero)), iOne))));
        const VI dCol = hn::GatherIndex(di, table.dCol, index);
        const VI dRow = hn::GatherIndex(di, table.dRow, index);
        const VI dParity = hn::GatherIndex(di, table.dParity, index);
        const VI colTo = hn::Add(col, dCol), rowTo = hn::Add(row, dRow);
        const auto colOK = hn::And(hn::Gt(colTo, iMinusOne), hn::Lt(colTo, cellsW));
        const auto rowOK = hn::And(hn::Gt(rowTo, iMinusOne), hn::Lt(rowTo, cellsH));
        const auto moveCol = hn::And(colOK, hn::Or(hn::Ne(dCol, iZero), rowOK));
        const auto moveRow = hn::And(rowOK, hn::Or(hn::Ne(dRow, iZero), colOK));
        const auto moveParity = hn::Or(moveCol, moveRow);
        const VI stepCol = hn::IfThenElseZero(moveCol, dCol);
        const VI stepRow = hn::IfThenElseZero(moveRow, dRow);
        const VI stepParity = hn::IfThenElseZero(moveParity, dParity);
        const VI rowShift = hn::IfThenElse(hn::Eq(stepRow, iOne), cellsW,
                                           hn::IfThenElseZero(hn::Eq(stepRow, iMinusOne), hn::Neg(cellsW)));
        const VI cellShift = hn::Add(rowShift, stepCol);
        const VI next = hn::Add(hn::Add(tri, hn::Add(cellShift, cellShift)), stepParity);

        const VI stepsAfter = hn::Add(steps, iOne);
        const auto done = hn::Or(hn::Or(inside, hn::Eq(next, tri)),
                                 hn::Or(hn::Eq(next, prev), hn::Not(hn::Lt(stepsAfter, limit))));

        // Every lane writes its current query; a lane still walking writes a
        // provisional value that its final one overwrites, and a lane with no
        // rows left rewrites the identical final value of its last query.
        {
            const VI a2 = hn::Add(ia, ia), b2i = hn::Add(ib, ib), c2 = hn::Add(ic, ic);
            const float* v = job.values;
            const VF ox = hn::Add(hn::Add(hn::Mul(b0, hn::GatherIndex(df, v, a2)),
                                          hn::Mul(b1, hn::GatherIndex(df, v, b2i))),
                                  hn::Mul(b2, hn::GatherIndex(df, v, c2)));
            const VF oy = hn::Add(
                hn::Add(hn::Mul(b0, hn::GatherIndex(df, v, hn::Add(a2, iOne))),
                        hn::Mul(b1, hn::GatherIndex(df, v, hn::Add(b2i, iOne)))),
                hn::Mul(b2, hn::GatherIndex(df, v, hn::Add(c2, iOne))));
            const VI q2 = hn::Add(query, query);
            hn::ScatterIndex(ox, df, job.out, q2);
            hn::ScatterIndex(oy, df, job.out, hn::Add(q2, iOne));
        }

        const auto live = hn::Eq(frozen, iZero);
        const auto walking = hn::AndNot(done, live);
        const auto finished = hn::And(done, live);

        // Lanes still walking step to the next triangle.
        prev = hn::IfThenElse(walking, tri, prev);
        steps = hn::IfThenElse(walking, stepsAfter, steps);
        tri = hn::IfThenElse(walking, next, tri);
        col = hn::IfThenElse(walking, hn::Add(col, stepCol), col);
        row = hn::IfThenElse(walking, hn::Add(row, stepRow), row);
        parity = hn::IfThenElse(walking, hn::Add(parity, stepParity), parity);

        // Lanes whose query is settled move one column right along their row.
        const VI nextQuery = hn::Add(query, iOne);
        const auto rowEnds = hn::And(finished, hn::Eq(nextQuery, rowEnd));
        const auto advance = hn::AndNot(rowEnds, finished);
        if (!hn::AllFalse(di, advance)) {
            const auto shiftRight = hn::And(advance, hn::Ne(col, lastCol));
            tri = hn::IfThenElse(shiftRight, hn::Add(tri, hn::Set(di, 2)), tri);
            col = hn::IfThenElse(shiftRight, hn::Add(col, iOne), col);
            prev = hn::IfThenElse(advance, iMinusOne, prev);
            steps = hn::IfThenElseZero(hn::Not(advance), steps);
            query = hn::IfThenElse(advance, nextQuery, query);
            const VI c2 = hn::Add(query, query);
            const auto advanceF = hn::RebindMask(df, advance);
            qx = hn::IfThenElse(advanceF, hn::GatherIndex(df, job.queryXY, c2), qx);
            qy = hn::IfThenElse(advanceF, hn::GatherIndex(df, job.queryXY, hn::Add(c2, iOne)), qy);
        }

        // Lanes at the end of their row take the next row, or stop.
        if (!hn::AllFalse(di, rowEnds)) {
            hn::Store(tri, di, s.tri);
            hn::Store(row, di, s.row);
            hn::Store(col, di, s.col);
            hn::Store(parity, di, s.parity);
            hn::Store(prev, di, s.prev);
            hn::Store(steps, di, s.steps);
            hn::Store(query, di, s.query);
            hn::Store(rowEnd, di, s.rowEnd);
            hn::Store(frozen, di, s.frozen);
            hn::Store(qx, df, s.qx);
            hn::Store(qy, df, s.qy);
            alignas(64) int32_t ends[kMaxLanes];
            hn::Store(hn::VecFromMask(di, rowEnds), di, ends);
            bool anyLive = false;
            for (int lane = 0; lane < lanes; ++lane) {
                if (ends[lane] != 0) {
                    if (feeder.exhausted()) {
                        s.frozen[lane] = -1;
                    } else {
                        feeder.assign(s, lane);
                    }
                }
                anyLive = anyLive || s.frozen[lane] == 0;
            }
            if (!anyLive) return;
            tri = hn::Load(di, s.tri);
            row = hn::Load(di, s.row);
            col = hn::Load(di, s.col);
            parity = hn::Load(di, s.parity);
            prev = hn::Load(di, s.prev);
            steps = hn::Load(di, s.steps);
            query = hn::Load(di, s.query);
            rowEnd = hn::Load(di, s.rowEnd);
            frozen = hn::Load(di, s.frozen);
            qx = hn::Load(df, s.qx);
            qy = hn::Load(df, s.qy);
        }
    }
}

void WalkRowsThroughList(const RowsJob& job) { WalkRows<true>(job); }
void WalkRowsFromTable(const RowsJob& job) { WalkRows<false>(job); }

}  // namespace HWY_NAMESPACE
}  // namespace mesh
}  // namespace velmo
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace velmo {
namespace mesh {

HWY_EXPORT(LaneCount);
HWY_EXPORT(WalkRowsThroughList);
HWY_EXPORT(WalkRowsFromTable);

int parallelLanes() { return HWY_DYNAMIC_DISPATCH(LaneCount)(); }

void interpolateRowsSequential(const RowsJob& job) {
    NoCount counter;
    if (job.meshXY != nullptr) {
        interpolateGrid(job.shape, job.triangles, MeshCorners{job.triangles, job.meshXY}, counter,
                        job.queryW, job.queryH, job.values, job.queryXY, job.out);
    } else {
        interpolateGrid(job.shape, job.triangles, TableCorners{job.cornerTable}, counter,
                        job.queryW, job.queryH, job.values, job.queryXY, job.out);
    }
}

void interpolateRowsParallel(const RowsJob& job) {
    if (job.queryH < parallelLanes() || job.queryW < 2 || !job.shape.hasCells()) {
        interpolateRowsSequential(job);
        return;
    }
    if (job.meshXY != nullptr) {
        HWY_DYNAMIC_DISPATCH(WalkRowsThroughList)(job);
    } else {
        HWY_DYNAMIC_DISPATCH(WalkRowsFromTable)(job);
    }
}

namespace {

bool overlaps(const float* a, int64_t countA, const float* b, int64_t countB) {
    const uintptr_t a0 = reinterpret_cast<uintptr_t>(a), b0 = reinterpret_cast<uintptr_t>(b);
    return a0 < b0 + countB * sizeof(float) && b0 < a0 + countA * sizeof(float);
}

}  // namespace

// Lanes write provisional values into the output before their final ones and
// index with 32-bit lanes, so they run only on separate buffers of a size
// that 32-bit indices cover.
void interpolateRows(const RowsJob& job) {
    const int64_t queries = int64_t{job.queryW} * job.queryH;
    const int64_t vertices = (int64_t{job.shape.cellsW} + 1) * (int64_t{job.shape.cellsH} + 1);
    const bool small = queries <= 0 || 2 * queries > INT32_MAX || 6 * int64_t{job.shape.numTriangles} > INT32_MAX;
    if (small || overlaps(job.out, 2 * queries, job.queryXY, 2 * queries) ||
        overlaps(job.out, 2 * queries, job.values, 2 * vertices) ||
        (job.meshXY != nullptr && overlaps(job.out, 2 * queries, job.meshXY, 2 * vertices))) {
        interpolateRowsSequential(job);
        return;
    }
    interpolateRowsParallel(job);
}

}  // namespace mesh
}  // namespace velmo
#endif
