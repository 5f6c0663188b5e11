// Merging an OIS warp map into a stereo-rectification (N3D) map: every N3D
// grid point holds an image position, and the OIS map is evaluated there.
// Maps are two planes of fixed point, pixels x 32.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "velmoUtil.h"

int main() {
    const int imageW = 1920, imageH = 1080;
    const int oisW = 17, oisH = 13, n3dW = 64, n3dH = 36;

    // The OIS map reads every pixel from 2.5 px to its right: its grid points
    // spread over the image, corners on the corner pixels.
    std::vector<int> oisX(oisW * oisH), oisY(oisW * oisH);
    for (int j = 0; j < oisH; ++j)
        for (int i = 0; i < oisW; ++i) {
            const double x = i * (imageW - 1.0) / (oisW - 1), y = j * (imageH - 1.0) / (oisH - 1);
            oisX[j * oisW + i] = static_cast<int>(std::lround((x + 2.5) * 32));
            oisY[j * oisW + i] = static_cast<int>(std::lround(y * 32));
        }
    // The N3D map: a gentle rectifying tilt over the image.
    std::vector<int> n3dX(n3dW * n3dH), n3dY(n3dW * n3dH);
    for (int j = 0; j < n3dH; ++j)
        for (int i = 0; i < n3dW; ++i) {
            const double x = 100 + i * 27.0, y = 60 + j * 27.0 + 0.01 * i;
            n3dX[j * n3dW + i] = static_cast<int>(std::lround(x * 32));
            n3dY[j * n3dW + i] = static_cast<int>(std::lround(y * 32));
        }

    CombWarpMapTrans comb;
    std::vector<char> work(comb.getWorkingBufferSize());  // kept by the caller for every frame
    comb.setWorkingBuffer(work.data());
    int* ois[2] = {oisX.data(), oisY.data()};
    int* n3d[2] = {n3dX.data(), n3dY.data()};
    const OIS_INTERPOLATE_INFO_STRUCT info{imageW, imageH, 0, 0, oisW, oisH, n3dW, n3dH};
    comb.mergeGrid(ois, n3d, info);

    // The merged map is the N3D map moved 2.5 px right (80 in fixed point).
    int worst = 0;
    for (int k = 0; k < n3dW * n3dH; ++k) {
        worst = std::max(worst, std::abs(comb.resultX()[k] - (n3dX[k] + 80)));
        worst = std::max(worst, std::abs(comb.resultY()[k] - n3dY[k]));
    }
    std::printf("merged %dx%d N3D points through a %dx%d OIS map; first point (%d, %d) -> (%d, %d); worst error %d/32 px\n",
                n3dW, n3dH, oisW, oisH, n3dX[0], n3dY[0], comb.resultX()[0], comb.resultY()[0], worst);
    return worst <= 1 ? 0 : 1;
}
