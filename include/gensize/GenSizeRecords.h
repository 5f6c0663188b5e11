#pragma once

// Records of the stereo size generator. Plain standard-layout aggregates of
// 32-bit integers and floats, owned by the caller; field order is memory order
// and part of the ABI (checked below). Integer fields hold non-negative sizes
// and are printed as signed; the sizing arithmetic treats them as unsigned.

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include "velmoExport.h"

// One camera's sensor geometry.
struct VELMO_EXPORT STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT {
    float fov_w;               // horizontal field of view of the pixel array, degrees
    float fov_h;               // vertical field of view, degrees
    int32_t pixel_array_width;
    int32_t pixel_array_height;
    int32_t sensor_offset_x0;  // sensor-mode crop offset in the pixel array
    int32_t sensor_offset_y0;
    int32_t sensor_size_w0;    // sensor-mode crop before scaling
    int32_t sensor_size_h0;
    int32_t sensor_scale_w;    // after the sensor's scaling (binning)
    int32_t sensor_scale_h;
    int32_t sensor_offset_x1;  // crop offset applied after scaling
    int32_t sensor_offset_y1;
    int32_t tg_offset_x;       // timing-generator crop offset
    int32_t tg_offset_y;
    int32_t mode_2px_en;       // 1: two-pixel output mode
    int32_t isOISon;           // 1: optical image stabilisation active
    int32_t oisHeight;
    int32_t oisWidth;

    std::string toString();
};

// Configuration input of GenSizeInit and GenSizeProc.
struct VELMO_EXPORT STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT {
    STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT sensor_main;
    STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT sensor_auxi;
    int32_t feature_mode;  // bits 0-1: 1 SAT, 2 Velmo; bits 16-17: crop mode
    int32_t ai_depth_enable;
    int32_t ai_depth_temporal_enable;
    int32_t rrz_output_main_w;
    int32_t rrz_output_main_h;
    int32_t p1_fe_main_w;
    int32_t p1_fe_main_h;
    int32_t dpe_w;
    int32_t dpe_h;
    int32_t dpe_w_rot;
    int32_t dpe_h_rot;
    int32_t ai_tracking_w;  // 0 disables the tracking-ratio check
    int32_t ai_tracking_h;
    int32_t module_layout;
    int32_t module_orient;     // 0 horizontal baseline, 1 vertical module
    int32_t flow_rotate_type;  // vertical module: 1 rotates 270 degrees, else 90
    int32_t enable_gpu;
    int32_t only_crop_ratio;
    int32_t has_mdp;           // -1 marks a call from GenSizeProc
    float module_angle;        // degrees
    float module_variation;    // degrees
    float focal_length;        // mm
    float baseline;            // mm
    float cell_size;           // micrometres
    int32_t dpe_cand_num;
    int32_t dpe_dv_lsb_sft;
    int32_t align_wpe_in_w;
    int32_t align_wpe_out_w;
    int32_t align_dpe_in_w;
    int32_t align_dpe_out_w;
    int32_t align_ai_depth_in_w;
    int32_t align_ai_depth_in_h;
    int32_t align_gpu_in_w;
    int32_t align_gpu_in_h;
    int32_t align_fe_in_w;
    int32_t align_fe_in_h;

    std::string toString();
};

struct VELMO_EXPORT STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT {
    int32_t in_w;  // usable sensor image
    int32_t in_h;
    int32_t offset_x;  // crop offset inside the input
    int32_t offset_y;
    int32_t usage_w;  // cropped region fed to the resizer
    int32_t usage_h;
    int32_t out_w;  // resizer output
    int32_t out_h;
    int32_t p1_fe_w;
    int32_t p1_fe_h;
    int32_t p1_depth_w;
    int32_t p1_depth_h;

    std::string toString();
};

struct VELMO_EXPORT STEREO_KERNEL_GEN_SIZE_P1_STAGE_STRUCT {
    int32_t depth_w;
    int32_t depth_h;
    int32_t fe_w;
    int32_t fe_h;

    std::string toString();
};

