#pragma once

// The stereo size generator: configuration-time sizing of every stage of the
// depth pipeline (GenSizeInit) and the per-frame resizer windows (GenSizeProc).

#include <cstdint>
#include <string>

#include "AlignMode.h"
#include "gensize/GenSizeRecords.h"
#include "velmoExport.h"

// Result codes of GenSizeInit and GenSizeProc; showErrorLog logs their messages.
enum GEN_SIZE_ERROR_CODE : uint32_t {
    GEN_SIZE_PASS = 0,
    ERR_PADDING_NOT_ENOUGH = 1,
    ERR_DPE_IN_16_ALIGN = 2,
    ERR_DPE_IN_64_ALIGN_SLANTED = 3,
    ERR_DPE_IN_W_MAXIMUM = 4,
    ERR_AI_TRACKING_TO_DPE_GUIDE = 5,
    ERR_MODULE_ORIENT_SLANTED = 6,
    ERR_2PX_MODE = 7,
    ERR_DPE_SLANTED_WH_NOT_ENOUGH = 8,
    // The FE fitting loop stopped changing, or ran 10,000 rounds, before the
    // resizer constraints held.
    ERR_FE_FIT_NOT_CONVERGED = 9,
};

namespace GENSIZE {
// Debug level, re-read from "vendor.debug.velmoUtil.gensize.debuglevel" at
// every GenSizeInit and kept when the property is absent.
VELMO_EXPORT extern int debugLevel;
}  // namespace GENSIZE

// Aspect class of the last GenSizeInit: 0 up to 14:9, 1 up to 2:1, else 2.
VELMO_EXPORT extern int gRatioMode;

// n x ceil/round/floor(a x b / n) in single precision; an unknown mode gives 0.
// Example: enlargeWithNAligned(10, 1, 4, ALIGN_ROUND) == 12.
VELMO_EXPORT int enlargeWithNAligned(float a, float b, int n, AlignMode mode);

// Configuration-time sizing. Reads `in` (never modifies it), fills `out` and
// returns a GEN_SIZE_ERROR_CODE.
VELMO_EXPORT uint32_t GenSizeInit(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out,
                                  STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& in);

// Stage setters run by GenSizeInit's fitting loop; exported for the camera stack.
VELMO_EXPORT int SetFE_Main(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out,
                            STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& cfg, int fe_w, int fe_h, int fe_rot);
VELMO_EXPORT int SetRRZ_AuxiFEnRect(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out,
                                    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& cfg, int w, int h,
                                    float main_2px_factor, float auxi_2px_factor);
VELMO_EXPORT int Set_WPE_TRAW(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out,
                              STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& cfg, int unused0, int unused1);
VELMO_EXPORT int SetDPE(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out,
                        STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& cfg);

// Logs the fixed message of a result code (code 1 reads out.dpe.working_range_to_disp).
VELMO_EXPORT void showErrorLog(int code, STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out);

// Per-frame sizing: re-runs GenSizeInit on a private copy of `init` and derives
// the resizer windows for the frame's zoom and P1 crops.
VELMO_EXPORT uint32_t GenSizeProc(STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT& out,
                                  STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT& in,
                                  STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& init);

// Fills a sample per-frame input (4096 x 2304 crops resized to 2586 x 1456, no zoom).
VELMO_EXPORT void gen_procIn_testcase(STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT& in,
                                      STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT init);

// Debug output: writes a text to the log in lines of at most 1024 bytes.
VELMO_EXPORT void showLog(std::string text);
VELMO_EXPORT void show_init_in_log(STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& in);
VELMO_EXPORT void show_init_out_log(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out);
VELMO_EXPORT void show_proc_in_log(STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT& in);
VELMO_EXPORT void show_proc_out_log(STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT& out);
