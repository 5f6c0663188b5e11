// The combined warp map: working-buffer layout, worked merges, the fast paths
// against their scalar references on every SIMD target, and bad input.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <hwy/targets.h>

#include "vwmt/TransformTestSupport.h"
#include "vwmt/CombWarpMapTrans.h"
#include "vwmt/VectWarpMapTrans.h"
#include "vwmt/MergeConversions.h"
#include "vwmt/core/MemoryManager.h"
#include "vwmt/core/MeshGridUtility.h"
#include "vwmt/core/MeshInterpolator.h"
#include "vwmt/core/MeshQueryRows.h"
#include "vwmt/core/ProcWarpMap.h"

namespace {

using velmo::testing::LogCapture;

constexpr int kQ = 600 * 600;

// A merger with its working buffer, result planes pre-set to a marker.
struct Merger {
    CombWarpMapTrans comb;
    std::vector<int32_t> buffer;  // int storage keeps the buffer 4-byte aligned
    Merger() : buffer(11691096 / 4) {
        EXPECT_EQ(comb.getWorkingBufferSize(), 11691096);
        EXPECT_EQ(comb.setWorkingBuffer(reinterpret_cast<char*>(buffer.data())), 0);
        mark();
    }
    void mark() { std::fill(buffer.begin() + 2 * kQ, buffer.begin() + 4 * kQ, 0x5a5a5a5a); }
    bool planesUntouched() const {
        return std::all_of(buffer.begin() + 2 * kQ, buffer.begin() + 4 * kQ,
                           [](int32_t v) { return v == 0x5a5a5a5a; });
    }
    std::vector<int> x(int n) const { return {comb.resultX(), comb.resultX() + n}; }
    std::vector<int> y(int n) const { return {comb.resultY(), comb.resultY() + n}; }
};

// Two fixed-point planes and the int** view of them.
struct Map {
    std::vector<int> x, y;
    int* planes[2];
    Map(std::vector<int> xs, std::vector<int> ys) : x(std::move(xs)), y(std::move(ys)) {
        planes[0] = x.data();
        planes[1] = y.data();
    }
    int** get() { return planes; }
};

// Both mergers' five-argument builders put the corner nodes on the corner pixels.
TEST(CombWarpMapTransMesh, UniformGridHasCornersOnTheCornerPixels) {
    CombWarpMapTrans comb;
    VectWarpMapTrans trans(4, 4, 0);
    std::vector<float> mesh(2 * 3 * 2, -1.0f), other(mesh);
    comb.createUniformMeshGrid(mesh.data(), 3, 2, 9, 5);
    trans.createUniformMeshGrid(other.data(), 3, 2, 9, 5);
    EXPECT_EQ(mesh, (std::vector<float>{0, 0, 4, 0, 8, 0, 0, 4, 4, 4, 8, 4}));
    EXPECT_EQ(other, mesh);
}

// OIS grid 3 x 2 over a 9 x 5 image: vertices v0..v5 at (0,0) (4,0) (8,0)
// (0,4) (4,4) (8,4); triangles t0 (v0 v3 v1), t1 (v1 v3 v4), t2 (v1 v4 v2),
// t3 (v2 v4 v5). OIS values in pixels: (1,2) (5,2.5) (10,1) (0.5,6) (4,7) (9,8).
//  (1,1) in t0, weights (1/2, 1/4, 1/4): (1.875, 3.125) -> (60, 100).
//  (7,3) in t3, weights (1/4, 1/4, 1/2): (8, 6) -> (256, 192).
//  (8,4) is v5, the last vertex of the last triangle: (9, 8) -> (288, 256).
//  (10,2) is right of the mesh; the row's seed stays on t3 (last column),
//  whose weights there are (1/2, -1/2, 1); the step right is blocked, so
//  it is extrapolated from t3: (12, 5) -> (384, 160).
//  Half a fixed-point step rounds away from zero: with only v0 carrying
//  (1, -1) in fixed point, (1,1) weighs it by 1/2 and gives (1, -1).
TEST(CombWarpMapTransMerge, WorkedSmallGrid) {
    const struct {
        std::vector<int> oisX, oisY;
        int queries;
        std::vector<int> wantX, wantY;
    } cases[] = {{{32, 160, 320, 16, 128, 288}, {64, 80, 32, 192, 224, 256}, 4, {60, 256, 288, 384}, {100, 192, 256, 160}},
                 {{1, 0, 0, 0, 0, 0}, {-1, 0, 0, 0, 0, 0}, 2, {1, 0}, {-1, 0}}};
    for (const auto& c : cases) {
        Merger m;
        Map ois(c.oisX, c.oisY);
        Map n3d({32, 224, 256, 320}, {32, 96, 128, 64});
        LogCapture log;
        m.comb.mergeGrid(ois.get(), n3d.get(), {9, 5, 0, 0, 3, 2, 2, c.queries / 2});
        EXPECT_TRUE(log.lines().empty());
        EXPECT_EQ(m.x(c.queries), c.wantX);
        EXPECT_EQ(m.y(c.queries), c.wantY);
    }
}

// Only the last triangle holds the last vertex; a position exactly there
// takes that vertex's OIS value, whatever the others are.
TEST(CombWarpMapTransMerge, LastPixelLandsInTheLastTriangle) {
    const int sizes[][4] = {{1920, 1080, 66, 66}, {641, 481, 9, 7}, {100, 60, 2, 2}, {5000, 37, 3, 66}};
    for (const auto& s : sizes) {
        const int imageW = s[0], imageH = s[1], w = s[2], h = s[3];
        std::vector<int> xs(w * h), ys(w * h);
        for (int k = 0; k < w * h; ++k) {
            xs[k] = (k * 7919) % 4099 - 2000;
            ys[k] = (k * 104729) % 3001 - 1500;
        }
        Map ois(xs, ys);
        Map n3d({0, 32 * (imageW - 1), 32 * (imageW - 1)}, {0, 0, 32 * (imageH - 1)});
        Merger m;
        m.comb.mergeGrid(ois.get(), n3d.get(), {imageW, imageH, 0, 0, w, h, 3, 1});
        EXPECT_EQ(m.x(3), (std::vector<int>{xs[0], xs[w - 1], xs.back()})) << imageW;
        EXPECT_EQ(m.y(3), (std::vector<int>{ys[0], ys[w - 1], ys.back()})) << imageW;
    }
}

// ---- fast paths against the scalar references ------------------------------

// The merge on the foundations' scalar pieces: sequential table loop, then
// the reference plane split and fixed-point conversion.
void referenceMerge(const Map& ois, const Map& n3d, const OIS_INTERPOLATE_INFO_STRUCT& info,
                    std::vector<int>& outX, std::vector<int>& outY) {
    const int w = info.oisW, h = info.oisH, q = info.n3dW * info.n3dH;
    std::vector<float> mesh(2 * w * h), values(2 * w * h), queries(2 * q), out(2 * q), work(2 * q);
    std::vector<int> tris(6 * (w - 1) * (h - 1));
    VWMT::MeshGridUtility::sampleUniformMeshGrid(mesh.data(), w, h, 0.0f, static_cast<float>(info.imageW - 1),
                                                 0.0f, static_cast<float>(info.imageH - 1));
    VWMT::MeshGridUtility::connectGridByTriangleMesh(tris.data(), w, h);
    for (int k = 0; k < w * h; ++k) {
        values[2 * k] = static_cast<float>(ois.x[k] / 32.0);
        values[2 * k + 1] = static_cast<float>(ois.y[k] / 32.0);
    }
    for (int k = 0; k < q; ++k) {
        queries[2 * k] = static_cast<float>(n3d.x[k] / 32.0);
        queries[2 * k + 1] = static_cast<float>(n3d.y[k] / 32.0);
    }
    VWMT::MemoryManager arena(3000000, nullptr, 0, 0, w, h, 0, 0, 0, 0, 0, 0);
    VWMT::MeshInterpolator interp(&arena, 0, w, h, tris.data(), info.n3dW, info.n3dH);
    interp.fill_ref_MeshTriangleVertXY_In(mesh.data());
    velmo::mesh::interpolateRowsSequential({{interp.searchLimit(), interp.cellsW(), interp.cellsH(),
                                             interp.numTriangles()},
                                            tris.data(), nullptr, interp.triangleVertexTable(), info.n3dW,
                                            info.n3dH, values.data(), queries.data(), out.data()});
    VWMT::ProcWarpMap::remap_WarpMapXY_InterleavedToPlane(out.data(), q, work.data());
    outX.assign(q, 0);
    outY.assign(q, 0);
    VWMT::ProcWarpMap::fmtTrnasOfDataType(outX.data(), out.data(), q);
    VWMT::ProcWarpMap::fmtTrnasOfDataType(outY.data(), out.data() + q, q);
}

// A smoothly shaken OIS map (a few pixels), or a rotated, scaled N3D map
// reaching a little past the image.
Map field(int imageW, int imageH, int w, int h, bool ois) {
    std::vector<int> xs, ys;
    for (int r = 0; r < h; ++r) {
        for (int c = 0; c < w; ++c) {
            const double x = c * (imageW - 1.0) / std::max(w - 1, 1), y = r * (imageH - 1.0) / std::max(h - 1, 1);
            const double u = (c * 1.04 / std::max(w - 1, 1) - 0.52) * imageW, v = (r * 1.04 / std::max(h - 1, 1) - 0.52) * imageH;
            xs.push_back(static_cast<int>(std::lround(32 * (ois ? x + 3 * std::sin(y * 0.004) + 1.5 * std::cos(x * 0.002)
                                                                : 0.999 * u - 0.02 * v + 0.5 * imageW))));
            ys.push_back(static_cast<int>(std::lround(32 * (ois ? y - 2.5 * std::cos(x * 0.0015) + std::sin(y * 0.003)
                                                                : 0.02 * u + 0.999 * v + 0.5 * imageH))));
        }
    }
    return Map(xs, ys);
}

void expectMergeMatchesReference(int oisSide, int n3dW, int n3dH, const std::string& what) {
    const OIS_INTERPOLATE_INFO_STRUCT info{1920, 1080, 0, 0, oisSide, oisSide, n3dW, n3dH};
    Map ois = field(1920, 1080, oisSide, oisSide, true);
    Map n3d = field(1920, 1080, n3dW, n3dH, false);
    std::vector<int> refX, refY;
    referenceMerge(ois, n3d, info, refX, refY);
    static Merger m;  // one 11.7 MB buffer for all cases
    m.mark();
    EXPECT_EQ(velmo::testing::allocationsIn([&] { m.comb.mergeGrid(ois.get(), n3d.get(), info); }), 0);
    EXPECT_EQ(m.planesUntouched(), n3dW * n3dH == 0);  // results at 8 and 12 x 600 x 600 bytes
    ASSERT_EQ(m.x(n3dW * n3dH), refX) << what << " " << n3dW << " x " << n3dH;
    ASSERT_EQ(m.y(n3dW * n3dH), refY) << what << " " << n3dW << " x " << n3dH;
}

TEST(CombWarpMapTransFast, MergeMatchesTheScalarReferenceOnEveryTarget) {
    for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        const std::string name = hwy::TargetName(target);
        const int lanes = velmo::mesh::parallelLanes();
        // Few OIS rows let the short N3D grids below run in lockstep batches.
        for (int oisSide : {5, 66}) {
            for (int n3dH : {1, 2, lanes - 1, lanes + 1, 6 * lanes + 3}) {
                for (int n3dW = 1; n3dW <= 2 * lanes + 3; n3dW += (n3dW < 6 ? 1 : 5)) {
                    if (n3dH >= 1) expectMergeMatchesReference(oisSide, n3dW, n3dH, name);
                }
            }
        }
        expectMergeMatchesReference(66, 600, 600, name);
    }
    hwy::SetSupportedTargetsForTest(0);
}

