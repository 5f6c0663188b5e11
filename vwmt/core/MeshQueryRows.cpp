// Row-parallel query loop. Compiled once per SIMD target and dispatched at run
// time; every target performs, lane by lane, the same IEEE operations in the
// same order as the sequential loop, so the bits never depend on the CPU.

#include "vwmt/core/MeshQueryRows.h"

#include <cstdint>

// Targets that add nothing over their neighbours here are skipped to keep the
// build short. SVE is skipped as well: its sizeless vectors cannot be kept in
// the lane-state struct, and NEON covers every arm64 device.
#ifndef HWY_DISABLED_TARGETS
#define HWY_DISABLED_TARGETS \
    (HWY_SSSE3 | HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)
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

// One search-table column packed two bits per entry (value + 1), so that
// lanes look it up with a variable shift instead of a gather.
inline uint32_t packedTableColumn(int component) {
    uint32_t packed = 0;
    for (int i = 0; i < 16; ++i) {
        const int value = VWMT::MeshInterpolator::searchTable[i][component];
        packed |= static_cast<uint32_t>(value + 1) << (2 * i);
    }
    return packed;
}

// True when the list is the standard two-triangles-per-cell connectivity, so
// that corner indices follow from the cell instead of being read.
inline bool isStandardConnectivity(const int* triangles, int cellsW, int cellsH) {
    const int w = cellsW + 1;
    const int* t = triangles;
    for (int r = 0; r < cellsH; ++r) {
        for (int c = 0; c < cellsW; ++c, t += 6) {
            const int v = r * w + c;
            if (t[0] != v || t[1] != v + w || t[2] != v + 1 || t[3] != v + 1 || t[4] != v + w ||
                t[5] != v + w + 1) {
                return false;
            }
        }
    }
    return true;
}

struct Packed {
    uint32_t dCol;
    uint32_t dRow;
    uint32_t dParity;
};

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

using DF = hn::CappedTag<float, kMaxLanes>;
using DI = hn::RebindToSigned<DF>;
using DU = hn::RebindToUnsigned<DF>;
using VF = hn::Vec<DF>;
using VI = hn::Vec<DI>;
using MI = hn::Mask<DI>;

int LaneCount() { return static_cast<int>(hn::Lanes(DF())); }

// Loads the (x, y) float pairs at pair indices `index`: one 64-bit gather per
// half vector where the CPU has gathers, a lane loop elsewhere.
HWY_INLINE void GatherPairs(const float* base, VI index, VF& x, VF& y) {
    const DF df;
#if HWY_TARGET == HWY_AVX3
    if constexpr (hn::MaxLanes(DF()) == 16) {
        const __m512i raw = index.raw;
        const __m512 lo = _mm512_castsi512_ps(
            _mm512_i32gather_epi64(_mm512_castsi512_si256(raw), base, 8));
        const __m512 hi = _mm512_castsi512_ps(
            _mm512_i32gather_epi64(_mm512_extracti64x4_epi64(raw, 1), base, 8));
        x = hn::ConcatEven(df, VF{hi}, VF{lo});
        y = hn::ConcatOdd(df, VF{hi}, VF{lo});
        return;
    }
#elif HWY_TARGET == HWY_AVX2
    if constexpr (hn::MaxLanes(DF()) == 8) {
        const __m256i raw = index.raw;
        const long long* pairs = reinterpret_cast<const long long*>(base);
        const __m256 lo = _mm256_castsi256_ps(
            _mm256_i32gather_epi64(pairs, _mm256_castsi256_si128(raw), 8));
        const __m256 hi = _mm256_castsi256_ps(
            _mm256_i32gather_epi64(pairs, _mm256_extracti128_si256(raw, 1), 8));
        x = hn::ConcatEven(df, VF{hi}, VF{lo});
        y = hn::ConcatOdd(df, VF{hi}, VF{lo});
        return;
    }
#endif
    alignas(64) int32_t at[kMaxLanes];
    alignas(64) float xs[kMaxLanes];
    alignas(64) float ys[kMaxLanes];
    hn::Store(index, DI(), at);
    const size_t lanes = hn::Lanes(df);
    for (size_t lane = 0; lane < lanes; ++lane) {
        xs[lane] = base[2 * int64_t{at[lane]}];
        ys[lane] = base[2 * int64_t{at[lane]} + 1];
    }
    x = hn::Load(df, xs);
    y = hn::Load(df, ys);
}

