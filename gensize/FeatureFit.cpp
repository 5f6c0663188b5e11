#include <algorithm>
#include <cmath>
#include <cstdint>

#include "common/Numerics.h"
#include "gensize/GenSize.h"
#include "gensize/GenSizeInternal.h"

namespace velmo {
namespace gensize {
namespace {

// The auxiliary resizer cannot output wider than this.
constexpr float kMaxAuxiOutputWidth = 1280.0f;

struct Oriented {
    float w;
    float h;
};

Oriented oriented(const STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& cfg, FeatureSize fe) {
    if (cfg.module_orient == 0) return {sizeToFloat(fe.w), sizeToFloat(fe.h)};
    return {sizeToFloat(fe.h), sizeToFloat(fe.w)};
}

// Each resizer must keep at least its output (twice it in two-pixel mode)
// as usage.
bool resizersFit(const STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out, Oriented fe, float fMain, float fAuxi) {
    const auto& mainRrz = out.main.rrz;
    const auto& auxiRrz = out.auxi.rrz;
    return fAuxi * sizeToFloat(auxiRrz.out_w) <= sizeToFloat(auxiRrz.usage_w) &&
           fAuxi * sizeToFloat(auxiRrz.out_h) <= sizeToFloat(auxiRrz.usage_h) &&
           fMain * fe.w <= sizeToFloat(mainRrz.usage_w) &&
           sizeToFloat(auxiRrz.out_w) <= kMaxAuxiOutputWidth &&
           fMain * fe.h <= sizeToFloat(mainRrz.usage_h);
}

// The largest uniform scale at which every constraint holds. std::min in the
// written order: a NaN in the first place survives, later ones are skipped.
float fitScale(const STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out, Oriented fe, float fMain, float fAuxi) {
    const auto& mainRrz = out.main.rrz;
    const auto& auxiRrz = out.auxi.rrz;
    float scale = sizeToFloat(mainRrz.usage_w) / (fe.w * fMain);
    scale = std::min(scale, sizeToFloat(mainRrz.usage_h) / (fe.h * fMain));
    scale = std::min(scale, sizeToFloat(auxiRrz.usage_w) / (fAuxi * sizeToFloat(auxiRrz.out_w)));
    scale = std::min(scale, sizeToFloat(auxiRrz.usage_h) / (fAuxi * sizeToFloat(auxiRrz.out_h)));
    scale = std::min(scale, kMaxAuxiOutputWidth / sizeToFloat(auxiRrz.out_w));
    return scale;
}

// Even sizes, and a rotation buffer that holds the FE window's diagonal.
FeatureSize scaled(const STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& cfg, FeatureSize fe, float scale) {
    FeatureSize next;
    next.w = toInt32(floorEven(sizeToFloat(fe.w) * scale));
    next.h = toInt32(floorEven(sizeToFloat(fe.h) * scale));
    const double w = static_cast<double>(static_cast<uint32_t>(next.w));
    const double h = static_cast<double>(static_cast<uint32_t>(next.h));
    const double diagonal = std::sqrt(w * w + h * h);
    next.rot = toField(alignUpF(static_cast<float>(diagonal), static_cast<uint32_t>(cfg.align_fe_in_w)));
    return next;
}

}  // namespace

uint32_t fitFeatureSize(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out, STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& cfg,
                        FeatureSize start, float mainFactor, float auxiFactor, int maxRounds) {
    FeatureSize fe = start;
    for (int round = 0; round < maxRounds; ++round) {
        const Oriented feOriented = oriented(cfg, fe);
        const int32_t ow = cfg.module_orient == 0 ? fe.w : fe.h;
        const int32_t oh = cfg.module_orient == 0 ? fe.h : fe.w;
        SetFE_Main(out, cfg, ow, oh, fe.rot);
        SetRRZ_AuxiFEnRect(out, cfg, fe.w, fe.h, mainFactor, auxiFactor);
        Set_WPE_TRAW(out, cfg, 0, 0);
        if (resizersFit(out, feOriented, mainFactor, auxiFactor)) return GEN_SIZE_PASS;

        const FeatureSize next = scaled(cfg, fe, fitScale(out, feOriented, mainFactor, auxiFactor));
        // A round that cannot shrink the size would repeat itself forever.
        if (next.w == fe.w && next.h == fe.h) return ERR_FE_FIT_NOT_CONVERGED;
        fe = next;
    }
    return ERR_FE_FIT_NOT_CONVERGED;
}

}  // namespace gensize
}  // namespace velmo
