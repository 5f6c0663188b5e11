#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "common/Numerics.h"
#include "common/Trig.h"
#include "gensize/GenSize.h"
#include "gensize/GenSizeInternal.h"
#include "platform/Log.h"
#include "platform/Property.h"

namespace velmo {
namespace gensize {
namespace {

using Config = STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT;
using Output = STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT;

constexpr int32_t kCalledFromProc = -1;

// Steps 1 to 3: banner and the debug level, kept when the property is absent.
void logEntry(const Config& in) {
    if (in.has_mdp == kCalledFromProc) VELMO_LOG(kLogTag, "GensizeInit called in GesnzieProc\n");
    VELMO_LOG(kLogTag, "[GenSizeInit] version %s\n", kVersion);
    char value[kPropertyBufferSize];
    if (readProperty("vendor.debug.velmoUtil.gensize.debuglevel", value)) GENSIZE::debugLevel = std::atoi(value);
    VELMO_LOG(kLogTag, "[GENSIZE][%s] debugLevel: %d\n", "GenSizeInit", GENSIZE::debugLevel);
}

// Step 5: SAT or Velmo.
void selectMode(Config& cfg) {
    if ((cfg.feature_mode & 3) != 1) {
        VELMO_LOG(kLogTag, "[GENSIZE][%s] Init Velmo Mode On!\n", "GenSizeInit");
        return;
    }
    VELMO_LOG(kLogTag, "[GENSIZE][%s] Init SAT Mode On!\n", "GenSizeInit");
    prepareSatConfig(cfg);
}

// Step 6: 0 up to 14:9, 1 up to 2:1, 2 wider. Written as "greater than" so
// that a NaN ratio (0 / 0) lands in class 0.
int aspectClass(const Config& cfg) {
    const float ratio = sizeToFloat(cfg.rrz_output_main_w) / sizeToFloat(cfg.rrz_output_main_h);
    if (ratio > 2.0f) return 2;
    if (ratio > 1.5555556f) return 1;
    return 0;
}

// Step 8: the FE size each aspect class starts from, with its rotation buffer.
FeatureSize defaultFeature(int aspect) {
    static constexpr FeatureSize kByClass[] = {{896, 672, 1120}, {960, 540, 1184}, {1152, 512, 1264}};
    return kByClass[aspect];
}

uint32_t alignField(int32_t v, int32_t n) { return alignUpF(sizeToFloat(v), static_cast<uint32_t>(n)); }

// Steps 10 to 14: the depth working size the warp can deliver, before and
// after the module's rotation.
void setDepthWorkingSize(Output& out, const Config& cfg) {
    auto& dpe = out.dpe;
    const uint32_t expectedW = alignField(cfg.dpe_w, cfg.align_wpe_in_w);
    dpe.dpe_noc_w_no_rot = toField(expectedW);
    dpe.dpe_noc_h_no_rot = cfg.dpe_h;

    // Bounding box of the rotated depth map, rounded to the nearest pixel.
    const double angle = static_cast<double>(cfg.module_angle) * kDegToRad;
    const double sinA = trig::sin(angle);
    const double cosA = trig::cos(angle);
    const double w = static_cast<double>(expectedW);
    const double h = static_cast<double>(static_cast<uint32_t>(cfg.dpe_h));
    const uint32_t rotW = toUint32(std::fabs(sinA * h) + std::fabs(cosA * w) + 0.5);
    const uint32_t rotH = toUint32(std::fabs(cosA * h) + std::fabs(sinA * w) + 0.5);
    uint32_t nocW = alignUpF(sizeToFloat(rotW), static_cast<uint32_t>(cfg.align_dpe_in_w));
    uint32_t nocH = ceilEven(sizeToFloat(rotH));

    if (cfg.ai_depth_enable != 0) {
        nocW = alignUpF(sizeToFloat(nocW), static_cast<uint32_t>(cfg.align_ai_depth_in_w));
        nocH = alignUpF(sizeToFloat(nocH), static_cast<uint32_t>(cfg.align_ai_depth_in_h));
        // Temporal AI depth warps its history with the WPE: its width rules.
        if (cfg.ai_depth_temporal_enable != 0) nocW = alignUpF(sizeToFloat(nocW), static_cast<uint32_t>(cfg.align_wpe_in_w));
    }
    dpe.dpe_noc_w = toField(nocW);
    dpe.dpe_noc_h = toField(nocH);

    if (!hasWholeDegrees(cfg.module_angle)) {
        dpe.dpe_noc_w_no_rot = dpe.dpe_noc_w;
        dpe.dpe_noc_h_no_rot = dpe.dpe_noc_h;
    }
    if (dpe.dpe_noc_w_no_rot != cfg.dpe_w || dpe.dpe_noc_h_no_rot != cfg.dpe_h) {
        VELMO_LOG(kLogTag, "[GenSize][Warning] input depth size (%d, %d) has wrong alignment. Should be (%d, %d)\n",
                  cfg.dpe_w, cfg.dpe_h, dpe.dpe_noc_w_no_rot, dpe.dpe_noc_h_no_rot);
    }
}

// Step 15. A vertical module's depth flow turns a quarter (270 or 90 degrees)
// unless the MDP does the turn.
void setMainDepthInput(Output& out, const Config& cfg, const Config& in) {
    out.main.rect_in_w = cfg.dpe_w;
    out.main.rect_in_h = cfg.dpe_h;
    int32_t rotateType = 0;
    if (cfg.module_orient == 1 && in.has_mdp != 1) rotateType = cfg.flow_rotate_type == 1 ? 3 : 1;
    out.main.wpe_img_rotate_type = rotateType;
    out.auxi.wpe_img_rotate_type = rotateType;
}

// Step 18: the temporal motion map works at half the DPE frame, even-sized.
void setMotionMap(Output& out, const Config& cfg) {
    if (cfg.ai_depth_temporal_enable == 0) {
        out.me.mmap_w = out.me.mmap_h = 0;
        return;
    }
    out.me.mmap_w = toField(ceilEven(sizeToFloat(static_cast<uint32_t>(out.dpe.dpe_frm_w) >> 1)));
    out.me.mmap_h = toField(ceilEven(sizeToFloat(static_cast<uint32_t>(out.dpe.dpe_frm_h) >> 1)));
}

// Step 19. Outside the per-frame path the auxiliary depth input carries one
// extra WPE alignment on both axes (the height too grows by the width's).
void reportPass(Output& out, Config& cfg, const Config& in) {
    if (in.has_mdp != kCalledFromProc) {
        const int32_t extra = cfg.align_wpe_in_w;
        out.auxi.rect_in_w = wrapAdd(out.auxi.rect_in_w, extra);
        out.auxi.rect_in_h = wrapAdd(out.auxi.rect_in_h, extra);
        out.auxi.p1.depth_w = wrapAdd(out.auxi.p1.depth_w, extra);
        out.auxi.p1.depth_h = wrapAdd(out.auxi.p1.depth_h, extra);
    }
    VELMO_LOG(kLogTag, "[GenSizeInit] GEN_SIZE_PASS\n");
    showLog(cfg.toString());
    showLog(out.toString());
}

}  // namespace

void prepareSatConfig(Config& cfg) {
    cfg.sensor_auxi.mode_2px_en = 0;
    cfg.module_variation = 0.0f;
    const uint32_t halfW = static_cast<uint32_t>(halfSize(cfg.p1_fe_main_w));
    const uint32_t halfH = static_cast<uint32_t>(halfSize(cfg.p1_fe_main_h));
    cfg.dpe_w = toField(alignUpF(sizeToFloat(halfW), 64u));
    cfg.dpe_h = toField(alignUpF(sizeToFloat(halfH), 4u));
}

uint32_t runGenSizeInit(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out, const STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& in,
                        int maxFitRounds) {
    logEntry(in);
    Config cfg = in;
    selectMode(cfg);

    gRatioMode = aspectClass(cfg);
    out.slanted_en = hasWholeDegrees(cfg.module_angle) ? 1 : 0;
    const FeatureSize start = defaultFeature(gRatioMode);
    const float mainFactor = cfg.sensor_main.mode_2px_en == 1 ? 2.0f : 1.0f;
    const float auxiFactor = cfg.sensor_auxi.mode_2px_en == 1 ? 2.0f : 1.0f;

    setDepthWorkingSize(out, cfg);
    setMainDepthInput(out, cfg, in);

    // A fit that does not converge leaves no FE size to build the depth
    // stage on.
    uint32_t code = fitFeatureSize(out, cfg, start, mainFactor, auxiFactor, maxFitRounds);
    if (code == GEN_SIZE_PASS) code = static_cast<uint32_t>(SetDPE(out, cfg));
    setMotionMap(out, cfg);

    if (code == GEN_SIZE_PASS) {
        reportPass(out, cfg, in);
    } else {
        showErrorLog(static_cast<int>(code), out);
    }
    return code;
}

}  // namespace gensize
}  // namespace velmo

uint32_t GenSizeInit(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out, STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT& in) {
    return velmo::gensize::runGenSizeInit(out, in, velmo::gensize::kMaxFitRounds);
}
