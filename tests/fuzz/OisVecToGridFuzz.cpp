// oisVecToGrid on frames near the camera stack's, in every direction, OIS on
// and off, with the working buffer carved for this frame or for another one
// (the refusals of a frame that outgrows its buffer), and output planes of
// exactly buffer_size x buffer_size entries.

#include "TransformerFrame.h"

using namespace velmo::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t bytes) {
    FuzzedDataProvider in(data, bytes);
    VWMT::logLevel = in.ConsumeIntegralInRange<int>(0, 7) == 0 ? 1 : 0;
    TransformerFrame frame(in);
    const int64_t vectors = frame.vectorCount();
    const int64_t plane = elements({frame.grid.buffer_size, frame.grid.buffer_size});
    if (vectors < 0 || plane < 0) return 0;

    const int isOisOn = in.ConsumeIntegralInRange<int>(0, 5) == 0 ? 0 : 1;
    VectWarpMapTrans trans(frame.vectW, frame.vectH, isOisOn);
    Exact<double> x(vectors), y(vectors);
    fillVectors(in, x, y);
    VWMTInput input{x.get(), y.get(), frame.vectW, frame.vectH,
                    static_cast<VWMT_DIRECTION>(in.ConsumeIntegralInRange<int32_t>(-1, 3)), frame.desc, frame.grid};
    VWMTInput sizing = input;
    if (in.ConsumeIntegralInRange<int>(0, 7) == 0) {
        sizing.vect_w = size(in, 1, 12);
        sizing.gridParam.content_w = size(in, 2, 24);
    }
    std::unique_ptr<Exact<char>> work;
    if (!carve(trans, sizing, work)) return 0;

    Exact<int32_t> gx(plane), gy(plane), gw(plane);
    VWMTOutput out{gx.get(), gy.get(), in.ConsumeBool() ? gw.get() : nullptr};
    trans.oisVecToGrid(input, out);
    // The next frame reuses the object and its buffer.
    if (in.ConsumeBool()) trans.oisVecToGrid(input, out);
    return 0;
}
