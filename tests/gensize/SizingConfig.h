#pragma once

// A Velmo configuration whose numbers can be followed by hand: two identical
// 4000 x 3000 sensors with a 90-degree field of view on both axes, so both
// cameras see the same half-angle (45 degrees) and the overlap factor only
// depends on the baseline and the module tolerance.
//
// Worked through once, because several tests lean on it:
//  - pixel size = 1 / (4000 / 4000) x 4000 / 640 = 6.25; fb = 4 x 12 x 10000 /
//    6.25 x 16 = 1228800; near end of the working range 1228800 / 253 = 4857.
//  - overlap k = (tan 45 + 12 / 4857) / tan 45 = 1.0025 > 1: no auxiliary crop,
//    view ratio r = 1, so the auxiliary FE equals the main one.
//  - 16:9 output, class 1: FE 960 x 540 (rotation 1184) fits both resizers,
//    whose usage is 4000 x 2250 (offsets 0 and 375), in the first round.
//  - depth 640 x 360 is already aligned: working size 640 x 360, frame
//    640 + 2 x 32 = 704 wide.

#include <cstdint>

#include "gensize/GenSize.h"

namespace velmo {
namespace testing {

// Field of view 90 x 90 degrees; a 4000 x 3000 array read whole, unbinned.
inline STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT plainSensor() {
    return {90.0f, 90.0f, 4000, 3000, 0, 0, 4000, 3000, 4000, 3000, 0, 0, 0, 0, 0, 0, 0, 0};
}

inline STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT plainConfig() {
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT c{};
    c.sensor_main = plainSensor();
    c.sensor_auxi = plainSensor();
    c.feature_mode = 2;  // Velmo
    c.rrz_output_main_w = 1920;
    c.rrz_output_main_h = 1080;
    c.p1_fe_main_w = 1920;
    c.p1_fe_main_h = 1080;
    c.dpe_w = 640;
    c.dpe_h = 360;
    c.focal_length = 4.0f;
    c.baseline = 12.0f;
    c.cell_size = 1.0f;
    c.dpe_cand_num = 32;
    c.align_wpe_in_w = 64;
    c.align_wpe_out_w = 64;
    c.align_dpe_in_w = 16;
    c.align_dpe_out_w = 64;
    c.align_ai_depth_in_w = 64;
    c.align_ai_depth_in_h = 16;
    c.align_gpu_in_w = 64;
    c.align_gpu_in_h = 16;
    c.align_fe_in_w = 16;
    c.align_fe_in_h = 16;
    return c;
}

// A dual 12 MP module (main with OIS) with 16:9 output and a 640 x 360 depth
// map; passes GenSizeInit in both features.
inline STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT dualTwelveMegapixel(int32_t featureWord) {
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT in = plainConfig();
    in.sensor_main = {78.0f, 63.0f, 4000, 3000, 0, 0, 4000, 3000, 4000, 3000, 0, 0, 0, 0, 0, 1, 0, 0};
    in.sensor_auxi = {80.0f, 65.0f, 4000, 3000, 0, 0, 4000, 3000, 4000, 3000, 0, 0, 0, 0, 0, 0, 0, 0};
    in.feature_mode = featureWord;
    in.p1_fe_main_w = 1280;  // SAT derives the same 640 x 360 depth size from it
    in.p1_fe_main_h = 720;
    in.dpe_w_rot = 360;
    in.dpe_h_rot = 640;
    in.module_variation = 1.0f;
    in.focal_length = 4.5f;
    in.align_ai_depth_in_w = 16;
    in.align_gpu_in_h = 2;
    return in;
}

}  // namespace testing
}  // namespace velmo
