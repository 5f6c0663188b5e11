// GenSizeInit and GenSizeProc on a dual 12 MP module with 16:9 output, with
// the log sink discarding: the cost of sizing plus building every log line
// and record dump, without the cost of writing them anywhere.

#include <benchmark/benchmark.h>

#include "gensize/GenSize.h"
#include "gensize/SizingConfig.h"
#include "utilPlatformHost.h"

namespace {

using velmo::testing::dualTwelveMegapixel;

void discard(void*, int, const char*, const char*) {}

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
