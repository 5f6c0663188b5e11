// Mesh grid helpers, the interpolator's steps, the triangle walk against an
// independent containment search, and the query loop's fast paths against the
// sequential loop.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <hwy/targets.h>

#include "vwmt/MeshTestSupport.h"
#include "vwmt/core/MemoryManager.h"
#include "vwmt/core/MeshGridUtility.h"
#include "vwmt/core/MeshInterpolator.h"
#include "vwmt/core/MeshQueryRows.h"
#include "vwmt/core/TriangleWalk.h"

namespace {

using VWMT::MemoryManager;
using VWMT::MeshGridUtility;
using VWMT::MeshInterpolator;
using velmo::testing::containingTriangles;
using velmo::testing::makeMesh;
using velmo::testing::makeQueries;
using velmo::testing::TestMesh;

constexpr int kArenaBytes = 16 * 1024 * 1024;

TEST(MeshGridUtility, RoundedIndicesTrianglesAndNodes) {
    const struct {
        int start, end, count;
        std::vector<int> out;
    } indices[] = {{0, 9, 4, {0, 3, 6, 9}}, {0, 1, 3, {0, 1, 1}}, {0, -1, 3, {0, -1, -1}},
                   {5, 9, 1, {5, 7}}, {5, 9, 0, {7, 7}}};  // halves away from zero; one sample: the start
    for (const auto& c : indices) {
        std::vector<int> out(c.out.size(), 7);
        MeshGridUtility::sampleRoundedUniformIndices(out.data(), c.start, c.end, c.count);
        EXPECT_EQ(out, c.out) << c.start << ".." << c.end << " x " << c.count;
    }
    std::vector<int> tris(12, -1);
    MeshGridUtility::connectGridByTriangleMesh(tris.data(), 3, 2);
    EXPECT_EQ(tris, (std::vector<int>{0, 3, 1, 1, 3, 4, 1, 4, 2, 2, 4, 5}));
    std::vector<int> untouched(6, -1);
    MeshGridUtility::connectGridByTriangleMesh(untouched.data(), 1, 5);
    MeshGridUtility::connectGridByTriangleMesh(untouched.data(), 5, 1);
    EXPECT_EQ(untouched, std::vector<int>(6, -1));

    std::vector<float> nodes(12, -1.0f);
    MeshGridUtility::sampleUniformMeshGrid(nodes.data(), 3, 2, 0.0f, 10.0f, 4.0f, -1.0f);
    EXPECT_EQ(nodes, (std::vector<float>{0, 4, 5, 4, 10, 4, 0, -1, 5, -1, 10, -1}));
    // Placed in double, the last node lands one float above 1919.0f, where a
    // float product and sum would give 1919.0f.
    std::vector<float> row(16);
    MeshGridUtility::sampleUniformMeshGrid(row.data(), 4, 2, 1.7f, 1919.0f, 2.0f, 2.0f);
    EXPECT_EQ(row[6], 1919.0001f);
    // One column divides by zero unguarded; no column writes nothing.
    MeshGridUtility::sampleUniformMeshGrid(nodes.data(), 1, 2, 0.0f, 10.0f, 0.0f, 1.0f);
    EXPECT_FALSE(std::isfinite(nodes[2]));
    EXPECT_EQ(nodes[3], 1.0f);
    MeshGridUtility::sampleUniformMeshGrid(nodes.data(), 0, 2, 5.0f, 5.0f, 5.0f, 5.0f);
    EXPECT_EQ(nodes[3], 1.0f);
}

// An interpolator on its own arena; walk() checks the table-driven and the
// mesh-reading walks against each other.
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
    int walk(float x, float y, int start, int* tri, float* bary) {
        int optTri = -1;
        float optBary[3];
        const int found = interp.findTriangleBelonging(x, y, start, tri, bary);
        EXPECT_EQ(interp.findTriangleBelongingOpt(x, y, start, &optTri, optBary, mesh.xy.data()), found);
        EXPECT_EQ(*tri, optTri);
        EXPECT_EQ(std::memcmp(bary, optBary, sizeof optBary), 0);
        return found;
    }
};

