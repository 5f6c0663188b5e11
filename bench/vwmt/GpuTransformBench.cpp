// The GPU-layout transform for a 28 x 28 vector grid onto a 28 x 28 content
// grid (target: 60 us per call), and the bilinear query member on a 600 x 600
// query grid with a 66 x 66 offset table (target: 10 ms per call).

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "vwmt/VectWarpMapTrans.h"

namespace {

constexpr int kGrid = 28;

ImgSizeDescription frameGeometry() {
    ImgSizeDescription d{};
    d.sensorSize = {4000, 3000};
    d.analogCrop = {0, 0, 4000, 3000};
    d.binningSize = {4000, 3000};
    d.digitalCrop = {0, 0, 4000, 3000};
    d.tgCrop = {0, 0, 4000, 3000};
    d.p1Crop = {200, 150, 3600, 2700};
    d.p1Resize = {1920, 1440};
    return d;
}

void GpuTransform(benchmark::State& state) {
    GridFromOisParam g{};
    g.srcImg.size = {1920, 1440};
    g.rotImg.size = {1920, 1440};
    g.content_w = g.content_h = g.buffer_size = kGrid;
    g.rotAngle = static_cast<float>(state.range(0));
    std::vector<double> x(kGrid * kGrid), y(kGrid * kGrid);
    for (int k = 0; k < kGrid * kGrid; ++k) {
        x[k] = 6.0 * std::sin(0.21 * k);
        y[k] = -4.0 * std::cos(0.17 * k);
    }
    const VWMTInput in{x.data(), y.data(), kGrid, kGrid, VWMT_DIRECTION_FORWARD, frameGeometry(), g};

    VectWarpMapTrans trans(kGrid, kGrid, 1);
    trans.updateVectSize(in);
    std::vector<char> work(static_cast<size_t>(trans.getWorkingBufferSize()));
    trans.setWorkingBuffer(work.data());
    for (auto _ : state) {
        trans.transformVectToWarpMap_gpu(x.data(), y.data(), in.imgSizeDesc, g);
        benchmark::DoNotOptimize(work.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(GpuTransform)->Arg(0)->Arg(90)->Unit(benchmark::kMicrosecond);

// Prints one "[FUNC]" line per call to standard output, as it must.
void BilinearQueries(benchmark::State& state) {
    constexpr int kTable = 66, kQueries = 600, kImageW = 1920, kImageH = 1080;
    std::vector<float> before, after, queries, out(2 * kQueries * kQueries);
    for (int r = 0; r < kTable; ++r) {
        for (int c = 0; c < kTable; ++c) {
            const float x = static_cast<float>(c * (kImageW / (kTable - 1)));
            const float y = static_cast<float>(r * (kImageH / (kTable - 1)));
            before.insert(before.end(), {x, y});
            after.insert(after.end(), {x + 3.0f * std::sin(0.1f * r), y - 2.0f * std::cos(0.13f * c)});
        }
    }
    for (int r = 0; r < kQueries; ++r)
        for (int c = 0; c < kQueries; ++c)
            queries.insert(queries.end(), {c * (kImageW - 1) / float(kQueries - 1), r * (kImageH - 1) / float(kQueries - 1)});

    VectWarpMapTrans trans(kTable, kTable);
    for (auto _ : state) {
        trans.genQueriedGridXYByBilinerInterpolation(after.data(), before.data(), queries.data(), out.data(), kTable,
                                                     kTable, kQueries, kQueries, kImageW, kImageH);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BilinearQueries)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
