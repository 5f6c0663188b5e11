#include "vwmt/CombWarpMapTrans.h"

#include <cstdint>
#include <new>

#include "common/Numerics.h"
#include "platform/Log.h"
#include "vwmt/MergeConversions.h"
#include "vwmt/core/MemoryManager.h"
#include "vwmt/core/MeshGridUtility.h"
#include "vwmt/core/MeshInterpolator.h"

namespace {

constexpr const char* kLogTag = "OISWarpMap";

// The arena only has to hold the triangle-corner table of the largest OIS
// mesh (array 49); 3,000,000 bytes leaves ample room for 66 x 66.
constexpr int kArenaBytes = 3000000;

// Where each array starts in the working buffer, in bytes, for the maxima
// (q N3D points, m OIS vertices, c OIS cells).
struct Layout {
    int64_t q, m, c;
    int64_t planeWork() const { return 0; }
    int64_t resultX() const { return 8 * q; }
    int64_t resultY() const { return 12 * q; }
    int64_t triangles() const { return 16 * q; }
    int64_t meshXY() const { return 16 * q + 24 * c; }
    int64_t meshValues() const { return 16 * q + 24 * c + 8 * m; }
    int64_t queryXY() const { return 16 * q + 24 * c + 16 * m; }
    int64_t interpolated() const { return 24 * q + 24 * c + 16 * m; }
};

bool hasPlanes(int** map) { return map != nullptr && map[0] != nullptr && map[1] != nullptr; }

}  // namespace

CombWarpMapTrans::CombWarpMapTrans()
    : maxOisW_(kMaxOisW), maxOisH_(kMaxOisH), maxN3dW_(kMaxN3dW), maxN3dH_(kMaxN3dH),
      arena_(new (std::nothrow)
                 VWMT::MemoryManager(kArenaBytes, nullptr, 0, 0, kMaxOisW, kMaxOisH, 0, 0, 0, 0, 0, 0)),
      planeWork_(nullptr), resultX_(nullptr), resultY_(nullptr), meshXY_(nullptr),
      meshValues_(nullptr), queryXY_(nullptr), interpolated_(nullptr), triangles_(nullptr) {
    // Without an arena (out of memory) every merge is refused for want of
    // the corner table.
    if (arena_ != nullptr) arena_->printMemoryUsage("MB");
}

CombWarpMapTrans::~CombWarpMapTrans() {
    delete arena_;
    arena_ = nullptr;
}

// The first term squares the width where the layout needs width x height; it
// is the documented size and equals the layout's 4q because the fixed N3D
// maximum is square.
int CombWarpMapTrans::getWorkingBufferSize() {
    const int64_t q = int64_t{maxN3dW_} * maxN3dH_;
    const int64_t m = int64_t{maxOisW_} * maxOisH_;
    const int64_t c = (int64_t{maxOisW_} - 1) * (maxOisH_ - 1);
    const int64_t bytes = 4 * int64_t{maxN3dW_} * maxN3dW_ + 12 * q + 8 * q + 16 * m + 24 * c + 8 * q;
    return static_cast<int>(bytes / 4 * 4);
}

int CombWarpMapTrans::setWorkingBuffer(char* buffer) {
    // The arrays are read as floats and ints; a buffer from malloc or new is
    // always aligned enough.
    if (buffer == nullptr || reinterpret_cast<uintptr_t>(buffer) % 4 != 0) {
        VELMO_LOG(kLogTag, "[VWMT][%s] working buffer %p refused: null or not 4-byte aligned\n",
                  "setWorkingBuffer", static_cast<void*>(buffer));
        planeWork_ = meshXY_ = meshValues_ = queryXY_ = interpolated_ = nullptr;
        resultX_ = resultY_ = triangles_ = nullptr;
        return 1;
    }
    const Layout at{int64_t{maxN3dW_} * maxN3dH_, int64_t{maxOisW_} * maxOisH_,
                    (int64_t{maxOisW_} - 1) * (maxOisH_ - 1)};
    auto floats = [buffer](int64_t offset) { return reinterpret_cast<float*>(buffer + offset); };
    auto ints = [buffer](int64_t offset) { return reinterpret_cast<int*>(buffer + offset); };
    planeWork_ = floats(at.planeWork());
    resultX_ = ints(at.resultX());
    resultY_ = ints(at.resultY());
    triangles_ = ints(at.triangles());
    meshXY_ = floats(at.meshXY());
    meshValues_ = floats(at.meshValues());
    queryXY_ = floats(at.queryXY());
    interpolated_ = floats(at.interpolated());
    return 0;
}