TEST(MeshInterpolator, ShapeTableSlotsAndEps) {
    uint32_t epsBits;
    std::memcpy(&epsBits, &MeshInterpolator::EPS_FLOAT, sizeof epsBits);
    EXPECT_EQ(epsBits, 0x257FFEA4u);  // the float nearest to 2.2204e-16
    Walker f(makeMesh(5, 3, 40, 20, 0));
    EXPECT_EQ(f.interp.searchLimit(), 2 * (4 + 2));
    EXPECT_EQ(f.interp.numTriangles(), 16);
    EXPECT_EQ(f.interp.triangleVertexTable(), f.arena.floatArray(49));
    MeshInterpolator second(&f.arena, 1, 5, 3, f.mesh.tris.data(), 1, 1);
    EXPECT_EQ(second.triangleVertexTable(), f.arena.floatArray(50));
    second.createArrays(&f.arena, 2);  // an unknown slot keeps the table
    EXPECT_EQ(second.triangleVertexTable(), f.arena.floatArray(50));
    EXPECT_EQ(MeshInterpolator(&f.arena, 2, 5, 3, f.mesh.tris.data(), 1, 1).triangleVertexTable(), nullptr);
    EXPECT_EQ(f.interp.getApproximateLastTriangleVertIndices(25.0f, 13.0f), 2 * (2 + 4 * 1));
    EXPECT_EQ(f.interp.getApproximateLastTriangleVertIndices(-5.0f, -1.0f), 0);
}

TEST(MeshInterpolator, NextAndFirstTriangleSteps) {
    // 4 x 3 vertices: 3 x 2 cells, triangle t = 2 x (row x 3 + col) + parity.
    Walker f(makeMesh(4, 3, 30, 20, 0));
    const struct {
        int tri;
        float bary[3];
        int next;
    } steps[] = {
        {0, {0.2f, 0.3f, 0.5f}, 0},     // inside: stays
        {0, {1.2f, 0.3f, -0.5f}, 0},    // index 6, one column left: blocked
        {2, {1.2f, 0.3f, -0.5f}, 1},    // col 1 -> col 0, parity 1
        {6, {-0.5f, -0.5f, 2.0f}, 3},   // index 1, up and right: (1,0) -> (0,1)
        {0, {-0.5f, -0.5f, 2.0f}, 3},   // row blocked: right only
        {4, {-0.5f, -0.5f, 2.0f}, 4},   // both ways blocked: stays
        {4, {-0.5f, 0.75f, 0.75f}, 5},  // parity 0, index 3: the cell's other half
        {1, {-0.5f, 0.75f, 0.75f}, 6},  // parity 1, index 11: one row down
        {7, {-0.5f, 0.75f, 0.75f}, 7},  // last row, its only direction
        {9, {NAN, NAN, NAN}, 9},        // index 8: stay
        {-1, {0.2f, 0.3f, 0.5f}, -1},   // index out of the table
    };
    for (const auto& s : steps) {
        float bary[3] = {s.bary[0], s.bary[1], s.bary[2]};
        EXPECT_EQ(f.interp.getNextTriangleToSearch(s.tri, bary), s.next) << s.tri << " " << bary[0];
    }
    const struct {
        int col, row, last, first;
    } seeds[] = {{3, 9, 1, 3}, {1, 9, 1, 3}, {3, 9, 4, 4}, {0, 9, 3, 9}, {0, 9, 8, 8}, {-1, 9, 0, 8}};
    for (const auto& s : seeds) {
        EXPECT_EQ(f.interp.getFirstTriangleToSearch(s.col, s.row, s.last), s.first) << s.col << " " << s.last;
    }
}

// Sizes that describe no triangles (negative ones multiply to a positive
// count), or triangles behind a null list or table: nothing is read or
// written, one line per call.
TEST(MeshInterpolator, TrianglesTheSizeOrArraysDoNotDescribeAreNotRead) {
    MemoryManager arena(4096, nullptr, 0, 0, 2, 2, 0, 0, 0, 0, 0, 0);
    std::vector<int> tris(6, 0);
    const struct {
        int W, H, which;
        int* triangles;
        const char* line;
    } cases[] = {
        {-1, -1, 0, tris.data(), "a mesh of -2 x -2 cells has no 8 triangles\n"},
        {0, -3, 0, tris.data(), "a mesh of -1 x -4 cells has no 8 triangles\n"},
        {2, 2, 0, nullptr, "the triangle list or the corner table is null\n"},
        {2, 2, 2, tris.data(), "the triangle list or the corner table is null\n"},
    };
    std::vector<float> in(8, 0.5f), out(8, -7.0f);
    int tri = -5;
    float bary[3] = {-7.0f, -7.0f, -7.0f};
    for (const auto& c : cases) {
        MeshInterpolator interp(&arena, c.which, c.W, c.H, c.triangles, 2, 2);
        testing::internal::CaptureStdout();
        interp.fill_ref_MeshTriangleVertXY_In(in.data());
        interp.print_ref_MeshTriangleVertXY_In();
        interp.interpolateByMesh(in.data(), in.data(), in.data(), out.data());
        interp.interpolateQueryVertices(in.data(), in.data(), out.data());
        EXPECT_EQ(interp.findTriangleBelonging(0.5f, 0.5f, 0, &tri, bary), 0);
        EXPECT_EQ(interp.getApproximateLastTriangleVertIndices(1.0f, 1.0f), 0);
        std::string expected;
        for (const char* name : {"fill_ref_MeshTriangleVertXY_In", "print_ref_MeshTriangleVertXY_In",
                                 "interpolateByMesh", "interpolateQueryVertices", "findTriangleBelonging",
                                 "getApproximateLastTriangleVertIndices"}) {
            expected += std::string("[MeshInterpolator][") + name + "] " + c.line;
        }
        EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
        EXPECT_EQ(out, std::vector<float>(8, -7.0f));
        EXPECT_EQ(tri, -5);
        EXPECT_EQ(bary[0], -7.0f);
    }
}

