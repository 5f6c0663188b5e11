// GenSizeInit, the stage setters and GenSizeProc on configurations near a
// realistic one, with a few words rewritten to anything; the record dumps
// run too (debug level on) since they format every field.

#include "FuzzSupport.h"
#include "gensize/GenSize.h"
#include "gensize/SizingConfig.h"

using namespace velmo::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t bytes) {
    FuzzedDataProvider in(data, bytes);
    GENSIZE::debugLevel = in.ConsumeBool() ? 1 : 0;
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT cfg = velmo::testing::plainConfig();
    mutateWords(in, cfg);
    STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT out{};
    switch (in.ConsumeIntegralInRange<int>(0, 5)) {
        case 0: SetFE_Main(out, cfg, size(in, 0, 2000), size(in, 0, 2000), size(in, 0, 2000)); break;
        case 1: SetRRZ_AuxiFEnRect(out, cfg, size(in, 0, 2000), size(in, 0, 2000),
                                   value(in, 0.5f, 2.0f), value(in, 0.5f, 2.0f));
                break;
        case 2: Set_WPE_TRAW(out, cfg, 0, 0); SetDPE(out, cfg); break;
        default: {
            showErrorLog(static_cast<int>(GenSizeInit(out, cfg)), out);
            STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT procIn{};
            gen_procIn_testcase(procIn, cfg);
            mutateWords(in, procIn);
            STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT procOut{};
            GenSizeProc(procOut, procIn, cfg);
        }
    }
    return 0;
}
