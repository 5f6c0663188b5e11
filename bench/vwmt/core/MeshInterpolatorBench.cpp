// Query-loop timing for the warp-grid mesh interpolation: the exported Opt
// loop (row-parallel) and the sequential reference, on the two sizes the
// transformer and the combined map use. Set VELMO_MESH_BENCH_DATA to a
// directory to also write each case's mesh, values, triangles and queries for
// bench/vwmt/core/peer_interp.py.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "vwmt/MeshTestSupport.h"
#include "vwmt/core/MemoryManager.h"
#include "vwmt/core/MeshInterpolator.h"
#include "vwmt/core/MeshQueryRows.h"
#include "vwmt/core/TriangleWalk.h"

namespace {

using velmo::testing::TestMesh;

struct Case {
    TestMesh mesh;
    std::vector<float> values;
    std::vector<float> queries;
    int queryW;
    int queryH;
};

// A smoothly displaced mesh over a 1920 x 1080 image; values are the uniform
// positions the displaced vertices came from (the inverse-map use).
Case makeCase(int meshSide, int querySide) {
    Case c{velmo::testing::makeMesh(meshSide, meshSide, 1920, 1080, 1), {}, {}, querySide, querySide};
    const TestMesh uniform = velmo::testing::makeMesh(meshSide, meshSide, 1920, 1080, 0);
    c.values = uniform.xy;
    c.queries = velmo::testing::makeQueries(querySide, querySide, 0, 1920, 0, 1080);
    return c;
}

void writeCase(const Case& c, const char* name) {
    const char* dir = std::getenv("VELMO_MESH_BENCH_DATA");
    if (dir == nullptr) return;
    const std::string path = std::string(dir) + "/" + name + ".bin";
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) return;
    const int32_t header[4] = {c.mesh.w, c.mesh.h, c.queryW, c.queryH};
    std::fwrite(header, sizeof header, 1, file);
    std::fwrite(c.mesh.xy.data(), sizeof(float), c.mesh.xy.size(), file);
    std::fwrite(c.values.data(), sizeof(float), c.values.size(), file);
    std::fwrite(c.queries.data(), sizeof(float), c.queries.size(), file);
    std::fwrite(c.mesh.tris.data(), sizeof(int32_t), c.mesh.tris.size(), file);
    std::fclose(file);
}

double evaluationsPerQuery(const Case& c) {
    const int cw = c.mesh.w - 1, ch = c.mesh.h - 1;
    const velmo::mesh::MeshShape shape{2 * (cw + ch), cw, ch, 2 * cw * ch};
    velmo::mesh::EvaluationCount counter;
    std::vector<float> out(c.queries.size());
    velmo::mesh::interpolateGrid(shape, c.mesh.tris.data(),
                                 velmo::mesh::MeshCorners{c.mesh.tris.data(), c.mesh.xy.data()},
                                 counter, c.queryW, c.queryH, c.values.data(), c.queries.data(),
                                 out.data());
    return static_cast<double>(counter.evaluations) / (double{1} * c.queryW * c.queryH);
}

template <bool kSequential>
void runCase(benchmark::State& state, int meshSide, int querySide, const char* name) {
    Case c = makeCase(meshSide, querySide);
    writeCase(c, name);
    VWMT::MemoryManager arena(4000000, nullptr, 0, 0, meshSide, meshSide, 0, 0, 0, 0, 0, 0);
    VWMT::MeshInterpolator interp(&arena, 0, meshSide, meshSide, c.mesh.tris.data(), querySide,
                                  querySide);
    std::vector<float> out(c.queries.size());
    const velmo::mesh::RowsJob job{{interp.searchLimit(), interp.cellsW(), interp.cellsH(),
                                    interp.numTriangles()},
                                   c.mesh.tris.data(), c.mesh.xy.data(), nullptr, querySide,
                                   querySide, c.values.data(), c.queries.data(), out.data()};
    for (auto _ : state) {
        if (kSequential) {
            velmo::mesh::interpolateRowsSequential(job);
        } else {
            interp.interpolateQueryVerticesOpt(c.mesh.xy.data(), c.values.data(), c.queries.data(),
                                               out.data());
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    // Seconds per query (shown with an SI prefix, e.g. 4.2n = 4.2 ns).
    state.counters["time_per_query"] = benchmark::Counter(
        double{1} * querySide * querySide,
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.counters["evals_per_query"] = evaluationsPerQuery(c);
    state.counters["lanes"] = kSequential ? 1 : velmo::mesh::parallelLanes();
}

void BM_QueryVerticesOpt_Mesh28_Query66(benchmark::State& state) {
    runCase<false>(state, 28, 66, "mesh28_query66");
}
void BM_QueryVerticesOpt_Mesh66_Query600(benchmark::State& state) {
    runCase<false>(state, 66, 600, "mesh66_query600");
}
void BM_Sequential_Mesh28_Query66(benchmark::State& state) {
    runCase<true>(state, 28, 66, "mesh28_query66");
}
void BM_Sequential_Mesh66_Query600(benchmark::State& state) {
    runCase<true>(state, 66, 600, "mesh66_query600");
}

BENCHMARK(BM_QueryVerticesOpt_Mesh28_Query66);
BENCHMARK(BM_QueryVerticesOpt_Mesh66_Query600);
BENCHMARK(BM_Sequential_Mesh28_Query66);
BENCHMARK(BM_Sequential_Mesh66_Query600);

}  // namespace

BENCHMARK_MAIN();
