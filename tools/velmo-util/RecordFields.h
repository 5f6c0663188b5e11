#pragma once

// The one description of every GenSize record's fields: name, member and (from
// the member's type) kind. JSON reading and writing both walk these tables, so
// a field is named exactly once here.

#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

#include "gensize/GenSizeRecords.h"

namespace velmo {
namespace cli {

template <typename Record, typename Member>
struct Field {
    const char* name;
    Member Record::*member;
};

template <typename Record, typename Member>
constexpr Field<Record, Member> makeField(const char* name, Member Record::*member) {
    return {name, member};
}

// Specialised for each record below; a record without a table does not compile.
template <typename Record>
struct RecordFields;

// Declares a record's table; FIELD(x) names the member once and uses that name
// as the JSON key.
#define VELMO_RECORD_FIELDS(RecordType, ...)                      \
    template <>                                                   \
    struct RecordFields<RecordType> {                             \
        using Record = RecordType;                                \
        static constexpr auto list = std::make_tuple(__VA_ARGS__); \
    }
#define FIELD(name) makeField(#name, &Record::name)

VELMO_RECORD_FIELDS(STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT,
    FIELD(fov_w), FIELD(fov_h), FIELD(pixel_array_width), FIELD(pixel_array_height),
    FIELD(sensor_offset_x0), FIELD(sensor_offset_y0), FIELD(sensor_size_w0), FIELD(sensor_size_h0),
    FIELD(sensor_scale_w), FIELD(sensor_scale_h), FIELD(sensor_offset_x1), FIELD(sensor_offset_y1),
    FIELD(tg_offset_x), FIELD(tg_offset_y), FIELD(mode_2px_en), FIELD(isOISon), FIELD(oisHeight),
    FIELD(oisWidth));

VELMO_RECORD_FIELDS(STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT,
    FIELD(sensor_main), FIELD(sensor_auxi), FIELD(feature_mode), FIELD(ai_depth_enable),
    FIELD(ai_depth_temporal_enable), FIELD(rrz_output_main_w), FIELD(rrz_output_main_h),
    FIELD(p1_fe_main_w), FIELD(p1_fe_main_h), FIELD(dpe_w), FIELD(dpe_h), FIELD(dpe_w_rot),
    FIELD(dpe_h_rot), FIELD(ai_tracking_w), FIELD(ai_tracking_h), FIELD(module_layout),
    FIELD(module_orient), FIELD(flow_rotate_type), FIELD(enable_gpu), FIELD(only_crop_ratio),
    FIELD(has_mdp), FIELD(module_angle), FIELD(module_variation), FIELD(focal_length),
    FIELD(baseline), FIELD(cell_size), FIELD(dpe_cand_num), FIELD(dpe_dv_lsb_sft),
    FIELD(align_wpe_in_w), FIELD(align_wpe_out_w), FIELD(align_dpe_in_w), FIELD(align_dpe_out_w),
    FIELD(align_ai_depth_in_w), FIELD(align_ai_depth_in_h), FIELD(align_gpu_in_w),
    FIELD(align_gpu_in_h), FIELD(align_fe_in_w), FIELD(align_fe_in_h));

VELMO_RECORD_FIELDS(STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT,
    FIELD(in_w), FIELD(in_h), FIELD(offset_x), FIELD(offset_y), FIELD(usage_w), FIELD(usage_h),
    FIELD(out_w), FIELD(out_h), FIELD(p1_fe_w), FIELD(p1_fe_h), FIELD(p1_depth_w),
    FIELD(p1_depth_h));

VELMO_RECORD_FIELDS(STEREO_KERNEL_GEN_SIZE_P1_STAGE_STRUCT,
    FIELD(depth_w), FIELD(depth_h), FIELD(fe_w), FIELD(fe_h));

VELMO_RECORD_FIELDS(STEREO_KERNEL_GEN_SIZE_FE_STAGE_STRUCT,
    FIELD(in_w), FIELD(in_h), FIELD(offset_x), FIELD(offset_y), FIELD(usage_w), FIELD(usage_h),
    FIELD(rot_w), FIELD(rot_h), FIELD(grid_w), FIELD(grid_h));

VELMO_RECORD_FIELDS(STEREO_KERNEL_GEN_SIZE_WPE_TRAW_STAGE_STRUCT,
    FIELD(in_w), FIELD(in_h), FIELD(resize_w), FIELD(resize_h), FIELD(crop_x), FIELD(crop_y),
    FIELD(crop_w), FIELD(crop_h), FIELD(rot_w), FIELD(rot_h), FIELD(wpe_grid_in_w),
    FIELD(wpe_grid_in_h), FIELD(wpe_grid_w), FIELD(wpe_grid_h), FIELD(module_angle));

VELMO_RECORD_FIELDS(STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT,
    FIELD(zoom_maximum), FIELD(crop_flag), FIELD(rect_in_w), FIELD(rect_in_h), FIELD(rrz),
    FIELD(p1), FIELD(fe_b), FIELD(fe_c), FIELD(wpe_traw_setting), FIELD(wpe_grid_in_w),
    FIELD(wpe_grid_in_h), FIELD(wpe_grid_w), FIELD(wpe_grid_h), FIELD(wpe_img_rotate_type));

VELMO_RECORD_FIELDS(STEREO_KERNEL_GEN_SIZE_DPE_STAGE_STRUCT,
    FIELD(dpe_frm_w), FIELD(dpe_frm_h), FIELD(dpe_noc_w), FIELD(dpe_noc_h),
    FIELD(dpe_noc_w_no_rot), FIELD(dpe_noc_h_no_rot), FIELD(dpe_noc_buf_w),
    FIELD(dpe_noc_buf_h), FIELD(dpe_dv_w), FIELD(dpe_dv_h), FIELD(dpe_dv_buf_w),
    FIELD(dpe_dv_buf_h), FIELD(dpe_padding), FIELD(working_range_to_disp));

VELMO_RECORD_FIELDS(STEREO_KERNEL_GEN_SIZE_ME_STAGE_STRUCT, FIELD(mmap_w), FIELD(mmap_h));

VELMO_RECORD_FIELDS(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT,
    FIELD(main), FIELD(auxi), FIELD(dpe), FIELD(me), FIELD(zoom_constraint), FIELD(slanted_en),
    FIELD(working_range));

VELMO_RECORD_FIELDS(STEREO_KERNEL_GEN_SIZE_TRAW_RZ_STAGE_STRUCT,
    FIELD(in_w), FIELD(in_h), FIELD(offset_x), FIELD(offset_y), FIELD(usage_w), FIELD(usage_h),
    FIELD(out_w), FIELD(out_h));

VELMO_RECORD_FIELDS(STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT,
    FIELD(zoom_ratio), FIELD(p1_main), FIELD(p1_auxi));

VELMO_RECORD_FIELDS(STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT,
    FIELD(rrz_zoom_main), FIELD(rrz_zoom_auxi), FIELD(traw_main), FIELD(traw_auxi),
    FIELD(wpe_main_fe_b), FIELD(wpe_auxi_fe_b), FIELD(wpe_main_fe_c), FIELD(wpe_auxi_fe_c),
    FIELD(wpe_main_n3d), FIELD(wpe_sub_n3d), FIELD(dpe), FIELD(zoom_constraint));

#undef FIELD
#undef VELMO_RECORD_FIELDS

// Calls visit(field) for each field of Record, in declaration order.
template <typename Record, typename Visitor>
void forEachField(Visitor&& visit) {
    std::apply([&](const auto&... field) { (visit(field), ...); }, RecordFields<Record>::list);
}

// A table that skips or repeats a member no longer adds up to the record's
// size; every record consists of 4-byte members with no padding.
template <typename Record>
constexpr std::size_t describedBytes() {
    return std::apply(
        [](const auto&... field) {
            return (std::size_t{0} + ... +
                    sizeof(typename std::remove_reference_t<decltype(std::declval<Record&>().*(field.member))>));
        },
        RecordFields<Record>::list);
}

#define VELMO_CHECK_FIELDS(RecordType)                             \
    static_assert(describedBytes<RecordType>() == sizeof(RecordType), \
                  #RecordType "'s field table covers every member")
VELMO_CHECK_FIELDS(STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT);
VELMO_CHECK_FIELDS(STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT);
VELMO_CHECK_FIELDS(STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT);
VELMO_CHECK_FIELDS(STEREO_KERNEL_GEN_SIZE_P1_STAGE_STRUCT);
VELMO_CHECK_FIELDS(STEREO_KERNEL_GEN_SIZE_FE_STAGE_STRUCT);
VELMO_CHECK_FIELDS(STEREO_KERNEL_GEN_SIZE_WPE_TRAW_STAGE_STRUCT);
VELMO_CHECK_FIELDS(STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT);
VELMO_CHECK_FIELDS(STEREO_KERNEL_GEN_SIZE_DPE_STAGE_STRUCT);
VELMO_CHECK_FIELDS(STEREO_KERNEL_GEN_SIZE_ME_STAGE_STRUCT);
VELMO_CHECK_FIELDS(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT);
VELMO_CHECK_FIELDS(STEREO_KERNEL_GEN_SIZE_TRAW_RZ_STAGE_STRUCT);
VELMO_CHECK_FIELDS(STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT);
VELMO_CHECK_FIELDS(STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT);
#undef VELMO_CHECK_FIELDS

}  // namespace cli
}  // namespace velmo
