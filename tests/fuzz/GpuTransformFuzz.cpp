// transformVectToWarpMap_gpu called directly on frames near the camera
// stack's, the working buffer carved exactly for the frame (or another one).

#include "TransformerFrame.h"

using namespace velmo::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t bytes) {
    FuzzedDataProvider in(data, bytes);
    VWMT::logLevel = 0;
    TransformerFrame frame(in);
    const int64_t vectors = frame.vectorCount();
    if (vectors < 0) return 0;

    VectWarpMapTrans trans(frame.vectW, frame.vectH, in.ConsumeIntegralInRange<int>(0, 7) == 0 ? 0 : 1);
    Exact<double> x(vectors), y(vectors);
    fillVectors(in, x, y);
    VWMTInput sizing{x.get(), y.get(), frame.vectW, frame.vectH, VWMT_DIRECTION_FORWARD, frame.desc, frame.grid};
    if (in.ConsumeIntegralInRange<int>(0, 7) == 0) sizing.gridParam.content_h = size(in, 2, 24);
    std::unique_ptr<Exact<char>> work;
    if (!carve(trans, sizing, work)) return 0;
    trans.transformVectToWarpMap_gpu(in.ConsumeIntegralInRange<int>(0, 31) ? x.get() : nullptr, y.get(),
                                     frame.desc, frame.grid);
    return 0;
}