// A point at fixed barycentric weights of a triangle, placed in double.
void pointIn(const TestMesh& mesh, int tri, const double* w, float* x, float* y) {
    double px = 0, py = 0;
    for (int k = 0; k < 3; ++k) {
        px += w[k] * mesh.xy[2 * mesh.tris[3 * tri + k]];
        py += w[k] * mesh.xy[2 * mesh.tris[3 * tri + k] + 1];
    }
    *x = static_cast<float>(px);
    *y = static_cast<float>(py);
}

std::vector<int> someStarts(int triangles) { return {0, triangles - 1, triangles / 2, triangles / 3 | 1}; }

// Values of an affine map at the mesh vertices.
double affineX(double x, double y) { return 0.75 * x - 0.125 * y + 31.5; }
double affineY(double x, double y) { return 0.0625 * x + 1.25 * y - 7.0; }

std::vector<float> affineValues(const std::vector<float>& xy, bool swapped = false) {
    std::vector<float> values(xy.size());
    for (size_t i = 0; i < xy.size(); i += 2) {
        values[i + (swapped ? 1 : 0)] = static_cast<float>(affineX(xy[i], xy[i + 1]));
        values[i + (swapped ? 0 : 1)] = static_cast<float>(affineY(xy[i], xy[i + 1]));
    }
    return values;
}

class MeshWalkKinds : public ::testing::TestWithParam<int> {};

// Interior points are found in their only triangle from any start (a jittered
// mesh may stop the walk early), and the query loop reproduces an affine map
// inside and outside the mesh; the fast paths are held to its bits below.
TEST_P(MeshWalkKinds, WalkFindsInteriorPointsAndTheLoopReproducesAffineMaps) {
    Walker w(makeMesh(9, 7, 320, 240, GetParam()), 20, 17);
    const double weights[3][3] = {{0.2, 0.3, 0.5}, {0.6, 0.2, 0.2}, {0.1, 0.1, 0.8}};
    int found = 0, total = 0, tri = -1;
    float x, y, bary[3];
    for (int t = 0; t < w.triangles(); ++t) {
        for (const double* wt : weights) {
            pointIn(w.mesh, t, wt, &x, &y);
            ASSERT_EQ(containingTriangles(w.mesh, x, y, 0.0), std::vector<int>{t});
            for (int start : someStarts(w.triangles())) {
                const int hit = w.walk(x, y, start, &tri, bary);
                ++total;
                found += hit;
                EXPECT_TRUE(hit ? tri == t : GetParam() != 0) << "triangle " << t << " start " << start;
            }
        }
    }
    EXPECT_TRUE(GetParam() == 2 || found == total);
    std::vector<float> values = affineValues(w.mesh.xy), queries = makeQueries(20, 17, -40, 360, -30, 270);
    std::vector<float> out(queries.size());
    w.interp.interpolateByMesh(w.mesh.xy.data(), values.data(), queries.data(), out.data());
    for (size_t i = 0; i < out.size(); i += 2) {
        // Float rounding of weights that grow with the distance from the
        // last triangle tried.
        EXPECT_NEAR(out[i], affineX(queries[i], queries[i + 1]), 2e-3) << i / 2;
        EXPECT_NEAR(out[i + 1], affineY(queries[i], queries[i + 1]), 2e-3) << i / 2;
    }
}

INSTANTIATE_TEST_SUITE_P(UniformSmoothStrong, MeshWalkKinds, ::testing::Values(0, 1, 2));