TEST(CombWarpMapTransFast, ConversionsMatchTheScalarLoopsOverEveryTail) {
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    // Halves, near-halves, -0, out-of-range values and NaN, in pixels.
    const float special[] = {0.015625f, -0.015625f, 0.046875f, -0.046875f, -0.0f, 0.49999997f / 32,
                             1e10f, -1e10f, 67108863.0f, -67108864.0f, nan, inf, -inf, 3.3f, -1234.56f};
    for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        for (int n = 1; n <= 70; ++n) {
            std::vector<int> xs(n), ys(n);
            std::vector<float> map(2 * n), fast(2 * n, 1.0f), slow(2 * n, 2.0f);
            for (int k = 0; k < n; ++k) {
                xs[k] = (k * 2654435761u) >> 1;
                ys[k] = -(k * 40503) + 17;
                map[2 * k] = special[k % 15];
                map[2 * k + 1] = special[(k * 7 + 3) % 15] * 0.75f;
            }
            velmo::comb::interleaveFromFixedPoint(xs.data(), ys.data(), fast.data(), n);
            velmo::comb::interleaveFromFixedPointScalar(xs.data(), ys.data(), slow.data(), n);
            ASSERT_EQ(std::memcmp(fast.data(), slow.data(), fast.size() * sizeof(float)), 0)
                << hwy::TargetName(target) << " n " << n;

            std::vector<float> fastMap = map, slowMap = map, fastWork(2 * n), slowWork(2 * n);
            std::vector<int> fx(n, 5), fy(n, 5), sx(n, 6), sy(n, 6);
            velmo::comb::splitAndFixPoint(fastMap.data(), n, fastWork.data(), fx.data(), fy.data());
            velmo::comb::splitAndFixPointScalar(slowMap.data(), n, slowWork.data(), sx.data(), sy.data());
            ASSERT_EQ(fx, sx) << hwy::TargetName(target) << " n " << n;
            ASSERT_EQ(fy, sy) << hwy::TargetName(target) << " n " << n;
            ASSERT_EQ(std::memcmp(fastMap.data(), slowMap.data(), fastMap.size() * sizeof(float)), 0);
            ASSERT_EQ(std::memcmp(fastWork.data(), slowWork.data(), fastWork.size() * sizeof(float)), 0);
        }
    }
    hwy::SetSupportedTargetsForTest(0);
}

