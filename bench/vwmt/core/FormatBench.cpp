// Per-frame format work of the warp grid: quarter turns of the integer grid
// (vertical modules) and the float-to-fixed-point conversion, on the combined
// map's largest grid, 600 x 600, and a non-square 600 x 400.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <numeric>
#include <vector>

#include "vwmt/core/ProcWarpMap.h"
#include "vwmt/core/Transpose.h"

namespace {

void reportPerElement(benchmark::State& state, size_t elements) {
    state.counters["per_element"] = benchmark::Counter(
        static_cast<double>(elements), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

std::vector<int> ramp(size_t n) {
    std::vector<int> v(n);
    std::iota(v.begin(), v.end(), 0);
    return v;
}

template <void (*Turn)(int*, int, int)>
void BM_QuarterTurn(benchmark::State& state) {
    int W = static_cast<int>(state.range(0));
    int H = static_cast<int>(state.range(1));
    std::vector<int> img = ramp(static_cast<size_t>(W) * H);
    for (auto _ : state) {
        Turn(img.data(), W, H);
        std::swap(W, H);
        benchmark::DoNotOptimize(img.data());
        benchmark::ClobberMemory();
    }
    reportPerElement(state, img.size());
}

// The straightforward turn through a temporary heap array, for comparison.
void clockwiseThroughCopy(int* img, int W, int H) {
    std::unique_ptr<int[]> tmp(new int[static_cast<size_t>(W) * H]);
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x) tmp[static_cast<size_t>(x) * H + (H - 1 - y)] = img[static_cast<size_t>(y) * W + x];
    std::copy(tmp.get(), tmp.get() + static_cast<size_t>(W) * H, img);
}

void BM_FixedPoint(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0) * state.range(1));
    std::vector<float> in(n);
    for (int k = 0; k < n; ++k) in[k] = static_cast<float>(k % 1999) * 0.37f - 300.0f;
    std::vector<int> out(n);
    for (auto _ : state) {
        VWMT::ProcWarpMap::fmtTrnasOfDataType(out.data(), in.data(), n);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    reportPerElement(state, static_cast<size_t>(n));
}

void BM_InterleavedToPlane(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0) * state.range(1));
    std::vector<float> map(2 * static_cast<size_t>(n), 1.5f), work(2 * static_cast<size_t>(n));
    for (auto _ : state) {
        VWMT::ProcWarpMap::remap_WarpMapXY_InterleavedToPlane(map.data(), n, work.data());
        benchmark::DoNotOptimize(map.data());
        benchmark::ClobberMemory();
    }
    reportPerElement(state, static_cast<size_t>(n));
}

void shapes(benchmark::internal::Benchmark* b) { b->Args({600, 600})->Args({600, 400})->Args({66, 50}); }

}  // namespace

BENCHMARK(BM_QuarterTurn<VWMT::transpose_image_clockwise>)->Apply(shapes);
BENCHMARK(BM_QuarterTurn<VWMT::transpose_image_counterclockwise>)->Apply(shapes);
BENCHMARK(BM_QuarterTurn<VWMT::transpose_image>)->Apply(shapes);
BENCHMARK(BM_QuarterTurn<clockwiseThroughCopy>)->Apply(shapes);
BENCHMARK(BM_FixedPoint)->Apply(shapes);
BENCHMARK(BM_InterleavedToPlane)->Apply(shapes);

BENCHMARK_MAIN();
