#include <cmath>
#include <cstdint>

#include "common/Numerics.h"
#include "gensize/GenSize.h"
#include "gensize/GenSizeInternal.h"

namespace velmo {
namespace gensize {
namespace {

using Config = STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT;
using Dpe = STEREO_KERNEL_GEN_SIZE_DPE_STAGE_STRUCT;

constexpr uint32_t kMaxFrameWidth = 4096;
constexpr uint32_t kOisMargin = 64;      // lens-shift margin on both axes
constexpr uint32_t kDisparityTile = 544;  // one padding per started tile

enum class RatioBand { Low, Middle, High };

// NaN and everything from 999 on fall into Low with the small ratios.
RatioBand bandOf(float ratio) {
    if (ratio >= 1.0f && ratio < 999.0f) return RatioBand::High;
    if (ratio >= 0.25f && ratio < 1.0f) return RatioBand::Middle;
    return RatioBand::Low;
}

// The AI tracker's map must scale to the depth map by the same band on both
// axes (compared in the depth map's unrotated orientation).
bool trackingBandsAgree(const Dpe& dpe, const Config& cfg) {
    if (cfg.ai_tracking_w == 0 || cfg.ai_tracking_h == 0) return true;
    const bool horizontal = cfg.module_orient == 0;
    const int32_t depthH = horizontal ? dpe.dpe_noc_h_no_rot : dpe.dpe_noc_w_no_rot;
    const int32_t depthW = horizontal ? dpe.dpe_noc_w_no_rot : dpe.dpe_noc_h_no_rot;
    const float ratioH = sizeToFloat(depthH) / sizeToFloat(cfg.ai_tracking_h);
    const float ratioW = sizeToFloat(depthW) / sizeToFloat(cfg.ai_tracking_w);
    return bandOf(ratioH) == bandOf(ratioW);
}

// The disparity search adds one padding per started 544-pixel tile of a
// wide working size.
uint32_t disparityPadding(uint32_t workingWidth, uint32_t pad) {
    if (workingWidth < kDisparityTile + 1) return pad;
    const double tiles = std::ceil(static_cast<double>(workingWidth) / 544.0);
    return toUint32(static_cast<double>(pad) * tiles);
}

void setBuffers(Dpe& dpe, const Config& cfg, uint32_t pad) {
    const uint32_t nocW = static_cast<uint32_t>(dpe.dpe_noc_w);
    const uint32_t frmH = static_cast<uint32_t>(dpe.dpe_frm_h);
    dpe.dpe_noc_buf_h = dpe.dpe_frm_h;
    dpe.dpe_noc_buf_w = toField(alignUpF(sizeToFloat(nocW), static_cast<uint32_t>(cfg.align_dpe_out_w)));

    const uint32_t dvW = (nocW + disparityPadding(nocW, pad)) >> 1;
    dpe.dpe_dv_w = toField(dvW);
    dpe.dpe_dv_h = dpe.dpe_dv_buf_h = toField(frmH >> 1);
    dpe.dpe_dv_buf_w = toField(alignUpF(sizeToFloat(dvW), 16u));
}

// The auxiliary grid fields carry the half-frame sizes (width rounded, height
// rounded up to 32); the warp settings repeat the FE grids.
void setGrids(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out, const Config& cfg) {
    auto& main = out.main;
    auto& auxi = out.auxi;
    main.wpe_grid_w = main.wpe_grid_h = 4;
    if (cfg.sensor_main.isOISon == 1) {
        main.wpe_grid_w = main.fe_b.grid_w;
        main.wpe_grid_h = main.fe_b.grid_h;
    }
    const uint32_t halfW = static_cast<uint32_t>(out.dpe.dpe_frm_w) >> 1;
    const uint32_t halfH = static_cast<uint32_t>(out.dpe.dpe_frm_h) >> 1;
    auxi.wpe_grid_w = toField(alignRoundF(sizeToFloat(halfW), 32u));
    auxi.wpe_grid_h = toField(alignUpF(sizeToFloat(halfH), 32u));
    main.wpe_traw_setting.wpe_grid_w = main.fe_b.grid_w;
    main.wpe_traw_setting.wpe_grid_h = main.fe_b.grid_h;
    auxi.wpe_traw_setting.wpe_grid_w = auxi.fe_b.grid_w;
    auxi.wpe_traw_setting.wpe_grid_h = auxi.fe_b.grid_h;
}

}  // namespace
}  // namespace gensize
}  // namespace velmo

// Depth-engine frame, buffers and grids; checks the hardware rules in order
// and stops at the first one broken.
int SetDPE(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out, STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& cfg) {
    using namespace velmo::gensize;
    auto& dpe = out.dpe;

    if (!trackingBandsAgree(dpe, cfg)) return ERR_AI_TRACKING_TO_DPE_GUIDE;
    if (velmo::umod(static_cast<uint32_t>(dpe.dpe_noc_w_no_rot), static_cast<uint32_t>(cfg.align_wpe_in_w)) != 0)
        return ERR_DPE_IN_64_ALIGN_SLANTED;

    const uint32_t pad = static_cast<uint32_t>(dpe.dpe_padding);
    if (cfg.sensor_main.isOISon == 1) {
        dpe.dpe_noc_w = toField(static_cast<uint32_t>(dpe.dpe_noc_w) + kOisMargin);
        dpe.dpe_noc_h = toField(static_cast<uint32_t>(dpe.dpe_noc_h) + kOisMargin);
    }
    const uint32_t frameW = static_cast<uint32_t>(dpe.dpe_noc_w) + 2u * pad;
    dpe.dpe_frm_w = toField(frameW);
    dpe.dpe_frm_h = dpe.dpe_noc_h;
    if (frameW > kMaxFrameWidth) return ERR_DPE_IN_W_MAXIMUM;

    setBuffers(dpe, cfg, pad);
    setGrids(out, cfg);
    return GEN_SIZE_PASS;
}
