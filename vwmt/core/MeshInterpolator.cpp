#include "vwmt/core/MeshInterpolator.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "vwmt/core/MeshQueryRows.h"
#include "vwmt/core/TriangleWalk.h"

namespace VWMT {
namespace {

// Arena arrays 49 and 50 hold the corner tables of the two interpolators.
float* cornerTableFor(MemoryManager const* arena, int which, float* keep) {
    if (which > 1) return keep;
    if (arena == nullptr || which < 0) return nullptr;
    return arena->floatArray(49 + which);
}

velmo::mesh::MeshShape shapeOf(const MeshInterpolator& mesh) {
    return {mesh.searchLimit(), mesh.cellsW(), mesh.cellsH(), mesh.numTriangles()};
}

// The triangle count is the cell count doubled, and every triangle index
// (and its six corner floats) has to fit an int. Sizes below two vertices
// multiply to a count of triangles that do not exist.
bool countIsConsistent(const MeshInterpolator& mesh) {
    if (mesh.cellsW() < 0 || mesh.cellsH() < 0) return false;
    const int64_t triangles = 2 * int64_t{mesh.cellsW()} * mesh.cellsH();
    return triangles == mesh.numTriangles() && 6 * triangles <= INT32_MAX;
}

// False, after one line, when `caller` would have to read triangles that the
// mesh size does not describe, or read them through a null array.
bool trianglesReadable(const MeshInterpolator& mesh, const char* caller, const void* corners) {
    if (!countIsConsistent(mesh)) {
        std::printf("[MeshInterpolator][%s] a mesh of %d x %d cells has no %d triangles\n", caller,
                    mesh.cellsW(), mesh.cellsH(), mesh.numTriangles());
        return false;
    }
    if (mesh.numTriangles() > 0 && (mesh.triangles() == nullptr || corners == nullptr)) {
        std::printf("[MeshInterpolator][%s] the triangle list or the corner table is null\n", caller);
        return false;
    }
    return true;
}

}  // namespace

const int MeshInterpolator::searchTable[16][3] = {
    {0, 0, 0},  {1, -1, 1},  {-1, 1, 1},  {0, 0, 1},  {-1, -1, 1}, {0, -1, 1},
    {-1, 0, 1}, {0, 0, 0},   {0, 0, 0},   {1, 1, -1}, {-1, 1, -1}, {0, 1, -1},
    {1, -1, -1}, {1, 0, -1}, {0, 0, -1},  {0, 0, 0}};

MeshInterpolator::MeshInterpolator(MemoryManager const* arena, int which, int W, int H,
                                   int* triangles, int queryW, int queryH)
    : searchLimit_(velmo::wrapMul(2, velmo::wrapAdd(velmo::wrapSub(W, 1), velmo::wrapSub(H, 1)))),
      cellsW_(velmo::wrapSub(W, 1)), cellsH_(velmo::wrapSub(H, 1)),
      numTriangles_(velmo::wrapMul(2, velmo::wrapMul(cellsW_, cellsH_))), triangles_(triangles),
      triVertXY_(cornerTableFor(arena, which, nullptr)), queryW_(queryW), queryH_(queryH) {}

void MeshInterpolator::createArrays(MemoryManager const* arena, int which) {
    triVertXY_ = cornerTableFor(arena, which, triVertXY_);
}

void MeshInterpolator::fill_ref_MeshTriangleVertXY_In(float* meshXY) {
    if (!trianglesReadable(*this, "fill_ref_MeshTriangleVertXY_In", triVertXY_)) return;
    if (numTriangles_ > 0 && meshXY == nullptr) {
        std::printf("[MeshInterpolator][fill_ref_MeshTriangleVertXY_In] the mesh is null\n");
        return;
    }
    const velmo::mesh::MeshCorners corners{triangles_, meshXY};
    for (int tri = 0; tri < numTriangles_; ++tri) corners(tri, triVertXY_ + 6 * int64_t{tri});
}

void MeshInterpolator::update_ref_MeshVertXY_In(float* meshXY) {
    fill_ref_MeshTriangleVertXY_In(meshXY);
}

void MeshInterpolator::print_ref_MeshTriangleVertXY_In() {
    if (!trianglesReadable(*this, "print_ref_MeshTriangleVertXY_In", triVertXY_)) return;
    for (int tri = 0; tri < numTriangles_; ++tri) {
        const float* p = triVertXY_ + 6 * int64_t{tri};
        std::printf("%4d (%7.2f, %7.2f)  (%7.2f, %7.2f)  (%7.2f, %7.2f) \n", tri,
                    velmo::printable(p[0]), velmo::printable(p[1]), velmo::printable(p[2]),
                    velmo::printable(p[3]), velmo::printable(p[4]), velmo::printable(p[5]));
    }
}

void MeshInterpolator::interpolateByMesh(float* meshXY, float* values, float* queryXY, float* out) {
    if (meshXY == nullptr) {
        interpolateQueryVertices(values, queryXY, out);
        return;
    }
    if (!trianglesReadable(*this, "interpolateByMesh", triVertXY_)) return;
    fill_ref_MeshTriangleVertXY_In(meshXY);
    velmo::mesh::interpolateRowsOfFilledTable(
        velmo::mesh::RowsJob{shapeOf(*this), triangles_, nullptr, triVertXY_, queryW_, queryH_, values,
                             queryXY, out},
        meshXY);
}

void MeshInterpolator::interpolateQueryVertices(float* values, float* queryXY, float* out) {
    if (!trianglesReadable(*this, "interpolateQueryVertices", triVertXY_)) return;
    velmo::mesh::interpolateRows(velmo::mesh::RowsJob{
        shapeOf(*this), triangles_, nullptr, triVertXY_, queryW_, queryH_, values, queryXY, out});
}

void MeshInterpolator::interpolateQueryVertices_setter(float* values, float* queryXY, float* out) {
    interpolateQueryVertices(values, queryXY, out);
}

void MeshInterpolator::interpolateByMeshOpt(float* meshXY, float* values, float* queryXY,
                                            float* out) {
    interpolateQueryVerticesOpt(meshXY, values, queryXY, out);
}

void MeshInterpolator::interpolateQueryVerticesOpt(float* meshXY, float* values, float* queryXY,
                                                   float* out) {
    if (!trianglesReadable(*this, "interpolateQueryVerticesOpt", meshXY)) return;
    velmo::mesh::interpolateRows(velmo::mesh::RowsJob{
        shapeOf(*this), triangles_, meshXY, nullptr, queryW_, queryH_, values, queryXY, out});
}

int MeshInterpolator::findTriangleBelonging(float x, float y, int startTri, int* outTri,
                                            float* bary) {
    if (!trianglesReadable(*this, "findTriangleBelonging", triVertXY_)) return 0;
    velmo::mesh::NoCount counter;
    return velmo::mesh::walk(shapeOf(*this), velmo::mesh::TableCorners{triVertXY_}, counter, x, y,
                             startTri, outTri, bary);
}

int MeshInterpolator::findTriangleBelongingOpt(float x, float y, int startTri, int* outTri,
                                               float* bary, float* meshXY) {
    if (!trianglesReadable(*this, "findTriangleBelongingOpt", meshXY)) return 0;
    velmo::mesh::NoCount counter;
    return velmo::mesh::walk(shapeOf(*this), velmo::mesh::MeshCorners{triangles_, meshXY}, counter, x, y,
                             startTri, outTri, bary);
}

bool MeshInterpolator::getBarycentricCoords(float x, float y, float* triXY, float* bary) {
    return velmo::mesh::barycentric(x, y, triXY, bary);
}

int MeshInterpolator::getNextTriangleToSearch(int tri, float* bary) {
    return velmo::mesh::nextTriangle(shapeOf(*this), tri, bary);
}

int MeshInterpolator::getFirstTriangleToSearch(int queryCol, int /*queryRow*/, int lastTri) {
    return velmo::mesh::firstTriangle(shapeOf(*this), queryCol, lastTri);
}

// The guess assumes a mesh whose origin is (0, 0): the origin is not
// subtracted, and the cell size is taken from triangle 0.
int MeshInterpolator::getApproximateLastTriangleVertIndices(float x, float y) {
    if (!trianglesReadable(*this, "getApproximateLastTriangleVertIndices", triVertXY_)) return 0;
    if (numTriangles_ < 1) {
        // The cell size comes from triangle 0.
        std::printf("[MeshInterpolator][getApproximateLastTriangleVertIndices] the mesh has no triangle\n");
        return 0;
    }
    const float dx = triVertXY_[4] - triVertXY_[0];
    const float dy = triVertXY_[3] - triVertXY_[1];
    const int col = velmo::toInt32(std::max(x, 0.0f) / dx);
    const int row = velmo::toInt32(std::max(y, 0.0f) / dy);
    return velmo::wrapMul(2, velmo::wrapAdd(col, velmo::wrapMul(cellsW_, row)));
}

void MeshInterpolator::applyTriangularInterpolation(float* A, float* B, float* C, bool /*unused*/,
                                                    float* bary, float* out) {
    velmo::mesh::blend(bary, A, B, C, out);
}

}  // namespace VWMT
