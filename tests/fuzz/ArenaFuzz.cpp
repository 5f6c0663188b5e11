// The working arena carved for sizes of every kind out of a block of
// exactly its capacity, a grid ring on it with serials of every kind, sorted
// interpolation tables and the mesh samplers, each array exactly as long as
// its sizes say.

#include "FuzzSupport.h"
#include "vwmt/core/GridBuffer.h"
#include "vwmt/core/Interp1Sorted.h"
#include "vwmt/core/MemoryManager.h"
#include "vwmt/core/MeshGridUtility.h"

using namespace velmo::fuzz;

namespace {

void arenaAndRing(FuzzedDataProvider& in) {
    int sizes[10];
    for (int& s : sizes) s = in.ConsumeBool() ? 0 : size(in, 0, 12);
    const int capacity = in.ConsumeIntegralInRange<int>(0, 1 << 16);
    Exact<unsigned char> block(capacity);
    VWMT::MemoryManager arena(capacity, block.get(), sizes[0], sizes[1], sizes[2], sizes[3], sizes[4], sizes[5],
                              sizes[6], sizes[7], sizes[8], sizes[9]);
    arena.allocateFloat(size(in, 0, 64));
    arena.allocateDouble(size(in, 0, 64));
    arena.printMemoryUsage("KB");
    // The ring keeps its grids in array 51, carved for bufW x bufH x bufDepth.
    VWMT::Grid_Buffer ring(&arena, 11, sizes[6], sizes[7], sizes[8]);
    const int64_t gridFloats = elements({2, sizes[6], sizes[7]});
    if (gridFloats < 0) return;
    Exact<float> grid(gridFloats, 1.5f), out(gridFloats);
    for (int k = in.ConsumeIntegralInRange<int>(0, 8); k > 0; --k) {
        const int serial = size(in, 0, 20);
        switch (in.ConsumeIntegralInRange<int>(0, 3)) {
            case 0: ring.storeGrid(grid.get(), serial); break;
            case 1: ring.assignExpandedScalarToGrid(2.5, serial); break;
            case 2: ring.getGrid(in.ConsumeBool() ? out.get() : nullptr, serial); break;
            default: ring.printGrid(serial);
        }
    }
}

void interpolationTable(FuzzedDataProvider& in) {
    const int nX = size(in, 1, 40), nQ = size(in, 0, 40);
    const int stride = in.ConsumeIntegralInRange<int>(1, 3);
    const int64_t xs = elements({nX}), qs = elements({nQ});
    if (xs < 0 || qs < 0) return;
    Exact<float> x(xs), q(qs), xWork(xs), qWork(qs), table(4 * qs);
    float at = -10.0f;
    for (int64_t k = 0; k < xs; ++k) x[k] = at += in.ConsumeFloatingPointInRange<float>(0.0f, 5.0f);
    for (int64_t k = 0; k < qs; ++k) q[k] = value(in, -20.0f, 200.0f);
    const bool xDescending = in.ConsumeBool(), qDescending = in.ConsumeBool();
    float* xw = xWork.get();
    float* qw = qWork.get();
    VWMT::Interp1_Sorted::getIndicesAndWeights(table.get(), nX, x.get(), xDescending, &xw, nQ, q.get(),
                                               qDescending, &qw);
    // The records of no samples still name sample 0 (the carried start), which
    // no data of no samples holds; the sum is given real samples only.
    if (nX < 1) return;
    Exact<float> data(xs * stride, 3.0f), out(qs * stride);
    VWMT::Interp1_Sorted::applyWeightedSum(out.get(), nQ, stride, table.get(), data.get());
}

void meshSamplers(FuzzedDataProvider& in) {
    const int W = size(in, 0, 40), H = size(in, 0, 40);
    const int64_t points = elements({2, W, H});
    const int64_t triangleInts = W > 1 && H > 1 ? elements({6, W - 1, H - 1}) : 0;
    const int count = size(in, 0, 64);
    if (points < 0 || triangleInts < 0 || count > kMaxElements) return;
    Exact<float> mesh(points);
    Exact<int> triangles(triangleInts), indices(count);
    VWMT::MeshGridUtility::sampleUniformMeshGrid(mesh.get(), W, H, value(in, -10.0f, 10.0f),
                                                 value(in, 0.0f, 4000.0f), 0.0f,
                                                 value(in, 0.0f, 3000.0f));
    VWMT::MeshGridUtility::connectGridByTriangleMesh(triangles.get(), W, H);
    VWMT::MeshGridUtility::sampleRoundedUniformIndices(indices.get(), in.ConsumeIntegral<int>(),
                                                       in.ConsumeIntegral<int>(), count);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t bytes) {
    FuzzedDataProvider in(data, bytes);
    switch (in.ConsumeIntegralInRange<int>(0, 2)) {
        case 0: arenaAndRing(in); break;
        case 1: interpolationTable(in); break;
        default: meshSamplers(in);
    }
    return 0;
}
