// Per-frame cost of the OIS transformer: oisVecToGrid for a 28 x 28 vector
// grid onto 28 x 28 and 66 x 66 content grids, forward and backward, at 0 and
// 90 degrees, logs off. bench/vwmt/peer_ois_frame.py renders the same forward
// frame with SciPy and compares.
//
// The frame: a 4000 x 3000 tg crop at (40, 30), P1 resized to 1920 x 1440,
// rotated image 1920 x 1440 (forward) or source 1920 x 1440 (backward), and a
// smooth vector field of a few pixels (vectorField below, mirrored in the
// peer script).

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "utilPlatformHost.h"
#include "vwmt/VectWarpMapTrans.h"

namespace {

constexpr int kVectors = 28;

void dropLog(void*, int, const char*, const char*) {}

// Keep in step with vector_field() in peer_ois_frame.py.
void vectorField(std::vector<double>& x, std::vector<double>& y) {
    for (int j = 0; j < kVectors; ++j) {
        for (int i = 0; i < kVectors; ++i) {
            x.push_back(3.0 * std::sin(0.2 * i) + 0.1 * j);
            y.push_back(2.0 * std::cos(0.15 * j) - 0.05 * i);
        }
    }
}

void BM_OisFrame(benchmark::State& state) {
    const int content = static_cast<int>(state.range(0));
    const auto dir = static_cast<VWMT_DIRECTION>(state.range(1));
    const float angle = static_cast<float>(state.range(2));
    quentra::host::setLogSink(dropLog, nullptr);
    VWMT::logLevel = 0;

    std::vector<double> x, y;
    vectorField(x, y);
    VWMTInput in{};
    in.inOisX = x.data();
    in.inOisY = y.data();
    in.vect_w = kVectors;
    in.vect_h = kVectors;
    in.dir = dir;
    in.imgSizeDesc.sensorSize = {4000, 3000};
    in.imgSizeDesc.analogCrop = {0, 0, 4000, 3000};
    in.imgSizeDesc.binningSize = {4000, 3000};
    in.imgSizeDesc.digitalCrop = {0, 0, 4000, 3000};
    in.imgSizeDesc.tgCrop = {40, 30, 4000, 3000};
    in.imgSizeDesc.p1Crop = {0, 0, 4000, 3000};
    in.imgSizeDesc.p1Resize = {1920, 1440};
    in.gridParam.srcImg.size = {1920, 1440};
    in.gridParam.rotImg.size = {1920, 1440};
    in.gridParam.content_w = content;
    in.gridParam.content_h = content;
    in.gridParam.buffer_size = content;
    in.gridParam.rotAngle = angle;

    VectWarpMapTrans trans(kVectors, kVectors, 1);
    trans.updateVectSize(in);
    std::vector<float> work(static_cast<size_t>(trans.getWorkingBufferSize()) / sizeof(float) + 1);
    trans.setWorkingBuffer(reinterpret_cast<char*>(work.data()));
    std::vector<int> gridX(static_cast<size_t>(content) * content), gridY(gridX.size());
    VWMTOutput out{gridX.data(), gridY.data(), nullptr};

    for (auto _ : state) {
        trans.oisVecToGrid(in, out);
        benchmark::DoNotOptimize(gridX.data());
        benchmark::ClobberMemory();
    }
    quentra::host::setLogSink(nullptr, nullptr);
}

// Arguments: content side, direction, angle.
BENCHMARK(BM_OisFrame)
    ->ArgNames({"content", "dir", "angle"})
    ->Args({28, 0, 0})
    ->Args({28, 0, 90})
    ->Args({28, 1, 0})
    ->Args({28, 1, 90})
    ->Args({66, 0, 0})
    ->Args({66, 0, 90})
    ->Args({66, 1, 0})
    ->Args({66, 1, 90})
    ->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
