// Debug dumps of the per-frame records.

#include <string>
#include <utility>

#include "common/Numerics.h"
#include "gensize/GenSize.h"
#include "gensize/GenSizeInternal.h"
#include "platform/Log.h"

using velmo::gensize::kLogTag;

namespace {

void logSection(const char* label, std::string dump) {
    VELMO_LOG(kLogTag, "%s", label);
    showLog(std::move(dump));
}

}  // namespace

void show_proc_in_log(STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT& in) {
    VELMO_LOG(kLogTag, "%s", "[GensizeProc][STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT][DEBUG]\n");
    VELMO_LOG(kLogTag, "[GenSizeProc] zoom_ratio: %f\n", velmo::printable(in.zoom_ratio));
    logSection("[GenSizeProc] p1_main\n", in.p1_main.toString());
    logSection("[GenSizeProc] p1_auxi\n", in.p1_auxi.toString());
}

void show_proc_out_log(STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT& out) {
    VELMO_LOG(kLogTag, "%s", "[GensizeProc][STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT][DEBUG]\n");
    logSection("[GenSizeProc] rrz_zoom_main\n", out.rrz_zoom_main.toString());
    logSection("[GenSizeProc] rrz_zoom_auxi\n", out.rrz_zoom_auxi.toString());
    logSection("[GenSizeProc] traw_main\n", out.traw_main.toString());
    logSection("[GenSizeProc] traw_auxi\n", out.traw_auxi.toString());
    if (GENSIZE::debugLevel < 2) return;

    logSection("[GenSizeProc] wpe_main_fe_b\n", out.wpe_main_fe_b.toString());
    logSection("[GenSizeProc] wpe_auxi_fe_b\n", out.wpe_auxi_fe_b.toString());
    logSection("[GenSizeProc] wpe_main_fe_c\n", out.wpe_main_fe_c.toString());
    logSection("[GenSizeProc] wpe_auxi_fe_c\n", out.wpe_auxi_fe_c.toString());
    logSection("[GenSizeProc] wpe_main_n3d\n", out.wpe_main_n3d.toString());
    logSection("[GenSizeProc] wpe_sub_n3d\n", out.wpe_sub_n3d.toString());
    logSection("[GenSizeProc] dpe\n", out.dpe.toString());
}
