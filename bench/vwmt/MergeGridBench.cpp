// Per-frame cost of the combined warp map: mergeGrid of a 600 x 600 N3D map
// through a smooth 66 x 66 OIS map over a 1920 x 1080 image, fixed-point
// conversions in and out included; and, on the same data, the triangle walk
// alone (interpolateByMesh) and its sequential reference. Set
// VELMO_MERGE_BENCH_DATA to a directory to also write the case for
// bench/vwmt/peer_merge.py.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "vwmt/CombWarpMapTrans.h"
#include "vwmt/core/MemoryManager.h"
#include "vwmt/core/MeshGridUtility.h"
#include "vwmt/core/MeshInterpolator.h"
#include "vwmt/core/MeshQueryRows.h"

namespace {

constexpr int kImageW = 1920, kImageH = 1080;
constexpr int kOis = 66, kN3d = 600;

struct MergeCase {
    OIS_INTERPOLATE_INFO_STRUCT info{kImageW, kImageH, 0, 0, kOis, kOis, kN3d, kN3d};
    std::vector<int> oisX, oisY, n3dX, n3dY;
};

int fixedPoint(double pixels) { return static_cast<int>(std::lround(pixels * 32.0)); }

// OIS: each grid point moved by a few pixels of smooth shake. N3D: a slight
// rotation and scale about the image centre, as stereo rectification gives.
MergeCase makeMergeCase() {
    MergeCase c;
    for (int r = 0; r < kOis; ++r) {
        for (int col = 0; col < kOis; ++col) {
            const double x = col * (kImageW - 1.0) / (kOis - 1), y = r * (kImageH - 1.0) / (kOis - 1);
            c.oisX.push_back(fixedPoint(x + 3.0 * std::sin(y / kImageH * 2.1) + 1.5 * std::cos(x / kImageW * 3.3)));
            c.oisY.push_back(fixedPoint(y - 2.5 * std::cos(x / kImageW * 2.7) + 1.0 * std::sin(y / kImageH * 1.7)));
        }
    }
    const double angle = 0.004, scale = 0.985;
    for (int r = 0; r < kN3d; ++r) {
        for (int col = 0; col < kN3d; ++col) {
            const double u = col * (kImageW - 1.0) / (kN3d - 1) - 0.5 * (kImageW - 1);
            const double v = r * (kImageH - 1.0) / (kN3d - 1) - 0.5 * (kImageH - 1);
            c.n3dX.push_back(fixedPoint(scale * (u * std::cos(angle) - v * std::sin(angle)) + 0.5 * (kImageW - 1)));
            c.n3dY.push_back(fixedPoint(scale * (u * std::sin(angle) + v * std::cos(angle)) + 0.5 * (kImageH - 1)));
        }
    }
    return c;
}

void writeCase(const MergeCase& c) {
    const char* dir = std::getenv("VELMO_MERGE_BENCH_DATA");
    if (dir == nullptr) return;
    const std::string path = std::string(dir) + "/merge.bin";
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) return;
    std::fwrite(&c.info, sizeof c.info, 1, file);
    for (const std::vector<int>* plane : {&c.oisX, &c.oisY, &c.n3dX, &c.n3dY}) {
        std::fwrite(plane->data(), sizeof(int), plane->size(), file);
    }
    std::fclose(file);
}

void perQuery(benchmark::State& state) {
    state.counters["time_per_query"] = benchmark::Counter(
        double{kN3d} * kN3d, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_MergeGrid_Ois66_N3d600(benchmark::State& state) {
    MergeCase c = makeMergeCase();
    writeCase(c);
    CombWarpMapTrans comb;
    std::vector<char> work(static_cast<size_t>(comb.getWorkingBufferSize()));
    comb.setWorkingBuffer(work.data());
    int* ois[2] = {c.oisX.data(), c.oisY.data()};
    int* n3d[2] = {c.n3dX.data(), c.n3dY.data()};
    for (auto _ : state) {
        comb.mergeGrid(ois, n3d, c.info);
        benchmark::DoNotOptimize(comb.resultX());
        benchmark::ClobberMemory();
    }
    perQuery(state);
    state.counters["lanes"] = velmo::mesh::parallelLanes();
}

// The interpolation step of the merge on its inputs, through the exported
// table-filling form, and the sequential reference loop.
template <bool kSequential>
void runWalk(benchmark::State& state) {
    MergeCase c = makeMergeCase();
    std::vector<float> mesh(2 * kOis * kOis), values(2 * kOis * kOis), queries(2 * kN3d * kN3d),
        out(2 * kN3d * kN3d);
    std::vector<int> tris(6 * (kOis - 1) * (kOis - 1));
    VWMT::MeshGridUtility::sampleUniformMeshGrid(mesh.data(), kOis, kOis, 0.0f, kImageW - 1.0f, 0.0f,
                                                 kImageH - 1.0f);
    VWMT::MeshGridUtility::connectGridByTriangleMesh(tris.data(), kOis, kOis);
    for (size_t k = 0; k < c.oisX.size(); ++k) {
        values[2 * k] = c.oisX[k] * 0.03125f;
        values[2 * k + 1] = c.oisY[k] * 0.03125f;
    }
    for (size_t k = 0; k < c.n3dX.size(); ++k) {
        queries[2 * k] = c.n3dX[k] * 0.03125f;
        queries[2 * k + 1] = c.n3dY[k] * 0.03125f;
    }
    VWMT::MemoryManager arena(3000000, nullptr, 0, 0, kOis, kOis, 0, 0, 0, 0, 0, 0);
    VWMT::MeshInterpolator interp(&arena, 0, kOis, kOis, tris.data(), kN3d, kN3d);
    interp.fill_ref_MeshTriangleVertXY_In(mesh.data());
    const velmo::mesh::RowsJob job{{interp.searchLimit(), interp.cellsW(), interp.cellsH(), interp.numTriangles()},
                                   tris.data(), nullptr, interp.triangleVertexTable(), kN3d, kN3d,
                                   values.data(), queries.data(), out.data()};
    for (auto _ : state) {
        if (kSequential) {
            velmo::mesh::interpolateRowsSequential(job);
        } else {
            interp.interpolateByMesh(mesh.data(), values.data(), queries.data(), out.data());
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    perQuery(state);
}

void BM_InterpolateByMesh_Ois66_N3d600(benchmark::State& state) { runWalk<false>(state); }
void BM_Sequential_Ois66_N3d600(benchmark::State& state) { runWalk<true>(state); }

BENCHMARK(BM_MergeGrid_Ois66_N3d600)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InterpolateByMesh_Ois66_N3d600)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Sequential_Ois66_N3d600)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
