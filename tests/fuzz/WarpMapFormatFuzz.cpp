// The warp-map format conversions, image transposes and the centre offset on
// planes of every size, each exactly as long as its sizes say.

#include "FuzzSupport.h"
#include "vwmt/core/ProcWarpMap.h"
#include "vwmt/core/Transpose.h"

using namespace velmo::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t bytes) {
    FuzzedDataProvider in(data, bytes);
    const int32_t W = size(in, 0, 40), H = size(in, 0, 40);
    const int64_t n = elements({W, H});
    const int64_t count = n < 0 ? 0 : n;
    Exact<int> img(count), other(count);
    for (int64_t k = 0; k < count; ++k) img[k] = other[k] = in.ConsumeIntegral<int32_t>();

    switch (in.ConsumeIntegralInRange<int>(0, 6)) {
        case 0: if (n >= 0) VWMT::find_center_offset(img.get(), other.get(), H, W); break;
        case 1: if (n >= 0) VWMT::transpose_image(img.get(), W, H); break;
        case 2: if (n >= 0) VWMT::transpose_image_clockwise(img.get(), W, H); break;
        case 3: if (n >= 0) VWMT::transpose_image_counterclockwise(img.get(), W, H); break;
        case 4: if (n >= 0) VWMT::transpose_image_opposite(img.get(), W, H); break;
        case 5: {
            Exact<float> floats(2 * count), work(2 * count);
            for (int64_t k = 0; k < 2 * count; ++k) floats[k] = value(in, -1e6f, 1e6f);
            VWMT::ProcWarpMap::fmtTrnasOfDataType(img.get(), floats.get(), static_cast<int>(count));
            VWMT::ProcWarpMap::remap_WarpMapXY_InterleavedToPlane(floats.get(), static_cast<int>(count), work.get());
            break;
        }
        default: {
            // Grid-corner to pixel-centre: a gridW x gridH interleaved map.
            const int64_t points = n < 0 ? -1 : 2 * n;
            if (points < 0) break;
            Exact<float> grid(points), out(points);
            for (int64_t k = 0; k < points; ++k) grid[k] = value(in, -100.0f, 5000.0f);
            VWMT::ProcWarpMap::fmtTrnasOfCoordDef_GeoToPixel(out.get(), grid.get(), W, H, size(in, 0, 4000),
                                                             size(in, 0, 3000), 0);
        }
    }
    return 0;
}
