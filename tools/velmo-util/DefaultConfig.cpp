#include "DefaultConfig.h"

namespace velmo {
namespace cli {

namespace {

// A 4000x3000 array read in its 16:9 mode: the centred 4000x2248 rows, binned
// 2x2 to 2000x1124 (2250 rows would bin to an odd height).
STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT binnedSixteenNineMode(float fovW, float fovH) {
    STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT sensor{};
    sensor.fov_w = fovW;
    sensor.fov_h = fovH;
    sensor.pixel_array_width = 4000;
    sensor.pixel_array_height = 3000;
    sensor.sensor_offset_x0 = 0;
    sensor.sensor_offset_y0 = 376;
    sensor.sensor_size_w0 = 4000;
    sensor.sensor_size_h0 = 2248;
    sensor.sensor_scale_w = 2000;
    sensor.sensor_scale_h = 1124;
    return sensor;
}

}  // namespace

STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT defaultConfig() {
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT cfg{};

    // Wide main camera: 1.4 um pixels behind 4.3 mm, so 2 x atan(2.8 / 4.3)
    // across the 5.6 mm array width and 2 x atan(2.1 / 4.3) down its height.
    cfg.sensor_main = binnedSixteenNineMode(66.1f, 52.1f);
    cfg.sensor_main.isOISon = 1;
    // Ultra-wide auxiliary camera: 1.12 um pixels behind 2.2 mm.
    cfg.sensor_auxi = binnedSixteenNineMode(91.0f, 74.7f);

    cfg.feature_mode = 2 | (2 << 16);  // Velmo depth, crop mode 2 (per-frame RRZ windows follow the zoom)
    cfg.rrz_output_main_w = 1920;
    cfg.rrz_output_main_h = 1080;
    cfg.p1_fe_main_w = 1920;
    cfg.p1_fe_main_h = 1080;
    cfg.dpe_w = 640;
    cfg.dpe_h = 360;
    cfg.dpe_w_rot = 360;
    cfg.dpe_h_rot = 640;

    // Horizontal module, level, warp on the WPE rather than the GPU.
    cfg.module_angle = 0.0f;
    cfg.module_variation = 1.0f;  // degrees of assembly tolerance between the two cameras
    cfg.focal_length = 4.3f;      // main lens, mm
    cfg.baseline = 12.0f;         // mm
    cfg.cell_size = 1.4f;         // main pixel pitch, um

    cfg.dpe_cand_num = 32;
    cfg.dpe_dv_lsb_sft = 0;

    cfg.align_wpe_in_w = 16;
    cfg.align_wpe_out_w = 16;
    cfg.align_dpe_in_w = 16;
    cfg.align_dpe_out_w = 16;
    cfg.align_ai_depth_in_w = 64;
    cfg.align_ai_depth_in_h = 64;
    cfg.align_gpu_in_w = 64;
    cfg.align_gpu_in_h = 4;
    cfg.align_fe_in_w = 16;
    cfg.align_fe_in_h = 16;
    return cfg;
}

}  // namespace cli
}  // namespace velmo
