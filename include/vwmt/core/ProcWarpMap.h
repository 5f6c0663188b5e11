#pragma once

// Warp-map formats between the library's float grids and the warp engines:
// interleaved (x, y) pairs or separate planes, floats or signed 32-bit fixed
// point with 5 fractional bits (pixels x 32), grid-corner or pixel-centre
// coordinates.

#include "AlignMode.h"
#include "velmoExport.h"

namespace VWMT {

// The alignment modes are the ones GenSize uses.
using AlignMode = ::AlignMode;

class VELMO_EXPORT ProcWarpMap {
public:
    // Splits n interleaved (x, y) double pairs into xs and ys.
    static void divideXYChannel_WarpMap(double* xs, double* ys, double* interleaved, int n);
    // Rewrites n interleaved float pairs as n x values followed by n y values,
    // through work (2n floats).
    static void remap_WarpMapXY_InterleavedToPlane(float* map, int n, float* work);
    // out[2k] = xs[k], out[2k + 1] = ys[k], as floats.
    static void remap_WarpMapXY_PlaneToInterleaved(double* xs, double* ys, float* out, int n);
    // Pixels to fixed point: value x 32, halves away from zero (the sum taken
    // in double, so 0.49999997 / 32 still gives 0). Example: -0.015625 gives -1.
    static void fmtTrnasOfDataType(int* out, float* in, int n);
    // Resamples a gridW x gridH interleaved map of an imageW x imageH image from
    // grid-corner to pixel-centre convention: grid point r is taken to sit at
    // pixel r (imageH - 1) / (gridH - 1), moved to the pixel centre, sampled
    // bilinearly and shifted by -0.5. The last argument is not used.
    static void fmtTrnasOfCoordDef_GeoToPixel(float* out, float* in, int gridW, int gridH, int imageW, int imageH,
                                              int unused);
};

// The two means that find_center_offset returns. A plain aggregate rather than
// std::pair, whose argument passing GCC changed on arm64 between versions.
struct CenterOffset {
    float x;
    float y;
};

// Mean of the four central values of the H x W planes mapX and mapY; the sums
// wrap around in 32 bits. For odd sizes the middle value.
VELMO_EXPORT CenterOffset find_center_offset(int* mapX, int* mapY, int H, int W);

// n x (a x b / n rounded), in single precision: ALIGN_ROUND to nearest with
// halves away from zero, ALIGN_FLOOR down, ALIGN_CEIL and any other mode up.
// Example: enlargeWithNAligned(100, 0.5, 16, ALIGN_CEIL) == 64.
VELMO_EXPORT int enlargeWithNAligned(float a, float b, int n, AlignMode mode);

}  // namespace VWMT
