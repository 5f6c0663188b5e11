// RotateMMap on maps and destinations of every shape: source planes hold
// exactly the rows the sizes describe and destination planes exactly
// height x stride elements, so a read or write past them is reported. The
// vector rows must give the scalar reference's bits.

#include "FuzzSupport.h"
#include "maputil/RotateMMap.h"
#include "maputil/RotateMMapScalar.h"

using namespace velmo::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t bytes) {
    FuzzedDataProvider in(data, bytes);
    const int32_t w = size(in, 0, 96);
    const int32_t h = size(in, 0, 96);
    const int32_t stride = in.ConsumeBool() ? velmo::wrapAdd(w, in.ConsumeIntegralInRange<int32_t>(0, 8))
                                            : size(in, 0, 110);
    const int32_t dstW = size(in, 0, 96);
    const int32_t dstH = size(in, 0, 96);
    const int32_t dstStride = in.ConsumeBool() ? velmo::wrapAdd(dstW, in.ConsumeIntegralInRange<int32_t>(-2, 8))
                                               : size(in, 0, 110);
    const int32_t imageW = in.ConsumeBool() ? velmo::wrapMul(dstW, in.ConsumeIntegralInRange<int32_t>(1, 40))
                                            : size(in, 0, 4000);
    const int32_t padding = in.ConsumeBool() ? 0 : size(in, 0, 200);
    const int32_t degrees = in.ConsumeBool() ? in.PickValueInArray<int32_t>({0, 90, 180, 270, -90})
                                             : in.ConsumeIntegral<int32_t>();

    const int64_t srcCount = planeElements(w, h, stride);
    const int64_t dstCount = dstH < 1 || dstStride < 1 ? 0 : elements({dstH, dstStride});
    if (srcCount < 0 || srcCount > kMaxElements || dstCount < 0) return 0;

    Exact<int32_t> srcX(srcCount), srcY(srcCount);
    for (int64_t i = 0; i < srcCount; ++i) {
        srcX[i] = in.remaining_bytes() ? in.ConsumeIntegral<int32_t>() : static_cast<int32_t>(i * 7);
        srcY[i] = in.remaining_bytes() ? in.ConsumeIntegral<int16_t>() : static_cast<int32_t>(-i);
    }
    Exact<int32_t> vecX(dstCount, 0x5a5a5a5a), vecY(dstCount, 0x5a5a5a5a);
    Exact<int32_t> refX(dstCount, 0x5a5a5a5a), refY(dstCount, 0x5a5a5a5a);

    RotateMMapParam p{srcX.get(), srcY.get(), w,         h,      stride,  degrees, vecX.get(),
                      vecY.get(), dstW,       dstH,      dstStride, imageW, 480,   padding};
    if (in.ConsumeIntegralInRange<int>(0, 31) == 0) p._map_y = nullptr;
    if (RotateMMap(p) != 0) __builtin_trap();
    p._map_x_rot_buffer = refX.get();
    p._map_y_rot_buffer = refY.get();
    velmo::maputil::rotateMMapScalar(p);
    if (!vecX.sameAs(refX) || !vecY.sameAs(refY)) differs("RotateMMap");
    return 0;
}
