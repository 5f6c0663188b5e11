#pragma once

// Scattered-to-regular interpolation over a displaced W x H vertex mesh: each
// query point of a regular grid is located by walking from triangle to
// triangle, seeded by the previous hit, and the vertex values are blended with
// barycentric weights. Points outside the mesh are extrapolated from the last
// triangle tried.

#include "velmoExport.h"
#include "vwmt/core/MemoryManager.h"

namespace VWMT {

class VELMO_EXPORT MeshInterpolator {
public:
    // The float nearest to 2.2204e-16 (bits 0x257FFEA4), not 2^-52.
    static constexpr float EPS_FLOAT = 2.2204e-16f;
    // (dCol, dRow, dParity) by parity x 8 + (b0 > 0) x 4 + (b1 > 0) x 2 + (b2 > 0).
    static const int searchTable[16][3];

    MeshInterpolator(MemoryManager const* arena, int which, int W, int H, int* triangles,
                     int queryW, int queryH);

    void createArrays(MemoryManager const* arena, int which);

    void fill_ref_MeshTriangleVertXY_In(float* meshXY);
    void update_ref_MeshVertXY_In(float* meshXY);
    void print_ref_MeshTriangleVertXY_In();

    void interpolateByMesh(float* meshXY, float* values, float* queryXY, float* out);
    void interpolateQueryVertices(float* values, float* queryXY, float* out);
    void interpolateQueryVertices_setter(float* values, float* queryXY, float* out);
    void interpolateByMeshOpt(float* meshXY, float* values, float* queryXY, float* out);
    void interpolateQueryVerticesOpt(float* meshXY, float* values, float* queryXY, float* out);

    int findTriangleBelonging(float x, float y, int startTri, int* outTri, float* bary);
    int findTriangleBelongingOpt(float x, float y, int startTri, int* outTri, float* bary,
                                 float* meshXY);
    bool getBarycentricCoords(float x, float y, float* triXY, float* bary);
    int getNextTriangleToSearch(int tri, float* bary);
    int getFirstTriangleToSearch(int queryCol, int queryRow, int lastTri);
    int getApproximateLastTriangleVertIndices(float x, float y);
    void applyTriangularInterpolation(float* A, float* B, float* C, bool unused, float* bary,
                                      float* out);

    int searchLimit() const { return searchLimit_; }
    int cellsW() const { return cellsW_; }
    int cellsH() const { return cellsH_; }
    int numTriangles() const { return numTriangles_; }
    int* triangles() const { return triangles_; }
    float* triangleVertexTable() const { return triVertXY_; }
    int queryW() const { return queryW_; }
    int queryH() const { return queryH_; }

private:
    int searchLimit_;
    int cellsW_;
    int cellsH_;
    int numTriangles_;
    int* triangles_;
    float* triVertXY_;
    int queryW_;
    int queryH_;
};

}  // namespace VWMT