// Stores (x, y) pairs at pair indices `index`.
HWY_INLINE void ScatterPairs(float* base, VI index, VF x, VF y) {
#if HWY_TARGET == HWY_AVX3
    if constexpr (hn::MaxLanes(DF()) == 16) {
        const __m512i lowHalf = _mm512_setr_epi32(0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
        const __m512i highHalf =
            _mm512_setr_epi32(8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
        const __m512 lo = _mm512_permutex2var_ps(x.raw, lowHalf, y.raw);
        const __m512 hi = _mm512_permutex2var_ps(x.raw, highHalf, y.raw);
        _mm512_i32scatter_epi64(base, _mm512_castsi512_si256(index.raw), _mm512_castps_si512(lo), 8);
        _mm512_i32scatter_epi64(base, _mm512_extracti64x4_epi64(index.raw, 1),
                                _mm512_castps_si512(hi), 8);
        return;
    }
#endif
    alignas(64) int32_t at[kMaxLanes];
    alignas(64) float xs[kMaxLanes];
    alignas(64) float ys[kMaxLanes];
    hn::Store(index, DI(), at);
    hn::Store(x, DF(), xs);
    hn::Store(y, DF(), ys);
    const size_t lanes = hn::Lanes(DF());
    for (size_t lane = 0; lane < lanes; ++lane) {
        base[2 * int64_t{at[lane]}] = xs[lane];
        base[2 * int64_t{at[lane]} + 1] = ys[lane];
    }
}

// Table column entry by lane: ((packed >> 2 x index) & 3) - 1.
HWY_INLINE VI LookUp(uint32_t packed, VI index) {
    const DU du;
    const auto shifted = hn::Shr(hn::Set(du, packed), hn::BitCast(du, hn::Add(index, index)));
    return hn::Sub(hn::BitCast(DI(), hn::And(shifted, hn::Set(du, 3u))), hn::Set(DI(), 1));
}

// One group of lanes, each walking its own query row: the lane state in
// registers (kept apart from its memory copy so that it can stay there).
struct Group {
    VI tri, row, col, parity, prev, steps, query, rowEnd, frozen;
    VF qx, qy;
    bool live = true;

    // Spelled out so that it is compiled for the SIMD target like the rest.
    Group()
        : tri(hn::Zero(DI())), row(tri), col(tri), parity(tri), prev(tri), steps(tri), query(tri),
          rowEnd(tri), frozen(tri), qx(hn::Zero(DF())), qy(qx) {}

    void load(const LaneState& s) {
        const DI di;
        tri = hn::Load(di, s.tri);
        row = hn::Load(di, s.row);
        col = hn::Load(di, s.col);
        parity = hn::Load(di, s.parity);
        prev = hn::Load(di, s.prev);
        steps = hn::Load(di, s.steps);
        query = hn::Load(di, s.query);
        rowEnd = hn::Load(di, s.rowEnd);
        frozen = hn::Load(di, s.frozen);
        qx = hn::Load(DF(), s.qx);
        qy = hn::Load(DF(), s.qy);
    }
    void store(LaneState& s) const {
        const DI di;
        hn::Store(tri, di, s.tri);
        hn::Store(row, di, s.row);
        hn::Store(col, di, s.col);
        hn::Store(parity, di, s.parity);
        hn::Store(prev, di, s.prev);
        hn::Store(steps, di, s.steps);
        hn::Store(query, di, s.query);
        hn::Store(rowEnd, di, s.rowEnd);
        hn::Store(frozen, di, s.frozen);
        hn::Store(qx, DF(), s.qx);
        hn::Store(qy, DF(), s.qy);
    }
};

struct Context {
    const RowsJob& job;
    Packed table;
};

// Corner vertex indices of each lane's triangle.
template <bool kStandard>
HWY_INLINE void Corners(const Context& ctx, const Group& g, VI& ia, VI& ib, VI& ic) {
    const DI di;
    if (kStandard) {
        // Top-left vertex of the cell: row x (cellsW + 1) + col = cell + row.
        const VI v = hn::Add(hn::ShiftRight<1>(g.tri), g.row);
        const VI below = hn::Add(v, hn::Set(di, ctx.job.shape.cellsW + 1));
        const MI odd = hn::Eq(g.parity, hn::Set(di, 1));
        const VI one = hn::Set(di, 1);
        ia = hn::IfThenElse(odd, hn::Add(v, one), v);
        ib = below;
        ic = hn::IfThenElse(odd, hn::Add(below, one), hn::Add(v, one));
    } else {
        const VI tri3 = hn::Add(hn::Add(g.tri, g.tri), g.tri);
        ia = hn::GatherIndex(di, ctx.job.triangles, tri3);
        ib = hn::GatherIndex(di, ctx.job.triangles, hn::Add(tri3, hn::Set(di, 1)));
        ic = hn::GatherIndex(di, ctx.job.triangles, hn::Add(tri3, hn::Set(di, 2)));
    }
}

// One evaluation for every lane of the group, then each lane either steps to
// the next triangle or settles its query and moves on. Returns false once the
// group has no row left.
// What one evaluation decided for each lane.
struct Outcome {
    VI next, stepsAfter, stepCol, stepRow, stepParity;
    MI done;
};

template <bool kThroughList, bool kStandard>
HWY_INLINE Outcome Evaluate(const Context& ctx, const Group& g) {
    const DF df;
    const DI di;
    const RowsJob& job = ctx.job;
    const MeshShape& shape = job.shape;
    const VI iOne = hn::Set(di, 1);
    const VI iMinusOne = hn::Set(di, -1);

    VI ia, ib, ic;
    Corners<kStandard>(ctx, g, ia, ib, ic);
    VF x0, y0, x1, y1, x2, y2;
    if (kThroughList) {
        GatherPairs(job.meshXY, ia, x0, y0);
        GatherPairs(job.meshXY, ib, x1, y1);
        GatherPairs(job.meshXY, ic, x2, y2);
    } else {
        const VI tri3 = hn::Add(hn::Add(g.tri, g.tri), g.tri);
        GatherPairs(job.cornerTable, tri3, x0, y0);
        GatherPairs(job.cornerTable, hn::Add(tri3, iOne), x1, y1);
        GatherPairs(job.cornerTable, hn::Add(tri3, hn::Set(di, 2)), x2, y2);
    }

    // Barycentric coordinates, operation for operation as the scalar walk.
    const VF eps = hn::Set(df, kEps);
    const VF one = hn::Set(df, 1.0f);
    const VF y12 = hn::Sub(y1, y2), x12 = hn::Sub(x1, x2);
    const VF y02 = hn::Sub(y0, y2), x02 = hn::Sub(x0, x2);
    const VF px = hn::Sub(g.qx, x2), py = hn::Sub(g.qy, y2);
    const VF b0 = hn::Div(hn::Sub(hn::Mul(y12, px), hn::Mul(x12, py)),
                          hn::Add(hn::Sub(hn::Mul(y12, x02), hn::Mul(x12, y02)), eps));
    const VF b1 = hn::Div(hn::Sub(hn::Mul(y02, px), hn::Mul(x02, py)),
                          hn::Add(hn::Sub(hn::Mul(x12, y02), hn::Mul(y12, x02)), eps));
    const VF b2 = hn::Sub(hn::Sub(one, b0), b1);
    const VF negEps = hn::Set(df, -kEps);
    auto within = [&](VF b) { return hn::And(hn::Ge(b, negEps), hn::Le(b, one)); };
    const MI inside = hn::RebindMask(di, hn::And(hn::And(within(b0), within(b1)), within(b2)));

    // Next triangle from the search table.
    const VF zero = hn::Zero(df);
    const VI index = hn::Add(
        hn::ShiftLeft<3>(g.parity),
        hn::Add(hn::IfThenElseZero(hn::RebindMask(di, hn::Gt(b0, zero)), hn::Set(di, 4)),
                hn::Add(hn::IfThenElseZero(hn::RebindMask(di, hn::Gt(b1, zero)), hn::Set(di, 2)),
                        hn::IfThenElseZero(hn::RebindMask(di, hn::Gt(b2, zero)), iOne))));
    const VI dCol = LookUp(ctx.table.dCol, index);
    const VI dRow = LookUp(ctx.table.dRow, index);
    const VI dParity = LookUp(ctx.table.dParity, index);
    const VI cellsW = hn::Set(di, shape.cellsW);
    const VI colTo = hn::Add(g.col, dCol), rowTo = hn::Add(g.row, dRow);
    const MI colOK = hn::And(hn::Gt(colTo, iMinusOne), hn::Lt(colTo, cellsW));
    const MI rowOK = hn::And(hn::Gt(rowTo, iMinusOne), hn::Lt(rowTo, hn::Set(di, shape.cellsH)));
    const VI iZero = hn::Zero(di);
    const MI moveCol = hn::And(colOK, hn::Or(hn::Ne(dCol, iZero), rowOK));
    const MI moveRow = hn::And(rowOK, hn::Or(hn::Ne(dRow, iZero), colOK));
    const VI stepCol = hn::IfThenElseZero(moveCol, dCol);
    const VI stepRow = hn::IfThenElseZero(moveRow, dRow);
    const VI stepParity = hn::IfThenElseZero(hn::Or(moveCol, moveRow), dParity);
    const VI rowShift = hn::IfThenElse(hn::Eq(stepRow, iOne), cellsW,
                                       hn::IfThenElseZero(hn::Eq(stepRow, iMinusOne), hn::Neg(cellsW)));
    const VI cellShift = hn::Add(rowShift, stepCol);
    const VI next = hn::Add(hn::Add(g.tri, hn::Add(cellShift, cellShift)), stepParity);
    const VI stepsAfter = hn::Add(g.steps, iOne);
    const MI done = hn::Or(hn::Or(inside, hn::Eq(next, g.tri)),
                           hn::Or(hn::Eq(next, g.prev), hn::Not(hn::Lt(stepsAfter, hn::Set(di, shape.searchLimit)))));

    // Every lane writes its current query: a lane still walking writes a
    // provisional value that its final one overwrites later, and a lane with
    // no row left rewrites the identical final value of its last query.
    {
        VF ax, ay, bx, by, cx, cy;
        GatherPairs(job.values, ia, ax, ay);
        GatherPairs(job.values, ib, bx, by);
        GatherPairs(job.values, ic, cx, cy);
        const VF ox = hn::Add(hn::Add(hn::Mul(b0, ax), hn::Mul(b1, bx)), hn::Mul(b2, cx));
        const VF oy = hn::Add(hn::Add(hn::Mul(b0, ay), hn::Mul(b1, by)), hn::Mul(b2, cy));
        ScatterPairs(job.out, g.query, ox, oy);
    }

    return {next, stepsAfter, stepCol, stepRow, stepParity, done};
}

// Each lane either steps to the next triangle or settles its query and moves
// on. Returns false once the group has no row left.
HWY_INLINE bool Advance(const RowsJob& job, Group& g, LaneState& s, RowFeeder& feeder,
                        const Outcome& o) {
    const DF df;
    const DI di;
    const MeshShape& shape = job.shape;
    const VI iZero = hn::Zero(di);
    const VI iOne = hn::Set(di, 1);
    const VI iMinusOne = hn::Set(di, -1);
    const VI next = o.next, stepsAfter = o.stepsAfter, stepCol = o.stepCol, stepRow = o.stepRow,
             stepParity = o.stepParity;
    const MI done = o.done;
    const MI live = hn::Eq(g.frozen, iZero);
    const MI walking = hn::AndNot(done, live);
    const MI finished = hn::And(done, live);

    g.prev = hn::IfThenElse(walking, g.tri, g.prev);
    g.steps = hn::IfThenElse(walking, stepsAfter, g.steps);
    g.tri = hn::IfThenElse(walking, next, g.tri);
    g.col = hn::IfThenElse(walking, hn::Add(g.col, stepCol), g.col);
    g.row = hn::IfThenElse(walking, hn::Add(g.row, stepRow), g.row);
    g.parity = hn::IfThenElse(walking, hn::Add(g.parity, stepParity), g.parity);

    // Settled lanes move one query right; the seed moves one cell right
    // unless the hit was in the last column.
    const VI nextQuery = hn::Add(g.query, iOne);
    const MI rowEnds = hn::And(finished, hn::Eq(nextQuery, g.rowEnd));
    const MI advance = hn::AndNot(rowEnds, finished);
    if (!hn::AllFalse(di, advance)) {
        const MI shiftRight = hn::And(advance, hn::Ne(g.col, hn::Set(di, shape.cellsW - 1)));
        g.tri = hn::IfThenElse(shiftRight, hn::Add(g.tri, hn::Set(di, 2)), g.tri);
        g.col = hn::IfThenElse(shiftRight, hn::Add(g.col, iOne), g.col);
        g.prev = hn::IfThenElse(advance, iMinusOne, g.prev);
        g.steps = hn::IfThenElseZero(hn::Not(advance), g.steps);
        g.query = hn::IfThenElse(advance, nextQuery, g.query);
        VF nx, ny;
        GatherPairs(job.queryXY, g.query, nx, ny);
        const auto advanceF = hn::RebindMask(df, advance);
        g.qx = hn::IfThenElse(advanceF, nx, g.qx);
        g.qy = hn::IfThenElse(advanceF, ny, g.qy);
    }

    // Lanes at the end of their row take the next row, or stop.
    if (!hn::AllFalse(di, rowEnds)) {
        g.store(s);
        alignas(64) int32_t ends[kMaxLanes];
        hn::Store(hn::VecFromMask(di, rowEnds), di, ends);
        bool anyLive = false;
        const int lanes = static_cast<int>(hn::Lanes(df));
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
        g.load(s);
        g.live = anyLive;
    }
    return g.live;
}

// Two groups of lanes in flight: one evaluation waits on gathers and
// divisions in a chain, and the other group's evaluation fills that wait.
template <bool kThroughList, bool kStandard>
void WalkRows(const RowsJob& job, const Packed& table) {
    const Context ctx{job, table};
    RowFeeder feeder(job);
    const int lanes = LaneCount();
    const int groupCount = job.queryH >= 2 * lanes ? 2 : 1;
    LaneState states[2] = {};
    Group groups[2];
    for (int k = 0; k < groupCount; ++k) {
        for (int lane = 0; lane < lanes; ++lane) feeder.assign(states[k], lane);
        groups[k].load(states[k]);
    }
    groups[1].live = groupCount == 2;
    while (groups[0].live && groups[1].live) {
        const Outcome first = Evaluate<kThroughList, kStandard>(ctx, groups[0]);
        const Outcome second = Evaluate<kThroughList, kStandard>(ctx, groups[1]);
        Advance(job, groups[0], states[0], feeder, first);
        Advance(job, groups[1], states[1], feeder, second);
    }
    for (int k = 0; k < 2; ++k) {
        while (groups[k].live) {
            Advance(job, groups[k], states[k], feeder,
                    Evaluate<kThroughList, kStandard>(ctx, groups[k]));
        }
    }
}

void WalkRowsDispatch(const RowsJob& job, const Packed& table, bool throughList, bool standard) {
    if (throughList) {
        if (standard) {
            WalkRows<true, true>(job, table);
        } else {
            WalkRows<true, false>(job, table);
        }
    } else if (standard) {
        WalkRows<false, true>(job, table);
    } else {
        WalkRows<false, false>(job, table);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace mesh
}  // namespace velmo
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace velmo {
namespace mesh {

HWY_EXPORT(LaneCount);
HWY_EXPORT(WalkRowsDispatch);

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
    static const Packed table{packedTableColumn(0), packedTableColumn(1), packedTableColumn(2)};
    const bool standard =
        isStandardConnectivity(job.triangles, job.shape.cellsW, job.shape.cellsH);
    HWY_DYNAMIC_DISPATCH(WalkRowsDispatch)(job, table, job.meshXY != nullptr, standard);
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
    const bool outOfRange = queries <= 0 || 2 * queries > INT32_MAX || 6 * int64_t{job.shape.numTriangles} > INT32_MAX;
    if (outOfRange || overlaps(job.out, 2 * queries, job.queryXY, 2 * queries) ||
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
