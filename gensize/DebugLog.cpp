// Debug output of the size generator: long texts cut into log-sized lines, and
// the section-by-section configuration dumps of the per-frame debug block.

#include <cstddef>
#include <string>
#include <utility>

#include "common/Numerics.h"
#include "gensize/GenSize.h"
#include "gensize/GenSizeInternal.h"
#include "platform/Log.h"

using velmo::printable;
using velmo::gensize::kLogTag;

namespace {

// The platform logger truncates longer lines.
constexpr std::size_t kMaxLogLine = 1024;
// Long texts are cut at a line break so that no field line is split; the
// search for one starts this far into the text.
constexpr std::size_t kCutSearchStart = 900;

void logText(const char* text) { VELMO_LOG(kLogTag, "%s", text); }

// Logs text[begin, end). `text` is showLog's own copy, so the byte at `end` is
// borrowed as the terminator instead of copying the piece out.
void logPiece(std::string& text, std::size_t begin, std::size_t end) {
    if (end == text.size()) {
        logText(text.c_str() + begin);
        return;
    }
    const char saved = text[end];
    text[end] = '\0';
    logText(text.c_str() + begin);
    text[end] = saved;
}

void logSection(const char* label, std::string text) {
    logText(label);
    showLog(std::move(text));
}

}  // namespace

void showLog(std::string text) {
    if (text.size() <= kMaxLogLine) {
        logText(text.c_str());
        return;
    }
    std::size_t begin = 0;
    while (text.size() - begin > kMaxLogLine) {
        // The piece ends before the first line break at or after byte 900, and
        // may exceed 1024 bytes when that break lies further on. A text without
        // such a break goes out in 1024-byte pieces.
        std::size_t cut = text.find('\n', begin + kCutSearchStart);
        if (cut == std::string::npos) cut = begin + kMaxLogLine;
        logPiece(text, begin, cut);
        begin = cut;
    }
    logPiece(text, begin, text.size());
}

void show_init_in_log(STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& in) {
    logText("[GensizeProc][STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT][DEBUG]\n");
    logSection("[GenSizeProc] ====== sensor_main ======\n", in.sensor_main.toString());
    logSection("[GenSizeProc] ====== sensor_auxi ======\n", in.sensor_auxi.toString());
    if (GENSIZE::debugLevel < 2) return;

    VELMO_LOG(kLogTag,
              "[GenSizeProc] ai_depth_enable: %d, ai_depth_temporal_enable: %d, rrz_output_main_w: %d, "
              "rrz_output_main_h: %d, p1_fe_main_w: %d, p1_fe_main_h: %d, dpe_w: %d, dpe_h: %d,         "
              "dpe_w_rot: %d, dpe_h_rot : %d, ai_tracking_w : %d, ai_tracking_h : %d\n",
              in.ai_depth_enable, in.ai_depth_temporal_enable, in.rrz_output_main_w, in.rrz_output_main_h,
              in.p1_fe_main_w, in.p1_fe_main_h, in.dpe_w, in.dpe_h, in.dpe_w_rot, in.dpe_h_rot, in.ai_tracking_w,
              in.ai_tracking_h);
    VELMO_LOG(kLogTag,
              "[GenSizeProc] has_mdp: %d, module_layout: %d, module_orient: %d, flow_rotate_type: %d, "
              "enable_gpu: %d, only_crop_ratio: %d, module_angle: %f, module_variation: %f, focal_length: %f, "
              "baseline: %f,         cell_size: %f, dpe_cand_num: %d, dpe_dv_lsb_sft: %d\n",
              in.has_mdp, in.module_layout, in.module_orient, in.flow_rotate_type, in.enable_gpu,
              in.only_crop_ratio, printable(in.module_angle), printable(in.module_variation),
              printable(in.focal_length), printable(in.baseline), printable(in.cell_size), in.dpe_cand_num,
              in.dpe_dv_lsb_sft);
    VELMO_LOG(kLogTag,
              "[GenSizeProc] align_wpe_in_w: %d, align_wpe_out_w: %d, align_dpe_in_w: %d, align_dpe_out_w: %d, "
              "align_ai_depth_in_w: %d, align_ai_depth_in_h: %d, align_gpu_in_w: %d, align_gpu_in_h: %d,         "
              "align_fe_in_w: %d, align_fe_in_h: %d\n",
              in.align_wpe_in_w, in.align_wpe_out_w, in.align_dpe_in_w, in.align_dpe_out_w, in.align_ai_depth_in_w,
              in.align_ai_depth_in_h, in.align_gpu_in_w, in.align_gpu_in_h, in.align_fe_in_w, in.align_fe_in_h);
}

namespace {

// One line per camera; `camera` is "main" or "auxi".
void logCameraSummary(const char* camera, const STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT& cam) {
    VELMO_LOG(kLogTag,
              "[GenSizeProc] %s zoom_maximum: %f, crop_flag: %d, rect_in_w: %d, rect_in_h: %d, wpe_grid_w: %d, "
              "wpe_grid_h: %d, wpe_img_rotate_type: %d\n",
              camera, printable(cam.zoom_maximum), cam.crop_flag, cam.rect_in_w, cam.rect_in_h, cam.wpe_grid_w,
              cam.wpe_grid_h, cam.wpe_img_rotate_type);
}

}  // namespace

void show_init_out_log(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out) {
    logText("[GensizeProc][STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT][DEBUG]\n");
    // This line has never ended in a newline; log readers join it with the next.
    VELMO_LOG(kLogTag, "[GenSizeProc] zoom_constraint: %f, slanted_en: %d, working_range: %f",
              printable(out.zoom_constraint), out.slanted_en, printable(out.working_range));
    logSection("[GenSizeProc] main rrz_init\n", out.main.rrz.toString());
    logSection("[GenSizeProc] auxi rrz_init\n", out.auxi.rrz.toString());
    if (GENSIZE::debugLevel < 2) return;

    logSection("[GenSizeProc] main wpe_traw_init\n", out.main.wpe_traw_setting.toString());
    logSection("[GenSizeProc] sub wpe_traw_init\n", out.auxi.wpe_traw_setting.toString());
    logSection("[GenSizeProc] main p1_init\n", out.main.p1.toString());
    logSection("[GenSizeProc] auxi p1_init\n", out.auxi.p1.toString());
    logSection("[GenSizeProc] main fe_b_init\n", out.main.fe_b.toString());
    logSection("[GenSizeProc] main fe_c_init\n", out.main.fe_c.toString());
    logSection("[GenSizeProc] auxi fe_b_init\n", out.auxi.fe_b.toString());
    logSection("[GenSizeProc] auxi fe_c_init\n", out.auxi.fe_c.toString());
    logCameraSummary("main", out.main);
    logCameraSummary("auxi", out.auxi);
    logSection("[GenSizeProc] dpe_init\n", out.dpe.toString());
    // Log readers expect a section under the motion-map label; it has always
    // carried the depth-engine record, and the motion map is not dumped here.
    logSection("[GenSizeProc] me_init\n", out.dpe.toString());
}