// ---- bad input -------------------------------------------------------------

TEST(CombWarpMapTransRefusal, BadInputLogsOnceAndLeavesTheResultPlanes) {
    const struct {
        OIS_INTERPOLATE_INFO_STRUCT info;
        int nullAt;  // 0 none, 1 OIS map, 2 OIS y plane, 3 N3D map, 4 N3D x plane, 5 no working buffer
        const char* needle;
    } cases[] = {
        {{1920, 1080, 0, 0, 67, 66, 4, 4}, 0, "OIS grid 67 x 66 outside 2 x 2 .. 66 x 66"},
        {{1920, 1080, 0, 0, 66, 67, 4, 4}, 0, "OIS grid 66 x 67 outside"},
        {{1920, 1080, 0, 0, 1, 5, 4, 4}, 0, "OIS grid 1 x 5 outside"},
        {{1920, 1080, 0, 0, 5, 1, 4, 4}, 0, "OIS grid 5 x 1 outside"},
        {{1920, 1080, 0, 0, 5, 5, 601, 4}, 0, "N3D grid 601 x 4 outside 0 x 0 .. 600 x 600"},
        {{1920, 1080, 0, 0, 5, 5, 4, 601}, 0, "N3D grid 4 x 601 outside"},
        {{1920, 1080, 0, 0, 5, 5, -1, 4}, 0, "N3D grid -1 x 4 outside"},
        {{1920, 1080, 0, 0, 5, 5, 4, -600}, 0, "N3D grid 4 x -600 outside"},
        {{1920, 1080, 0, 0, 5, 5, 4, 4}, 1, "null OIS map"},
        {{1920, 1080, 0, 0, 5, 5, 4, 4}, 2, "null OIS map"},
        {{1920, 1080, 0, 0, 5, 5, 4, 4}, 3, "null N3D map"},
        {{1920, 1080, 0, 0, 5, 5, 4, 4}, 4, "null N3D map"},
        {{100, 100, 0, 0, 2, 2, 2, 2}, 5, "no working buffer set"},
        {{100, 100, 0, 0, 3, 3, 0, 600}, 0, nullptr},  // an empty N3D grid is no error and writes nothing
        {{100, 100, 0, 0, 3, 3, 600, 0}, 0, nullptr},
    };
    Merger m;
    Map ois = field(1920, 1080, 66, 67, true);
    Map n3d = field(1920, 1080, 600, 4, false);
    for (const auto& c : cases) {
        int* oisPlanes[2] = {ois.x.data(), c.nullAt == 2 ? nullptr : ois.y.data()};
        int* n3dPlanes[2] = {c.nullAt == 4 ? nullptr : n3d.x.data(), n3d.y.data()};
        CombWarpMapTrans unset;
        LogCapture log;
        (c.nullAt == 5 ? unset : m.comb)
            .mergeGrid(c.nullAt == 1 ? nullptr : oisPlanes, c.nullAt == 3 ? nullptr : n3dPlanes, c.info);
        EXPECT_TRUE(m.planesUntouched()) << c.info.n3dW;
        ASSERT_EQ(log.lines().size(), c.needle ? 1u : 0u) << c.info.n3dW;
        if (!c.needle) continue;
        EXPECT_EQ(log.lines()[0].tag, "OISWarpMap");
        EXPECT_EQ(log.lines()[0].text.rfind("[VWMT][mergeGrid] ", 0), 0u) << log.lines()[0].text;
        EXPECT_NE(log.lines()[0].text.find(c.needle), std::string::npos) << log.lines()[0].text;
    }
    // A null or misaligned working buffer is refused and leaves no result planes.
    for (char* bad : {static_cast<char*>(nullptr), reinterpret_cast<char*>(m.buffer.data()) + 2}) {
        CombWarpMapTrans unset;
        LogCapture log;
        EXPECT_EQ(unset.setWorkingBuffer(bad), 1);
        ASSERT_EQ(log.texts().size(), 1u);
        EXPECT_EQ(log.texts()[0].rfind("[VWMT][setWorkingBuffer] working buffer ", 0), 0u) << log.texts()[0];
        EXPECT_EQ(unset.resultX(), nullptr);
    }
}

