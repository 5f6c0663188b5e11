#include "common/Numerics.h"
#include "gensize/GenSize.h"
#include "gensize/GenSizeInternal.h"
#include "platform/Log.h"

using velmo::gensize::kLogTag;

// The texts are the ones the camera stack's log parsers know; the rule texts of
// codes 4 and 5 describe older limits and stay as they are.
void showErrorLog(int code, STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT& out) {
    switch (code) {
        case GEN_SIZE_PASS:
            VELMO_LOG(kLogTag, "[GenSize] GEN_SIZE_PASS \n");
            break;
        case ERR_PADDING_NOT_ENOUGH:
            VELMO_LOG(kLogTag,
                      "[GenSize] ERR_PADDING_NOT_ENOUGH (working range to disp value %f > padding 63) \n",
                      velmo::printable(out.dpe.working_range_to_disp));
            break;
        case ERR_DPE_IN_16_ALIGN:
            VELMO_LOG(kLogTag, "[GenSize] ERR_DPE_IN_16_ALIGN \n");
            break;
        case ERR_DPE_IN_64_ALIGN_SLANTED:
            VELMO_LOG(kLogTag, "[GenSize] ERR_DPE_IN_64_ALIGN_SLANTED \n");
            break;
        case ERR_DPE_IN_W_MAXIMUM:
            VELMO_LOG(kLogTag,
                      "[GenSize] ERR_DPE_IN_W_MAXIMUM(Rule: Frame width < 848, Engine width < 784) \n");
            break;
        case ERR_AI_TRACKING_TO_DPE_GUIDE:
            VELMO_LOG(kLogTag,
                      "[GenSize] ERR_AI_TRACKING_TO_DPE_GUIDE (AI Tracking w h -> DPE w h, > 1x, < 1x ~ "
                      "0.25x, < 0.25x) \n");
            break;
        case ERR_MODULE_ORIENT_SLANTED:
            VELMO_LOG(kLogTag, "[GenSize] ERR_MODULE_ORIENT_SLANTED (Slanted: MODULE ORIENT set 0)\n");
            break;
        case ERR_2PX_MODE:
            VELMO_LOG(kLogTag,
                      "[GenSize] ERR_2PX_MODE, if 2px mode enable,    RRZ Usage >= (RRZ output * 2)\n");
            VELMO_LOG(kLogTag,
                      "[GenSize] ERR_2PX_MODE, if 2px mode disable,    RRZ Usage >= (RRZ output * 1)\n");
            break;
        case ERR_DPE_SLANTED_WH_NOT_ENOUGH:
            VELMO_LOG(kLogTag,
                      "[GenSize] ERR_DPE_SLANTED_WH_NOT_ENOUGH, if slanted mode,    dpe_rot size NOT_ENOUGH\n");
            break;
        case ERR_FE_FIT_NOT_CONVERGED:
            VELMO_LOG(kLogTag, "[GenSize] ERR_FE_FIT_NOT_CONVERGED (FE size fitting did not converge) \n");
            break;
        default:
            break;
    }
}
