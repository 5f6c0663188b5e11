// genQueriedGridXYByBilinerInterpolation with grids and query sets of every
// size, each array exactly as long as its sizes say.

#include "FuzzSupport.h"
#include "vwmt/VectWarpMapTrans.h"

using namespace velmo::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t bytes) {
    FuzzedDataProvider in(data, bytes);
    const int32_t gridW = size(in, 1, 12), gridH = size(in, 1, 12);
    const int32_t queryW = size(in, 0, 16), queryH = size(in, 0, 16);
    const int32_t imageW = size(in, 1, 4000), imageH = size(in, 1, 3000);
    const int64_t gridPoints = elements({2, gridW, gridH});
    const int64_t queryPoints = elements({2, queryW, queryH});
    if (gridPoints < 0 || queryPoints < 0) return 0;

    Exact<float> before(gridPoints), after(gridPoints), queries(queryPoints), out(queryPoints, -1.0f);
    const bool wild = in.ConsumeIntegralInRange<int>(0, 7) == 0;
    for (int64_t k = 0; k + 1 < gridPoints; k += 2) {
        const int64_t node = k / 2;
        before[k] = static_cast<float>(node % gridW) * static_cast<float>(imageW) / static_cast<float>(gridW);
        before[k + 1] = static_cast<float>(node / gridW) * static_cast<float>(imageH) / static_cast<float>(gridH);
        after[k] = before[k] + (wild ? value(in, -1e30f, 1e30f) : value(in, -8.0f, 8.0f));
        after[k + 1] = before[k + 1] + value(in, -8.0f, 8.0f);
    }
    for (int64_t k = 0; k < queryPoints; ++k)
        queries[k] = value(in, -100.0f, 4100.0f);

    VectWarpMapTrans trans(gridW > 0 && gridW < 100 ? gridW : 2, gridH > 0 && gridH < 100 ? gridH : 2);
    trans.genQueriedGridXYByBilinerInterpolation(after.get(), before.get(), queries.get(), out.get(), gridW, gridH,
                                                 queryW, queryH, imageW, imageH);
    return 0;
}
