// One frame of map rotation: a motion-vector map of a sensor in landscape is
// turned by 90 degrees for a portrait stream. Both planes are rotated about
// the map's centre and so are the vectors themselves.

#include <cmath>
#include <cstdio>
#include <vector>

#include "velmoUtil.h"

int main() {
    // A 64x48 map in which everything moves 6 pixels right.
    const int width = 64, height = 48;
    std::vector<int32_t> mapX(width * height, 6), mapY(width * height, 0);
    // The rotated map is 48x64.
    const int rotatedW = height, rotatedH = width;
    std::vector<int32_t> rotatedX(rotatedW * rotatedH, 0), rotatedY(rotatedW * rotatedH, 0);

    RotateMMapParam param{};
    param._map_x = mapX.data();
    param._map_y = mapY.data();
    param._width_map = width;
    param._height_map = height;
    param._stride_map = width;
    param._degree_rot = 90;
    param._map_x_rot_buffer = rotatedX.data();
    param._map_y_rot_buffer = rotatedY.data();
    param._width_map_rot_buffer = rotatedW;
    param._height_map_rot_buffer = rotatedH;
    param._stride_map_rot_buffer = rotatedW;
    param._width_img = rotatedW;  // no padding: the whole buffer is image
    param._height_img = rotatedH;
    param._padding_x_img = 0;
    RotateMMap(param);

    const int centre = (rotatedH / 2) * rotatedW + rotatedW / 2;
    const int32_t vx = rotatedX[centre], vy = rotatedY[centre];
    std::printf("vector at the centre: (6, 0) before, (%d, %d) after a 90-degree turn\n", vx, vy);

    // The vector turned by a quarter and kept its length.
    const double length = std::hypot(static_cast<double>(vx), static_cast<double>(vy));
    if (std::fabs(length - 6.0) > 1.0 || std::abs(vx) > 1) {
        std::fprintf(stderr, "unexpected rotated vector\n");
        return 1;
    }
    return 0;
}
