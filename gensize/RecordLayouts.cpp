// Print order and section headers of every GenSize record's text dump. The
// headers are read by log parsers in the field as they stand, odd spacing
// included, so they are kept character for character.

#include <cstddef>
#include <string>

#include "gensize/GenSizeRecords.h"
#include "gensize/RecordText.h"

namespace velmo {
namespace gensize {
namespace {

#define INT_FIELD(Record, field) FieldFormat{#field, FieldKind::Int32, offsetof(Record, field)}
#define FLOAT_FIELD(Record, field) FieldFormat{#field, FieldKind::Float, offsetof(Record, field)}
#define NESTED(Record, member, header, layout) NestedRecord{header, &layout, offsetof(Record, member)}

template <std::size_t Fields>
constexpr RecordLayout flatLayout(const char* typeName, const FieldFormat (&fields)[Fields]) {
    return RecordLayout{typeName, fields, Fields, nullptr, 0};
}

template <std::size_t Fields, std::size_t Nested>
constexpr RecordLayout nestedLayout(const char* typeName, const FieldFormat (&fields)[Fields],
                                    const NestedRecord (&nested)[Nested]) {
    return RecordLayout{typeName, fields, Fields, nested, Nested};
}

// ---- sensor and configuration -------------------------------------------------

using Sensor = STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT;
constexpr FieldFormat kSensorFields[] = {
    FLOAT_FIELD(Sensor, fov_w),           FLOAT_FIELD(Sensor, fov_h),
    INT_FIELD(Sensor, pixel_array_width), INT_FIELD(Sensor, pixel_array_height),
    INT_FIELD(Sensor, sensor_offset_x0),  INT_FIELD(Sensor, sensor_offset_y0),
    INT_FIELD(Sensor, sensor_size_w0),    INT_FIELD(Sensor, sensor_size_h0),
    INT_FIELD(Sensor, sensor_scale_w),    INT_FIELD(Sensor, sensor_scale_h),
    INT_FIELD(Sensor, sensor_offset_x1),  INT_FIELD(Sensor, sensor_offset_y1),
    INT_FIELD(Sensor, tg_offset_x),       INT_FIELD(Sensor, tg_offset_y),
    INT_FIELD(Sensor, mode_2px_en),       INT_FIELD(Sensor, isOISon),
    INT_FIELD(Sensor, oisHeight),         INT_FIELD(Sensor, oisWidth),
};
constexpr RecordLayout kSensorLayout = flatLayout("STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT", kSensorFields);

// feature_mode and has_mdp are internal switches and stay out of the dump.
using InitIn = STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT;
constexpr FieldFormat kInitInFields[] = {
    INT_FIELD(InitIn, ai_depth_enable),     INT_FIELD(InitIn, ai_depth_temporal_enable),
    INT_FIELD(InitIn, rrz_output_main_w),   INT_FIELD(InitIn, rrz_output_main_h),
    INT_FIELD(InitIn, p1_fe_main_w),        INT_FIELD(InitIn, p1_fe_main_h),
    INT_FIELD(InitIn, dpe_w),               INT_FIELD(InitIn, dpe_h),
    INT_FIELD(InitIn, dpe_w_rot),           INT_FIELD(InitIn, dpe_h_rot),
    INT_FIELD(InitIn, ai_tracking_w),       INT_FIELD(InitIn, ai_tracking_h),
    INT_FIELD(InitIn, module_layout),       INT_FIELD(InitIn, module_orient),
    INT_FIELD(InitIn, flow_rotate_type),    INT_FIELD(InitIn, enable_gpu),
    INT_FIELD(InitIn, only_crop_ratio),     FLOAT_FIELD(InitIn, module_angle),
    FLOAT_FIELD(InitIn, module_variation),  FLOAT_FIELD(InitIn, focal_length),
    FLOAT_FIELD(InitIn, baseline),          FLOAT_FIELD(InitIn, cell_size),
    INT_FIELD(InitIn, dpe_cand_num),        INT_FIELD(InitIn, dpe_dv_lsb_sft),
    INT_FIELD(InitIn, align_wpe_in_w),      INT_FIELD(InitIn, align_wpe_out_w),
    INT_FIELD(InitIn, align_dpe_in_w),      INT_FIELD(InitIn, align_dpe_out_w),
    INT_FIELD(InitIn, align_ai_depth_in_w), INT_FIELD(InitIn, align_ai_depth_in_h),
    INT_FIELD(InitIn, align_gpu_in_w),      INT_FIELD(InitIn, align_gpu_in_h),
    INT_FIELD(InitIn, align_fe_in_w),       INT_FIELD(InitIn, align_fe_in_h),
};
constexpr NestedRecord kInitInNested[] = {
    NESTED(InitIn, sensor_main, "[STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT] ====== sensor_main ======\n", kSensorLayout),
    NESTED(InitIn, sensor_auxi, "[STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT] ====== sensor_auxi ======\n", kSensorLayout),
};
constexpr RecordLayout kInitInLayout =
    nestedLayout("STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT", kInitInFields, kInitInNested);

// ---- stage records ------------------------------------------------------------

using Rrz = STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT;
constexpr FieldFormat kRrzFields[] = {
    INT_FIELD(Rrz, in_w),    INT_FIELD(Rrz, in_h),    INT_FIELD(Rrz, offset_x),   INT_FIELD(Rrz, offset_y),
    INT_FIELD(Rrz, usage_w), INT_FIELD(Rrz, usage_h), INT_FIELD(Rrz, out_w),      INT_FIELD(Rrz, out_h),
    INT_FIELD(Rrz, p1_fe_w), INT_FIELD(Rrz, p1_fe_h), INT_FIELD(Rrz, p1_depth_w), INT_FIELD(Rrz, p1_depth_h),
};
constexpr RecordLayout kRrzLayout = flatLayout("STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT", kRrzFields);

using P1 = STEREO_KERNEL_GEN_SIZE_P1_STAGE_STRUCT;
constexpr FieldFormat kP1Fields[] = {
    INT_FIELD(P1, depth_w), INT_FIELD(P1, depth_h), INT_FIELD(P1, fe_w), INT_FIELD(P1, fe_h),
};
constexpr RecordLayout kP1Layout = flatLayout("STEREO_KERNEL_GEN_SIZE_P1_STAGE_STRUCT", kP1Fields);

using Fe = STEREO_KERNEL_GEN_SIZE_FE_STAGE_STRUCT;
constexpr FieldFormat kFeFields[] = {
    INT_FIELD(Fe, in_w),    INT_FIELD(Fe, in_h),    INT_FIELD(Fe, offset_x), INT_FIELD(Fe, offset_y),
    INT_FIELD(Fe, usage_w), INT_FIELD(Fe, usage_h), INT_FIELD(Fe, rot_w),    INT_FIELD(Fe, rot_h),
    INT_FIELD(Fe, grid_w),  INT_FIELD(Fe, grid_h),
};
constexpr RecordLayout kFeLayout = flatLayout("STEREO_KERNEL_GEN_SIZE_FE_STAGE_STRUCT", kFeFields);

// The rotation buffer is listed after the grids, unlike memory order.
using WpeTraw = STEREO_KERNEL_GEN_SIZE_WPE_TRAW_STAGE_STRUCT;
constexpr FieldFormat kWpeTrawFields[] = {
    INT_FIELD(WpeTraw, in_w),          INT_FIELD(WpeTraw, in_h),
    INT_FIELD(WpeTraw, resize_w),      INT_FIELD(WpeTraw, resize_h),
    INT_FIELD(WpeTraw, crop_x),        INT_FIELD(WpeTraw, crop_y),
    INT_FIELD(WpeTraw, crop_w),        INT_FIELD(WpeTraw, crop_h),
    INT_FIELD(WpeTraw, wpe_grid_in_w), INT_FIELD(WpeTraw, wpe_grid_in_h),
    INT_FIELD(WpeTraw, wpe_grid_w),    INT_FIELD(WpeTraw, wpe_grid_h),
    INT_FIELD(WpeTraw, rot_w),         INT_FIELD(WpeTraw, rot_h),
    FLOAT_FIELD(WpeTraw, module_angle),
};
constexpr RecordLayout kWpeTrawLayout = flatLayout("STEREO_KERNEL_GEN_SIZE_WPE_TRAW_STAGE_STRUCT", kWpeTrawFields);

using Dpe = STEREO_KERNEL_GEN_SIZE_DPE_STAGE_STRUCT;
constexpr FieldFormat kDpeFields[] = {
    INT_FIELD(Dpe, dpe_frm_w),        INT_FIELD(Dpe, dpe_frm_h),
    INT_FIELD(Dpe, dpe_noc_w),        INT_FIELD(Dpe, dpe_noc_h),
    INT_FIELD(Dpe, dpe_noc_w_no_rot), INT_FIELD(Dpe, dpe_noc_h_no_rot),
    INT_FIELD(Dpe, dpe_noc_buf_w),    INT_FIELD(Dpe, dpe_noc_buf_h),
    INT_FIELD(Dpe, dpe_dv_w),         INT_FIELD(Dpe, dpe_dv_h),
    INT_FIELD(Dpe, dpe_dv_buf_w),     INT_FIELD(Dpe, dpe_dv_buf_h),
    INT_FIELD(Dpe, dpe_padding),      FLOAT_FIELD(Dpe, working_range_to_disp),
};
constexpr RecordLayout kDpeLayout = flatLayout("STEREO_KERNEL_GEN_SIZE_DPE_STAGE_STRUCT", kDpeFields);

using Me = STEREO_KERNEL_GEN_SIZE_ME_STAGE_STRUCT;
constexpr FieldFormat kMeFields[] = {INT_FIELD(Me, mmap_w), INT_FIELD(Me, mmap_h)};
constexpr RecordLayout kMeLayout = flatLayout("STEREO_KERNEL_GEN_SIZE_ME_STAGE_STRUCT", kMeFields);

using TrawRz = STEREO_KERNEL_GEN_SIZE_TRAW_RZ_STAGE_STRUCT;
constexpr FieldFormat kTrawRzFields[] = {
    INT_FIELD(TrawRz, in_w),    INT_FIELD(TrawRz, in_h),    INT_FIELD(TrawRz, offset_x), INT_FIELD(TrawRz, offset_y),
    INT_FIELD(TrawRz, usage_w), INT_FIELD(TrawRz, usage_h), INT_FIELD(TrawRz, out_w),    INT_FIELD(TrawRz, out_h),
};
constexpr RecordLayout kTrawRzLayout = flatLayout("STEREO_KERNEL_GEN_SIZE_TRAW_RZ_STAGE_STRUCT", kTrawRzFields);

// ---- per-camera and configuration output ----------------------------------------

// wpe_img_rotate_type is printed by the debug log only.
using N3dCam = STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT;
constexpr FieldFormat kN3dCamFields[] = {
    FLOAT_FIELD(N3dCam, zoom_maximum), INT_FIELD(N3dCam, crop_flag),
    INT_FIELD(N3dCam, rect_in_w),      INT_FIELD(N3dCam, rect_in_h),
    INT_FIELD(N3dCam, wpe_grid_in_w),  INT_FIELD(N3dCam, wpe_grid_in_h),
    INT_FIELD(N3dCam, wpe_grid_w),     INT_FIELD(N3dCam, wpe_grid_h),
};
constexpr NestedRecord kN3dCamNested[] = {
    NESTED(N3dCam, rrz, "[STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT] ====== rrz ====== \n", kRrzLayout),
    NESTED(N3dCam, p1, "[STEREO_KERNEL_GEN_SIZE_P1_STAGE_STRUCT] ====== p1======\n", kP1Layout),
    NESTED(N3dCam, fe_b, "[STEREO_KERNEL_GEN_SIZE_FE_STAGE_STRUCT] ====== fe_b======\n", kFeLayout),
    NESTED(N3dCam, fe_c, "[STEREO_KERNEL_GEN_SIZE_FE_STAGE_STRUCT] ====== fe_c======\n", kFeLayout),
    NESTED(N3dCam, wpe_traw_setting,
           "[STEREO_KERNEL_GEN_SIZE_WPE_TRAW_STAGE_STRUCT] ====== wpe_traw_setting======\n", kWpeTrawLayout),
};
constexpr RecordLayout kN3dCamLayout =
    nestedLayout("STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT", kN3dCamFields, kN3dCamNested);

// working_range is printed by the debug log only.
using InitOut = STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT;
constexpr FieldFormat kInitOutFields[] = {
    FLOAT_FIELD(InitOut, zoom_constraint),
    INT_FIELD(InitOut, slanted_en),
};
constexpr NestedRecord kInitOutNested[] = {
    NESTED(InitOut, main, "[STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT] ********** main **********\n", kN3dCamLayout),
    NESTED(InitOut, auxi, "[STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT] ********** auxi **********\n", kN3dCamLayout),
    NESTED(InitOut, dpe, "[STEREO_KERNEL_GEN_SIZE_DPE_STAGE_STRUCT] ********** dpe **********\n", kDpeLayout),
    NESTED(InitOut, me, "[STEREO_KERNEL_GEN_SIZE_ME_STAGE_STRUCT] ********** me **********\n", kMeLayout),
};
constexpr RecordLayout kInitOutLayout =
    nestedLayout("STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT", kInitOutFields, kInitOutNested);

#undef INT_FIELD
#undef FLOAT_FIELD
#undef NESTED

}  // namespace
}  // namespace gensize
}  // namespace velmo