// The row-parallel loop and interpolateByMesh must give exactly the
// sequential loop's bits; *inLockstep tells whether rows were batched.
void expectFastPathsMatchSequential(const TestMesh& mesh, int qw, int qh, bool throughList, const std::string& what,
                                    bool* inLockstep) {
    const double W = mesh.xy[2 * (mesh.w - 1)], H = mesh.xy[2 * mesh.w * (mesh.h - 1) + 1];
    const double margin = throughList ? 0.1 : 0.0;  // extrapolated outside
    std::vector<float> queries = makeQueries(qw, qh, -1.5 * margin * W, (1 + margin) * W, -margin * H,
                                             (1 + 1.5 * margin) * H);
    std::vector<float> xy = mesh.xy, values = affineValues(mesh.xy, true);
    std::vector<int> tris = mesh.tris;
    MemoryManager arena(kArenaBytes, nullptr, 0, 0, mesh.w, mesh.h, 0, 0, 0, 0, 0, 0);
    MeshInterpolator ref(&arena, 0, mesh.w, mesh.h, tris.data(), qw, qh);
    ref.fill_ref_MeshTriangleVertXY_In(xy.data());
    velmo::mesh::RowsJob job{{ref.searchLimit(), ref.cellsW(), ref.cellsH(), ref.numTriangles()},
                             tris.data(), throughList ? xy.data() : nullptr, ref.triangleVertexTable(),
                             qw, qh, values.data(), queries.data(), nullptr};
    *inLockstep = *inLockstep || velmo::mesh::walksInLockstep(job);
    std::vector<float> expected(queries.size(), -1.0f), actual(queries.size(), -2.0f), byMeshOut = actual;
    job.out = expected.data();
    velmo::mesh::interpolateRowsSequential(job);
    job.out = actual.data();
    velmo::mesh::interpolateRowsParallel(job);
    ASSERT_EQ(std::memcmp(expected.data(), actual.data(), expected.size() * sizeof(float)), 0)
        << what << " rows, query " << qw << " x " << qh << (throughList ? " list" : " table");

    // interpolateByMesh fills its own corner table, then reads the mesh.
    MemoryManager byMeshArena(kArenaBytes, nullptr, 0, 0, mesh.w, mesh.h, 0, 0, 0, 0, 0, 0);
    MeshInterpolator byMesh(&byMeshArena, 0, mesh.w, mesh.h, tris.data(), qw, qh);
    byMesh.interpolateByMesh(xy.data(), values.data(), queries.data(), byMeshOut.data());
    ASSERT_EQ(std::memcmp(expected.data(), byMeshOut.data(), expected.size() * sizeof(float)), 0)
        << what << " by mesh, query " << qw << " x " << qh;
    ASSERT_EQ(std::memcmp(byMesh.triangleVertexTable(), ref.triangleVertexTable(),
                          6 * sizeof(float) * ref.numTriangles()), 0)
        << what << ": corner table left unfilled";
}

TEST(MeshWalk, StopsAtTheSearchLimitAndReportsTheLastTriangleComputed) {
    int limited = 0, stoppedEarly = 0;
    for (unsigned seed = 1; seed <= 40; ++seed) {
        Walker w(makeMesh(8, 6, 140, 100, 2, 0.9, seed));
        const velmo::mesh::MeshShape shape{w.interp.searchLimit(), w.interp.cellsW(), w.interp.cellsH(),
                                           w.interp.numTriangles()};
        const std::vector<float> points = makeQueries(12, 10, -10, 150, -10, 110);
        for (size_t i = 0; i < points.size(); i += 2) {
            velmo::mesh::EvaluationCount counter;
            int tri = -1;
            float bary[3], again[3];
            const int hit = velmo::mesh::walk(shape, velmo::mesh::TableCorners{w.interp.triangleVertexTable()},
                                              counter, points[i], points[i + 1], 0, &tri, bary);
            ASSERT_LE(counter.evaluations, shape.searchLimit);
            limited += !hit && counter.evaluations == shape.searchLimit;
            stoppedEarly += !hit && counter.evaluations < shape.searchLimit;
            w.interp.getBarycentricCoords(points[i], points[i + 1], w.interp.triangleVertexTable() + 6 * tri, again);
            EXPECT_EQ(std::memcmp(again, bary, sizeof again), 0);  // the weights are the reported triangle's
        }
    }
    EXPECT_GT(limited, 0);
    EXPECT_GT(stoppedEarly, 0);
}

