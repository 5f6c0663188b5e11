#include "vwmt/core/ProcWarpMap.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "common/Numerics.h"

namespace VWMT {

void ProcWarpMap::divideXYChannel_WarpMap(double* xs, double* ys, double* interleaved, int n) {
    for (ptrdiff_t k = 0; k < n; ++k) {
        xs[k] = interleaved[2 * k];
        ys[k] = interleaved[2 * k + 1];
    }
}

void ProcWarpMap::remap_WarpMapXY_InterleavedToPlane(float* map, int n, float* work) {
    if (n < 1) return;
    const ptrdiff_t count = n;
    for (ptrdiff_t k = 0; k < count; ++k) {
        work[k] = map[2 * k];
        work[count + k] = map[2 * k + 1];
    }
    std::memcpy(map, work, sizeof(float) * 2 * static_cast<size_t>(count));
}

void ProcWarpMap::remap_WarpMapXY_PlaneToInterleaved(double* xs, double* ys, float* out, int n) {
    for (ptrdiff_t k = 0; k < n; ++k) {
        out[2 * k] = static_cast<float>(xs[k]);
        out[2 * k + 1] = static_cast<float>(ys[k]);
    }
}

// The scaled value is a float, but the half is added in double: in float,
// 0.49999997 + 0.5 would round up to 1.
void ProcWarpMap::fmtTrnasOfDataType(int* out, float* in, int n) {
    for (ptrdiff_t k = 0; k < n; ++k) {
        const float scaled = in[k] * 32.0f;
        double rounded = static_cast<double>(scaled) + 0.5;
        if (scaled < 0.0f) rounded = rounded - 1.0;
        out[k] = velmo::toInt32(rounded);
    }
}

namespace {

// Where grid line i of g lines over an image of `pixels` pixels falls, in grid
// units, once moved to the pixel centre. Evaluated left to right in float.
float pixelCentreOnGrid(int i, int g, int pixels) {
    const float lineDivisor = static_cast<float>(g == 1 ? 1 : g - 1);
    const float lastPixel = static_cast<float>(std::max(pixels, 1) - 1);
    const float pixelCount = static_cast<float>(pixels >= 2 ? pixels : 1);
    float position = static_cast<float>(i) / lineDivisor;
    position = position * lastPixel;
    position = position + 0.5f;
    position = position / pixelCount;
    return position * static_cast<float>(g - 1);
}

// Integer cell and fraction of a grid position; the cell is kept on the grid
// (it always is for image sizes a float represents exactly).
struct GridSample {
    int cell;
    int next;  // the neighbour after cell, or cell itself on the last line
    float fraction;
};

GridSample sampleAt(float position, int g) {
    const int truncated = velmo::toInt32(position);
    GridSample s;
    s.cell = std::min(truncated, g - 1);
    s.next = std::min(s.cell + 1, g - 1);
    s.fraction = position - static_cast<float>(truncated);
    return s;
}

}  // namespace

void ProcWarpMap::fmtTrnasOfCoordDef_GeoToPixel(float* out, float* in, int gridW, int gridH, int imageW,
                                                int imageH, int /*unused*/) {
    // Rows without points write nothing; do not walk two billion of them.
    if (gridW < 1) return;
    for (int r = 0; r < gridH; ++r) {
        const GridSample row = sampleAt(pixelCentreOnGrid(r, gridH, imageH), gridH);
        const float wy = row.fraction;
        for (int c = 0; c < gridW; ++c) {
            const GridSample col = sampleAt(pixelCentreOnGrid(c, gridW, imageW), gridW);
            const float wx = col.fraction;
            float const* p00 = in + 2 * (static_cast<ptrdiff_t>(row.cell) * gridW + col.cell);
            float const* p01 = in + 2 * (static_cast<ptrdiff_t>(row.cell) * gridW + col.next);
            float const* p10 = in + 2 * (static_cast<ptrdiff_t>(row.next) * gridW + col.cell);
            float const* p11 = in + 2 * (static_cast<ptrdiff_t>(row.next) * gridW + col.next);
            for (int e = 0; e < 2; ++e) {
                const float top = 1.0f - wy;
                const float left = 1.0f - wx;
                float v = top * (left * p00[e]);
                v = v + top * (wx * p01[e]);
                v = v + wy * (left * p10[e]);
                v = v + wy * (wx * p11[e]);
                *out++ = v - 0.5f;
            }
        }
    }
}

CenterOffset find_center_offset(int* mapX, int* mapY, int H, int W) {
    // An empty plane has no centre to read.
    if (H < 1 || W < 1) {
        std::printf("[find_center_offset] planes of %d x %d have no centre\n", H, W);
        return {0.0f, 0.0f};
    }
    if (mapX == nullptr || mapY == nullptr) {
        std::printf("[find_center_offset] mapX or mapY is null\n");
        return {0.0f, 0.0f};
    }
    // 1. The two middle rows and columns (one and the same for odd sizes).
    const ptrdiff_t rowA = H >= 1 ? (H - 1) >> 1 : H >> 1;
    const ptrdiff_t rowB = H / 2;
    const ptrdiff_t colA = W >= 1 ? (W - 1) >> 1 : W >> 1;
    const ptrdiff_t colB = W / 2;
    const ptrdiff_t width = W;

    // 2. Their mean, the sum wrapping in 32 bits.
    auto centreMean = [&](int const* map) {
        const int32_t upper = velmo::wrapAdd(map[rowA * width + colB], map[rowA * width + colA]);
        const int32_t lower = velmo::wrapAdd(map[rowB * width + colA], map[rowB * width + colB]);
        return static_cast<float>(velmo::wrapAdd(upper, lower)) * 0.25f;
    };
    return {centreMean(mapX), centreMean(mapY)};
}

int enlargeWithNAligned(float a, float b, int n, AlignMode mode) {
    const float product = a * b;
    float steps = product / static_cast<float>(n);
    switch (mode) {
        case ALIGN_ROUND: steps = velmo::roundHalfAway(steps); break;
        case ALIGN_FLOOR: steps = std::floor(steps); break;
        default: steps = std::ceil(steps); break;  // ALIGN_CEIL and unknown modes
    }
    return velmo::wrapMul(velmo::toInt32(steps), n);
}

}  // namespace VWMT
