#include <algorithm>
#include <cstdint>

#include "common/Numerics.h"
#include "common/Trig.h"
#include "gensize/GenSize.h"
#include "gensize/GenSizeInternal.h"
#include "platform/Log.h"

namespace velmo {
namespace gensize {
namespace {

using Config = STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT;
using Sensor = STEREO_KERNEL_GEN_SIZE_SENSOR_STRUCT;
using Rrz = STEREO_KERNEL_GEN_SIZE_RRZ_STAGE_STRUCT;

// The DPE resolves 253 disparity levels, each split into 16 (or 8) sub-steps.
constexpr float kDisparityLevels = 253.0f;

struct Extent {
    uint32_t w;
    uint32_t h;
};

// Sensor image left after the post-scaling and timing-generator crops, which
// are taken on both sides. Unsigned: crops larger than the image wrap.
Extent usableImage(const Sensor& s) {
    const uint32_t cropX = static_cast<uint32_t>(s.sensor_offset_x1) + static_cast<uint32_t>(s.tg_offset_x);
    const uint32_t cropY = static_cast<uint32_t>(s.sensor_offset_y1) + static_cast<uint32_t>(s.tg_offset_y);
    return {static_cast<uint32_t>(s.sensor_scale_w) - 2u * cropX,
            static_cast<uint32_t>(s.sensor_scale_h) - 2u * cropY};
}

// Pixel array at the sensor mode's binning scale.
Extent scaledArray(const Sensor& s) {
    const float scaleW = sizeToFloat(s.sensor_scale_w) / sizeToFloat(s.sensor_size_w0);
    const float scaleH = sizeToFloat(s.sensor_scale_h) / sizeToFloat(s.sensor_size_h0);
    return {toUint32(scaleW * sizeToFloat(s.pixel_array_width)),
            toUint32(scaleH * sizeToFloat(s.pixel_array_height))};
}

// Half field of view, in degrees, of the part of the array that is usable.
float usableHalfAngle(float fov, uint32_t usable, uint32_t scaled) {
    const double halfTan = trig::tan(static_cast<double>(fov) * 0.5 * kDegToRad);
    const double ratio = halfTan * static_cast<double>(usable) / static_cast<double>(scaled);
    return static_cast<float>(trig::atan(ratio) / kDegToRad);
}

// The baseline direction decides which half-angle limits the stereo overlap.
float baselineHalfAngle(const Sensor& s, int32_t moduleOrient) {
    const Extent usable = usableImage(s);
    const Extent scaled = scaledArray(s);
    if (moduleOrient == 0) return usableHalfAngle(s.fov_w, usable.w, scaled.w);
    return usableHalfAngle(s.fov_h, usable.h, scaled.h);
}

double tanDegrees(double degrees) { return trig::tan(degrees * kDegToRad); }

// Step 1: DPE padding and the depth range that the baseline and focal length
// give at 253 disparity levels. Returns the near end of the range.
float estimateDepthRange(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out, const Config& cfg) {
    const float subSteps = cfg.dpe_dv_lsb_sft == 0 ? 16.0f : 8.0f;
    out.dpe.dpe_padding = static_cast<uint32_t>(cfg.dpe_cand_num) > 32u ? 64 : 32;
    out.dpe.working_range_to_disp = kDisparityLevels / subSteps;

    const bool horizontal = cfg.module_orient == 0;
    const float scale = horizontal ? sizeToFloat(cfg.sensor_main.sensor_scale_w) : sizeToFloat(cfg.sensor_main.sensor_scale_h);
    const float full = horizontal ? sizeToFloat(cfg.sensor_main.sensor_size_w0) : sizeToFloat(cfg.sensor_main.sensor_size_h0);
    float pixel = cfg.cell_size / (scale / full);
    pixel = pixel * full;
    pixel = pixel / sizeToFloat(out.main.rect_in_w);

    float fb = cfg.focal_length * cfg.baseline;
    fb = fb * 10000.0f;
    fb = fb / pixel;
    fb = fb * subSteps;
    const float nearEnd = fb / kDisparityLevels;
    out.working_range = nearEnd;

    VELMO_LOG(kLogTag, "[GenSizeInit] Estimated fb            : %.2f mm.pixel\n", printable(fb));
    VELMO_LOG(kLogTag, "[GenSizeInit] Estimated working range : %.0f to %.0f mm\n", printable(nearEnd),
              printable(fb / subSteps));
    return nearEnd;
}

// Step 4: how much of the wider camera's view the narrower one still covers
// at the near end of the working range (1 and above: no crop needed).
float overlapFactor(const Config& cfg, float angleMain, float angleAuxi, float workingRange) {
    const float narrow = std::min(angleMain, angleAuxi);
    const float wide = std::max(angleMain, angleAuxi);
    const double nearEdge = tanDegrees(static_cast<double>(cfg.module_variation + narrow));
    const float parallax = cfg.baseline / workingRange;
    const float wideTan = trig::tanf(static_cast<float>(static_cast<double>(wide) * kDegToRad));
    return static_cast<float>((nearEdge + parallax) / wideTan);
}

// Crops the usable image to the main output's aspect ratio, starting from
// `width` and falling back to the full height when that is too tall.
void fitUsage(Rrz& rrz, const Config& cfg, Extent usable, float width) {
    const float outW = sizeToFloat(cfg.rrz_output_main_w);
    const float outH = sizeToFloat(cfg.rrz_output_main_h);
    uint32_t usageW = ceilEven(width);
    uint32_t usageH = ceilEven(sizeToFloat(usageW) * outH / outW);
    if (usageH > usable.h) {
        usageH = usable.h;
        usageW = ceilEven(sizeToFloat(usable.h) * outW / outH);
    }
    rrz.in_w = toField(usable.w);
    rrz.in_h = toField(usable.h);
    rrz.usage_w = toField(usageW);
    rrz.usage_h = toField(usageH);
}

// Step 7. The centring offsets are unsigned differences: an odd usable width,
// which the even usage rounds up, wraps here on purpose.
void setMainResizer(Rrz& rrz, const Config& cfg) {
    const Extent usable = usableImage(cfg.sensor_main);
    fitUsage(rrz, cfg, usable, sizeToFloat(usable.w));
    rrz.out_w = cfg.rrz_output_main_w;
    rrz.out_h = cfg.rrz_output_main_h;
    rrz.offset_x = toField((usable.w - static_cast<uint32_t>(rrz.usage_w)) >> 1);
    rrz.offset_y = toField((usable.h - static_cast<uint32_t>(rrz.usage_h)) >> 1);
}

int32_t centredOffset(uint32_t size, int32_t used) {
    return std::max(0, sdiv(wrapSub(toField(size), used), 2));
}

// Step 8: the auxiliary usage keeps only the part of the view that overlaps
// the main camera, at the main output's aspect ratio.
void setAuxiResizer(Rrz& rrz, const Config& cfg, float cropRatio, Extent out) {
    const Extent usable = usableImage(cfg.sensor_auxi);
    fitUsage(rrz, cfg, usable, cropRatio * sizeToFloat(usable.w));
    rrz.out_w = toField(out.w);
    rrz.out_h = toField(out.h);
    rrz.offset_x = centredOffset(usable.w, rrz.usage_w);
    rrz.offset_y = centredOffset(usable.h, rrz.usage_h);
}

// Step 6: the auxiliary FE takes at least the main FE's size, the main FE's
// window centred in it. Offsets are signed and clamped at 0.
void setAuxiFeature(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out, const Config& cfg, Extent aux) {
    const uint32_t fw = static_cast<uint32_t>(out.main.fe_b.in_w);
    const uint32_t fh = static_cast<uint32_t>(out.main.fe_b.in_h);
    const uint32_t mw = std::max(aux.w, fw);
    const uint32_t mh = std::max(aux.h, fh);
    auto& feB = out.auxi.fe_b;
    auto& feC = out.auxi.fe_c;

    out.auxi.p1.fe_w = toField(mw);
    out.auxi.p1.fe_h = toField(mh);
    const bool horizontal = cfg.module_orient == 0;
    feB.in_w = toField(horizontal ? mw : mh);
    feB.in_h = toField(horizontal ? mh : mw);
    feB.usage_w = toField(fw);
    feB.usage_h = toField(fh);
    feB.offset_x = std::max(0, sdiv(wrapSub(feB.in_w, feB.usage_w), 2));
    feB.offset_y = std::max(0, sdiv(wrapSub(feB.in_h, feB.usage_h), 2));

    feC.in_w = halfSize(feB.in_w);
    feC.in_h = halfSize(feB.in_h);
    feC.offset_x = halfSize(feB.offset_x);
    feC.offset_y = halfSize(feB.offset_y);
    feC.usage_w = halfSize(feB.usage_w);
    feC.usage_h = halfSize(feB.usage_h);
}

// Step 9: the largest zoom at which each resizer still has enough input for
// its FE size.
void setZoomLimits(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out, Extent fe, Extent aux, float fMain,
                   float fAuxi) {
    auto limit = [](const Rrz& rrz, Extent size, float factor) {
        return std::min(sizeToFloat(rrz.usage_w) / (sizeToFloat(size.w) * factor),
                        sizeToFloat(rrz.usage_h) / (sizeToFloat(size.h) * factor));
    };
    out.main.zoom_maximum = limit(out.main.rrz, fe, fMain);
    out.auxi.zoom_maximum = limit(out.auxi.rrz, aux, fAuxi);
    out.zoom_constraint = std::min(out.main.zoom_maximum, out.auxi.zoom_maximum);
}

// Step 10: the auxiliary depth input scales the main one by the FE ratio, in
// the alignment of whichever engine warps it.
void setAuxiDepthInput(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out, const Config& cfg, float featureRatio) {
    const bool gpu = cfg.enable_gpu != 0;
    const uint32_t alignW = static_cast<uint32_t>(gpu ? cfg.align_gpu_in_w : cfg.align_wpe_in_w);
    const uint32_t alignH = gpu ? static_cast<uint32_t>(cfg.align_gpu_in_h) : 2u;
    float x = sizeToFloat(out.main.rect_in_w);
    float y = sizeToFloat(out.main.rect_in_h);
    if (cfg.module_orient != 0 && cfg.has_mdp != 1) std::swap(x, y);

    const uint32_t rectW = alignRoundF(featureRatio * x, alignW);
    out.auxi.rect_in_w = toField(rectW);
    out.auxi.rect_in_h = toField(alignRoundF(y / x * sizeToFloat(rectW), alignH));
}

}  // namespace
}  // namespace gensize
}  // namespace velmo