TEST(MeshRowsParallel, FastPathsGiveTheSequentialBitsOnEveryTarget) {
    // The last mesh lists each triangle's corners in another order, which
    // sends the fast path to read the list instead of deriving corners.
    TestMesh rotated = makeMesh(12, 9, 400, 300, 1);
    for (size_t t = 0; t < rotated.tris.size(); t += 3) {
        std::rotate(rotated.tris.begin() + t, rotated.tris.begin() + t + 1, rotated.tris.begin() + t + 3);
    }
    const TestMesh meshes[] = {makeMesh(2, 2, 50, 50, 0),          makeMesh(5, 5, 1919, 1079, 0),
                               makeMesh(9, 4, 300, 90, 1),         makeMesh(9, 6, 300, 200, 1),
                               makeMesh(28, 28, 1920, 1080, 1),    makeMesh(11, 8, 200, 150, 2, 0.35),
                               makeMesh(10, 7, 200, 150, 2, 0.9, 5), rotated};
    int targets = 0;
    for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        ++targets;
        const int lanes = velmo::mesh::parallelLanes();
        // Row counts around one and two lane loads (rows are handed to lanes
        // as they free up), and two lockstep batches plus a part batch.
        const int rowCounts[] = {1, 2, 3, lanes - 1, lanes, lanes + 1, 2 * lanes - 1,
                                 2 * lanes, 2 * lanes + 1, 3 * lanes + 5, 6 * lanes + 3};
        bool anyLockstep = false;
        for (const TestMesh& mesh : meshes) {
            const std::string what = std::string(hwy::TargetName(target)) + " mesh " + std::to_string(mesh.w) +
                                     "x" + std::to_string(mesh.h);
            for (int qh : rowCounts) {
                for (int qw = 1; qh >= 1 && qw <= 2 * lanes + 3; qw += (qw < 8 ? 1 : 5)) {
                    expectFastPathsMatchSequential(mesh, qw, qh, true, what, &anyLockstep);
                    expectFastPathsMatchSequential(mesh, qw, qh, false, what, &anyLockstep);
                }
            }
        }
        // Four-lane targets have too small a block to batch rows.
        EXPECT_TRUE(anyLockstep || lanes < 8) << hwy::TargetName(target);
    }
    hwy::SetSupportedTargetsForTest(0);
    ASSERT_GT(targets, 0);
    const TestMesh large = makeMesh(66, 66, 4000, 3000, 1);
    bool unused = false;
    expectFastPathsMatchSequential(large, 600, 600, true, "66x66 / 600x600", &unused);
}

// Lanes write provisional values, so an output that overlaps an input must
// take the sequential loop, whose bits (run on the same layout) are expected.
// Each layout has rows reading a vertex that other rows, run side by side,
// write over: values starting inside the output, at the vertex the first
// row reads last, or a mesh ending inside the output's first row.
TEST(MeshRowsParallel, OutputOverlappingAnInputTakesTheSequentialLoop) {
    const TestMesh mesh = makeMesh(9, 7, 320, 240, 0);
    const int qw = 20, qh = std::max(velmo::mesh::parallelLanes(), 4), meshFloats = 2 * mesh.w * mesh.h;
    std::vector<float> queries = makeQueries(qw, qh, 0, 320, 0, 240), values = affineValues(mesh.xy);
    const struct {
        bool inputIsMesh;
        int inputAt;  // floats from the output's start
    } layouts[] = {{false, 2 * (qh - 1) * qw - 2 * (mesh.w - 1)}, {true, 2 * (qw - 1) - 2 * mesh.w * (mesh.h - 1)}};
    for (const auto& l : layouts) {
        Walker w(mesh, qw, qh);
        const int outAt = std::max(0, -l.inputAt);
        std::vector<float> shared(outAt + std::max(2 * qw * qh, l.inputAt + meshFloats)), reference;
        float* input = shared.data() + outAt + l.inputAt;
        std::copy_n((l.inputIsMesh ? mesh.xy : values).begin(), meshFloats, input);
        reference = shared;
        const float* copiedInput = reference.data() + outAt + l.inputAt;
        velmo::mesh::interpolateRowsSequential(
            {{w.interp.searchLimit(), w.interp.cellsW(), w.interp.cellsH(), w.interp.numTriangles()},
             w.mesh.tris.data(), l.inputIsMesh ? copiedInput : nullptr, w.interp.triangleVertexTable(), qw, qh,
             l.inputIsMesh ? values.data() : copiedInput, queries.data(), reference.data() + outAt});
        if (l.inputIsMesh) {
            w.interp.interpolateQueryVerticesOpt(input, values.data(), queries.data(), shared.data() + outAt);
        } else {
            w.interp.interpolateQueryVertices(input, queries.data(), shared.data() + outAt);
        }
        EXPECT_EQ(shared, reference) << l.inputIsMesh;
    }
}

}  // namespace
