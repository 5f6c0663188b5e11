// Per-frame sizing. Every frame re-runs the configuration-time sizing on a
// private copy of the configuration and derives from it, and from the crops
// that P1 actually applied on this frame, the resizer windows and the TRAW
// resize stages; the FE, warp and depth-engine sizes are copied alongside.
//
// Sizes are unsigned 32-bit values here: a difference halved for an offset is
// an unsigned subtraction and a logical shift, so a window wider than its
// input wraps to a huge offset. The consistency checks of the SAT path look
// for exactly that.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "common/Numerics.h"
#include "gensize/GenSize.h"
#include "gensize/GenSizeInternal.h"
#include "platform/Log.h"

using velmo::gensize::kLogTag;

namespace {

using Rrz = STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT;
using TrawRz = STEREO_KERNEL_GEN_SIZE_TRAW_RZ_STAGE_STRUCT;
using Fe = STEREO_KERNEL_GEN_SIZE_FE_STAGE_STRUCT;
using InitIn = STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT;
using InitOut = STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT;
using ProcIn = STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT;
using ProcOut = STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT;

// ---- unsigned size arithmetic ---------------------------------------------------

using velmo::gensize::sizeToFloat;
using velmo::gensize::toField;
using velmo::gensize::halfSize;
using velmo::gensize::prepareSatConfig;

uint32_t u(int32_t v) { return static_cast<uint32_t>(v); }

// Offset that centres a window of `usage` in `size`; wraps when usage > size.
int32_t centredOffset(int32_t size, int32_t usage) { return toField((u(size) - u(usage)) >> 1); }

int32_t minSize(int32_t a, int32_t b) { return toField(std::min(u(a), u(b))); }
int32_t maxSize(int32_t a, int32_t b) { return toField(std::max(u(a), u(b))); }

// A float size back into a field (saturating, NaN and negatives to 0).
int32_t sizeField(float v) { return toField(velmo::toUint32(v)); }

// n x floor(v / n), in single precision.
int32_t floorToMultiple(float v, float n) { return sizeField(std::floor(v / n) * n); }

// TRAW outputs are whole multiples of 64 pixels wide.
int32_t alignDown64(int32_t v) { return floorToMultiple(sizeToFloat(v), 64.0f); }

// Even height of a `width`-wide image with the aspect of `fe`.
int32_t evenHeightWithAspectOf(int32_t width, const Fe& fe) {
    const float aspect = sizeToFloat(fe.in_w) / sizeToFloat(fe.in_h);
    return sizeField(std::floor(sizeToFloat(width) / aspect * 0.5f) * 2.0f);
}

// Fits an output of `width` (64-aligned) into the FE input, keeping its aspect.
void fitTrawOutput(TrawRz& traw, int32_t width, const Fe& fe) {
    traw.out_w = minSize(width, fe.in_w);
    traw.out_h = minSize(evenHeightWithAspectOf(width, fe), fe.in_h);
}

// ---- the feature/crop word ------------------------------------------------------

enum class Feature { Sat, Velmo, Unsupported };

struct FeatureWord {
    Feature feature;
    int32_t cropMode;
};

// Bits 0-1 select the feature, bits 16-17 the crop mode; an all-zero word is
// the SAT default with crop mode 1.
FeatureWord decodeFeatureWord(int32_t word) {
    const uint32_t bits = u(word);
    if (bits == 0) return {Feature::Sat, 1};
    const uint32_t feature = bits & 3u;
    const int32_t cropMode = static_cast<int32_t>((bits >> 16) & 3u);
    if (feature == 1) return {Feature::Sat, cropMode};
    if (feature == 2) return {Feature::Velmo, cropMode};
    return {Feature::Unsupported, cropMode};
}

// ---- resizer windows --------------------------------------------------------------

// in_w .. out_h: the window part of an RRZ record, without the P1 sizes.
void copyWindow(Rrz& to, const Rrz& from) {
    to.in_w = from.in_w;
    to.in_h = from.in_h;
    to.offset_x = from.offset_x;
    to.offset_y = from.offset_y;
    to.usage_w = from.usage_w;
    to.usage_h = from.usage_h;
    to.out_w = from.out_w;
    to.out_h = from.out_h;
}

// TRAW stage that takes the auxiliary P1 output whole, without cropping.
void uncroppedAuxiTraw(TrawRz& traw, const Rrz& p1Auxi) {
    traw.in_w = p1Auxi.out_w;
    traw.in_h = p1Auxi.out_h;
    traw.offset_x = 0;
    traw.offset_y = 0;
    traw.usage_w = p1Auxi.out_w;
    traw.usage_h = p1Auxi.out_h;
    traw.out_w = alignDown64(traw.usage_w);
}

// P1's auxiliary output size scaled by the configured share of its crop:
// ceil(out / p1Usage x configuredUsage).
int32_t scaledUsage(int32_t p1Out, int32_t p1Usage, int32_t configuredUsage) {
    return sizeField(std::ceil(sizeToFloat(p1Out) / sizeToFloat(p1Usage) * sizeToFloat(configuredUsage)));
}

void logNegativeTrawOffset() { VELMO_LOG(kLogTag, "%s", "[Gensize Error] sub cam occurs negative traw offset!\n"); }

// SAT crop mode 1: the auxiliary camera follows the main camera's zoom. The
// main windows are the ones P1 used; the auxiliary ones keep the configured
// field of view, cropped back to it in TRAW.
void satFollowMainZoom(ProcOut& po, const ProcIn& pi, const InitOut& io) {
    po.rrz_zoom_main.in_w = io.main.rrz.in_w;
    po.rrz_zoom_main.in_h = io.main.rrz.in_h;
    po.rrz_zoom_main.offset_x = pi.p1_main.offset_x;
    po.rrz_zoom_main.offset_y = pi.p1_main.offset_y;
    po.rrz_zoom_main.usage_w = pi.p1_main.usage_w;
    po.rrz_zoom_main.usage_h = pi.p1_main.usage_h;
    po.rrz_zoom_main.out_w = pi.p1_main.out_w;
    po.rrz_zoom_main.out_h = pi.p1_main.out_h;

    TrawRz& trawMain = po.traw_main;
    trawMain.in_w = pi.p1_main.out_w;
    trawMain.in_h = pi.p1_main.out_h;
    trawMain.offset_x = 0;
    trawMain.offset_y = 0;
    trawMain.usage_w = trawMain.in_w;
    trawMain.usage_h = trawMain.in_h;
    fitTrawOutput(trawMain, alignDown64(pi.p1_main.out_w), io.main.fe_b);

    const Rrz& auxiRrz = io.auxi.rrz;
    po.rrz_zoom_auxi.in_w = auxiRrz.in_w;
    po.rrz_zoom_auxi.in_h = auxiRrz.in_h;
    po.rrz_zoom_auxi.offset_x = centredOffset(auxiRrz.in_w, auxiRrz.usage_w);
    po.rrz_zoom_auxi.offset_y = centredOffset(auxiRrz.in_h, auxiRrz.usage_h);
    po.rrz_zoom_auxi.usage_w = auxiRrz.usage_w;
    po.rrz_zoom_auxi.usage_h = auxiRrz.usage_h;
    po.rrz_zoom_auxi.out_w = pi.p1_auxi.out_w;
    po.rrz_zoom_auxi.out_h = pi.p1_auxi.out_h;

    // The configured auxiliary usage, expressed in P1 output pixels.
    TrawRz& trawAuxi = po.traw_auxi;
    trawAuxi.in_w = pi.p1_auxi.out_w;
    trawAuxi.in_h = pi.p1_auxi.out_h;
    trawAuxi.usage_w = scaledUsage(pi.p1_auxi.out_w, pi.p1_auxi.usage_w, auxiRrz.usage_w);
    trawAuxi.usage_h = scaledUsage(pi.p1_auxi.out_h, pi.p1_auxi.usage_h, auxiRrz.usage_h);
    trawAuxi.offset_x = centredOffset(trawAuxi.in_w, trawAuxi.usage_w);
    trawAuxi.offset_y = centredOffset(trawAuxi.in_h, trawAuxi.usage_h);
    fitTrawOutput(trawAuxi, alignDown64(trawAuxi.usage_w), io.auxi.fe_b);
}

// Check 1: P1 cropped the auxiliary image more than the configuration allows,
// so its field of view is now narrower than the main one.
void satCheckAuxiCroppedTooMuch(ProcOut& po, const ProcIn& pi, const InitOut& io) {
    const Rrz& auxiRrz = io.auxi.rrz;
    if (!(u(pi.p1_auxi.usage_w) < u(auxiRrz.usage_w) || u(pi.p1_auxi.usage_h) < u(auxiRrz.usage_h))) return;

    Rrz& zoomAuxi = po.rrz_zoom_auxi;
    zoomAuxi.usage_w = pi.p1_auxi.usage_w;
    zoomAuxi.usage_h = pi.p1_auxi.usage_h;
    zoomAuxi.offset_x = centredOffset(auxiRrz.in_w, zoomAuxi.usage_w);
    zoomAuxi.offset_y = centredOffset(auxiRrz.in_h, zoomAuxi.usage_h);
    VELMO_LOG(kLogTag, "%s",
              "[Gensize Error] sub FOV < main FOV after p1 crop, SAT auxi P1 crop more than gensize init "
              "configuration,  n3d should not learning\n");
    VELMO_LOG(kLogTag,
              "[Gensize Error] rrz_zoom_zuxi in_w: %d, in_h: %d, usage_w: %d, usage_h: %d, offset_x: %d, offset_y: %d",
              zoomAuxi.in_w, zoomAuxi.in_h, zoomAuxi.usage_w, zoomAuxi.usage_h, zoomAuxi.offset_x,
              zoomAuxi.offset_y);

    // Narrow the main window a little (width only) so that its view stays
    // inside the narrowed auxiliary one.
    Rrz& zoomMain = po.rrz_zoom_main;
    zoomMain.usage_w = toField(u(zoomMain.usage_w) - 2u);
    zoomMain.offset_x = centredOffset(zoomMain.in_w, zoomMain.usage_w);

    uncroppedAuxiTraw(po.traw_auxi, pi.p1_auxi);
    po.traw_auxi.out_h = sizeField(std::floor(sizeToFloat(po.traw_auxi.usage_h) * 0.5f) * 2.0f);
}

// Check 2: the TRAW window is larger than its input (its offset wrapped).
void satCheckTrawOffset(ProcOut& po, const ProcIn& pi) {
    const TrawRz& traw = po.traw_auxi;
    if (!(u(traw.usage_w) > u(traw.in_w) || u(traw.usage_h) > u(traw.in_h))) return;
    uncroppedAuxiTraw(po.traw_auxi, pi.p1_auxi);
    po.traw_auxi.out_h = floorToMultiple(sizeToFloat(po.traw_auxi.usage_h), 16.0f);
    logNegativeTrawOffset();
}

// Check 3: the auxiliary RRZ window is larger than its input.
void satCheckRrzOffset(ProcOut& po, const ProcIn& pi, const InitOut& io) {
    Rrz& zoomAuxi = po.rrz_zoom_auxi;
    if (!(u(zoomAuxi.usage_w) > u(zoomAuxi.in_w) || u(zoomAuxi.usage_h) > u(zoomAuxi.in_h))) return;
    copyWindow(zoomAuxi, io.auxi.rrz);
    zoomAuxi.out_w = pi.p1_auxi.out_w;
    zoomAuxi.out_h = pi.p1_auxi.out_h;
    logNegativeTrawOffset();
}

// Velmo crop mode 2: the resizer windows shrink with the zoom (never below the
// resizer output, never above the constraint's zoom).
void zoomWindow(Rrz& window, const Rrz& configured, float zoom) {
    const auto zoomedUsage = [zoom](int32_t usage, int32_t out) {
        return maxSize(sizeField(std::ceil(sizeToFloat(usage) / zoom * 0.5f) * 2.0f), out);
    };
    window.usage_w = zoomedUsage(configured.usage_w, configured.out_w);
    window.usage_h = zoomedUsage(configured.usage_h, configured.out_h);
    window.offset_x = centredOffset(configured.in_w, window.usage_w);
    window.offset_y = centredOffset(configured.in_h, window.usage_h);
}

void velmoZoomWindows(ProcOut& po, const ProcIn& pi, const InitOut& io) {
    copyWindow(po.rrz_zoom_main, io.main.rrz);
    copyWindow(po.rrz_zoom_auxi, io.auxi.rrz);
    if (std::fabs(static_cast<double>(pi.zoom_ratio) - 1.0) > 1e-5) {
        const float zoom = std::min(pi.zoom_ratio, io.zoom_constraint);
        zoomWindow(po.rrz_zoom_main, io.main.rrz, zoom);
        zoomWindow(po.rrz_zoom_auxi, io.auxi.rrz, zoom);
    }
    po.traw_main = TrawRz{};
    po.traw_auxi = TrawRz{};
}

// ---- stage sizes shared by every path ----------------------------------------------

Fe halvedFe(const Fe& fe) {
    Fe half = fe;
    half.in_w = halfSize(fe.in_w);
    half.in_h = halfSize(fe.in_h);
    half.offset_x = halfSize(fe.offset_x);
    half.offset_y = halfSize(fe.offset_y);
    half.usage_w = halfSize(fe.usage_w);
    half.usage_h = halfSize(fe.usage_h);
    half.rot_w = halfSize(fe.rot_w);
    half.rot_h = halfSize(fe.rot_h);
    return half;  // the block grid is the same at half resolution
}

STEREO_KERNEL_GEN_SIZE_WPE_TRAW_STAGE_STRUCT n3dStage(const STEREO_KERNEL_GEN_SIZE_N3D_CAM_STRUCT& cam,
                                                      const STEREO_KERNEL_GEN_SIZE_DPE_STAGE_STRUCT& dpe) {
    STEREO_KERNEL_GEN_SIZE_WPE_TRAW_STAGE_STRUCT n3d{};
    n3d.in_w = cam.p1.depth_w;
    n3d.in_h = cam.p1.depth_h;
    n3d.rot_w = dpe.dpe_frm_w;
    n3d.rot_h = dpe.dpe_frm_h;
    n3d.wpe_grid_in_w = cam.fe_b.grid_w;
    n3d.wpe_grid_in_h = cam.fe_b.grid_h;
    n3d.wpe_grid_w = cam.wpe_grid_w;
    n3d.wpe_grid_h = cam.wpe_grid_h;
    n3d.module_angle = cam.wpe_traw_setting.module_angle;
    return n3d;
}

void copyStageSizes(ProcOut& po, const InitOut& io) {
    po.rrz_zoom_main.p1_fe_w = io.main.p1.fe_w;
    po.rrz_zoom_main.p1_fe_h = io.main.p1.fe_h;
    po.rrz_zoom_main.p1_depth_w = io.main.p1.depth_w;
    po.rrz_zoom_main.p1_depth_h = io.main.p1.depth_h;
    // The auxiliary features cannot exceed what its resizer window delivers.
    po.rrz_zoom_auxi.p1_fe_w = minSize(io.auxi.p1.fe_w, po.rrz_zoom_auxi.usage_w);
    po.rrz_zoom_auxi.p1_fe_h = minSize(io.auxi.p1.fe_h, po.rrz_zoom_auxi.usage_h);
    po.rrz_zoom_auxi.p1_depth_w = io.auxi.p1.depth_w;
    po.rrz_zoom_auxi.p1_depth_h = io.auxi.p1.depth_h;

    // The main FE rotation buffer is reported square, both sides from rot_w.
    po.wpe_main_fe_b = io.main.fe_b;
    po.wpe_main_fe_b.rot_h = io.main.fe_b.rot_w;
    po.wpe_auxi_fe_b = io.auxi.fe_b;
    po.wpe_main_fe_c = halvedFe(po.wpe_main_fe_b);
    po.wpe_auxi_fe_c = halvedFe(po.wpe_auxi_fe_b);

    po.wpe_main_n3d = n3dStage(io.main, io.dpe);
    po.wpe_sub_n3d = n3dStage(io.auxi, io.dpe);
    po.dpe = io.dpe;
    po.zoom_constraint = io.zoom_constraint;
}

// A module mounted a quarter turn off sees its grids transposed. The sub N3D
// output grid (the auxiliary half-frame sizes) is deliberately left as it is.
void transposeGridsForQuarterTurn(ProcOut& po) {
    std::swap(po.wpe_main_n3d.wpe_grid_w, po.wpe_main_n3d.wpe_grid_h);
    for (Fe* fe : {&po.wpe_main_fe_b, &po.wpe_auxi_fe_b, &po.wpe_main_fe_c, &po.wpe_auxi_fe_c}) {
        std::swap(fe->grid_w, fe->grid_h);
    }
    std::swap(po.wpe_main_n3d.wpe_grid_in_w, po.wpe_main_n3d.wpe_grid_in_h);
    std::swap(po.wpe_sub_n3d.wpe_grid_in_w, po.wpe_sub_n3d.wpe_grid_in_h);
}

void logDebugBlock(FeatureWord word, InitIn& cfg, InitOut& io, ProcIn& pi, ProcOut& po) {
    if (GENSIZE::debugLevel < 1) return;
    VELMO_LOG(kLogTag, "[GenSizeProc] Feature: %s, crop_mode: %d, zoom_ratio: %f, zoom_constraint: %f\n",
              word.feature == Feature::Sat ? "SAT" : "Velmo", word.cropMode, velmo::printable(pi.zoom_ratio),
              velmo::printable(io.zoom_constraint));
    show_init_in_log(cfg);
    show_init_out_log(io);
    show_proc_in_log(pi);
    show_proc_out_log(po);
}

// SAT path; returns GenSizeInit's code.
uint32_t satWindows(ProcOut& po, const ProcIn& pi, InitIn& cfg, InitOut& io, int32_t cropMode) {
    prepareSatConfig(cfg);
    const uint32_t code = GenSizeInit(io, cfg);
    if (code != 0) {
        VELMO_LOG(kLogTag, "%s", "[GenSizeProc] Gensizeinit error\n");
        return code;
    }
    if (cropMode == 2) {
        copyWindow(po.rrz_zoom_main, io.main.rrz);
        copyWindow(po.rrz_zoom_auxi, io.auxi.rrz);
        po.traw_main = TrawRz{};
        po.traw_auxi = TrawRz{};
    } else if (cropMode == 1) {
        satFollowMainZoom(po, pi, io);
        satCheckAuxiCroppedTooMuch(po, pi, io);
        satCheckTrawOffset(po, pi);
        satCheckRrzOffset(po, pi, io);
    }
    return 0;  // crop modes 0 and 3 leave the windows to the caller
}

// Velmo path; returns GenSizeInit's code.
uint32_t velmoWindows(ProcOut& po, const ProcIn& pi, InitIn& cfg, InitOut& io, int32_t cropMode) {
    const uint32_t code = GenSizeInit(io, cfg);
    if (code != 0) {
        VELMO_LOG(kLogTag, "%s", "[GenSizeProc] GenSizeInit Fail\n");
        return code;
    }
    if (cropMode == 2) velmoZoomWindows(po, pi, io);
    return 0;
}

}  // namespace

uint32_t GenSizeProc(STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT& out, STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT& in,
                     STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& init) {
    InitIn cfg = init;
    InitOut io{};
    cfg.has_mdp = -1;  // tells GenSizeInit it runs per frame

    const FeatureWord word = decodeFeatureWord(cfg.feature_mode);
    uint32_t code = 0;
    switch (word.feature) {
        case Feature::Sat:
            code = satWindows(out, in, cfg, io, word.cropMode);
            break;
        case Feature::Velmo:
            code = velmoWindows(out, in, cfg, io, word.cropMode);
            break;
        case Feature::Unsupported:
            // Reported but not failed: the stage sizes below come out as 0.
            VELMO_LOG(kLogTag, "%s", "[GenSizeProc] GenSizeProc error, currently not support SAT + Velmo yet\n");
            break;
    }
    if (code != 0) return code;

    copyStageSizes(out, io);
    if (cfg.module_angle == 90.0f || cfg.module_angle == 270.0f) transposeGridsForQuarterTurn(out);
    logDebugBlock(word, cfg, io, in, out);
    return 0;
}