// Sizes both resizers, the auxiliary FE and the auxiliary depth input for the
// candidate FE size (w, h), given unoriented.
int SetRRZ_AuxiFEnRect(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out, STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& cfg,
                       int w, int h, float main_2px_factor, float auxi_2px_factor) {
    using namespace velmo::gensize;
    using velmo::trig::tan;

    const float workingRange = estimateDepthRange(out, cfg);

    const float angleMain = baselineHalfAngle(cfg.sensor_main, cfg.module_orient);
    const float angleAuxi = baselineHalfAngle(cfg.sensor_auxi, cfg.module_orient);
    const float overlap = overlapFactor(cfg, angleMain, angleAuxi, workingRange);
    const float overlapClamped = std::min(overlap, 1.0f);
    out.main.crop_flag = 0;
    out.auxi.crop_flag = overlap < 1.0f ? 1 : 0;

    // Auxiliary FE width that covers the same scene as the main FE width.
    const float viewRatio = static_cast<float>(tan(static_cast<double>(angleAuxi) * kDegToRad) * overlapClamped /
                                               tan(static_cast<double>(angleMain) * kDegToRad));
    const float feW = sizeToFloat(w);
    const float feH = sizeToFloat(h);
    const uint32_t auxW = alignUpF(feW * viewRatio, static_cast<uint32_t>(cfg.align_wpe_in_w));
    const float featureRatio = sizeToFloat(auxW) / feW;
    const uint32_t auxH = alignUpF(feH / feW * sizeToFloat(auxW), 4u);
    const Extent aux{auxW, auxH};

    setAuxiFeature(out, cfg, aux);
    setMainResizer(out.main.rrz, cfg);

    float cropRatio = overlapClamped * featureRatio / viewRatio;
    if (cropRatio > 1.0f || cfg.only_crop_ratio == 1) cropRatio = 1.0f;
    setAuxiResizer(out.auxi.rrz, cfg, cropRatio, aux);

    setZoomLimits(out, {static_cast<uint32_t>(w), static_cast<uint32_t>(h)}, aux, main_2px_factor,
                  auxi_2px_factor);
    setAuxiDepthInput(out, cfg, featureRatio);
    return 0;
}
