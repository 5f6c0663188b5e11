// The lattice query loop: the walk property it rests on, checked exhaustively
// in exact arithmetic, its lattice check, and its bits against the sequential
// loop on points placed to trip it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include <hwy/targets.h>

#include "vwmt/core/LatticeRows.h"
#include "vwmt/core/MeshGridUtility.h"
#include "vwmt/core/TriangleWalk.h"

namespace {

using namespace velmo::mesh;

// The walk towards T's centroid on the lattice scaled by 3 (corners and
// centroids integer), signs exact, from a start in the middle of a mesh
// large enough that its edge is never near: every target cell within reach,
// both parities of the start and of the target.
TEST(LatticeRows, EveryWalkWithinReachEndsOnTheTargetInsideTheSpannedCells) {
    const int size = 4 * kLatticeReach + 8, mid = size / 2, span = 2 * kLatticeReach + 1;
    const MeshShape shape{1000, size, size, 2 * size * size};
    static const int dx[2][3] = {{0, 0, 1}, {1, 0, 1}}, dy[2][3] = {{0, 1, 0}, {0, 1, 1}};
    for (int i = 0; i < 4 * span * span; ++i) {
        const int row = mid - kLatticeReach + i / 4 / span, col = mid - kLatticeReach + i / 4 % span;
        const int startParity = i / 2 % 2, parity = i % 2;
        const int64_t px = 3 * int64_t{col} + 1 + parity, py = 3 * int64_t{row} + 1 + parity;
        TrianglePlace at{2 * (mid * size + mid) + startParity, mid, mid, startParity};
        int prev = -1, steps = 0;
        SCOPED_TRACE(testing::Message() << "target " << row << "," << col << " parities " << startParity << parity);
        while (at.row != row || at.col != col || at.parity != parity) {
            int64_t x[3], y[3];
            for (int k = 0; k < 3; ++k) {
                x[k] = 3 * int64_t{at.col + dx[at.parity][k]};
                y[k] = 3 * int64_t{at.row + dy[at.parity][k]};
            }
            const int64_t det = (y[1] - y[2]) * (x[0] - x[2]) - (x[1] - x[2]) * (y[0] - y[2]);
            const int64_t n0 = (y[1] - y[2]) * (px - x[2]) - (x[1] - x[2]) * (py - y[2]);
            const int64_t n1 = -((y[0] - y[2]) * (px - x[2]) - (x[0] - x[2]) * (py - y[2]));
            // Weights n0 / det, n1 / det and the rest; only signs matter.
            const float sign[3] = {n0 * det > 0 ? 1.0f : -1.0f, n1 * det > 0 ? 1.0f : -1.0f,
                                   (det - n0 - n1) * det > 0 ? 1.0f : -1.0f};
            const TrianglePlace next = nextPlace(shape, at, sign);
            ASSERT_NE(next.tri, at.tri);
            ASSERT_NE(next.tri, prev);
            prev = std::exchange(at, next).tri;
            ASSERT_LE(++steps, kLatticeMaxSteps);
            // Between the start and the target, so no farther from either.
            ASSERT_EQ(std::abs(at.row - mid) + std::abs(row - at.row), std::abs(row - mid)) << "left the rows";
            ASSERT_EQ(std::abs(at.col - mid) + std::abs(col - at.col), std::abs(col - mid)) << "left the columns";
        }
    }
}

struct Lattice {
    int w, h;
    std::vector<float> xy, values;
    std::vector<int> tris;
};

Lattice makeLattice(int w, int h, float x0, float x1, float y0, float y1) {
    Lattice m{w, h, std::vector<float>(2 * w * h), std::vector<float>(2 * w * h),
              std::vector<int>(6 * (w - 1) * (h - 1))};
    VWMT::MeshGridUtility::sampleUniformMeshGrid(m.xy.data(), w, h, x0, x1, y0, y1);
    VWMT::MeshGridUtility::connectGridByTriangleMesh(m.tris.data(), w, h);
    for (int k = 0; k < 2 * w * h; ++k) m.values[k] = m.xy[k] + 3.0f * std::sin(0.37f * k);
    return m;
}

RowsJob jobOf(const Lattice& m, int qw, int qh, const std::vector<float>& queries, float* out) {
    return {{2 * (m.w + m.h - 2), m.w - 1, m.h - 1, 2 * (m.w - 1) * (m.h - 1)}, m.tris.data(), m.xy.data(), nullptr,
            qw, qh, m.values.data(), queries.data(), out};
}

// The 66 x 66 merge lattice and a 4 x 5 one are accepted below, where their
// queries run on the lattice.
TEST(LatticeRows, AcceptsEvenLatticesOnlyWithPositionsEqualBitForBit) {
    std::vector<float> io(2, 0.0f);  // one query, and an output the check never writes
    auto accepted = [&](const Lattice& m) { return isEvenLattice(jobOf(m, 1, 1, io, io.data())); };

    // Each lattice below is accepted until one thing is changed.
    EXPECT_TRUE(accepted(makeLattice(5, 4, 0.0f, 40.0f, 0.0f, 30.0f)));
    Lattice zero = makeLattice(5, 4, 0.0f, 40.0f, 0.0f, 30.0f);
    zero.xy[2 * 5] = -0.0f;  // row 1, column 0: equal to row 0's +0 but not its bits
    EXPECT_FALSE(accepted(zero)) << "-0 and +0 in one column";
    Lattice ulp = makeLattice(5, 4, 0.0f, 40.0f, 0.0f, 30.0f);
    ulp.xy[2 * 7 + 1] = std::nextafter(ulp.xy[2 * 7 + 1], 100.0f);
    EXPECT_FALSE(accepted(ulp)) << "one y off its row by one ulp";
    Lattice uneven = makeLattice(5, 4, 0.0f, 40.0f, 0.0f, 30.0f);
    for (int r = 0; r < 4; ++r) uneven.xy[2 * (r * 5 + 2)] += 0.01f;
    EXPECT_FALSE(accepted(uneven)) << "one column moved by 1e-3 of a cell";
    EXPECT_FALSE(accepted(makeLattice(5, 4, 40.0f, 0.0f, 0.0f, 30.0f))) << "x decreasing";
    Lattice nan = makeLattice(5, 4, 0.0f, 40.0f, 0.0f, 30.0f);
    for (int r = 0; r < 4; ++r) nan.xy[2 * (r * 5 + 4)] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(accepted(nan)) << "NaN column";
}

// Queries on and one ulp either side of lattice lines, diagonals and
// vertices, far off the mesh, NaN and infinite, and scattered inside.
std::vector<float> trickyQueries(const Lattice& m, int count, unsigned seed) {
    std::mt19937 random(seed);
    auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    std::vector<float> q;
    for (int k = 0; k < count; ++k) {
        const int c = pick(m.w - 1), r = pick(m.h - 1);
        const float xa = m.xy[2 * c], xb = m.xy[2 * c + 2];
        const float ya = m.xy[2 * r * m.w + 1], yb = m.xy[2 * (r + 1) * m.w + 1];
        const float t = unit(random);
        float x = xa + t * (xb - xa), y = ya + unit(random) * (yb - ya);
        switch (pick(12)) {
            case 0: x = xa; break;
            case 1: y = yb; break;
            case 2: x = xb; y = ya; break;           // vertex
            case 3: y = yb - t * (yb - ya); break;  // on the diagonal
            case 4: x = std::nextafter(xa, -inf); break;
            case 5: y = std::nextafter(ya, inf); break;
            case 6: x = (pick(2) ? 1.0f : -1.0f) * (pick(2) ? 1e30f : 3.0f * (xb - xa) * m.w); break;
            case 7: y = pick(2) ? nan : -inf; break;
            default: break;  // scattered inside, mostly clear of the lines
        }
        if (pick(4) == 0) x = std::nextafter(x, pick(2) ? inf : -inf);
        q.insert(q.end(), {x, y});
    }
    return q;
}

// A query grid turned slightly about the mesh centre and scaled by (sx, sy):
// shrunk a little it is what the merge gives, stretched it lies mostly off
// the mesh, where the rows left after the first few are handed to the
// row-parallel walk from the exact first hit.
std::vector<float> rotatedQueries(const Lattice& m, int qw, int qh, double sx, double sy) {
    const double x0 = m.xy[0], y0 = m.xy[1];
    const double width = m.xy[2 * (m.w - 1)] - x0, height = m.xy[2 * m.w * (m.h - 1) + 1] - y0;
    std::vector<float> q;
    for (int i = 0; i < qw * qh; ++i) {
        const double u = i % qw * width / (qw - 1) - 0.5 * width, v = i / qw * height / (qh - 1) - 0.5 * height;
        q.push_back(static_cast<float>(x0 + 0.5 * width + sx * (u * std::cos(0.004) - v * std::sin(0.004))));
        q.push_back(static_cast<float>(y0 + 0.5 * height + sy * (u * std::sin(0.004) + v * std::cos(0.004))));
    }
    return q;
}

void expectSequentialBits(const Lattice& m, int qw, int qh, const std::vector<float>& queries, LatticeCounts* total) {
    std::vector<float> expected(queries.size(), -1.0f), actual(queries.size(), -2.0f);
    interpolateRowsSequential(jobOf(m, qw, qh, queries, expected.data()));
    LatticeCounts counts;
    ASSERT_TRUE(interpolateRowsOnLattice(jobOf(m, qw, qh, queries, actual.data()), &counts)) << qw << " x " << qh;
    ASSERT_EQ(counts.located + counts.walked + counts.handedOver, int64_t{qw} * qh);
    *total = {total->located + counts.located, total->walked + counts.walked, total->handedOver + counts.handedOver};
    ASSERT_EQ(std::memcmp(expected.data(), actual.data(), expected.size() * sizeof(float)), 0) << qw << " x " << qh;
}

TEST(LatticeRows, BitIdenticalToTheSequentialLoopOnEveryTarget) {
    const Lattice meshes[] = {makeLattice(66, 66, 0.0f, 1919.0f, 0.0f, 1079.0f),
                              makeLattice(4, 5, -7.0f, 3.0f, 100.0f, 103.0f),
                              makeLattice(9, 5, -300.0f, 2.5f, 0.0f, 4000.0f)};
    for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        SCOPED_TRACE(hwy::TargetName(target));
        LatticeCounts total;
        for (const Lattice& m : meshes) {
            SCOPED_TRACE(testing::Message() << "mesh " << m.w << "x" << m.h);
            for (int qw : {1, 3, 4, 7, 8, 15, 16, 17, 37}) {
                expectSequentialBits(m, qw, 9, trickyQueries(m, qw * 9, 11 * qw), &total);
            }
            // The shapes tell the grid over the mesh from the one mostly off it.
            expectSequentialBits(m, 83, 41, rotatedQueries(m, 83, 41, 0.985, 0.985), &total);
            expectSequentialBits(m, 83, 40, rotatedQueries(m, 83, 40, 2.955, 1.97), &total);
        }
        // Every kind of query occurred, so every path was compared.
        EXPECT_GT(total.located, 5000);
        EXPECT_GT(total.walked, 300);
        EXPECT_GT(total.handedOver, 1000);
    }
    hwy::SetSupportedTargetsForTest(0);
}

}  // namespace
