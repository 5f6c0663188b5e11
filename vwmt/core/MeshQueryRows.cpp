// Row-parallel query loop. Compiled once per SIMD target and dispatched at run
// time; every target performs, lane by lane, the same IEEE operations in the
// same order as the sequential loop, so the bits never depend on the CPU.

#include "vwmt/core/MeshQueryRows.h"

#include <algorithm>
#include <cstdint>

#include "vwmt/core/LatticeRows.h"

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
#include "vwmt/core/BarycentricLanes-inl.h"

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
    RowFeeder(const RowsJob& job, const RowsStart& from)
        : job_(job), nextRow_(from.row), rowStartTri_(from.rowStartTri) {}

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
    int nextRow_;
    int rowStartTri_;
};

}  // namespace

// True when the list is the standard two-triangles-per-cell connectivity, so
// that corner indices follow from the cell instead of being read.
bool hasStandardConnectivity(const int* triangles, int cellsW, int cellsH) {
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

// Constructors of the vector structs below are spelled out so that they are
// compiled for the SIMD target like the rest.

// What one evaluation decided for each lane.
struct Outcome {
    VI next, stepsAfter, stepCol, stepRow, stepParity;
    MI done;

    Outcome() : Outcome(hn::Zero(DI()), hn::Zero(DI()), hn::Zero(DI()), hn::Zero(DI()),
                        hn::Zero(DI()), hn::FirstN(DI(), 0)) {}
    Outcome(VI next_, VI stepsAfter_, VI stepCol_, VI stepRow_, VI stepParity_, MI done_)
        : next(next_), stepsAfter(stepsAfter_), stepCol(stepCol_), stepRow(stepRow_),
          stepParity(stepParity_), done(done_) {}
};

// Corner coordinates of each lane's triangle, and its weights there.
struct CornerXY {
    VF x0, y0, x1, y1, x2, y2;

    CornerXY() : x0(hn::Zero(DF())), y0(x0), x1(x0), y1(x0), x2(x0), y2(x0) {}
};
struct Weights {
    VF b0, b1, b2;
    MI inside;

    Weights() : b0(hn::Zero(DF())), b1(b0), b2(b0), inside(hn::FirstN(DI(), 0)) {}
};

template <bool kThroughList, bool kStandard>
HWY_INLINE CornerXY GatherCorners(const Context& ctx, const Group& g, VI& ia, VI& ib, VI& ic) {
    const RowsJob& job = ctx.job;
    CornerXY p;
    Corners<kStandard>(ctx, g, ia, ib, ic);
    if (kThroughList) {
        GatherPairs(job.meshXY, ia, p.x0, p.y0);
        GatherPairs(job.meshXY, ib, p.x1, p.y1);
        GatherPairs(job.meshXY, ic, p.x2, p.y2);
    } else {
        const DI di;
        const VI tri3 = hn::Add(hn::Add(g.tri, g.tri), g.tri);
        GatherPairs(job.cornerTable, tri3, p.x0, p.y0);
        GatherPairs(job.cornerTable, hn::Add(tri3, hn::Set(di, 1)), p.x1, p.y1);
        GatherPairs(job.cornerTable, hn::Add(tri3, hn::Set(di, 2)), p.x2, p.y2);
    }
    return p;
}

// Barycentric coordinates, operation for operation as the scalar walk.
HWY_INLINE Weights Barycentric(const Group& g, const CornerXY& p) {
    const DF df;
    const VF one = hn::Set(df, 1.0f);
    Weights w;
    BarycentricLanes(g.qx, g.qy, p.x0, p.y0, p.x1, p.y1, p.x2, p.y2, w.b0, w.b1, w.b2);
    const VF negEps = hn::Set(df, -kEps);
    auto within = [&](VF b) { return hn::And(hn::Ge(b, negEps), hn::Le(b, one)); };
    w.inside = hn::RebindMask(DI(), hn::And(hn::And(within(w.b0), within(w.b1)), within(w.b2)));
    return w;
}

// Next triangle from the search table, and whether the walk stops here.
HWY_INLINE Outcome NextStep(const Context& ctx, const Group& g, const Weights& w) {
    const DF df;
    const DI di;
    const MeshShape& shape = ctx.job.shape;
    const VI iOne = hn::Set(di, 1);
    const VI iMinusOne = hn::Set(di, -1);
    const VF zero = hn::Zero(df);
    const VI index = hn::Add(
        hn::ShiftLeft<3>(g.parity),
        hn::Add(hn::IfThenElseZero(hn::RebindMask(di, hn::Gt(w.b0, zero)), hn::Set(di, 4)),
                hn::Add(hn::IfThenElseZero(hn::RebindMask(di, hn::Gt(w.b1, zero)), hn::Set(di, 2)),
                        hn::IfThenElseZero(hn::RebindMask(di, hn::Gt(w.b2, zero)), iOne))));
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
    const MI done = hn::Or(hn::Or(w.inside, hn::Eq(next, g.tri)),
                           hn::Or(hn::Eq(next, g.prev), hn::Not(hn::Lt(stepsAfter, hn::Set(di, shape.searchLimit)))));
    return Outcome(next, stepsAfter, stepCol, stepRow, stepParity, done);
}

// out = b0 x A + b1 x B + b2 x C at each lane's query, A, B, C the values at
// its corners.
HWY_INLINE void Blend(const RowsJob& job, VI query, const Weights& w, VI ia, VI ib, VI ic) {
    VF ax, ay, bx, by, cx, cy;
    GatherPairs(job.values, ia, ax, ay);
    GatherPairs(job.values, ib, bx, by);
    GatherPairs(job.values, ic, cx, cy);
    ScatterPairs(job.out, query, BlendLanes(w.b0, w.b1, w.b2, ax, bx, cx),
                 BlendLanes(w.b0, w.b1, w.b2, ay, by, cy));
}

template <bool kThroughList, bool kStandard>
HWY_INLINE Outcome Evaluate(const Context& ctx, const Group& g) {
    VI ia, ib, ic;
    const CornerXY p = GatherCorners<kThroughList, kStandard>(ctx, g, ia, ib, ic);
    const Weights w = Barycentric(g, p);
    // Every lane writes its current query: a lane still walking writes a
    // provisional value that its final one overwrites later, and a lane with
    // no row left rewrites the identical final value of its last query.
    Blend(ctx.job, g.query, w, ia, ib, ic);
    return NextStep(ctx, g, w);
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

// Lockstep batches. Neighbouring query rows that are at the same column hit
// neighbouring cells, so a batch of rows walked column by column keeps its
// lanes within a few cells of each other. Their corners then come from a small
// block of mesh vertices held in registers, looked up per lane instead of
// gathered from memory, and the values are blended once per settled query.
// A lane that settles early waits for the others; it never skips ahead, so
// each lane still tests exactly the triangles of the sequential walk.

// A block of mesh vertices, 4 across and as many rows as two vectors hold,
// from the top-left vertex (row, col): vertex (r, c) at entry 4r + c of each
// table (positions x and y, values x and y).
constexpr int kWindowCols = 4;
constexpr int kWindowTables = 2;
struct Window {
    VF x[kWindowTables], y[kWindowTables], vx[kWindowTables], vy[kWindowTables];
    int row = -1, col = -1;

    Window() {
        for (int t = 0; t < kWindowTables; ++t) x[t] = y[t] = vx[t] = vy[t] = hn::Zero(DF());
    }

    static int vertices() { return kWindowTables * LaneCount(); }
    static int cellRows() { return vertices() / kWindowCols - 1; }

    // Vertices past the mesh edge are never read (no cell of the mesh uses
    // them) and are set to zero.
    void fill(const RowsJob& job, int topRow, int leftCol) {
        alignas(64) float table[4][kWindowTables * kMaxLanes];
        const int w = job.shape.cellsW + 1;
        for (int k = 0; k < vertices(); ++k) {
            const int r = topRow + k / kWindowCols, c = leftCol + k % kWindowCols;
            const bool onMesh = r <= job.shape.cellsH && c <= job.shape.cellsW;
            const int64_t v = onMesh ? int64_t{r} * w + c : 0;
            table[0][k] = onMesh ? job.meshXY[2 * v] : 0.0f;
            table[1][k] = onMesh ? job.meshXY[2 * v + 1] : 0.0f;
            table[2][k] = onMesh ? job.values[2 * v] : 0.0f;
            table[3][k] = onMesh ? job.values[2 * v + 1] : 0.0f;
        }
        const DF df;
        const size_t n = hn::Lanes(df);
        for (int t = 0; t < kWindowTables; ++t) {
            x[t] = hn::Load(df, table[0] + t * n);
            y[t] = hn::Load(df, table[1] + t * n);
            vx[t] = hn::Load(df, table[2] + t * n);
            vy[t] = hn::Load(df, table[3] + t * n);
        }
        row = topRow;
        col = leftCol;
    }

    // Whether each lane's cell lies in the block.
    MI covers(const Group& g) const {
        const DI di;
        const VI lr = hn::Sub(g.row, hn::Set(di, row));
        const VI lc = hn::Sub(g.col, hn::Set(di, col));
        const VI minusOne = hn::Set(di, -1);
        const MI inRows = hn::And(hn::Gt(lr, minusOne), hn::Lt(lr, hn::Set(di, cellRows())));
        const MI inCols = hn::And(hn::Gt(lc, minusOne), hn::Lt(lc, hn::Set(di, kWindowCols - 1)));
        return hn::And(inRows, inCols);
    }

    // Table entries of each lane's triangle corners (the standard corner
    // order), for lanes whose cell the block covers.
    void cornerEntries(const Group& g, VI& a, VI& b, VI& c) const {
        const DI di;
        const VI one = hn::Set(di, 1);
        const VI lr = hn::Sub(g.row, hn::Set(di, row));
        const VI lc = hn::Sub(g.col, hn::Set(di, col));
        const VI topLeft = hn::Add(hn::ShiftLeft<2>(lr), lc);
        const MI odd = hn::Eq(g.parity, one);
        b = hn::Add(topLeft, hn::Set(di, kWindowCols));
        a = hn::IfThenElse(odd, hn::Add(topLeft, one), topLeft);
        c = hn::IfThenElse(odd, hn::Add(b, one), hn::Add(topLeft, one));
    }

    // Entry `at` (0 .. 2 x lanes - 1) of a two-vector table.
    static VF LookUpIn(const VF* table, VI at) {
        const DF df;
        const DI di;
#if HWY_TARGET == HWY_AVX3
        if constexpr (hn::MaxLanes(DF()) == 16) {
            return VF{_mm512_permutex2var_ps(table[0].raw, at.raw, table[1].raw)};
        }
#endif
        const int n = static_cast<int>(hn::Lanes(df));
        const auto indices = hn::IndicesFromVec(df, hn::And(at, hn::Set(di, n - 1)));
        const MI upper = hn::Ne(hn::And(at, hn::Set(di, n)), hn::Zero(di));
        return hn::IfThenElse(hn::RebindMask(df, upper), hn::TableLookupLanes(table[1], indices),
                              hn::TableLookupLanes(table[0], indices));
    }
};

// Corners of every lane's triangle from the window, or, when some walking
// lane has left it, gathered from the mesh. Same vertices, same bits.
HWY_INLINE CornerXY WindowCorners(const Context& ctx, const Group& g, const Window& w,
                                  MI walking) {
    VI a, b, c;
    if (!hn::AllFalse(DI(), hn::AndNot(w.covers(g), walking))) {
        return GatherCorners<true, true>(ctx, g, a, b, c);
    }
    w.cornerEntries(g, a, b, c);
    CornerXY p;
    p.x0 = Window::LookUpIn(w.x, a);
    p.y0 = Window::LookUpIn(w.y, a);
    p.x1 = Window::LookUpIn(w.x, b);
    p.y1 = Window::LookUpIn(w.y, b);
    p.x2 = Window::LookUpIn(w.x, c);
    p.y2 = Window::LookUpIn(w.y, c);
    return p;
}

// The values at each lane's corners, blended and written to its query.
HWY_INLINE void WindowBlend(const Context& ctx, const Group& g, const Window& w,
                            const Weights& weights) {
    VI a, b, c;
    const DI di;
    if (!hn::AllTrue(di, w.covers(g))) {
        Corners<true>(ctx, g, a, b, c);
        Blend(ctx.job, g.query, weights, a, b, c);
        return;
    }
    w.cornerEntries(g, a, b, c);
    const VF ox = BlendLanes(weights.b0, weights.b1, weights.b2, Window::LookUpIn(w.vx, a),
                             Window::LookUpIn(w.vx, b), Window::LookUpIn(w.vx, c));
    const VF oy = BlendLanes(weights.b0, weights.b1, weights.b2, Window::LookUpIn(w.vy, a),
                             Window::LookUpIn(w.vy, b), Window::LookUpIn(w.vy, c));
    ScatterPairs(ctx.job.out, g.query, ox, oy);
}

// One batch of rows, walked column by column.
struct Batch {
    Group g;
    Window window;
    VF b0, b1, b2;  // weights of the lanes that have settled this column
    MI walking;     // lanes still walking this column
    int column = 0;
    bool live = false;

    Batch() : b0(hn::Zero(DF())), b1(b0), b2(b0), walking(hn::FirstN(DI(), 0)) {}

    // Rows in order from the feeder; lanes without a row repeat the batch's
    // last row and so write the same values to the same places.
    void start(const RowsJob& job, RowFeeder& feeder, int rowsPerBatch) {
        LaneState s = {};
        const int lanes = LaneCount();
        int rows = 0;
        for (; rows < rowsPerBatch && !feeder.exhausted(); ++rows) feeder.assign(s, rows);
        for (int lane = rows; lane < lanes; ++lane) copyLane(s, rows - 1, lane);
        g.load(s);
        column = 1;
        live = true;
        beginColumn(job);
    }

    void beginColumn(const RowsJob& job) {
        const DI di;
        walking = hn::FirstN(di, hn::Lanes(di));
        // The window keeps one cell above and left of the topmost and leftmost
        // seeds: walks step back from a seed that overshot.
        const int top = std::max(0, hn::GetLane(hn::MinOfLanes(di, g.row)) - 1);
        const int left = std::max(0, hn::GetLane(hn::MinOfLanes(di, g.col)) - 1);
        if (top != window.row || left != window.col) window.fill(job, top, left);
    }

    // Settled lanes keep their triangle and weights until every lane has
    // settled (see settle); a batch with no lane walking is left as it is.
    HWY_INLINE void update(const Weights& w, const Outcome& o) {
        const DF df;
        const MI settles = hn::And(walking, o.done);
        const auto settlesF = hn::RebindMask(df, settles);
        b0 = hn::IfThenElse(settlesF, w.b0, b0);
        b1 = hn::IfThenElse(settlesF, w.b1, b1);
        b2 = hn::IfThenElse(settlesF, w.b2, b2);
        walking = hn::AndNot(o.done, walking);
        g.prev = hn::IfThenElse(walking, g.tri, g.prev);
        g.steps = hn::IfThenElse(walking, o.stepsAfter, g.steps);
        g.tri = hn::IfThenElse(walking, o.next, g.tri);
        g.col = hn::IfThenElse(walking, hn::Add(g.col, o.stepCol), g.col);
        g.row = hn::IfThenElse(walking, hn::Add(g.row, o.stepRow), g.row);
        g.parity = hn::IfThenElse(walking, hn::Add(g.parity, o.stepParity), g.parity);
    }

    // Once every lane has settled, the batch writes the column and seeds the
    // next one. Kept apart from update: this branch waits for the divisions,
    // and the other batch's step, issued before it, need not be replayed when
    // it is mispredicted.
    HWY_INLINE void settle(const Context& ctx) {
        if (hn::AllFalse(DI(), walking)) finishColumn(ctx);
    }

    HWY_NOINLINE void finishColumn(const Context& ctx) {
        const DI di;
        const RowsJob& job = ctx.job;
        Weights w;
        w.b0 = b0;
        w.b1 = b1;
        w.b2 = b2;
        WindowBlend(ctx, g, window, w);
        if (++column == job.queryW) {
            live = false;
            return;
        }
        // The seed moves one cell right unless the hit was in the last column.
        const MI shiftRight = hn::Ne(g.col, hn::Set(di, job.shape.cellsW - 1));
        g.tri = hn::IfThenElse(shiftRight, hn::Add(g.tri, hn::Set(di, 2)), g.tri);
        g.col = hn::IfThenElse(shiftRight, hn::Add(g.col, hn::Set(di, 1)), g.col);
        g.prev = hn::Set(di, -1);
        g.steps = hn::Zero(di);
        g.query = hn::Add(g.query, hn::Set(di, 1));
        GatherPairs(job.queryXY, g.query, g.qx, g.qy);
        beginColumn(job);
    }

    static void copyLane(LaneState& s, int from, int to) {
        s.tri[to] = s.tri[from];
        s.row[to] = s.row[from];
        s.col[to] = s.col[from];
        s.parity[to] = s.parity[from];
        s.prev[to] = s.prev[from];
        s.steps[to] = s.steps[from];
        s.query[to] = s.query[from];
        s.rowEnd[to] = s.rowEnd[from];
        s.frozen[to] = s.frozen[from];
        s.qx[to] = s.qx[from];
        s.qy[to] = s.qy[from];
    }
};

// Two batches in flight: each step is one long chain of dependent operations
// (lookups, two divisions, the table step), so the batches' steps are
// interleaved phase by phase for the CPU to overlap them. A batch without
// rows has no lane walking and its step changes nothing.
constexpr int kBatches = 2;
HWY_INLINE void StepAll(const Context& ctx, Batch* batches) {
    CornerXY p[kBatches];
    Weights w[kBatches];
    Outcome o[kBatches];
    for (int k = 0; k < kBatches; ++k) {
        const Batch& b = batches[k];
        p[k] = WindowCorners(ctx, b.g, b.window, b.walking);
    }
    for (int k = 0; k < kBatches; ++k) w[k] = Barycentric(batches[k].g, p[k]);
    for (int k = 0; k < kBatches; ++k) o[k] = NextStep(ctx, batches[k].g, w[k]);
    for (int k = 0; k < kBatches; ++k) batches[k].update(w[k], o[k]);
}

void WalkRowsInLockstep(const RowsJob& job, const Packed& table, const RowsStart& from) {
    const Context ctx{job, table};
    RowFeeder feeder(job, from);
    // Rows spread evenly over the batches, so that a short grid does not end
    // with a batch of a few rows running alone.
    const int lanes = LaneCount();
    const int rows = job.queryH - from.row;
    const int batchCount = (rows + lanes - 1) / lanes;
    const int rowsPerBatch = (rows + batchCount - 1) / batchCount;
    Batch batches[kBatches];
    for (Batch& b : batches) {
        if (!feeder.exhausted()) b.start(job, feeder, rowsPerBatch);
    }
    bool anyLive = true;
    while (anyLive) {
        StepAll(ctx, batches);
        anyLive = false;
        for (Batch& b : batches) {
            if (!b.live) continue;
            b.settle(ctx);
            if (!b.live && !feeder.exhausted()) b.start(job, feeder, rowsPerBatch);
            anyLive = anyLive || b.live;
        }
    }
}

// Two groups of lanes in flight: one evaluation waits on gathers and
// divisions in a chain, and the other group's evaluation fills that wait.
template <bool kThroughList, bool kStandard>
void WalkRows(const RowsJob& job, const Packed& table, const RowsStart& from) {
    const Context ctx{job, table};
    RowFeeder feeder(job, from);
    const int lanes = LaneCount();
    const int groupCount = job.queryH - from.row >= 2 * lanes ? 2 : 1;
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

// Lockstep pays when a batch of rows stays within the window's rows: the
// batch spans about lanes x cellsH / queryH cell rows of an undistorted mesh,
// and the window keeps two rows spare for displacement and for walks that
// step past a hit. Either way the results are the same.
bool LockstepFits(const RowsJob& job) {
    const int64_t spareRows = Window::cellRows() - 2;
    return spareRows > 0 &&
           int64_t{LaneCount()} * job.shape.cellsH <= spareRows * job.queryH;
}

void WalkRowsDispatch(const RowsJob& job, const Packed& table, bool throughList, bool standard,
                      const RowsStart& from) {
    if (throughList) {
        if (standard && LockstepFits(job)) {
            WalkRowsInLockstep(job, table, from);
        } else if (standard) {
            WalkRows<true, true>(job, table, from);
        } else {
            WalkRows<true, false>(job, table, from);
        }
    } else if (standard) {
        WalkRows<false, true>(job, table, from);
    } else {
        WalkRows<false, false>(job, table, from);
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
HWY_EXPORT(LockstepFits);

int parallelLanes() { return HWY_DYNAMIC_DISPATCH(LaneCount)(); }

bool walksInLockstep(const RowsJob& job) {
    return job.meshXY != nullptr && job.queryW >= 2 && job.shape.hasCells() &&
           hasStandardConnectivity(job.triangles, job.shape.cellsW, job.shape.cellsH) &&
           HWY_DYNAMIC_DISPATCH(LockstepFits)(job);
}

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

namespace {

// The row-parallel loop from `from` on, in the form that suits the list.
void walkRowsFrom(const RowsJob& job, const RowsStart& from) {
    static const Packed table{packedTableColumn(0), packedTableColumn(1), packedTableColumn(2)};
    const bool standard =
        hasStandardConnectivity(job.triangles, job.shape.cellsW, job.shape.cellsH);
    HWY_DYNAMIC_DISPATCH(WalkRowsDispatch)(job, table, job.meshXY != nullptr, standard, from);
}

}  // namespace

void interpolateRowsParallel(const RowsJob& job) {
    if (job.queryH < parallelLanes() || job.queryW < 2 || !job.shape.hasCells()) {
        interpolateRowsSequential(job);
        return;
    }
    walkRowsFrom(job, RowsStart{});
}

bool interpolateRowsFrom(const RowsJob& job, int firstRow, int rowStartTri) {
    if (firstRow < 0 || job.queryH - firstRow < parallelLanes() || job.queryW < 2 ||
        !job.shape.hasCells() || !job.shape.isTriangle(rowStartTri)) {
        return false;
    }
    walkRowsFrom(job, RowsStart{firstRow, rowStartTri});
    return true;
}

namespace {

constexpr int64_t kLatticeQueriesPerVertex = 16;

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
    // The lattice loop pays for its check and its per-block set-up only with
    // many queries per vertex, as in the merge (about 80); on the
    // transformers' grids (a few per vertex) the row-parallel walk is faster.
    if (queries >= kLatticeQueriesPerVertex * vertices && interpolateRowsOnLattice(job)) return;
    interpolateRowsParallel(job);
}

void interpolateRowsOfFilledTable(const RowsJob& job, const float* meshXY) {
    const int64_t queries = int64_t{job.queryW} * job.queryH;
    const int64_t vertices = (int64_t{job.shape.cellsW} + 1) * (int64_t{job.shape.cellsH} + 1);
    const int64_t cornerFloats = 6 * int64_t{job.shape.numTriangles};
    // The triangle list is an int array; its bytes span as many floats as ints.
    const float* list = reinterpret_cast<const float*>(job.triangles);
    const bool readMesh = meshXY != nullptr && job.cornerTable != nullptr && queries > 0 &&
                          job.shape.hasCells() &&
                          !overlaps(job.cornerTable, cornerFloats, meshXY, 2 * vertices) &&
                          !overlaps(job.out, 2 * queries, meshXY, 2 * vertices) &&
                          !overlaps(job.out, 2 * queries, job.cornerTable, cornerFloats) &&
                          !overlaps(job.out, 2 * queries, list, 3 * int64_t{job.shape.numTriangles});
    if (!readMesh) {
        interpolateRows(job);
        return;
    }
    RowsJob throughMesh = job;
    throughMesh.meshXY = meshXY;
    interpolateRows(throughMesh);
}

}  // namespace mesh
}  // namespace velmo
#endif
