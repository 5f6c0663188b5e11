// The triangle walk against an independent containment search, and the query
// loop's fast path against the sequential loop.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <hwy/targets.h>

#include "vwmt/MeshTestSupport.h"
#include "vwmt/core/MemoryManager.h"
#include "vwmt/core/MeshInterpolator.h"
#include "vwmt/core/MeshQueryRows.h"
#include "vwmt/core/TriangleWalk.h"

namespace {

using VWMT::MemoryManager;
using VWMT::MeshInterpolator;
using velmo::testing::containingTriangles;
using velmo::testing::makeMesh;
using velmo::testing::makeQueries;
using velmo::testing::TestMesh;

constexpr int kArenaBytes = 16 * 1024 * 1024;

struct Walker {
    TestMesh mesh;
    MemoryManager arena;
    MeshInterpolator interp;
    explicit Walker(TestMesh m, int queryW = 1, int queryH = 1)
        : mesh(std::move(m)),
          arena(kArenaBytes, nullptr, 0, 0, mesh.w, mesh.h, 0, 0, 0, 0, 0, 0),
          interp(&arena, 0, mesh.w, mesh.h, mesh.tris.data(), queryW, queryH) {
        interp.fill_ref_MeshTriangleVertXY_In(mesh.xy.data());
    }
    int triangles() const { return static_cast<int>(mesh.tris.size() / 3); }
    // Walks both ways and checks that the table and mesh-reading walks agree.
    int walk(float x, float y, int start, int* tri, float* bary) {
        int optTri = -1;
        float optBary[3];
        const int found = interp.findTriangleBelonging(x, y, start, tri, bary);
        const int optFound =
            interp.findTriangleBelongingOpt(x, y, start, &optTri, optBary, mesh.xy.data());
        EXPECT_EQ(found, optFound);
        EXPECT_EQ(*tri, optTri);
        EXPECT_EQ(std::memcmp(bary, optBary, sizeof optBary), 0);
        return found;
    }
};

// A point at fixed barycentric weights of a triangle, placed in double.
void pointIn(const TestMesh& mesh, int tri, const double* w, float* x, float* y) {
    const int* v = &mesh.tris[3 * tri];
    double px = 0, py = 0;
    for (int k = 0; k < 3; ++k) {
        px += w[k] * mesh.xy[2 * v[k]];
        py += w[k] * mesh.xy[2 * v[k] + 1];
    }
    *x = static_cast<float>(px);
    *y = static_cast<float>(py);
}

std::vector<int> someStarts(int triangles) {
    return {0, triangles - 1, triangles / 2, triangles / 3 | 1};
}

class MeshWalkKinds : public ::testing::TestWithParam<int> {};

TEST_P(MeshWalkKinds, InteriorPointsAreFoundInTheirOnlyTriangle) {
    Walker w(makeMesh(9, 7, 320, 240, GetParam()));
    const double weights[3][3] = {{0.2, 0.3, 0.5}, {0.6, 0.2, 0.2}, {0.1, 0.1, 0.8}};
    int found = 0, total = 0;
    for (int t = 0; t < w.triangles(); ++t) {
        for (const double* wt : weights) {
            float x, y;
            pointIn(w.mesh, t, wt, &x, &y);
            ASSERT_EQ(containingTriangles(w.mesh, x, y, 0.0), std::vector<int>{t});
            for (int start : someStarts(w.triangles())) {
                int tri = -1;
                float bary[3];
                const int hit = w.walk(x, y, start, &tri, bary);
                ++total;
                found += hit;
                // A strongly jittered mesh may stop the walk early; whatever
                // it reports is then the triangle whose coordinates it gave.
                if (hit) {
                    EXPECT_EQ(tri, t) << "start " << start;
                } else {
                    EXPECT_NE(GetParam(), 0) << "triangle " << t << " start " << start;
                    float again[3];
                    w.interp.getBarycentricCoords(x, y, w.interp.triangleVertexTable() + 6 * tri, again);
                    EXPECT_EQ(std::memcmp(bary, again, sizeof again), 0);
                }
            }
        }
    }
    if (GetParam() != 2) {
        EXPECT_EQ(found, total);
    }
}

TEST_P(MeshWalkKinds, VerticesAreFoundInAnAdjacentTriangle) {
    Walker w(makeMesh(7, 6, 300, 200, GetParam()));
    for (int v = 0; v < w.mesh.w * w.mesh.h; ++v) {
        const float x = w.mesh.xy[2 * v], y = w.mesh.xy[2 * v + 1];
        std::vector<int> adjacent;
        for (int t = 0; t < w.triangles(); ++t) {
            const int* c = &w.mesh.tris[3 * t];
            if (c[0] == v || c[1] == v || c[2] == v) adjacent.push_back(t);
        }
        for (int start = 0; start < w.triangles(); ++start) {
            int tri = -1;
            float bary[3];
            const int hit = w.walk(x, y, start, &tri, bary);
            const bool startAdjacent = std::count(adjacent.begin(), adjacent.end(), start) > 0;
            if (startAdjacent) {
                // Found in the first triangle tested.
                EXPECT_EQ(hit, 1);
                EXPECT_EQ(tri, start);
            } else if (hit) {
                EXPECT_TRUE(std::count(adjacent.begin(), adjacent.end(), tri) > 0)
                    << "vertex " << v << " start " << start << " tri " << tri;
            } else {
                EXPECT_EQ(GetParam(), 2) << "vertex " << v << " start " << start;
            }
        }
    }
}

TEST_P(MeshWalkKinds, PointsOutsideTheMeshAreNotFound) {
    Walker w(makeMesh(6, 5, 250, 160, GetParam()));
    const std::vector<float> ring = makeQueries(9, 9, -200, 450, -150, 310);
    for (size_t i = 0; i < ring.size(); i += 2) {
        const float x = ring[i], y = ring[i + 1];
        if (x > -100 && x < 350 && y > -60 && y < 220) continue;  // keep the far ring only
        ASSERT_TRUE(containingTriangles(w.mesh, x, y, 1e-6).empty());
        for (int start : someStarts(w.triangles())) {
            int tri = -1;
            float bary[3];
            EXPECT_EQ(w.walk(x, y, start, &tri, bary), 0) << x << "," << y;
            EXPECT_TRUE(tri >= 0 && tri < w.triangles());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(UniformSmoothStrong, MeshWalkKinds, ::testing::Values(0, 1, 2));

TEST(MeshWalkEdges, EdgePointsOfAUniformMeshAreFoundFirstTry) {
    // Even cell sizes keep every edge midpoint exact in float.
    Walker w(makeMesh(5, 4, 64, 48, 0));
    for (int t = 0; t < w.triangles(); ++t) {
        const int* c = &w.mesh.tris[3 * t];
        for (int e = 0; e < 3; ++e) {
            const int a = c[e], b = c[(e + 1) % 3];
            const float x = 0.5f * (w.mesh.xy[2 * a] + w.mesh.xy[2 * b]);
            const float y = 0.5f * (w.mesh.xy[2 * a + 1] + w.mesh.xy[2 * b + 1]);
            const std::vector<int> sharing = containingTriangles(w.mesh, x, y, 0.0);
            ASSERT_TRUE(std::count(sharing.begin(), sharing.end(), t) > 0);
            int tri = -1;
            float bary[3];
            EXPECT_EQ(w.walk(x, y, t, &tri, bary), 1);
            EXPECT_EQ(tri, t);
            for (int start : someStarts(w.triangles())) {
                EXPECT_EQ(w.walk(x, y, start, &tri, bary), 1);
                EXPECT_TRUE(std::count(sharing.begin(), sharing.end(), tri) > 0);
            }
        }
    }
}

TEST(MeshWalkEdges, LeftOfTheFirstColumnStopsAtOnce) {
    Walker w(makeMesh(3, 3, 20, 20, 0));
    int tri = -1;
    float bary[3];
    EXPECT_EQ(w.walk(-5.0f, 3.0f, 0, &tri, bary), 0);
    EXPECT_EQ(tri, 0);
    EXPECT_FLOAT_EQ(bary[0], 1.2f);
    EXPECT_FLOAT_EQ(bary[1], 0.3f);
    EXPECT_FLOAT_EQ(bary[2], -0.5f);
}

// Records which triangles the walk reads.
struct RecordingCorners {
    velmo::mesh::MeshCorners inner;
    std::vector<int>* seen;
    void operator()(int tri, float* corners) const {
        seen->push_back(tri);
        inner(tri, corners);
    }
};

TEST(MeshWalkLimit, ReportsTheLastTriangleComputed) {
    int limited = 0, stoppedEarly = 0;
    for (unsigned seed = 1; seed <= 40; ++seed) {
        // Jitter past half a cell folds triangles, which sends walks round.
        TestMesh mesh = makeMesh(8, 6, 140, 100, 2, 0.9, seed);
        MemoryManager arena(kArenaBytes, nullptr, 0, 0, mesh.w, mesh.h, 0, 0, 0, 0, 0, 0);
        MeshInterpolator interp(&arena, 0, mesh.w, mesh.h, mesh.tris.data(), 1, 1);
        const velmo::mesh::MeshShape shape{interp.searchLimit(), interp.cellsW(), interp.cellsH(),
                                           interp.numTriangles()};
        const std::vector<float> points = makeQueries(12, 10, -10, 150, -10, 110);
        for (size_t i = 0; i < points.size(); i += 2) {
            std::vector<int> seen;
            RecordingCorners corners{{mesh.tris.data(), mesh.xy.data()}, &seen};
            velmo::mesh::NoCount counter;
            int tri = -1;
            float bary[3];
            const int hit = velmo::mesh::walk(shape, corners, counter, points[i], points[i + 1], 0,
                                              &tri, bary);
            ASSERT_FALSE(seen.empty());
            EXPECT_EQ(tri, seen.back());
            EXPECT_LE(static_cast<int>(seen.size()), shape.searchLimit);
            if (!hit && static_cast<int>(seen.size()) == shape.searchLimit) ++limited;
            if (!hit && static_cast<int>(seen.size()) < shape.searchLimit) ++stoppedEarly;
            int plain = -1;
            float plainBary[3];
            EXPECT_EQ(interp.findTriangleBelongingOpt(points[i], points[i + 1], 0, &plain, plainBary,
                                                      mesh.xy.data()),
                      hit);
            EXPECT_EQ(plain, tri);
        }
    }
    EXPECT_GT(limited, 0);
    EXPECT_GT(stoppedEarly, 0);
}

// ---- query loop ------------------------------------------------------------

// Values of an affine map at the mesh vertices.
std::vector<float> affineValues(const std::vector<float>& xy, double (*fx)(double, double),
                                double (*fy)(double, double)) {
    std::vector<float> values(xy.size());
    for (size_t i = 0; i < xy.size(); i += 2) {
        values[i] = static_cast<float>(fx(xy[i], xy[i + 1]));
        values[i + 1] = static_cast<float>(fy(xy[i], xy[i + 1]));
    }
    return values;
}

double affineX(double x, double y) { return 0.75 * x - 0.125 * y + 31.5; }
double affineY(double x, double y) { return 0.0625 * x + 1.25 * y - 7.0; }

TEST_P(MeshWalkKinds, QueryLoopReproducesAffineMapsInsideAndOutside) {
    const TestMesh mesh = makeMesh(12, 9, 640, 480, GetParam());
    const std::vector<float> values = affineValues(mesh.xy, affineX, affineY);
    for (const auto& grid : {makeQueries(33, 25, 0, 640, 0, 480), makeQueries(20, 17, -60, 700, -40, 520)}) {
        const int qw = grid.size() == 33 * 25 * 2 ? 33 : 20, qh = grid.size() == 33 * 25 * 2 ? 25 : 17;
        Walker w(mesh, qw, qh);
        std::vector<float> queries = grid, out(grid.size()), outOpt(grid.size());
        w.interp.interpolateByMesh(w.mesh.xy.data(), const_cast<float*>(values.data()), queries.data(), out.data());
        w.interp.interpolateByMeshOpt(w.mesh.xy.data(), const_cast<float*>(values.data()), queries.data(), outOpt.data());
        EXPECT_EQ(std::memcmp(out.data(), outOpt.data(), out.size() * sizeof(float)), 0);
        for (size_t i = 0; i < out.size(); i += 2) {
            const double ex = affineX(queries[i], queries[i + 1]);
            const double ey = affineY(queries[i], queries[i + 1]);
            // Float rounding of weights that grow with the distance from the
            // last triangle tried.
            EXPECT_NEAR(out[i], ex, 2e-3) << i / 2;
            EXPECT_NEAR(out[i + 1], ey, 2e-3) << i / 2;
        }
    }
}

// The row-parallel loop must give exactly the sequential loop's bits, for
// every row count and width around the lane count, on every SIMD target.
void expectRowsMatchSequential(const TestMesh& mesh, int qw, int qh, double x0, double x1,
                               double y0, double y1, bool throughList, const std::string& what,
                               bool* inLockstep = nullptr) {
    MemoryManager arena(kArenaBytes, nullptr, 0, 0, mesh.w, mesh.h, 0, 0, 0, 0, 0, 0);
    MeshInterpolator interp(&arena, 0, mesh.w, mesh.h, const_cast<int*>(mesh.tris.data()), qw, qh);
    interp.fill_ref_MeshTriangleVertXY_In(const_cast<float*>(mesh.xy.data()));
    const std::vector<float> values = affineValues(mesh.xy, affineY, affineX);
    const std::vector<float> queries = makeQueries(qw, qh, x0, x1, y0, y1);
    velmo::mesh::RowsJob job{{interp.searchLimit(), interp.cellsW(), interp.cellsH(), interp.numTriangles()},
                             mesh.tris.data(), throughList ? mesh.xy.data() : nullptr,
                             interp.triangleVertexTable(), qw, qh, values.data(), queries.data(), nullptr};
    if (inLockstep != nullptr) *inLockstep = velmo::mesh::walksInLockstep(job);
    std::vector<float> expected(queries.size(), -1.0f), actual(queries.size(), -2.0f);
    job.out = expected.data();
    velmo::mesh::interpolateRowsSequential(job);
    job.out = actual.data();
    velmo::mesh::interpolateRowsParallel(job);
    ASSERT_EQ(std::memcmp(expected.data(), actual.data(), expected.size() * sizeof(float)), 0)
        << what << " query " << qw << " x " << qh;
}

TEST(MeshRowsParallel, BitIdenticalToTheSequentialLoopOnEveryTarget) {
    // The last mesh lists each triangle's corners in another order, which
    // sends the fast path to read the list instead of deriving corners.
    TestMesh rotated = makeMesh(12, 9, 400, 300, 1);
    for (size_t t = 0; t < rotated.tris.size(); t += 3) {
        std::rotate(rotated.tris.begin() + t, rotated.tris.begin() + t + 1, rotated.tris.begin() + t + 3);
    }
    const TestMesh meshes[] = {makeMesh(2, 2, 50, 50, 0), makeMesh(9, 4, 300, 90, 1),
                               makeMesh(28, 28, 1920, 1080, 1), makeMesh(11, 8, 200, 150, 2, 0.35),
                               makeMesh(10, 7, 200, 150, 2, 0.9, 3), rotated};
    std::vector<int> lanesSeen;
    for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        const int lanes = velmo::mesh::parallelLanes();
        lanesSeen.push_back(lanes);
        for (const TestMesh& mesh : meshes) {
            // Row counts around one and two lane loads (rows are handed to
            // lanes as they free up), and every short row width.
            const int rowCounts[] = {1, 2, 3, lanes - 1, lanes, lanes + 1, 2 * lanes - 1,
                                     2 * lanes, 2 * lanes + 1, 3 * lanes + 5};
            for (int qh : rowCounts) {
                if (qh < 1) continue;
                for (int qw = 1; qw <= 2 * lanes + 3; qw += (qw < 8 ? 1 : 5)) {
                    const std::string what = std::string(hwy::TargetName(target)) + " mesh " +
                                             std::to_string(mesh.w) + "x" + std::to_string(mesh.h);
                    // Mostly inside, with a margin outside that is extrapolated.
                    const double W = mesh.xy[2 * (mesh.w - 1)], H = mesh.xy[2 * mesh.w * (mesh.h - 1) + 1];
                    expectRowsMatchSequential(mesh, qw, qh, -0.1 * W, 1.1 * W, -0.1 * H, 1.1 * H, true, what);
                    expectRowsMatchSequential(mesh, qw, qh, 0.0, W, 0.0, H, false, what + " table");
                }
            }
        }
    }
    hwy::SetSupportedTargetsForTest(0);
    ASSERT_FALSE(lanesSeen.empty());
}

// Grids with many more query rows than mesh rows are walked in lockstep
// batches of rows that read their corners from a block of vertices held in
// registers; lanes whose walk leaves the block, rows left over after the last
// full batch, and walks across folded cells must still give the sequential
// loop's bits.
TEST(MeshRowsParallel, LockstepBatchesMatchSequentialOnEveryTarget) {
    const TestMesh meshes[] = {makeMesh(5, 4, 120, 90, 0), makeMesh(9, 6, 300, 200, 1),
                               makeMesh(10, 7, 200, 150, 2, 0.35),
                               makeMesh(10, 7, 200, 150, 2, 0.9, 5)};
    int lockstepTargets = 0;
    for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        const int lanes = velmo::mesh::parallelLanes();
        // Two batches and a part batch, for every lane count up to 16.
        const int qh = 6 * lanes + 3;
        bool anyLockstep = false;
        for (const TestMesh& mesh : meshes) {
            const double W = mesh.xy[2 * (mesh.w - 1)], H = mesh.xy[2 * mesh.w * (mesh.h - 1) + 1];
            for (int qw = 2; qw <= 2 * lanes + 3; qw += (qw < 6 ? 1 : 7)) {
                const std::string what = std::string(hwy::TargetName(target)) + " lockstep mesh " +
                                         std::to_string(mesh.w) + "x" + std::to_string(mesh.h);
                bool inLockstep = false;
                expectRowsMatchSequential(mesh, qw, qh, -0.15 * W, 1.1 * W, -0.1 * H, 1.15 * H, true,
                                          what, &inLockstep);
                anyLockstep = anyLockstep || inLockstep;
            }
        }
        // Four-lane targets have too small a block to batch rows.
        if (lanes >= 8) {
            EXPECT_TRUE(anyLockstep) << hwy::TargetName(target);
            ++lockstepTargets;
        }
    }
    hwy::SetSupportedTargetsForTest(0);
    std::printf("lockstep batches checked on %d targets\n", lockstepTargets);
}

// interpolateByMesh fills the corner table, then walks with corners read from
// the mesh: it must give the table loop's bits on every target, for every
// short row and width, folded meshes and other corner orders included.
void expectByMeshMatchesTable(const TestMesh& mesh, int qw, int qh, const std::string& what) {
    const std::vector<float> values = affineValues(mesh.xy, affineY, affineX);
    const double W = mesh.xy[2 * (mesh.w - 1)], H = mesh.xy[2 * mesh.w * (mesh.h - 1) + 1];
    std::vector<float> queries = makeQueries(qw, qh, -0.1 * W, 1.1 * W, -0.1 * H, 1.15 * H);
    std::vector<float> xy = mesh.xy, vals = values;
    std::vector<int> tris = mesh.tris;
    MemoryManager arena(kArenaBytes, nullptr, 0, 0, mesh.w, mesh.h, 0, 0, 0, 0, 0, 0);
    MeshInterpolator interp(&arena, 0, mesh.w, mesh.h, tris.data(), qw, qh);
    std::vector<float> actual(queries.size(), -2.0f);
    interp.interpolateByMesh(xy.data(), vals.data(), queries.data(), actual.data());

    MemoryManager refArena(kArenaBytes, nullptr, 0, 0, mesh.w, mesh.h, 0, 0, 0, 0, 0, 0);
    MeshInterpolator ref(&refArena, 0, mesh.w, mesh.h, tris.data(), qw, qh);
    ref.fill_ref_MeshTriangleVertXY_In(xy.data());
    std::vector<float> expected(queries.size(), -1.0f);
    velmo::mesh::interpolateRowsSequential(
        {{ref.searchLimit(), ref.cellsW(), ref.cellsH(), ref.numTriangles()}, tris.data(), nullptr,
         ref.triangleVertexTable(), qw, qh, values.data(), queries.data(), expected.data()});
    ASSERT_EQ(std::memcmp(expected.data(), actual.data(), expected.size() * sizeof(float)), 0)
        << what << " query " << qw << " x " << qh;
    const size_t tableFloats = 6 * static_cast<size_t>(ref.numTriangles());
    ASSERT_EQ(std::memcmp(interp.triangleVertexTable(), ref.triangleVertexTable(), tableFloats * sizeof(float)), 0)
        << what << ": corner table left unfilled";
}

TEST(MeshRowsParallel, InterpolateByMeshMatchesTheTableLoopOnEveryTarget) {
    TestMesh rotated = makeMesh(7, 5, 400, 300, 1);
    for (size_t t = 0; t < rotated.tris.size(); t += 3) {
        std::rotate(rotated.tris.begin() + t, rotated.tris.begin() + t + 1, rotated.tris.begin() + t + 3);
    }
    const TestMesh meshes[] = {makeMesh(5, 5, 1919, 1079, 0), makeMesh(9, 6, 300, 200, 1),
                               makeMesh(10, 7, 200, 150, 2, 0.9, 5), rotated};
    for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        const int lanes = velmo::mesh::parallelLanes();
        const int rowCounts[] = {1, 2, lanes - 1, lanes, lanes + 1, 6 * lanes + 3};
        for (const TestMesh& mesh : meshes) {
            for (int qh : rowCounts) {
                if (qh < 1) continue;
                for (int qw = 1; qw <= 2 * lanes + 3; qw += (qw < 6 ? 1 : 7)) {
                    expectByMeshMatchesTable(mesh, qw, qh,
                                             std::string(hwy::TargetName(target)) + " mesh " +
                                                 std::to_string(mesh.w) + "x" + std::to_string(mesh.h));
                }
            }
        }
    }
    hwy::SetSupportedTargetsForTest(0);
}

// An output written over the mesh positions changes the corners that later
// queries would read from the mesh, but not the table filled beforehand.
TEST(MeshRowsParallel, InterpolateByMeshOverItsOwnMeshStillReadsTheTable) {
    const TestMesh mesh = makeMesh(6, 5, 200, 150, 1);
    const int qw = 9, qh = 40;
    const std::vector<float> values = affineValues(mesh.xy, affineY, affineX);
    const std::vector<float> queries = makeQueries(qw, qh, 0, 200, 0, 150);
    auto run = [&](bool byMesh) {
        std::vector<float> block(2 * qw * qh, 0.0f);
        std::copy(mesh.xy.begin(), mesh.xy.end(), block.begin());
        std::vector<int> tris = mesh.tris;
        MemoryManager arena(kArenaBytes, nullptr, 0, 0, mesh.w, mesh.h, 0, 0, 0, 0, 0, 0);
        MeshInterpolator interp(&arena, 0, mesh.w, mesh.h, tris.data(), qw, qh);
        if (byMesh) {
            interp.interpolateByMesh(block.data(), const_cast<float*>(values.data()),
                                     const_cast<float*>(queries.data()), block.data());
        } else {
            interp.fill_ref_MeshTriangleVertXY_In(block.data());
            velmo::mesh::interpolateRowsSequential(
                {{interp.searchLimit(), interp.cellsW(), interp.cellsH(), interp.numTriangles()},
                 tris.data(), nullptr, interp.triangleVertexTable(), qw, qh, values.data(),
                 queries.data(), block.data()});
        }
        return block;
    };
    EXPECT_EQ(run(true), run(false));
}

TEST(MeshRowsParallel, LargeGridMatchesSequential) {
    const TestMesh mesh = makeMesh(66, 66, 4000, 3000, 1);
    expectRowsMatchSequential(mesh, 600, 600, -20, 4020, -20, 3020, true, "66x66 / 600x600");
}

TEST(MeshWalkCost, SmoothMeshNeedsFewEvaluationsPerQuery) {
    const TestMesh mesh = makeMesh(28, 28, 1920, 1080, 1);
    const std::vector<float> values = affineValues(mesh.xy, affineX, affineY);
    const std::vector<float> queries = makeQueries(66, 66, 0, 1920, 0, 1080);
    std::vector<float> out(queries.size());
    const velmo::mesh::MeshShape shape{2 * (27 + 27), 27, 27, 2 * 27 * 27};
    velmo::mesh::EvaluationCount counter;
    velmo::mesh::interpolateGrid(shape, mesh.tris.data(),
                                 velmo::mesh::MeshCorners{mesh.tris.data(), mesh.xy.data()}, counter,
                                 66, 66, values.data(), queries.data(), out.data());
    const double perQuery = static_cast<double>(counter.evaluations) / (66 * 66);
    // Along a row the seed is one cell right of the previous hit; with 2.4
    // queries per cell most seeds overshoot by one cell, and the walk steps
    // back: one or two steps, never a search across the mesh.
    EXPECT_GE(perQuery, 1.0);
    EXPECT_LT(perQuery, 2.5);
}

}  // namespace
