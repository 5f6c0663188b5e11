#include <cstdint>

#include "gensize/GenSize.h"
#include "gensize/GenSizeInternal.h"

namespace {

using Config = STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT;
using Camera = STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT;

// A vertical module is warped a quarter turn; any other module by its own
// mounting angle.
float warpAngle(const Config& cfg) {
    if (cfg.module_orient == 1) return cfg.flow_rotate_type != 0 ? 270.0f : 90.0f;
    return cfg.module_angle;
}

// The warp reads the P1 feature output and resizes it to the FE size, which
// P1 itself held until now; from here on P1 carries its real output size.
void takeP1Output(Camera& cam, const Config& cfg) {
    auto& wpe = cam.wpe_traw_setting;
    wpe.in_w = cfg.p1_fe_main_w;
    wpe.in_h = cfg.p1_fe_main_h;
    wpe.resize_w = cam.p1.fe_w;
    wpe.resize_h = cam.p1.fe_h;
    cam.p1.fe_w = cfg.p1_fe_main_w;
    cam.p1.fe_h = cfg.p1_fe_main_h;
}

// A vertical module rotates by whole quarter turns and needs no diagonal
// buffer: the FE window itself is enough.
void setRotation(Camera& cam, const Config& cfg) {
    const bool vertical = cfg.module_orient == 1;
    cam.wpe_traw_setting.rot_w = vertical ? cam.fe_b.usage_w : cam.fe_b.rot_w;
    cam.wpe_traw_setting.rot_h = vertical ? cam.fe_b.usage_h : cam.fe_b.rot_h;
}

}  // namespace

// P1 and warp settings of both cameras for the FE size just chosen. The two
// trailing integers are part of the exported signature and not used.
int Set_WPE_TRAW(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out, STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& cfg,
                 int /*unused0*/, int /*unused1*/) {
    const float angle = warpAngle(cfg);
    out.main.wpe_traw_setting.module_angle = angle;
    out.auxi.wpe_traw_setting.module_angle = angle;

    auto& mainWpe = out.main.wpe_traw_setting;
    takeP1Output(out.main, cfg);
    mainWpe.crop_x = mainWpe.crop_y = 0;
    mainWpe.crop_w = mainWpe.resize_w;
    mainWpe.crop_h = mainWpe.resize_h;
    setRotation(out.main, cfg);

    // The auxiliary crop is the main FE window inside the larger auxiliary FE,
    // expressed in sensor orientation.
    auto& auxiWpe = out.auxi.wpe_traw_setting;
    const auto& auxiFe = out.auxi.fe_b;
    takeP1Output(out.auxi, cfg);
    if (cfg.module_orient != 0) {
        auxiWpe.crop_x = auxiFe.offset_y;
        auxiWpe.crop_y = auxiFe.offset_x;
        auxiWpe.crop_w = auxiFe.usage_h;
        auxiWpe.crop_h = auxiFe.usage_w;
    } else {
        auxiWpe.crop_x = auxiFe.offset_x;
        auxiWpe.crop_y = auxiFe.offset_y;
        auxiWpe.crop_w = auxiFe.usage_w;
        auxiWpe.crop_h = auxiFe.usage_h;
    }
    setRotation(out.auxi, cfg);

    // The depth branch keeps the resizer's landscape orientation.
    auto& mainP1 = out.main.p1;
    const bool portraitDepth = static_cast<uint32_t>(out.main.rect_in_h) > static_cast<uint32_t>(out.main.rect_in_w);
    const bool landscapeUsage = static_cast<uint32_t>(out.main.rrz.usage_w) > static_cast<uint32_t>(out.main.rrz.usage_h);
    const bool swap = portraitDepth && landscapeUsage;
    mainP1.depth_w = swap ? out.main.rect_in_h : out.main.rect_in_w;
    mainP1.depth_h = swap ? out.main.rect_in_w : out.main.rect_in_h;
    out.auxi.p1.depth_w = out.auxi.rect_in_w;
    out.auxi.p1.depth_h = out.auxi.rect_in_h;
    return 0;
}
