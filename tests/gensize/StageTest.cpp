// Boundaries of the depth stage and the FE fitting loop that the reference
// cases do not reach, each on a prepared output record.

#include <cstring>

#include <gtest/gtest.h>

#include "SizingConfig.h"
#include "gensize/GenSize.h"
#include "gensize/GenSizeInternal.h"

namespace {

using velmo::testing::plainConfig;
using Config = STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT;
using Output = STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT;

// What SetDPE starts from; the rest of the record holds a recognisable
// pattern, so a field written too early or not at all stands out.
Output depthInput(int nocW, int nocH) {
    Output out;
    std::memset(&out, 0x55, sizeof out);
    out.dpe.dpe_noc_w = out.dpe.dpe_noc_w_no_rot = nocW;
    out.dpe.dpe_noc_h = out.dpe.dpe_noc_h_no_rot = nocH;
    out.dpe.dpe_padding = 32;
    out.main.fe_b.grid_w = out.main.fe_b.grid_h = 28;
    out.auxi.fe_b.grid_w = out.auxi.fe_b.grid_h = 4;
    return out;
}

TEST(SetDpe, AiTrackingRatiosMustShareABand) {
    struct Case {
        int trackW, trackH;
        int noRotW, noRotH;
        int code;
    };
    // Ratios depth / tracking on each axis: high [1, 999), middle [0.25, 1),
    // low anything else.
    const Case cases[] = {
        {640, 10, 640, 9989, 0},  // 1.0 and 998.9: both high
        {100, 100, 99, 100, 5},   // 0.99 and 1.0
        {100, 1, 10, 1000, 0},    // 0.1 and 1000: both low
        {400, 400, 100, 396, 0},  // 0.25 and 0.99: both middle
        {100, 100, 100, 24, 5},   // 1.0 and 0.24
        {0, 100, 1, 1000, 0},     // a zero tracking size disables the check
    };
    for (const Case& k : cases) {
        Config cfg = plainConfig();
        cfg.align_wpe_in_w = 1;
        cfg.ai_tracking_w = k.trackW;
        cfg.ai_tracking_h = k.trackH;
        Output out = depthInput(640, 360);
        out.dpe.dpe_noc_w_no_rot = k.noRotW;
        out.dpe.dpe_noc_h_no_rot = k.noRotH;
        EXPECT_EQ(SetDPE(out, cfg), k.code) << k.noRotW << "/" << k.trackW << ", " << k.noRotH << "/" << k.trackH;
    }
}

// pad2 = 32 x ceil(noc_w / 544): 32, 64 from 545, 96 from 1089; dv_w =
// (noc_w + pad2) >> 1, its buffer aligned up to 16. The frame, noc_w plus 32
// on both sides, may be 4096 wide; a wider one stops before the disparity map.
TEST(SetDpe, DisparityPaddingPer544PixelTileAndFrameWidthLimit) {
    struct Case {
        int nocW, code, dvW, dvBufW;
    };
    const Case cases[] = {
        {544, 0, 288, 288},     {545, 0, 304, 304},   {1088, 0, 576, 576},
        {1089, 0, 592, 592},    {600, 0, 332, 336},   {4032, 0, 2144, 2144},
        {4033, ERR_DPE_IN_W_MAXIMUM, 0x55555555, 0x55555555},
    };
    for (const Case& k : cases) {
        Config cfg = plainConfig();
        cfg.align_wpe_in_w = 1;
        Output out = depthInput(k.nocW, 361);
        EXPECT_EQ(SetDPE(out, cfg), k.code) << k.nocW;
        EXPECT_EQ(out.dpe.dpe_frm_w, k.nocW + 64);
        EXPECT_EQ(out.dpe.dpe_dv_w, k.dvW) << k.nocW;
        EXPECT_EQ(out.dpe.dpe_dv_buf_w, k.dvBufW) << k.nocW;
    }
}

// Up to even: the half is rounded up and truncated before doubling, so the
// doubling wraps in 32 bits where a float product would saturate.
TEST(CeilEven, DoublesTheTruncatedHalfInUnsigned32Bits) {
    EXPECT_EQ(velmo::gensize::ceilEven(4001.0f), 4002u);
    EXPECT_EQ(velmo::gensize::ceilEven(4294967295.0f), 0u);  // 2^32: 2^31 x 2 wraps
}

}  // namespace