struct VELMO_EXPORT STEREO_KERNEL_GEN_SIZE_FE_STAGE_STRUCT {
    int32_t in_w;
    int32_t in_h;
    int32_t offset_x;
    int32_t offset_y;
    int32_t usage_w;
    int32_t usage_h;
    int32_t rot_w;  // rotation-safe buffer: the input's diagonal, aligned
    int32_t rot_h;
    int32_t grid_w;  // 28 with OIS, else 4
    int32_t grid_h;

    std::string toString();
};

struct VELMO_EXPORT STEREO_KERNEL_GEN_SIZE_WPE_TRAW_STAGE_STRUCT {
    int32_t in_w;
    int32_t in_h;
    int32_t resize_w;
    int32_t resize_h;
    int32_t crop_x;
    int32_t crop_y;
    int32_t crop_w;
    int32_t crop_h;
    int32_t rot_w;
    int32_t rot_h;
    int32_t wpe_grid_in_w;
    int32_t wpe_grid_in_h;
    int32_t wpe_grid_w;
    int32_t wpe_grid_h;
    float module_angle;  // degrees

    std::string toString();
};

struct VELMO_EXPORT STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT {
    float zoom_maximum;
    int32_t crop_flag;
    int32_t rect_in_w;
    int32_t rect_in_h;
    STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT rrz;
    STEREO_KERNEL_GEN_SIZE_P1_STAGE_STRUCT p1;
    STEREO_KERNEL_GEN_SIZE_FE_STAGE_STRUCT fe_b;  // full feature resolution
    STEREO_KERNEL_GEN_SIZE_FE_STAGE_STRUCT fe_c;  // half resolution
    STEREO_KERNEL_GEN_SIZE_WPE_TRAW_STAGE_STRUCT wpe_traw_setting;
    int32_t wpe_grid_in_w;
    int32_t wpe_grid_in_h;
    int32_t wpe_grid_w;
    int32_t wpe_grid_h;
    int32_t wpe_img_rotate_type;  // quarter turns: 0, 1 (90 degrees) or 3 (270 degrees)

    std::string toString();
};

struct VELMO_EXPORT STEREO_KERNEL_GEN_SIZE_DPE_STAGE_STRUCT {
    int32_t dpe_frm_w;  // frame including padding
    int32_t dpe_frm_h;
    int32_t dpe_noc_w;  // working size (non-occluded region)
    int32_t dpe_noc_h;
    int32_t dpe_noc_w_no_rot;
    int32_t dpe_noc_h_no_rot;
    int32_t dpe_noc_buf_w;
    int32_t dpe_noc_buf_h;
    int32_t dpe_dv_w;
    int32_t dpe_dv_h;
    int32_t dpe_dv_buf_w;
    int32_t dpe_dv_buf_h;
    int32_t dpe_padding;          // 32 or 64
    float working_range_to_disp;  // 253 / sub-steps per pixel

    std::string toString();
};

struct VELMO_EXPORT STEREO_KERNEL_GEN_SIZE_ME_STAGE_STRUCT {
    int32_t mmap_w;
    int32_t mmap_h;

    std::string toString();
};

// Configuration output of GenSizeInit.
struct VELMO_EXPORT STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT {
    STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT main;
    STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT auxi;
    STEREO_KERNEL_GEN_SIZE_DPE_STAGE_STRUCT dpe;
    STEREO_KERNEL_GEN_SIZE_ME_STAGE_STRUCT me;
    float zoom_constraint;  // smaller of the two zoom_maximum
    int32_t slanted_en;
    float working_range;  // near end of the working range, mm

    std::string toString();
};

// One TRAW resize stage of the per-frame path.
struct VELMO_EXPORT STEREO_KERNEL_GEN_SIZE_TRAW_RZ_STAGE_STRUCT {
    int32_t in_w;
    int32_t in_h;
    int32_t offset_x;
    int32_t offset_y;
    int32_t usage_w;
    int32_t usage_h;
    int32_t out_w;
    int32_t out_h;

    std::string toString();
};

