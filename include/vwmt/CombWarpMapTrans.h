#pragma once

// The combined warp map: an OIS warp map on a coarse uniform grid over the
// image, and a stereo-rectification (N3D) warp map on its own grid, composed
// into one. Every N3D grid point holds an image position; the OIS map is
// evaluated there by triangle-mesh interpolation and the result is written,
// in 5-bit fixed point (pixels x 32), to two planes of the working buffer.
//
// Per frame, after construction and setWorkingBuffer:
//
//     CombWarpMapTrans comb;
//     std::vector<char> work(comb.getWorkingBufferSize());   // 11,691,096 bytes
//     comb.setWorkingBuffer(work.data());
//     int* ois[2] = {oisX, oisY};   // oisW x oisH, fixed point
//     int* n3d[2] = {n3dX, n3dY};   // n3dW x n3dH, fixed point
//     comb.mergeGrid(ois, n3d, info);
//     // x plane at comb.resultX() (byte 8 x 600 x 600 of the buffer),
//     // y plane at comb.resultY() (byte 12 x 600 x 600), n3dW x n3dH each.

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "velmoExport.h"

namespace VWMT {
class MemoryManager;
}

struct OIS_INTERPOLATE_INFO_STRUCT {
    int32_t imageW;     // size of the image the OIS grid spans
    int32_t imageH;
    int32_t reserved0;  // carried for the caller, not read by the merge
    int32_t reserved1;
    int32_t oisW;       // OIS grid, 2 x 2 up to 66 x 66
    int32_t oisH;
    int32_t n3dW;       // N3D grid, up to 600 x 600
    int32_t n3dH;
};
static_assert(std::is_standard_layout<OIS_INTERPOLATE_INFO_STRUCT>::value,
              "OIS_INTERPOLATE_INFO_STRUCT is standard layout");
static_assert(std::is_trivially_copyable<OIS_INTERPOLATE_INFO_STRUCT>::value,
              "OIS_INTERPOLATE_INFO_STRUCT is trivially copyable");
static_assert(sizeof(OIS_INTERPOLATE_INFO_STRUCT) == 32, "eight 32-bit words");
static_assert(offsetof(OIS_INTERPOLATE_INFO_STRUCT, imageW) == 0, "imageW offset");
static_assert(offsetof(OIS_INTERPOLATE_INFO_STRUCT, imageH) == 4, "imageH offset");
static_assert(offsetof(OIS_INTERPOLATE_INFO_STRUCT, reserved0) == 8, "reserved0 offset");
static_assert(offsetof(OIS_INTERPOLATE_INFO_STRUCT, reserved1) == 12, "reserved1 offset");
static_assert(offsetof(OIS_INTERPOLATE_INFO_STRUCT, oisW) == 16, "oisW offset");
static_assert(offsetof(OIS_INTERPOLATE_INFO_STRUCT, oisH) == 20, "oisH offset");
static_assert(offsetof(OIS_INTERPOLATE_INFO_STRUCT, n3dW) == 24, "n3dW offset");
static_assert(offsetof(OIS_INTERPOLATE_INFO_STRUCT, n3dH) == 28, "n3dH offset");

class VELMO_EXPORT CombWarpMapTrans {
public:
    static constexpr int kMaxOisW = 66;
    static constexpr int kMaxOisH = 66;
    static constexpr int kMaxN3dW = 600;
    static constexpr int kMaxN3dH = 600;

    CombWarpMapTrans();
    ~CombWarpMapTrans();
    CombWarpMapTrans(const CombWarpMapTrans&) = delete;
    CombWarpMapTrans& operator=(const CombWarpMapTrans&) = delete;

    // 11,691,096 bytes for the fixed maxima.
    int getWorkingBufferSize();
    // Carves the working arrays from the caller's buffer, which stays the
    // caller's. Returns 0; a null buffer, or one not aligned to 4 bytes, is
    // refused (1, logged) and leaves the object without a buffer.
    int setWorkingBuffer(char* buffer);

    // Maps are two planes (element 0 x, element 1 y) in fixed point, row by
    // row. Grids outside the maxima, an OIS grid below 2 x 2, negative N3D
    // sizes, null maps and a missing working buffer are refused with one log
    // line and leave the result planes untouched.
    void mergeGrid(int** oisMap, int** n3dMap, OIS_INTERPOLATE_INFO_STRUCT const& info);

    // W x H fixed-point planes to interleaved (x, y) floats: value x 0.03125.
    void get_ois_warp_map(int** map, float* out, int W, int H);
    void get_n3d_warp_map(int** map, float* out, int W, int H);

    // W x H vertices spread evenly over an imageW x imageH image, the corner
    // vertices on the corner pixels.
    void createUniformMeshGrid(float* out, int W, int H, int imageW, int imageH);
    void connectGridByTriangleMesh(int* out, int W, int H);
    void genQueriedGridXYByMeshInterpolation(float* meshXY, float* values, float* queryXY, float* out,
                                             int meshW, int meshH, int queryW, int queryH);

    // The result planes in the working buffer (null before setWorkingBuffer).
    int* resultX() const { return resultX_; }
    int* resultY() const { return resultY_; }

private:
    int maxOisW_;
    int maxOisH_;
    int maxN3dW_;
    int maxN3dH_;
    VWMT::MemoryManager* arena_;
    float* planeWork_;
    int* resultX_;
    int* resultY_;
    float* meshXY_;
    float* meshValues_;
    float* queryXY_;
    float* interpolated_;
    int* triangles_;
};