namespace {

// Each record's text, in a string reserved once for its usual size.
template <const velmo::gensize::RecordLayout& Layout>
std::string textOf(const void* record) {
    static constexpr std::size_t kSizeHint = velmo::gensize::textSizeHint(Layout);
    return velmo::gensize::recordText(Layout, record, kSizeHint);
}

}  // namespace

using namespace velmo::gensize;

std::string STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT::toString() { return textOf<kSensorLayout>(this); }
std::string STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT::toString() { return textOf<kInitInLayout>(this); }
std::string STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT::toString() { return textOf<kRrzLayout>(this); }
std::string STEREO_KERNEL_GEN_SIZE_P1_STAGE_STRUCT::toString() { return textOf<kP1Layout>(this); }
std::string STEREO_KERNEL_GEN_SIZE_FE_STAGE_STRUCT::toString() { return textOf<kFeLayout>(this); }
std::string STEREO_KERNEL_GEN_SIZE_WPE_TRAW_STAGE_STRUCT::toString() { return textOf<kWpeTrawLayout>(this); }
std::string STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT::toString() { return textOf<kN3dCamLayout>(this); }
std::string STEREO_KERNEL_GEN_SIZE_DPE_STAGE_STRUCT::toString() { return textOf<kDpeLayout>(this); }
std::string STEREO_KERNEL_GEN_SIZE_ME_STAGE_STRUCT::toString() { return textOf<kMeLayout>(this); }
std::string STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT::toString() { return textOf<kInitOutLayout>(this); }
std::string STEREO_KERNEL_GEN_SIZE_TRAW_RZ_STAGE_STRUCT::toString() { return textOf<kTrawRzLayout>(this); }
