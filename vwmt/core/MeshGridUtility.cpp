#include "vwmt/core/MeshGridUtility.h"

#include <cstdint>

#include "common/Numerics.h"

namespace VWMT {

// The step is a float quotient, but each node is placed in double so that
// the far nodes do not pick up the rounding of a float running sum.
void MeshGridUtility::sampleUniformMeshGrid(float* out, int W, int H, float xStart, float xEnd,
                                            float yStart, float yEnd) {
    if (H < 1 || W < 1) return;
    const float stepX = (xEnd - xStart) / static_cast<float>(W - 1);
    const float stepY = (yEnd - yStart) / static_cast<float>(H - 1);
    for (int row = 0; row < H; ++row) {
        const float y = static_cast<float>(static_cast<double>(stepY) * row + static_cast<double>(yStart));
        for (int col = 0; col < W; ++col) {
            const int64_t vertex = int64_t{row} * W + col;
            out[2 * vertex] =
                static_cast<float>(static_cast<double>(stepX) * col + static_cast<double>(xStart));
            out[2 * vertex + 1] = y;
        }
    }
}

void MeshGridUtility::sampleRoundedUniformIndices(int* out, int start, int end, int count) {
    if (count < 1) return;
    const double step = count >= 2 ? static_cast<double>(velmo::wrapSub(end, start)) /
                                         static_cast<double>(int64_t{count} - 1)
                                   : 0.0;
    for (int i = 0; i < count; ++i) {
        out[i] = velmo::toInt32(velmo::roundHalfAway(step * i + static_cast<double>(start)));
    }
}

void MeshGridUtility::connectGridByTriangleMesh(int* out, int W, int H) {
    if (H < 2 || W < 2) return;
    int64_t at = 0;
    for (int row = 0; row < H - 1; ++row) {
        for (int col = 0; col < W - 1; ++col) {
            const int v = row * W + col;
            const int corners[6] = {v, v + W, v + 1, v + 1, v + W, v + W + 1};
            for (int corner : corners) out[at++] = corner;
        }
    }
}

}  // namespace VWMT