// Per-frame input of GenSizeProc.
struct VELMO_EXPORT STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT {
    float zoom_ratio;  // 1.0 = no zoom
    STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT p1_main;
    STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT p1_auxi;
};

// Per-frame output of GenSizeProc.
struct VELMO_EXPORT STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT {
    STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT rrz_zoom_main;
    STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT rrz_zoom_auxi;
    STEREO_KERNEL_GEN_SIZE_TRAW_RZ_STAGE_STRUCT traw_main;
    STEREO_KERNEL_GEN_SIZE_TRAW_RZ_STAGE_STRUCT traw_auxi;
    STEREO_KERNEL_GEN_SIZE_FE_STAGE_STRUCT wpe_main_fe_b;
    STEREO_KERNEL_GEN_SIZE_FE_STAGE_STRUCT wpe_auxi_fe_b;
    STEREO_KERNEL_GEN_SIZE_FE_STAGE_STRUCT wpe_main_fe_c;
    STEREO_KERNEL_GEN_SIZE_FE_STAGE_STRUCT wpe_auxi_fe_c;
    STEREO_KERNEL_GEN_SIZE_WPE_TRAW_STAGE_STRUCT wpe_main_n3d;
    STEREO_KERNEL_GEN_SIZE_WPE_TRAW_STAGE_STRUCT wpe_sub_n3d;
    STEREO_KERNEL_GEN_SIZE_DPE_STAGE_STRUCT dpe;
    float zoom_constraint;
};

// ---- ABI checks: a slip in field order or type fails the build ---------------

#define VELMO_RECORD_ABI(type, bytes)                                             \
    static_assert(std::is_standard_layout<type>::value, #type " is standard layout"); \
    static_assert(std::is_trivially_copyable<type>::value, #type " is trivially copyable"); \
    static_assert(sizeof(type) == (bytes), #type " has its documented size")

VELMO_RECORD_ABI(STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT, 72);
VELMO_RECORD_ABI(STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT, 288);
VELMO_RECORD_ABI(STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT, 48);
VELMO_RECORD_ABI(STEREO_KERNEL_GEN_SIZE_P1_STAGE_STRUCT, 16);
VELMO_RECORD_ABI(STEREO_KERNEL_GEN_SIZE_FE_STAGE_STRUCT, 40);
VELMO_RECORD_ABI(STEREO_KERNEL_GEN_SIZE_WPE_TRAW_STAGE_STRUCT, 60);
VELMO_RECORD_ABI(STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT, 240);
VELMO_RECORD_ABI(STEREO_KERNEL_GEN_SIZE_DPE_STAGE_STRUCT, 56);
VELMO_RECORD_ABI(STEREO_KERNEL_GEN_SIZE_ME_STAGE_STRUCT, 8);
VELMO_RECORD_ABI(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT, 556);
VELMO_RECORD_ABI(STEREO_KERNEL_GEN_SIZE_TRAW_RZ_STAGE_STRUCT, 32);
VELMO_RECORD_ABI(STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT, 100);
VELMO_RECORD_ABI(STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT, 500);

#undef VELMO_RECORD_ABI

static_assert(offsetof(STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT, sensor_auxi) == 72, "sensor_auxi offset");
static_assert(offsetof(STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT, feature_mode) == 144, "feature_mode offset");
static_assert(offsetof(STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT, has_mdp) == 216, "has_mdp offset");
static_assert(offsetof(STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT, module_angle) == 220, "module_angle offset");
static_assert(offsetof(STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT, align_fe_in_h) == 284, "align_fe_in_h offset");
static_assert(offsetof(STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT, rrz) == 16, "rrz offset");
static_assert(offsetof(STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT, wpe_traw_setting) == 160, "wpe_traw_setting offset");
static_assert(offsetof(STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT, wpe_img_rotate_type) == 236, "wpe_img_rotate_type offset");
static_assert(offsetof(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT, dpe) == 480, "dpe offset");
static_assert(offsetof(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT, working_range) == 552, "working_range offset");
static_assert(offsetof(STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT, dpe) == 440, "proc dpe offset");
