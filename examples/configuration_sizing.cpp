// Configuration-time sizing of a dual-camera module, then the windows of one
// zoomed frame: GenSizeInit once when the camera is configured, GenSizeProc
// per frame.
//
// A 4.3 mm wide main camera (OIS) beside a 2.2 mm ultra-wide, both in a 2x2
// binned 16:9 mode of 2000x1124, 12 mm apart, with 1920x1080 resizer output
// and a 640x360 depth map.

#include <cstdio>
#include <cstring>

#include "velmoUtil.h"

namespace {

STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT binnedSensor(float fovW, float fovH) {
    STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT sensor{};
    sensor.fov_w = fovW;
    sensor.fov_h = fovH;
    sensor.pixel_array_width = 4000;
    sensor.pixel_array_height = 3000;
    sensor.sensor_offset_y0 = 376;  // the centred 4000x2248 rows
    sensor.sensor_size_w0 = 4000;
    sensor.sensor_size_h0 = 2248;
    sensor.sensor_scale_w = 2000;   // binned 2x2
    sensor.sensor_scale_h = 1124;
    return sensor;
}

STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT moduleConfiguration() {
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT cfg{};
    cfg.sensor_main = binnedSensor(66.1f, 52.1f);
    cfg.sensor_main.isOISon = 1;
    cfg.sensor_auxi = binnedSensor(91.0f, 74.7f);
    cfg.feature_mode = 2 | (2 << 16);  // Velmo depth; per-frame windows follow the zoom
    cfg.rrz_output_main_w = 1920;
    cfg.rrz_output_main_h = 1080;
    cfg.p1_fe_main_w = 1920;
    cfg.p1_fe_main_h = 1080;
    cfg.dpe_w = 640;
    cfg.dpe_h = 360;
    cfg.dpe_w_rot = 360;
    cfg.dpe_h_rot = 640;
    cfg.module_variation = 1.0f;  // degrees
    cfg.focal_length = 4.3f;      // mm
    cfg.baseline = 12.0f;         // mm
    cfg.cell_size = 1.4f;         // um
    cfg.dpe_cand_num = 32;
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

void printWindow(const char* name, const STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT& rrz) {
    std::printf("  %-10s %dx%d at (%d, %d) of %dx%d -> %dx%d\n", name, rrz.usage_w, rrz.usage_h, rrz.offset_x,
                rrz.offset_y, rrz.in_w, rrz.in_h, rrz.out_w, rrz.out_h);
}

}  // namespace

int main() {
    std::printf("libquentra.velmoUtil %s (headers %s)\n", velmoUtilVersion(), VELMO_UTIL_VERSION_STRING);
    if (std::strcmp(velmoUtilVersion(), VELMO_UTIL_VERSION_STRING) != 0) {
        std::fprintf(stderr, "the loaded library is not the one these headers belong to\n");
        return 1;
    }

    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT cfg = moduleConfiguration();
    STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT sizes{};
    const uint32_t code = GenSizeInit(sizes, cfg);
    if (code != GEN_SIZE_PASS) {
        std::fprintf(stderr, "GenSizeInit rejected the configuration: %u (run with VELMO_LOG=1 for the rule)\n",
                     static_cast<unsigned>(code));
        return 1;
    }
    std::printf("configuration:\n");
    printWindow("main RRZ", sizes.main.rrz);
    printWindow("auxi RRZ", sizes.auxi.rrz);
    std::printf("  depth frame %dx%d, zoom up to %.4f\n", sizes.dpe.dpe_frm_w, sizes.dpe.dpe_frm_h,
                static_cast<double>(sizes.zoom_constraint));

    // One frame at zoom 1.2 with the configured P1 crops.
    STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT frame{};
    frame.zoom_ratio = 1.2f;
    frame.p1_main = sizes.main.rrz;
    frame.p1_auxi = sizes.auxi.rrz;
    STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT windows{};
    if (GenSizeProc(windows, frame, cfg) != GEN_SIZE_PASS) {
        std::fprintf(stderr, "GenSizeProc failed\n");
        return 1;
    }
    std::printf("frame at zoom %.1f:\n", static_cast<double>(frame.zoom_ratio));
    printWindow("main RRZ", windows.rrz_zoom_main);
    printWindow("auxi RRZ", windows.rrz_zoom_auxi);

    // Zooming in never widens the auxiliary window.
    if (windows.rrz_zoom_auxi.usage_w > sizes.auxi.rrz.usage_w) {
        std::fprintf(stderr, "the zoomed auxiliary window grew\n");
        return 1;
    }
    return 0;
}
