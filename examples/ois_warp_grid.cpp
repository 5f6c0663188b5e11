// One frame of the OIS warp-grid transformer: a 9 x 7 grid of OIS shifts over
// a 4000 x 3000 sensor becomes the warp engine's fixed-point grid (pixels x 32)
// over the 4000 x 3000 image it feeds.

#include <cstdio>
#include <cmath>
#include <vector>

#include "velmoUtil.h"

int main() {
    const int vectW = 9, vectH = 7;
    VectWarpMapTrans trans(vectW, vectH, 1);  // OIS on
    // The working buffer is ours; 4-byte alignment is all it needs.
    std::vector<uint32_t> work((trans.getWorkingBufferSize() + 3) / 4);
    trans.setWorkingBuffer(reinterpret_cast<char*>(work.data()));

    // The lens moved the image 6 pixels right and 4 up everywhere.
    std::vector<double> shiftX(vectW * vectH, 6.0), shiftY(vectW * vectH, -4.0);

    VWMTInput in{};
    in.inOisX = shiftX.data();
    in.inOisY = shiftY.data();
    in.vect_w = vectW;
    in.vect_h = vectH;
    in.dir = VWMT_DIRECTION_FORWARD;
    // The sensor as it reaches the front end: no crops, no binning, no resize.
    in.imgSizeDesc = {{4000, 3000}, {0, 0, 4000, 3000}, {4000, 3000}, {0, 0, 4000, 3000},
                      {0, 0, 4000, 3000},  {0, 0, 4000, 3000}, {4000, 3000}};
    const int gridSide = 12;  // the planes are gridSide x gridSide; 9 x 7 carry data
    in.gridParam = {{{4000, 3000}}, {{0, 0}}, {{0, 0, 0, 0}}, {{4000, 3000}}, vectW, vectH, gridSide, 0.0f};

    std::vector<int32_t> gridX(gridSide * gridSide), gridY(gridSide * gridSide);
    VWMTOutput out{gridX.data(), gridY.data(), nullptr};
    trans.oisVecToGrid(in, out);

    // Node (4, 3) sits on pixel (1999.5, 1499.5); the forward grid reads it
    // from there plus the shift scaled by the OIS scale (0.88 unless the
    // system says otherwise).
    const int centre = (vectH / 2) * gridSide + vectW / 2;
    const double x = gridX[centre] / 32.0, y = gridY[centre] / 32.0;
    std::printf("centre node of the %dx%d grid reads from (%.3f, %.3f) px; the caller's shifts are back at (%.1f, %.1f)\n",
                vectW, vectH, x, y, shiftX[0], shiftY[0]);
    const bool moved = std::abs(x - (1999.5 + 0.88 * 6.0)) < 0.05 && std::abs(y - (1499.5 - 0.88 * 4.0)) < 0.05;
    return moved && shiftX[0] == 6.0 ? 0 : 1;
}
