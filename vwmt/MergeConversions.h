#pragma once

// The fixed-point conversions around the combined warp map's interpolation:
// planes of 5-bit fixed point in, interleaved floats through the mesh, planes
// of fixed point out. Each has a scalar reference and a vector form that
// gives the same bits on every SIMD target.

#include <cstdint>

namespace velmo {
namespace comb {

// out[2k] = xs[k] x 0.03125, out[2k + 1] = ys[k] x 0.03125, for k < n.
void interleaveFromFixedPoint(const int* xs, const int* ys, float* out, int64_t n);
void interleaveFromFixedPointScalar(const int* xs, const int* ys, float* out, int64_t n);

// The n interleaved pairs of map become planes in work (2n floats), copied
// back over map, as VWMT::ProcWarpMap::remap_WarpMapXY_InterleavedToPlane
// leaves them; and each plane goes to fixed point as
// VWMT::ProcWarpMap::fmtTrnasOfDataType does: outX from the x values, outY
// from the y values. work must not overlap map.
void splitAndFixPoint(float* map, int64_t n, float* work, int* outX, int* outY);
void splitAndFixPointScalar(float* map, int64_t n, float* work, int* outX, int* outY);

}  // namespace comb
}  // namespace velmo
