// mergeGrid with OIS and N3D maps of every size, each plane exactly as long
// as the info record says, and the fixed-point conversions around it: their
// vector forms must give the scalar references' bits.

#include <memory>

#include "FuzzSupport.h"
#include "vwmt/CombWarpMapTrans.h"
#include "vwmt/MergeConversions.h"

using namespace velmo::fuzz;

namespace {

// One merger for the whole run: its working buffer is 11 MB.
struct Merger {
    CombWarpMapTrans comb;
    Exact<int32_t> work{comb.getWorkingBufferSize() / 4};
    Merger() { comb.setWorkingBuffer(reinterpret_cast<char*>(work.get())); }
};

void compareConversions(FuzzedDataProvider& in) {
    const int64_t n = in.ConsumeIntegralInRange<int64_t>(0, 300);
    Exact<int> xs(n), ys(n);
    for (int64_t k = 0; k < n; ++k) {
        xs[k] = in.ConsumeIntegral<int32_t>();
        ys[k] = in.ConsumeIntegralInRange<int32_t>(-100000, 100000);
    }
    Exact<float> vec(2 * n), ref(2 * n);
    velmo::comb::interleaveFromFixedPoint(xs.get(), ys.get(), vec.get(), n);
    velmo::comb::interleaveFromFixedPointScalar(xs.get(), ys.get(), ref.get(), n);
    if (!vec.sameAs(ref)) differs("interleaveFromFixedPoint");
    for (int64_t k = 0; k < 2 * n; ++k) vec[k] = ref[k] = in.ConsumeBool() ? value(in, -1e9f, 1e9f) : vec[k];
    Exact<float> workVec(2 * n), workRef(2 * n);
    Exact<int> outXVec(n), outYVec(n), outXRef(n), outYRef(n);
    velmo::comb::splitAndFixPoint(vec.get(), n, workVec.get(), outXVec.get(), outYVec.get());
    velmo::comb::splitAndFixPointScalar(ref.get(), n, workRef.get(), outXRef.get(), outYRef.get());
    if (!vec.sameAs(ref) || !outXVec.sameAs(outXRef) || !outYVec.sameAs(outYRef)) differs("splitAndFixPoint");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t bytes) {
    static Merger* merger = new Merger;
    FuzzedDataProvider in(data, bytes);
    if (in.ConsumeBool()) {
        compareConversions(in);
        return 0;
    }
    // Braced initialisers run in order: image, OIS grid, N3D grid.
    const OIS_INTERPOLATE_INFO_STRUCT info{size(in, 1, 4000), size(in, 1, 3000), 0, 0, size(in, 2, 12),
                                           size(in, 2, 12), size(in, 0, 24), size(in, 0, 24)};
    const int64_t ois = elements({info.oisW, info.oisH});
    const int64_t n3d = elements({info.n3dW, info.n3dH});
    if (ois < 0 || n3d < 0) return 0;
    Exact<int> oisX(ois), oisY(ois), n3dX(n3d), n3dY(n3d);
    for (int64_t k = 0; k < ois; ++k) {
        oisX[k] = in.ConsumeIntegralInRange<int32_t>(-4000 * 32, 4000 * 32);
        oisY[k] = in.ConsumeIntegral<int32_t>();
    }
    for (int64_t k = 0; k < n3d; ++k) {
        n3dX[k] = in.ConsumeIntegralInRange<int32_t>(-4000 * 32, 4000 * 32);
        n3dY[k] = in.ConsumeIntegralInRange<int32_t>(-4000 * 32, 4000 * 32);
    }
    int* oisMap[2] = {oisX.get(), oisY.get()};
    int* n3dMap[2] = {n3dX.get(), in.ConsumeIntegralInRange<int>(0, 31) ? n3dY.get() : nullptr};
    merger->comb.mergeGrid(oisMap, n3dMap, info);
    return 0;
}
