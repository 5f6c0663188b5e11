// Mesh interpolation with the warp-grid foundations: values known at the
// vertices of a triangle mesh over a 640x480 image are interpolated at the
// points of a finer query grid, as the warp-grid transformer does per frame.

#include <cmath>
#include <cstdio>
#include <vector>

#include "velmoUtil.h"

namespace {

// A smooth displacement field, known only at the mesh vertices.
float shiftX(float x, float y) { return 0.02f * x - 0.01f * y + 3.0f; }
float shiftY(float x, float y) { return 0.005f * x + 0.03f * y - 2.0f; }

}  // namespace

int main() {
    const int meshW = 9, meshH = 7;  // vertices: 8x6 cells of 80x80 pixels
    std::vector<float> meshXY(2 * meshW * meshH);
    VWMT::MeshGridUtility::sampleUniformMeshGrid(meshXY.data(), meshW, meshH, 0.0f, 640.0f, 0.0f, 480.0f);
    std::vector<int> triangles(6 * (meshW - 1) * (meshH - 1));  // two per cell
    VWMT::MeshGridUtility::connectGridByTriangleMesh(triangles.data(), meshW, meshH);

    std::vector<float> values(meshXY.size());
    for (std::size_t i = 0; i < meshXY.size(); i += 2) {
        values[i] = shiftX(meshXY[i], meshXY[i + 1]);
        values[i + 1] = shiftY(meshXY[i], meshXY[i + 1]);
    }

    // Query the field on a 33x25 grid, 20 pixels apart.
    const int queryW = 33, queryH = 25;
    std::vector<float> queries(2 * queryW * queryH);
    VWMT::MeshGridUtility::sampleUniformMeshGrid(queries.data(), queryW, queryH, 0.0f, 640.0f, 0.0f, 480.0f);
    std::vector<float> interpolated(queries.size());

    // The interpolator's tables live in a working arena.
    VWMT::MemoryManager arena(1 << 20, nullptr, 0, 0, meshW, meshH, 0, 0, 0, 0, 0, 0);
    VWMT::MeshInterpolator interpolator(&arena, 0, meshW, meshH, triangles.data(), queryW, queryH);
    interpolator.fill_ref_MeshTriangleVertXY_In(meshXY.data());
    interpolator.interpolateByMesh(meshXY.data(), values.data(), queries.data(), interpolated.data());

    // A field that is linear on every triangle comes back exactly, up to float rounding.
    double worst = 0.0;
    for (std::size_t i = 0; i < queries.size(); i += 2) {
        worst = std::fmax(worst, std::fabs(interpolated[i] - shiftX(queries[i], queries[i + 1])));
        worst = std::fmax(worst, std::fabs(interpolated[i + 1] - shiftY(queries[i], queries[i + 1])));
    }
    const std::size_t middle = queries.size() / 2 & ~std::size_t{1};
    std::printf("%dx%d queries over a %dx%d mesh; at (%.0f, %.0f) the shift is (%.3f, %.3f); worst error %.2g px\n",
                queryW, queryH, meshW, meshH, static_cast<double>(queries[middle]),
                static_cast<double>(queries[middle + 1]), static_cast<double>(interpolated[middle]),
                static_cast<double>(interpolated[middle + 1]), worst);
    return worst < 1e-3 ? 0 : 1;
}