// The corner table and the triangle list hold a 66 x 66 mesh at most; the
// limits themselves are accepted.
TEST(CombWarpMapTransRefusal, InterpolationOutsideTheMeshLimitsIsRefused) {
    const int sizes[][4] = {{1, 5, 2, 2}, {5, 1, 2, 2}, {67, 5, 2, 2}, {5, 67, 2, 2}, {5, 5, -1, 2}, {5, 5, 2, -1},
                            {66, 2, 2, 2}};
    Merger m;
    m.comb.connectGridByTriangleMesh(reinterpret_cast<int*>(m.buffer.data()) + 4 * kQ, 66, 2);
    std::vector<float> mesh(2 * 67 * 67, 1.0f), values(2 * 67 * 67, 2.0f), queries(8, 3.0f);
    for (const auto& s : sizes) {
        const bool accepted = s[0] == 66;
        std::vector<float> out(8, -7.0f);
        LogCapture log;
        m.comb.genQueriedGridXYByMeshInterpolation(mesh.data(), values.data(), queries.data(), out.data(), s[0],
                                                   s[1], s[2], s[3]);
        ASSERT_EQ(log.lines().size(), accepted ? 0u : 1u) << s[0] << "x" << s[1] << " / " << s[2] << "x" << s[3];
        for (const auto& line : log.lines())
            EXPECT_EQ(line.text.rfind("[VWMT][genQueriedGridXYByMeshInterpolation] ", 0), 0u);
        EXPECT_EQ(out, std::vector<float>(8, accepted ? 2.0f : -7.0f));
    }
}

}  // namespace
