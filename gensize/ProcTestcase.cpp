#include "gensize/GenSize.h"

namespace {

// A 4096 x 2304 P1 crop, uncropped, resized to 2586 x 1456.
void fillSampleCrop(STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT& p1) {
    p1.in_w = 4096;
    p1.in_h = 2304;
    p1.offset_x = 0;
    p1.offset_y = 0;
    p1.usage_w = 4096;
    p1.usage_h = 2304;
    p1.out_w = 2586;
    p1.out_h = 1456;
}

}  // namespace

// The configuration is accepted for interface compatibility and not used.
void gen_procIn_testcase(STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT& in, STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT) {
    in.zoom_ratio = 1.0f;
    fillSampleCrop(in.p1_main);
    fillSampleCrop(in.p1_auxi);
}
