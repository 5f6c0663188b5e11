// RotateMMap and PowerSaving, vector path against the scalar reference and
// against memcpy (PowerSaving reads the field once; the maps are cache
// resident, so a vectorised pass should read about as fast as memcpy copies).
//
// Counter "per_elem": CPU time per destination (or field) element, e.g. 1.8n
// for 1.8 ns. "vector" runs the target dispatch picks; "vector_<TARGET>" pins
// each compiled target in turn (SSE4 stands in for NEON-width code on x86).

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "bench/maputil/MapBenchData.h"
#include "maputil/PowerSavingScalar.h"
#include "maputil/RotateMMapScalar.h"
#include "maputil/RotateMMapVector.h"

#include <hwy/targets.h>

namespace {

using velmo::bench::FieldData;
using velmo::bench::RotateCase;
using velmo::bench::RotateData;

void perElement(benchmark::State& state, int64_t elements) {
    state.counters["per_elem"] = benchmark::Counter(
        static_cast<double>(elements),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

template <int (*Rotate)(RotateMMapParam)>
void rotate(benchmark::State& state, RotateCase shape) {
    RotateData data(shape);
    const RotateMMapParam param = data.param();
    for (auto _ : state) {
        benchmark::DoNotOptimize(Rotate(param));
        benchmark::ClobberMemory();
    }
    perElement(state, data.elements());
}

int rotateScalar(RotateMMapParam p) { return velmo::maputil::rotateMMapScalar(p); }

// Runs a benchmark with dispatch pinned to one vector target.
template <class Run, class... Args>
void onTarget(benchmark::State& state, int64_t target, Run run, Args... args) {
    hwy::SetSupportedTargetsForTest(target);
    run(state, args...);
    hwy::SetSupportedTargetsForTest(0);
}

template <velmo::maputil::FieldStats (*Stats)(const PowerSavingParam&)>
void fieldPass(benchmark::State& state, int32_t width, int32_t height) {
    FieldData data(width, height);
    const PowerSavingParam param = data.param();
    for (auto _ : state) {
        benchmark::DoNotOptimize(Stats(param));
    }
    perElement(state, data.elements());
}

// The whole call, its eight printed lines going to /dev/null.
void powerSavingCall(benchmark::State& state, int32_t width, int32_t height) {
    FieldData data(width, height);
    const PowerSavingParam param = data.param();
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, STDOUT_FILENO);
    for (auto _ : state) {
        benchmark::DoNotOptimize(PowerSaving(param));
    }
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(null);
    close(saved);
    perElement(state, data.elements());
}

// Reading (and writing) the same bytes: both planes copied.
void memcpyPeer(benchmark::State& state, int32_t width, int32_t height) {
    FieldData data(width, height);
    std::vector<int32_t> x(static_cast<size_t>(data.elements())), y(x.size());
    const size_t bytes = x.size() * sizeof(int32_t);
    for (auto _ : state) {
        std::memcpy(x.data(), data.x(), bytes);
        std::memcpy(y.data(), data.y(), bytes);
        benchmark::ClobberMemory();
    }
    perElement(state, data.elements());
}

const struct {
    int32_t width, height;
} kFields[] = {{240, 136}, {480, 272}};

int registerAll() {
    for (const RotateCase& c : velmo::bench::kRotateCases) {
        const std::string name = velmo::bench::caseName(c);
        benchmark::RegisterBenchmark(("RotateMMap/vector/" + name).c_str(), rotate<RotateMMap>, c);
        benchmark::RegisterBenchmark(("RotateMMap/scalar/" + name).c_str(), rotate<rotateScalar>, c);
        for (int64_t target : velmo::maputil::compiledVectorTargets()) {
            const std::string pinned = std::string("RotateMMap/vector_") + hwy::TargetName(target) + "/" + name;
            benchmark::RegisterBenchmark(pinned.c_str(), onTarget<decltype(&rotate<RotateMMap>), RotateCase>,
                                         target, &rotate<RotateMMap>, c);
        }
    }
    for (const auto& f : kFields) {
        const std::string name = std::to_string(f.width) + "x" + std::to_string(f.height);
        benchmark::RegisterBenchmark(("PowerSaving/pass_vector/" + name).c_str(),
                                     fieldPass<velmo::maputil::fieldStatsVector>, f.width, f.height);
        benchmark::RegisterBenchmark(("PowerSaving/pass_scalar/" + name).c_str(),
                                     fieldPass<velmo::maputil::fieldStatsScalar>, f.width, f.height);
        benchmark::RegisterBenchmark(("PowerSaving/call/" + name).c_str(), powerSavingCall, f.width,
                                     f.height);
        benchmark::RegisterBenchmark(("PowerSaving/memcpy_peer/" + name).c_str(), memcpyPeer, f.width,
                                     f.height);
    }
    return 0;
}

const int kRegistered = registerAll();

}  // namespace

BENCHMARK_MAIN();
