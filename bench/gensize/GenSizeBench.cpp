// GenSizeInit and GenSizeProc on a dual 12 MP module with 16:9 output, with
// the log sink discarding: the cost of sizing plus building every log line
// and record dump, without the cost of writing them anywhere.

#include <benchmark/benchmark.h>

#include "gensize/GenSize.h"
#include "utilPlatformHost.h"

namespace {

void discard(void*, int, const char*, const char*) {}

STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT dualTwelveMegapixel(int32_t featureWord) {
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT in{};
    in.sensor_main = {78.0f, 63.0f, 4000, 3000, 0, 0, 4000, 3000, 4000, 3000, 0, 0, 0, 0, 0, 1, 0, 0};
    in.sensor_auxi = {80.0f, 65.0f, 4000, 3000, 0, 0, 4000, 3000, 4000, 3000, 0, 0, 0, 0, 0, 0, 0, 0};
    in.feature_mode = featureWord;
    in.rrz_output_main_w = 1920;
    in.rrz_output_main_h = 1080;
    in.p1_fe_main_w = 1280;
    in.p1_fe_main_h = 720;
    in.dpe_w = 640;
    in.dpe_h = 360;
    in.dpe_w_rot = 360;
    in.dpe_h_rot = 640;
    in.module_variation = 1.0f;
    in.focal_length = 4.5f;
    in.baseline = 12.0f;
    in.cell_size = 1.0f;
    in.dpe_cand_num = 32;
    in.align_wpe_in_w = 64;
    in.align_wpe_out_w = 64;
    in.align_dpe_in_w = 16;
    in.align_dpe_out_w = 64;
    in.align_ai_depth_in_w = 16;
    in.align_ai_depth_in_h = 16;
    in.align_gpu_in_w = 64;
    in.align_gpu_in_h = 2;
    in.align_fe_in_w = 16;
    in.align_fe_in_h = 16;
    return in;
}

class DiscardedLog {
public:
    DiscardedLog() { quentra::host::setLogSink(discard, nullptr); }
    ~DiscardedLog() { quentra::host::setLogSink(nullptr, nullptr); }
};

void BM_GenSizeInit(benchmark::State& state) {
    DiscardedLog quiet;
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT in = dualTwelveMegapixel(2);
    for (auto _ : state) {
        STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT out{};
        benchmark::DoNotOptimize(GenSizeInit(out, in));
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK(BM_GenSizeInit)->Unit(benchmark::kMicrosecond);

// One frame per iteration: Velmo zoomed windows, or SAT following the main crop.
void BM_GenSizeProc(benchmark::State& state) {
    DiscardedLog quiet;
    const bool sat = state.range(0) != 0;
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT in = dualTwelveMegapixel(sat ? 0x10001 : 0x20002);
    STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT frame{};
    gen_procIn_testcase(frame, in);
    frame.zoom_ratio = 2.0f;
    for (auto _ : state) {
        STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT out{};
        benchmark::DoNotOptimize(GenSizeProc(out, frame, in));
        benchmark::DoNotOptimize(out);
    }
    state.SetLabel(sat ? "SAT crop 1" : "Velmo crop 2");
}
BENCHMARK(BM_GenSizeProc)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

// The two record dumps every successful GenSizeInit writes, alone.
void BM_RecordDumps(benchmark::State& state) {
    DiscardedLog quiet;
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT in = dualTwelveMegapixel(2);
    STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT out{};
    GenSizeInit(out, in);
    for (auto _ : state) {
        showLog(in.toString());
        showLog(out.toString());
    }
}
BENCHMARK(BM_RecordDumps)->Unit(benchmark::kMicrosecond);

// The same dumps without the logging: the text building alone.
void BM_RecordText(benchmark::State& state) {
    DiscardedLog quiet;
    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT in = dualTwelveMegapixel(2);
    STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT out{};
    GenSizeInit(out, in);
    for (auto _ : state) {
        benchmark::DoNotOptimize(in.toString());
        benchmark::DoNotOptimize(out.toString());
    }
}
BENCHMARK(BM_RecordText)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
