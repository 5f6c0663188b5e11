#pragma once

// Uniform meshes, rounded index samplings and the two-triangles-per-cell
// connectivity shared by every mesh of the warp-grid code. A W x H mesh is
// stored row by row as interleaved (x, y) floats.

#include "velmoExport.h"

namespace VWMT {

class VELMO_EXPORT MeshGridUtility {
public:
    static void sampleUniformMeshGrid(float* out, int W, int H, float xStart, float xEnd,
                                      float yStart, float yEnd);
    static void sampleRoundedUniformIndices(int* out, int start, int end, int count);
    static void connectGridByTriangleMesh(int* out, int W, int H);
};

}  // namespace VWMT
