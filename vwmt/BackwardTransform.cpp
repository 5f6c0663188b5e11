// Directions 1 and 2: the forward displacement of the vector mesh is inverted
// (for each output position, where it comes from), padded out to the rotated
// image and, for angles off the right angles, rotated on the content mesh.
// The grid ends in working arrays 18 and 19.

#include <cstdint>
#include <cstring>

#include "common/Numerics.h"
#include "platform/Log.h"
#include "vwmt/RotationAngle.h"
#include "vwmt/VectWarpMapTrans.h"
#include "vwmt/core/MeshGridUtility.h"
#include "vwmt/core/MeshInterpolator.h"

using VWMT::MeshGridUtility;

namespace {

constexpr const char* kTag = "OISWarpMap";

// Right angles are handled by the grid writer's transposes, not on the mesh.
bool isRightAngle(float degrees) {
    return degrees == 0.0f || degrees == 90.0f || degrees == 180.0f || degrees == 270.0f || degrees == -90.0f;
}

// Pixels to 5 fractional bits in single precision, halves away from zero.
int32_t toFixedInFloat(float v) {
    const float scaled = v * 32.0f;
    return velmo::toInt32(scaled >= 0.0f ? scaled + 0.5f : scaled - 0.5f);
}

}  // namespace

void VectWarpMapTrans::transformForwardVectToBackwardWarpMap(double* inOisX, double* inOisY, ImgSizeDescription d,
                                                             GridFromOisParam g, VWMT_DIRECTION dir) {
    if (!transformInputsUsable(__func__, inOisX, inOisY)) return;

    // 1. Scaled vectors into array 0; P1 stays as the caller gave it.
    scaleCallerVectors(__func__, inOisX, inOisY);
    hack_backward_configuration(d, g, dir);
    takeScaledVectors(inOisX, inOisY);
    const float p1W = static_cast<float>(d.p1Resize.w);
    const float p1H = static_cast<float>(d.p1Resize.h);

    // 2-3. The uniform vector mesh twice (positions and values of the
    // inversion) and its forward displacement.
    float* uniform = workPoints(1);
    float* uniformQueries = workPoints(4);
    MeshGridUtility::sampleUniformMeshGrid(uniform, meshW_, meshH_, 0.0f, p1W, 0.0f, p1H);
    MeshGridUtility::sampleUniformMeshGrid(uniformQueries, meshW_, meshH_, 0.0f, p1W, 0.0f, p1H);
    MeshGridUtility::connectGridByTriangleMesh(workInts(13), meshW_, meshH_);
    displaceMeshByVectors(d);

    // 4. Inversion: on the displaced mesh, the uniform node that lands on
    // each uniform position.
    float* inverse = workPoints(3);
    genQueriedGridXYByMeshInterpolation(workPoints(2), uniform, uniformQueries, inverse);

    // 5-6. The inverse map at the content grid over P1.
    float* contentNodes = workPoints(8);
    float* contentInverse = workPoints(7);
    MeshGridUtility::sampleUniformMeshGrid(contentNodes, contentW_, contentH_, 0.0f, p1W, 0.0f, p1H);
    genQueriedGridXYByMeshInterpolation(uniformQueries, inverse, contentNodes, contentInverse, contentW_,
                                        contentH_);

    // 7-8. From here on every mesh is the content grid.
    MeshGridUtility::connectGridByTriangleMesh(workInts(13), contentW_, contentH_);
    float* padded = workPoints(5);
    float* scratch = workPoints(6);
    paddingWarpGridOpt(contentNodes, contentInverse, padded, scratch, contentW_, contentH_, d, g);

    // 9-10.
    if (!isRightAngle(g.rotAngle)) {
        genRotateGridXYByMeshInterPolation_backward(contentNodes, contentInverse, padded, scratch, g);
        int* gridX = workInts(18);
        int* gridY = workInts(19);
        const int64_t count = int64_t{contentW_} * contentH_;
        for (int64_t k = 0; k < count; ++k) {
            gridX[k] = toFixedInFloat(scratch[2 * k]);
            gridY[k] = toFixedInFloat(scratch[2 * k + 1]);
        }
    } else {
        warpMapTransformation_byMeshOpt(workInts(18), workInts(19), contentNodes, contentInverse, scratch, nullptr,
                                        g.rotImg.size.w, g.rotImg.size.h, g);
    }
}

