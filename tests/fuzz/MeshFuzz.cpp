// The mesh interpolator on displaced meshes of every size: the members that
// walk the triangles, and the row-parallel query loop against the sequential
// reference (same bits), with arrays exactly as long as the sizes say.

#include "FuzzSupport.h"
#include "vwmt/core/MemoryManager.h"
#include "vwmt/core/MeshGridUtility.h"
#include "vwmt/core/MeshInterpolator.h"
#include "vwmt/core/MeshQueryRows.h"

using namespace velmo::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t bytes) {
    FuzzedDataProvider in(data, bytes);
    const int32_t W = size(in, 2, 12), H = size(in, 2, 12);
    const int32_t queryW = size(in, 0, 24), queryH = size(in, 0, 24);
    const int64_t vertices = elements({W, H});
    const int64_t queries = elements({queryW, queryH});
    const int64_t triangleInts = W > 0 && H > 0 ? elements({6, W - 1, H - 1}) : 0;
    if (vertices < 0 || queries < 0 || triangleInts < 0) return 0;

    Exact<float> mesh(2 * vertices), values(2 * vertices), queryXY(2 * queries);
    Exact<int> triangles(triangleInts);
    VWMT::MeshGridUtility::sampleUniformMeshGrid(mesh.get(), W, H, 0.0f, 640.0f, 0.0f, 480.0f);
    VWMT::MeshGridUtility::connectGridByTriangleMesh(triangles.get(), W, H);
    const float jitter = in.ConsumeBool() ? 30.0f : 2.0f;
    for (int64_t k = 0; k < 2 * vertices; ++k) {
        values[k] = mesh[k] + value(in, -jitter, jitter);
        mesh[k] = mesh[k] + value(in, -jitter, jitter);
    }
    for (int64_t k = 0; k < queries; ++k) {
        queryXY[2 * k] = value(in, -50.0f, 700.0f);
        queryXY[2 * k + 1] = value(in, -50.0f, 530.0f);
    }

    // Corner tables are arena arrays, and an interpolator relies on its arena
    // being carved for its mesh (as every caller's is): sizes without a mesh
    // get a small arena, to be refused before it is touched.
    if (W > 4096 || H > 4096) return 0;
    const int meshW = W > 0 ? W : 2, meshH = H > 0 ? H : 2;
    VWMT::MemoryManager arena(1 << 20, nullptr, 0, 0, meshW, meshH, 0, 0, 0, 0, 0, 0);
    const int which = in.ConsumeIntegralInRange<int>(0, 2);
    VWMT::MeshInterpolator interp(&arena, which, W, H, triangles.get(), queryW, queryH);

    Exact<float> out(2 * queries, -1.0f), ref(2 * queries, -1.0f);
    switch (in.ConsumeIntegralInRange<int>(0, 3)) {
        case 0: interp.interpolateByMesh(mesh.get(), values.get(), queryXY.get(), out.get()); break;
        case 1: {
            int tri = 0;
            float bary[3];
            interp.fill_ref_MeshTriangleVertXY_In(mesh.get());
            interp.findTriangleBelonging(queryXY.size() ? queryXY[0] : 0.0f, 1.0f,
                                         in.ConsumeIntegralInRange<int>(-2, 300), &tri, bary);
            interp.getApproximateLastTriangleVertIndices(value(in, -10.0f, 700.0f), 3.0f);
            break;
        }
        default: {
            interp.interpolateByMeshOpt(mesh.get(), values.get(), queryXY.get(), out.get());
            if (W < 2 || H < 2 || W > 4096 || H > 4096) break;
            const velmo::mesh::MeshShape shape{interp.searchLimit(), interp.cellsW(), interp.cellsH(),
                                               interp.numTriangles()};
            velmo::mesh::interpolateRowsSequential(velmo::mesh::RowsJob{
                shape, triangles.get(), mesh.get(), nullptr, queryW, queryH, values.get(), queryXY.get(), ref.get()});
            if (!out.sameAs(ref)) differs("mesh query rows");
        }
    }
    return 0;
}
