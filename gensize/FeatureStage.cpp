#include <cstdint>

#include "gensize/GenSize.h"
#include "gensize/GenSizeInternal.h"

namespace {

using velmo::gensize::halfSize;

// OIS needs the dense block grid to follow the lens shift; otherwise a coarse
// grid is enough.
int32_t featureGrid(const STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT& sensor) {
    return sensor.isOISon != 0 ? 28 : 4;
}

void setGrid(STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT& cam, int32_t grid) {
    cam.fe_b.grid_w = cam.fe_b.grid_h = grid;
    cam.fe_c.grid_w = cam.fe_c.grid_h = grid;
    cam.wpe_grid_in_w = cam.wpe_grid_in_h = grid;
}

}  // namespace

// Main FE at the candidate size (already in module orientation); FE-C is the
// half-resolution copy. The auxiliary FE only learns the rotation buffer here,
// its size follows in SetRRZ_AuxiFEnRect.
int SetFE_Main(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out, STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& cfg,
               int fe_w, int fe_h, int fe_rot) {
    auto& main = out.main;
    main.p1.fe_w = fe_w;
    main.p1.fe_h = fe_h;

    main.fe_b.in_w = main.fe_b.usage_w = fe_w;
    main.fe_b.in_h = main.fe_b.usage_h = fe_h;
    main.fe_b.offset_x = main.fe_b.offset_y = 0;
    main.fe_b.rot_w = main.fe_b.rot_h = fe_rot;

    main.fe_c.in_w = main.fe_c.usage_w = halfSize(fe_w);
    main.fe_c.in_h = main.fe_c.usage_h = halfSize(fe_h);
    main.fe_c.offset_x = main.fe_c.offset_y = 0;
    main.fe_c.rot_w = main.fe_c.rot_h = halfSize(fe_rot);

    out.auxi.fe_b.rot_w = out.auxi.fe_b.rot_h = fe_rot;
    out.auxi.fe_c.rot_w = out.auxi.fe_c.rot_h = halfSize(fe_rot);

    setGrid(main, featureGrid(cfg.sensor_main));
    setGrid(out.auxi, featureGrid(cfg.sensor_auxi));
    return 0;
}