void VectWarpMapTrans::paddingWarpGridOpt(float* vertices, float* values, float* grid, float* out, int w, int h,
                                          ImgSizeDescription const& /*d*/, GridFromOisParam const& g) {
    if (!workingBufferFits(__func__)) return;
    // The w x h triangles come from working array 13, carved for the content grid.
    const int64_t cells = (int64_t{w} - 1) * (int64_t{h} - 1);
    if (w < 2 || h < 2 || cells > (int64_t{contentW_} - 1) * (contentH_ - 1)) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: grid(%d, %d) outside content(%d, %d)\n", __func__, w, h, contentW_,
                  contentH_);
        return;
    }
    if (vertices == nullptr) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: vertices is NULL\n", __func__);
        return;
    }
    // The rotated canvas, shifted so that the source sits centred in it.
    MeshGridUtility::sampleUniformMeshGrid(grid, w, h, 0.0f, static_cast<float>(g.rotImg.size.w), 0.0f,
                                           static_cast<float>(g.rotImg.size.h));
    const float hX = static_cast<float>(velmo::halfDifference(g.rotImg.size.w, g.srcImg.size.w));
    const float hY = static_cast<float>(velmo::halfDifference(g.rotImg.size.h, g.srcImg.size.h));
    const int64_t count = int64_t{w} * h;
    for (int64_t k = 0; k < count; ++k) {
        grid[2 * k] -= hX;
        grid[2 * k + 1] -= hY;
    }
    VWMT::MeshInterpolator mesh(arena_, 0, w, h, workInts(13), w, h);
    mesh.interpolateQueryVerticesOpt(vertices, values, grid, out);
    std::memmove(values, out, static_cast<size_t>(count) * 2 * sizeof(float));
    std::memmove(vertices, grid, static_cast<size_t>(count) * 2 * sizeof(float));
}

void VectWarpMapTrans::genRotateGridXYByMeshInterPolation_backward(float* vertices, float* values, float* queries,
                                                                   float* out, GridFromOisParam const& g) {
    if (!workingBufferFits(__func__)) return;
    VWMT::MeshInterpolator mesh(arena_, 0, contentW_, contentH_, workInts(13), contentW_, contentH_);
    const VWMTSize src = g.srcImg.size;
    const VWMTSize rot = g.rotImg.size;
    const float sx = static_cast<float>(velmo::wrapSub(rot.w, 1)) / static_cast<float>(contentW_ - 1);
    const float sy = static_cast<float>(velmo::wrapSub(rot.h, 1)) / static_cast<float>(contentH_ - 1);
    const float cx = static_cast<float>(src.w) * 0.5f;
    const float cy = static_cast<float>(src.h) * 0.5f;
    // Where the rotated canvas starts relative to the source, kept fractional.
    const float startX = static_cast<float>(velmo::wrapSub(src.w, rot.w)) * 0.5f;
    const float startY = static_cast<float>(velmo::wrapSub(src.h, rot.h)) * 0.5f;
    float s, c;
    velmo::sinCosOfDegrees(g.rotAngle, &s, &c);
    for (int j = 0; j < contentH_; ++j) {
        const float dy = ((startY + sy * static_cast<float>(j)) + 0.5f) - cy;
        for (int i = 0; i < contentW_; ++i) {
            const float dx = ((startX + sx * static_cast<float>(i)) + 0.5f) - cx;
            const int64_t k = int64_t{j} * contentW_ + i;
            queries[2 * k] = ((cx + c * dx) + s * dy) - 0.5f;
            queries[2 * k + 1] = ((cy + c * dy) - s * dx) - 0.5f;
        }
    }
    mesh.interpolateQueryVerticesOpt(vertices, values, queries, out);
    std::memmove(queries, out, static_cast<size_t>(contentW_) * contentH_ * 2 * sizeof(float));
}