void CombWarpMapTrans::mergeGrid(int** oisMap, int** n3dMap, OIS_INTERPOLATE_INFO_STRUCT const& info) {
    const char* const fn = "mergeGrid";
    if (resultX_ == nullptr) {
        VELMO_LOG(kLogTag, "[VWMT][%s] no working buffer set, nothing merged\n", fn);
        return;
    }
    if (arena_ == nullptr || arena_->floatArray(49) == nullptr) {
        VELMO_LOG(kLogTag, "[VWMT][%s] no arena for the triangle corners, nothing merged\n", fn);
        return;
    }
    if (info.oisW < 2 || info.oisH < 2 || info.oisW > maxOisW_ || info.oisH > maxOisH_) {
        VELMO_LOG(kLogTag, "[VWMT][%s] OIS grid %d x %d outside 2 x 2 .. %d x %d, nothing merged\n", fn,
                  info.oisW, info.oisH, maxOisW_, maxOisH_);
        return;
    }
    if (info.n3dW < 0 || info.n3dH < 0 || info.n3dW > maxN3dW_ || info.n3dH > maxN3dH_) {
        VELMO_LOG(kLogTag, "[VWMT][%s] N3D grid %d x %d outside 0 x 0 .. %d x %d, nothing merged\n", fn,
                  info.n3dW, info.n3dH, maxN3dW_, maxN3dH_);
        return;
    }
    if (!hasPlanes(oisMap) || !hasPlanes(n3dMap)) {
        VELMO_LOG(kLogTag, "[VWMT][%s] null %s map or map plane, nothing merged\n", fn,
                  hasPlanes(oisMap) ? "N3D" : "OIS");
        return;
    }
    const int queries = info.n3dW * info.n3dH;
    if (queries == 0) return;

    // 1. The OIS grid points spread evenly over the image, corners on the
    //    corner pixels. 2. The OIS map at them, in pixels.
    createUniformMeshGrid(meshXY_, info.oisW, info.oisH, info.imageW, info.imageH);
    get_ois_warp_map(oisMap, meshValues_, info.oisW, info.oisH);
    // 3. The N3D positions, in pixels.
    get_n3d_warp_map(n3dMap, queryXY_, info.n3dW, info.n3dH);
    // 4-5. Each N3D position mapped through the OIS map; positions off the
    //      mesh are extrapolated from the nearest triangle tried.
    connectGridByTriangleMesh(triangles_, info.oisW, info.oisH);
    genQueriedGridXYByMeshInterpolation(meshXY_, meshValues_, queryXY_, interpolated_, info.oisW,
                                        info.oisH, info.n3dW, info.n3dH);
    // 6-7. Back to planes, then to fixed point with halves away from zero.
    velmo::comb::splitAndFixPoint(interpolated_, queries, planeWork_, resultX_, resultY_);
}

void CombWarpMapTrans::get_ois_warp_map(int** map, float* out, int W, int H) {
    if (W <= 0 || H <= 0) return;
    if (!hasPlanes(map) || out == nullptr) {
        VELMO_LOG(kLogTag, "[VWMT][%s] null map, plane or output, nothing converted\n", "get_ois_warp_map");
        return;
    }
    velmo::comb::interleaveFromFixedPoint(map[0], map[1], out, int64_t{W} * H);
}

void CombWarpMapTrans::get_n3d_warp_map(int** map, float* out, int W, int H) {
    if (W <= 0 || H <= 0) return;
    if (!hasPlanes(map) || out == nullptr) {
        VELMO_LOG(kLogTag, "[VWMT][%s] null map, plane or output, nothing converted\n", "get_n3d_warp_map");
        return;
    }
    velmo::comb::interleaveFromFixedPoint(map[0], map[1], out, int64_t{W} * H);
}

void CombWarpMapTrans::createUniformMeshGrid(float* out, int W, int H, int imageW, int imageH) {
    VWMT::MeshGridUtility::sampleUniformMeshGrid(
        out, W, H, 0.0f, static_cast<float>(velmo::wrapSub(imageW, 1)), 0.0f,
        static_cast<float>(velmo::wrapSub(imageH, 1)));
}

void CombWarpMapTrans::connectGridByTriangleMesh(int* out, int W, int H) {
    VWMT::MeshGridUtility::connectGridByTriangleMesh(out, W, H);
}

void CombWarpMapTrans::genQueriedGridXYByMeshInterpolation(float* meshXY, float* values, float* queryXY,
                                                           float* out, int meshW, int meshH, int queryW,
                                                           int queryH) {
    // The corner table in the arena and the triangle list in the working
    // buffer hold a 66 x 66 mesh at most.
    float* const cornerTable = arena_ != nullptr ? arena_->floatArray(49) : nullptr;
    if (meshW < 2 || meshH < 2 || meshW > maxOisW_ || meshH > maxOisH_ || queryW < 0 || queryH < 0 ||
        triangles_ == nullptr || cornerTable == nullptr) {
        VELMO_LOG(kLogTag, "[VWMT][%s] mesh %d x %d or query grid %d x %d refused, nothing interpolated\n",
                  "genQueriedGridXYByMeshInterpolation", meshW, meshH, queryW, queryH);
        return;
    }
    VWMT::MeshInterpolator interpolator(arena_, 0, meshW, meshH, triangles_, queryW, queryH);
    interpolator.interpolateByMesh(meshXY, values, queryXY, out);
}
