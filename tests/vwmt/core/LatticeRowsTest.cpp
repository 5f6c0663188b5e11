// The lattice query loop: the walk property it rests on, checked exhaustively
// in exact arithmetic, its lattice check, and its bits against the sequential
// loop on points placed to trip it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <hwy/targets.h>

#include "vwmt/core/LatticeRows.h"
#include "vwmt/core/MeshGridUtility.h"
#include "vwmt/core/TriangleWalk.h"

namespace {

using velmo::mesh::kLatticeMaxSteps;
using velmo::mesh::kLatticeReach;
using velmo::mesh::MeshShape;
using velmo::mesh::RowsJob;
using velmo::mesh::TrianglePlace;

// The walk towards T's centroid on the lattice scaled by 3 (corners and
// centroids integer), signs exact, from a start in the middle of a mesh
// large enough that its edge is never near.
TEST(LatticeRows, EveryWalkWithinReachEndsOnTheTargetInsideTheSpannedCells) {
    const int size = 4 * kLatticeReach + 8, mid = size / 2;
    const MeshShape shape{1000, size, size, 2 * size * size};
    auto corner = [](int row, int col, int parity, int k, int64_t* x, int64_t* y) {
        static const int dx[2][3] = {{0, 0, 1}, {1, 0, 1}}, dy[2][3] = {{0, 1, 0}, {0, 1, 1}};
        *x = 3 * int64_t{col + dx[parity][k]};
        *y = 3 * int64_t{row + dy[parity][k]};
    };
    for (int dr = -kLatticeReach; dr <= kLatticeReach; ++dr) {
        for (int dc = -kLatticeReach; dc <= kLatticeReach; ++dc) {
            for (int from = 0; from < 4; ++from) {
                const int startParity = from / 2, parity = from % 2;
                const int row = mid + dr, col = mid + dc;
                const int64_t px = 3 * int64_t{col} + 1 + parity, py = 3 * int64_t{row} + 1 + parity;
                TrianglePlace at{2 * (mid * size + mid) + startParity, mid, mid, startParity};
                int prev = -1, steps = 0;
                const std::string what = "offset " + std::to_string(dr) + "," + std::to_string(dc) +
                                         " parities " + std::to_string(startParity) + std::to_string(parity);
                while (at.row != row || at.col != col || at.parity != parity) {
                    int64_t x[3], y[3];
                    for (int k = 0; k < 3; ++k) corner(at.row, at.col, at.parity, k, &x[k], &y[k]);
                    const int64_t det = (y[1] - y[2]) * (x[0] - x[2]) - (x[1] - x[2]) * (y[0] - y[2]);
                    const int64_t n0 = (y[1] - y[2]) * (px - x[2]) - (x[1] - x[2]) * (py - y[2]);
                    const int64_t n1 = -((y[0] - y[2]) * (px - x[2]) - (x[0] - x[2]) * (py - y[2]));
                    // Weights n0 / det, n1 / det and the rest; only signs matter.
                    const float sign[3] = {n0 * det > 0 ? 1.0f : -1.0f, n1 * det > 0 ? 1.0f : -1.0f,
                                           (det - n0 - n1) * det > 0 ? 1.0f : -1.0f};
                    const TrianglePlace next = velmo::mesh::nextPlace(shape, at, sign);
                    ASSERT_NE(next.tri, at.tri) << what;
                    ASSERT_NE(next.tri, prev) << what;
                    prev = at.tri;
                    at = next;
                    ++steps;
                    ASSERT_LE(steps, kLatticeMaxSteps) << what;
                    ASSERT_TRUE(at.row >= std::min(mid, row) && at.row <= std::max(mid, row) &&
                                at.col >= std::min(mid, col) && at.col <= std::max(mid, col))
                        << what << ": left the spanned cells";
                }
            }
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
    for (int v = 0; v < w * h; ++v) {
        m.values[2 * v] = m.xy[2 * v] + 3.0f * std::sin(0.37f * v);
        m.values[2 * v + 1] = m.xy[2 * v + 1] - 2.0f * std::cos(0.23f * v);
    }
    return m;
}

RowsJob jobOf(const Lattice& m, int qw, int qh, const std::vector<float>& queries, float* out) {
    const int cw = m.w - 1, ch = m.h - 1;
    return {{2 * (cw + ch), cw, ch, 2 * cw * ch}, m.tris.data(), m.xy.data(), nullptr, qw, qh,
            m.values.data(), queries.data(), out};
}

TEST(LatticeRows, AcceptsEvenLatticesOnlyWithPositionsEqualBitForBit) {
    const Lattice merge = makeLattice(66, 66, 0.0f, 1919.0f, 0.0f, 1079.0f);
    const std::vector<float> queries(2, 0.0f);
    float out[2];
    EXPECT_TRUE(velmo::mesh::isEvenLattice(jobOf(merge, 1, 1, queries, out)));
    auto accepted = [&](Lattice m) { return velmo::mesh::isEvenLattice(jobOf(m, 1, 1, queries, out)); };

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
    Lattice flipped = makeLattice(5, 4, 40.0f, 0.0f, 0.0f, 30.0f);
    EXPECT_FALSE(accepted(flipped)) << "x decreasing";
    Lattice nan = makeLattice(5, 4, 0.0f, 40.0f, 0.0f, 30.0f);
    for (int r = 0; r < 4; ++r) nan.xy[2 * (r * 5 + 4)] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(accepted(nan)) << "NaN column";
    EXPECT_TRUE(accepted(makeLattice(4, 5, -7.0f, 3.0f, 100.0f, 103.0f)));
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
            case 2: x = xb; y = ya; break;                               // vertex
            case 3: x = xa + t * (xb - xa); y = yb - t * (yb - ya); break;  // on the diagonal
            case 4: x = std::nextafter(xa, -inf); break;
            case 5: y = std::nextafter(ya, inf); break;
            case 6: x = (pick(2) ? 1.0f : -1.0f) * (pick(2) ? 1e30f : 3.0f * (xb - xa) * m.w); break;
            case 7: y = pick(2) ? nan : -inf; break;
            default: break;  // scattered inside, mostly clear of the lines
        }
        if (pick(4) == 0) x = std::nextafter(x, pick(2) ? inf : -inf);
        q.push_back(x);
        q.push_back(y);
    }
    return q;
}

// A rotated, slightly shrunk query grid over the mesh, as the merge gives.
std::vector<float> rotatedQueries(int qw, int qh, float width, float height) {
    std::vector<float> q;
    for (int r = 0; r < qh; ++r) {
        for (int c = 0; c < qw; ++c) {
            const double u = (qw > 1 ? c * width / (qw - 1) : 0.0) - 0.5 * width;
            const double v = (qh > 1 ? r * height / (qh - 1) : 0.0) - 0.5 * height;
            q.push_back(static_cast<float>(0.985 * (u * std::cos(0.004) - v * std::sin(0.004)) + 0.5 * width));
            q.push_back(static_cast<float>(0.985 * (u * std::sin(0.004) + v * std::cos(0.004)) + 0.5 * height));
        }
    }
    return q;
}

void expectSequentialBits(const Lattice& m, int qw, int qh, const std::vector<float>& queries,
                          velmo::mesh::LatticeCounts* total, const std::string& what) {
    std::vector<float> expected(queries.size(), -1.0f), actual(queries.size(), -2.0f);
    velmo::mesh::interpolateRowsSequential(jobOf(m, qw, qh, queries, expected.data()));
    velmo::mesh::LatticeCounts counts;
    ASSERT_TRUE(velmo::mesh::interpolateRowsOnLattice(jobOf(m, qw, qh, queries, actual.data()), &counts))
        << what;
    ASSERT_EQ(counts.located + counts.walked + counts.handedOver, int64_t{qw} * qh) << what;
    total->located += counts.located;
    total->walked += counts.walked;
    total->handedOver += counts.handedOver;
    for (size_t k = 0; k < expected.size(); ++k) {
        ASSERT_EQ(std::memcmp(&expected[k], &actual[k], sizeof(float)), 0)
            << what << " query " << qw << " x " << qh << " at " << k / 2 << ": " << expected[k]
            << " != " << actual[k];
    }
}

TEST(LatticeRows, BitIdenticalToTheSequentialLoopOnEveryTarget) {
    const Lattice meshes[] = {makeLattice(66, 66, 0.0f, 1919.0f, 0.0f, 1079.0f),
                              makeLattice(4, 5, -7.0f, 3.0f, 100.0f, 103.0f),
                              makeLattice(9, 5, -300.0f, 2.5f, 0.0f, 4000.0f)};
    int targets = 0;
    for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        ++targets;
        velmo::mesh::LatticeCounts total;
        for (const Lattice& m : meshes) {
            const std::string what = std::string(hwy::TargetName(target)) + " mesh " +
                                     std::to_string(m.w) + "x" + std::to_string(m.h);
            for (int qw : {1, 3, 4, 7, 8, 15, 16, 17, 37}) {
                const int qh = 9;
                expectSequentialBits(m, qw, qh, trickyQueries(m, qw * qh, 11 * qw), &total, what + " tricky");
            }
            const float width = m.xy[2 * (m.w - 1)] - m.xy[0], height = m.xy[2 * m.w * (m.h - 1) + 1] - m.xy[1];
            std::vector<float> grid = rotatedQueries(83, 41, width, height);
            for (size_t k = 0; k < grid.size(); k += 2) {
                grid[k] += m.xy[0];
                grid[k + 1] += m.xy[1];
            }
            expectSequentialBits(m, 83, 41, grid, &total, what + " rotated");
            // Mostly off the mesh: the rows left after the first few are
            // handed to the row-parallel walk from the exact first hit.
            for (size_t k = 0; k < grid.size(); k += 2) {
                grid[k] = 3.0f * (grid[k] - m.xy[0]) - width + m.xy[0];
                grid[k + 1] = 2.0f * (grid[k + 1] - m.xy[1]) - 0.5f * height + m.xy[1];
            }
            expectSequentialBits(m, 83, 41, grid, &total, what + " mostly off");
        }
        // Both kinds of query occurred, so both paths were compared.
        EXPECT_GT(total.located, 5000) << hwy::TargetName(target);
        EXPECT_GT(total.walked, 300) << hwy::TargetName(target);
        EXPECT_GT(total.handedOver, 1000) << hwy::TargetName(target);
        std::printf("%s: %lld located, %lld walked, %lld handed over\n", hwy::TargetName(target),
                    static_cast<long long>(total.located), static_cast<long long>(total.walked),
                    static_cast<long long>(total.handedOver));
    }
    hwy::SetSupportedTargetsForTest(0);
    EXPECT_GT(targets, 0);
}

}  // namespace
