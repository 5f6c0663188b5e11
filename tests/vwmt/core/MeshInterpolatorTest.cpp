#include "vwmt/core/MeshInterpolator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "vwmt/MeshTestSupport.h"
#include "vwmt/core/MeshQueryRows.h"
#include "vwmt/core/TriangleWalk.h"

namespace {

using VWMT::MemoryManager;
using VWMT::MeshInterpolator;
using velmo::testing::TestMesh;

constexpr int kArenaBytes = 16 * 1024 * 1024;

// An interpolator on its own arena, mesh and triangle list.
struct Fixture {
    TestMesh mesh;
    MemoryManager arena;
    MeshInterpolator interp;
    Fixture(TestMesh m, int queryW, int queryH)
        : mesh(std::move(m)),
          arena(kArenaBytes, nullptr, 0, 0, mesh.w, mesh.h, 0, 0, 0, 0, 0, 0),
          interp(&arena, 0, mesh.w, mesh.h, mesh.tris.data(), queryW, queryH) {
        interp.fill_ref_MeshTriangleVertXY_In(mesh.xy.data());
    }
};

uint32_t bitsOf(float v) {
    uint32_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    return bits;
}

TEST(MeshInterpolatorConstants, EpsIsTheFloatNearestTo2_2204e16) {
    EXPECT_EQ(bitsOf(MeshInterpolator::EPS_FLOAT), 0x257FFEA4u);
}

TEST(MeshInterpolatorShape, SearchLimitAndCounts) {
    Fixture f(velmo::testing::makeMesh(5, 3, 40, 20, 0), 1, 1);
    EXPECT_EQ(f.interp.searchLimit(), 2 * (4 + 2));
    EXPECT_EQ(f.interp.numTriangles(), 16);
    EXPECT_EQ(f.interp.triangleVertexTable(), f.arena.floatArray(49));
    MeshInterpolator second(&f.arena, 1, 5, 3, f.mesh.tris.data(), 1, 1);
    EXPECT_EQ(second.triangleVertexTable(), f.arena.floatArray(50));
    second.createArrays(&f.arena, 2);  // an unknown slot keeps the table
    EXPECT_EQ(second.triangleVertexTable(), f.arena.floatArray(50));
    MeshInterpolator none(&f.arena, 2, 5, 3, f.mesh.tris.data(), 1, 1);
    EXPECT_EQ(none.triangleVertexTable(), nullptr);
}

TEST(MeshInterpolatorBarycentric, WorkedTriangle) {
    Fixture f(velmo::testing::makeMesh(2, 2, 10, 10, 0), 1, 1);
    float corners[6] = {0, 0, 0, 10, 10, 0};  // P0, P1 = below, P2 = right
    float b[3];
    EXPECT_TRUE(f.interp.getBarycentricCoords(2, 3, corners, b));
    EXPECT_FLOAT_EQ(b[0], 0.5f);
    EXPECT_FLOAT_EQ(b[1], 0.3f);
    EXPECT_FLOAT_EQ(b[2], 0.2f);
    // On the edge P0-P1: b2 is exactly 0 and the inclusive bound accepts it.
    EXPECT_TRUE(f.interp.getBarycentricCoords(0, 5, corners, b));
    EXPECT_EQ(b[2], 0.0f);
    // A hair outside an edge is still accepted, a clear miss is not.
    EXPECT_FALSE(f.interp.getBarycentricCoords(-0.001f, 5, corners, b));
    // A degenerate triangle divides by EPS, not by zero.
    float flat[6] = {0, 0, 1, 1, 2, 2};
    EXPECT_FALSE(f.interp.getBarycentricCoords(1, 0, flat, b));
    EXPECT_TRUE(std::isfinite(b[0]) && std::isfinite(b[1]));
    EXPECT_FLOAT_EQ(b[0], -1.0f / MeshInterpolator::EPS_FLOAT);
}

TEST(MeshInterpolatorNext, TableStepsAndMeshBorders) {
    // 2 x 2 vertices: one cell, triangles 0 and 1.
    Fixture one(velmo::testing::makeMesh(2, 2, 10, 10, 0), 1, 1);
    float towardSecond[3] = {-0.2f, 0.6f, 0.6f};  // b0 <= 0 < b1, b2
    EXPECT_EQ(one.interp.getNextTriangleToSearch(0, towardSecond), 1);
    float inside[3] = {0.2f, 0.3f, 0.5f};
    EXPECT_EQ(one.interp.getNextTriangleToSearch(0, inside), 0);

    // 4 x 3 vertices: 3 x 2 cells, triangle t = 2 x (row x 3 + col) + parity.
    Fixture f(velmo::testing::makeMesh(4, 3, 30, 20, 0), 1, 1);
    float leftOut[3] = {1.2f, 0.3f, -0.5f};  // index 6: one column left
    EXPECT_EQ(f.interp.getNextTriangleToSearch(0, leftOut), 0);       // blocked: stays
    EXPECT_EQ(f.interp.getNextTriangleToSearch(2, leftOut), 1);       // col 1 -> col 0, parity 1
    float upRight[3] = {-0.5f, -0.5f, 2.0f};  // index 1: up and right
    EXPECT_EQ(f.interp.getNextTriangleToSearch(6, upRight), 3);       // (1,0) -> (0,1) parity 1
    EXPECT_EQ(f.interp.getNextTriangleToSearch(0, upRight), 3);       // row blocked: right only
    EXPECT_EQ(f.interp.getNextTriangleToSearch(4, upRight), 4);       // both ways blocked: stays
    float flip[3] = {-0.5f, 0.75f, 0.75f};    // parity 0, index 3: the cell's other half
    EXPECT_EQ(f.interp.getNextTriangleToSearch(4, flip), 5);
    float down[3] = {-0.5f, 0.75f, 0.75f};    // parity 1, index 11: one row down
    EXPECT_EQ(f.interp.getNextTriangleToSearch(1, down), 6);
    EXPECT_EQ(f.interp.getNextTriangleToSearch(7, down), 7);          // last row, only direction
    float nanBary[3] = {NAN, NAN, NAN};                               // index 8: stay
    EXPECT_EQ(f.interp.getNextTriangleToSearch(9, nanBary), 9);
    EXPECT_EQ(f.interp.getNextTriangleToSearch(-1, inside), -1);      // index out of table
}

TEST(MeshInterpolatorSeed, RightAlongARowAndDownAtARowStart) {
    Fixture f(velmo::testing::makeMesh(4, 3, 30, 20, 0), 1, 1);
    EXPECT_EQ(f.interp.getFirstTriangleToSearch(3, 9, 1), 3);   // col 0 -> 1, parity kept
    EXPECT_EQ(f.interp.getFirstTriangleToSearch(3, 9, 4), 4);   // last column stays
    EXPECT_EQ(f.interp.getFirstTriangleToSearch(0, 9, 3), 9);   // row 0 -> 1
    EXPECT_EQ(f.interp.getFirstTriangleToSearch(0, 9, 8), 8);   // last row stays
    EXPECT_EQ(f.interp.getFirstTriangleToSearch(-1, 9, 0), 8);  // negative column: right and down
}

TEST(MeshInterpolatorSeed, SingleColumnMeshDoesNotTrap) {
    std::vector<int> noTriangles(3, 0);
    MemoryManager arena(4096, nullptr, 0, 0, 1, 3, 0, 0, 0, 0, 0, 0);
    MeshInterpolator interp(&arena, 0, 1, 3, noTriangles.data(), 2, 2);
    float b[3] = {0.5f, 0.5f, 0.5f};
    EXPECT_EQ(interp.getNextTriangleToSearch(3, b), 3);  // quotient 0: row 0, col 1
    EXPECT_EQ(interp.getFirstTriangleToSearch(0, 0, 3), 3);
    std::vector<float> mesh(6, 0.0f), values(6, 1.0f), queries(8, 0.0f), out(8, -7.0f);
    interp.interpolateQueryVerticesOpt(mesh.data(), values.data(), queries.data(), out.data());
    EXPECT_EQ(out, std::vector<float>(8, -7.0f));  // no triangle, nothing written
}

// Sizes that describe no triangles (negative ones multiply to a positive
// count), or triangles behind a null list or table: nothing is read or
// written, one line per call.
TEST(MeshInterpolatorInput, TrianglesTheSizeOrArraysDoNotDescribeAreNotRead) {
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
    for (const auto& c : cases) {
        MeshInterpolator interp(&arena, c.which, c.W, c.H, c.triangles, 2, 2);
        std::vector<float> mesh(8, 0.0f), values(8, 1.0f), queries(8, 0.5f), out(8, -7.0f);
        int tri = -5;
        float bary[3] = {-7.0f, -7.0f, -7.0f};
        const std::string prefix = "[MeshInterpolator][";
        const struct {
            const char* name;
            std::function<void()> call;
        } calls[] = {
            {"fill_ref_MeshTriangleVertXY_In", [&] { interp.fill_ref_MeshTriangleVertXY_In(mesh.data()); }},
            {"print_ref_MeshTriangleVertXY_In", [&] { interp.print_ref_MeshTriangleVertXY_In(); }},
            {"interpolateByMesh", [&] { interp.interpolateByMesh(mesh.data(), values.data(), queries.data(), out.data()); }},
            {"interpolateQueryVertices", [&] { interp.interpolateQueryVertices(values.data(), queries.data(), out.data()); }},
            {"findTriangleBelonging", [&] { EXPECT_EQ(interp.findTriangleBelonging(0.5f, 0.5f, 0, &tri, bary), 0); }},
            {"getApproximateLastTriangleVertIndices",
             [&] { EXPECT_EQ(interp.getApproximateLastTriangleVertIndices(1.0f, 1.0f), 0); }},
        };
        for (const auto& call : calls) {
            SCOPED_TRACE(std::string(call.name) + " " + c.line);
            testing::internal::CaptureStdout();
            call.call();
            EXPECT_EQ(testing::internal::GetCapturedStdout(), prefix + call.name + "] " + c.line);
        }
        EXPECT_EQ(out, std::vector<float>(8, -7.0f));
        EXPECT_EQ(tri, -5);
        EXPECT_EQ(bary[0], -7.0f);
    }
}

TEST(MeshInterpolatorApproximate, GuessAssumesAMeshAtTheOrigin) {
    Fixture f(velmo::testing::makeMesh(4, 3, 30, 20, 0), 1, 1);  // 10 x 10 cells
    EXPECT_EQ(f.interp.getApproximateLastTriangleVertIndices(25.0f, 13.0f), 2 * (2 + 3 * 1));
    EXPECT_EQ(f.interp.getApproximateLastTriangleVertIndices(-5.0f, -1.0f), 0);
}

TEST(MeshInterpolatorPrint, OneLinePerTriangle) {
    Fixture f(velmo::testing::makeMesh(2, 2, 10, 10, 0), 1, 1);
    testing::internal::CaptureStdout();
    f.interp.print_ref_MeshTriangleVertXY_In();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "   0 (   0.00,    0.00)  (   0.00,   10.00)  (  10.00,    0.00) \n"
              "   1 (  10.00,    0.00)  (   0.00,   10.00)  (  10.00,   10.00) \n");
}

TEST(MeshInterpolatorBlend, LeftToRightSums) {
    Fixture f(velmo::testing::makeMesh(2, 2, 10, 10, 0), 1, 1);
    float a[2] = {1, 10}, b[2] = {2, 20}, c[2] = {4, 40}, bary[3] = {0.5f, 0.25f, 0.25f}, out[2];
    f.interp.applyTriangularInterpolation(a, b, c, true, bary, out);
    EXPECT_EQ(out[0], 2.0f);
    EXPECT_EQ(out[1], 20.0f);
}

}  // namespace
