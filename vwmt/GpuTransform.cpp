// Direction 0 for the GPU consumer: the same kind of grid as the forward
// transform, left in working arrays 18 and 19 at their carved offsets, where
// the GPU reads it. The working arrays' contents are part of the result, so
// every step below writes what the camera stack's GPU path has always found
// there, including the steps that look redundant (the third interpolation
// into array 7, the second fixed-point pass over array 17).
//
// The interpolators live on the stack and evaluate through the Opt walk,
// which gives the results of the triangle-corner table without needing the
// arena: the transform makes no heap allocation.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/Numerics.h"
#include "platform/Log.h"
#include "vwmt/RotationAngle.h"
#include "vwmt/VectWarpMapTrans.h"
#include "vwmt/core/MeshGridUtility.h"
#include "vwmt/core/MeshInterpolator.h"
#include "vwmt/core/ProcWarpMap.h"

namespace {

using VWMT::MeshGridUtility;
using VWMT::MeshInterpolator;
using VWMT::ProcWarpMap;

constexpr const char* kTag = "OISWarpMap";

// The working arrays of one GPU frame, by role.
struct GpuArrays {
    float* meshNodes;       // 1: the vector mesh over P1
    float* displacedMesh;   // 2
    float* contentNodes;    // 5: the content grid over P1
    float* contentGrid;     // 6: the displaced mesh at the content nodes, then rotated
    float* scratch;         // 7
    float* queries;         // 8: rotated nodes, then the warp-map queries
    int* triangles;         // 13
    int contentW;
    int contentH;
};

int64_t pointCount(int w, int h) { return static_cast<int64_t>(w) * h; }

// Where grid line i of `lines` falls over `pixels` pixels, at the pixel
// centre, shifted by the source's offset inside the rotated canvas.
float warpMapQuery(int i, int lines, int pixels, int sourceOffset) {
    const float fraction = static_cast<float>(i) / static_cast<float>(lines - 1);
    return (fraction * static_cast<float>(velmo::wrapSub(pixels, 1)) + 0.5f) - static_cast<float>(sourceOffset);
}

void fillWarpMapQueries(float* queries, int contentW, int contentH, int outW, int outH,
                        GridFromOisParam const& g) {
    const int offsetX = velmo::halfDifference(g.rotImg.size.w, g.srcImg.size.w);
    const int offsetY = velmo::halfDifference(g.rotImg.size.h, g.srcImg.size.h);
    for (int j = 0; j < contentH; ++j) {
        const float y = warpMapQuery(j, contentH, outH, offsetY);
        for (int i = 0; i < contentW; ++i) {
            const int64_t k = static_cast<int64_t>(j) * contentW + i;
            queries[2 * k] = warpMapQuery(i, contentW, outW, offsetX);
            queries[2 * k + 1] = y;
        }
    }
}

// Pixel-centre points to the engine's layout: back to grid corners, x and y
// planes, 5 fractional bits. `points` is left holding the planes.
void convertToFixedPointPlanes(float* points, float* work, int n, int* arrX, int* arrY) {
    const int64_t values = 2 * static_cast<int64_t>(n);
    for (int64_t k = 0; k < values; ++k) points[k] = points[k] - 0.5f;
    ProcWarpMap::remap_WarpMapXY_InterleavedToPlane(points, n, work);
    ProcWarpMap::fmtTrnasOfDataType(arrX, points, n);
    ProcWarpMap::fmtTrnasOfDataType(arrY, points + n, n);
}

// Each content node turned about the source centre; (s, c) as the forward
// transform uses them, grouped left to right.
void rotateAboutSourceCentre(float* rotated, const float* nodes, int64_t count, GridFromOisParam const& g) {
    const float cx = static_cast<float>(g.srcImg.size.w) * 0.5f;
    const float cy = static_cast<float>(g.srcImg.size.h) * 0.5f;
    float s, c;
    velmo::sinCosOfDegrees(g.rotAngle, &s, &c);
    for (int64_t k = 0; k < count; ++k) {
        const float dx = nodes[2 * k] - cx;
        const float dy = nodes[2 * k + 1] - cy;
        rotated[2 * k] = (cx + c * dx) + s * dy;
        rotated[2 * k + 1] = (cy + c * dy) - s * dx;
    }
}

// Step 7: the displaced vector mesh evaluated at the content nodes.
void sampleDisplacedMeshAtContent(const GpuArrays& a, int meshW, int meshH) {
    MeshInterpolator mesh(nullptr, 0, meshW, meshH, a.triangles, a.contentW, a.contentH);
    mesh.interpolateQueryVerticesOpt(a.meshNodes, a.displacedMesh, a.contentNodes, a.contentGrid);
}

// Step 8: the rotation, sampled on the content mesh, applied to the content grid.
void rotateContentGrid(const GpuArrays& a, GridFromOisParam const& g) {
    MeshGridUtility::connectGridByTriangleMesh(a.triangles, a.contentW, a.contentH);
    MeshInterpolator content(nullptr, 0, a.contentW, a.contentH, a.triangles, a.contentW, a.contentH);
    const int64_t count = pointCount(a.contentW, a.contentH);
    rotateAboutSourceCentre(a.queries, a.contentNodes, count, g);
    content.interpolateQueryVerticesOpt(a.contentNodes, a.queries, a.contentGrid, a.scratch);
    // Twice a point array's length, as the GPU path has always copied: array 6
    // receives array 7 and array 7 receives array 8. The ranges overlap.
    std::memmove(a.contentGrid, a.scratch, static_cast<size_t>(count) * 16);
}

// Step 10: the rotated grid sampled once more at the warp-map queries, into
// array 7 (which no later step reads).
void resampleAtWarpMapQueries(const GpuArrays& a, GridFromOisParam const& g) {
    MeshInterpolator content(nullptr, 0, a.contentW, a.contentH, a.triangles, a.contentW, a.contentH);
    fillWarpMapQueries(a.queries, a.contentW, a.contentH, g.rotImg.size.w, g.rotImg.size.h, g);
    content.interpolateQueryVerticesOpt(a.contentNodes, a.contentGrid, a.queries, a.scratch);
}

}  // namespace

void VectWarpMapTrans::transformVectToWarpMap_gpu(double* inOisX, double* inOisY, ImgSizeDescription d,
                                                  GridFromOisParam g) {
    const char* const name = "transformVectToWarpMap_gpu";
    if (!transformInputsUsable(name, inOisX, inOisY)) return;
    // Array 21 is content sized but holds the mesh's vectors here.
    if (!workingArrayFits(21, 8 * pointCount(meshW_, meshH_), name)) return;

    // 1-2. No OIS scaling on this path: the vectors are taken as given.
    hack_forward_configuration(d, g);
    ProcWarpMap::remap_WarpMapXY_PlaneToInterleaved(inOisX, inOisY, workPoints(0), gridInW_ * gridInH_);
    const float p1W = static_cast<float>(d.p1Resize.w);
    const float p1H = static_cast<float>(d.p1Resize.h);

    // 3-6. The vector mesh over P1, displaced by the resampled vectors.
    const GpuArrays arrays{workPoints(1), workPoints(2), workPoints(5), workPoints(6), workPoints(7),
                           workPoints(8), workInts(13), contentW_, contentH_};
    MeshGridUtility::sampleUniformMeshGrid(arrays.meshNodes, meshW_, meshH_, 0.0f, p1W, 0.0f, p1H);
    MeshGridUtility::connectGridByTriangleMesh(arrays.triangles, meshW_, meshH_);
    updateVectorByOffset(workPoints(20), workPoints(0), vectOffset_);
    vectorTransformation_OutputSize(workPoints(21), workPoints(20), meshW_, meshH_, d);
    warpGridByVector(arrays.displacedMesh, arrays.meshNodes, workPoints(21));

    // 7-8. Sampled at the content grid over P1, then rotated on it.
    MeshGridUtility::sampleUniformMeshGrid(arrays.contentNodes, contentW_, contentH_, 0.0f, p1W, 0.0f, p1H);
    sampleDisplacedMeshAtContent(arrays, meshW_, meshH_);
    rotateContentGrid(arrays, g);

    // 9-11. Read out over the rotated image; the final fixed-point pass runs
    // over array 17 a second time, when it already holds planes, and its
    // result is the one the GPU consumes.
    warpMapTransformation_byMesh(workInts(18), workInts(19), arrays.contentNodes, arrays.contentGrid,
                                 arrays.queries, nullptr, g.rotImg.size.w, g.rotImg.size.h, g);
    resampleAtWarpMapQueries(arrays, g);
    convertToFixedPointPlanes(workPoints(17), workPoints(21), contentW_ * contentH_, workInts(18), workInts(19));
}

void VectWarpMapTrans::vectorTransformation_OutputSize(float* out, float* in, int meshW, int meshH,
                                                       ImgSizeDescription d) {
    const char* const name = "vectorTransformation_OutputSize";
    if (out == nullptr || in == nullptr) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: out(%p) or in(%p) is NULL\n", name, static_cast<void*>(out),
                  static_cast<void*>(in));
        return;
    }
    // The one-column resampling keeps a 16-byte weight record and two floats
    // per mesh row in arrays 22 to 24.
    if (!workingBufferFits(name) ||
        (gridInW_ == 1 && (!workingArrayFits(22, 16 * static_cast<int64_t>(meshH), name) ||
                           !workingArrayFits(23, 4 * static_cast<int64_t>(meshH), name) ||
                           !workingArrayFits(24, 4 * static_cast<int64_t>(meshH), name))))
        return;

    estimateImageSizeDescription(d);
    if (gridInW_ != 1) {
        resampleVectorWithImageCropping_TwoDimension(out, in, d);
    } else {
        resampleVectorWithImageCropping_OneDimension(out, in, meshH, d.sensorSize.w, velmo::toInt32(cropResize_[0]),
                                                     velmo::toInt32(cropResize_[2]));
    }
    // Crop to resized scale, from the integer sizes.
    const float scaleX = static_cast<float>(velmo::toInt32(cropResize_[4])) /
                         static_cast<float>(velmo::toInt32(cropResize_[2]));
    const float scaleY = static_cast<float>(velmo::toInt32(cropResize_[5])) /
                         static_cast<float>(velmo::toInt32(cropResize_[3]));
    const int64_t count = pointCount(meshW, meshH);
    for (int64_t k = 0; k < count; ++k) {
        out[2 * k] = out[2 * k] * scaleX;
        out[2 * k + 1] = out[2 * k + 1] * scaleY;
    }
}

// The sensor mesh moved by its vectors, sampled where the crop's mesh nodes
// lie on the sensor: each crop node's shift, in sensor pixels.
void VectWarpMapTrans::resampleVectorWithImageCropping_TwoDimension(float* out, float* in,
                                                                    ImgSizeDescription const& d) {
    const char* const name = "resampleVectorWithImageCropping_TwoDimension";
    if (out == nullptr || in == nullptr) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: out(%p) or in(%p) is NULL\n", name, static_cast<void*>(out),
                  static_cast<void*>(in));
        return;
    }
    if (!workingBufferFits(name)) return;

    float* sensorNodes = workPoints(11);
    float* movedSensorNodes = workPoints(12);
    float* cropNodes = workPoints(9);
    float* movedCropNodes = workPoints(10);
    const int64_t count = pointCount(meshW_, meshH_);
    MeshGridUtility::sampleUniformMeshGrid(sensorNodes, meshW_, meshH_, 0.0f, static_cast<float>(d.sensorSize.w),
                                           0.0f, static_cast<float>(d.sensorSize.h));
    for (int64_t k = 0; k < 2 * count; ++k) movedSensorNodes[k] = sensorNodes[k] + in[k];

    MeshGridUtility::sampleUniformMeshGrid(cropNodes, meshW_, meshH_, 0.0f,
                                           static_cast<float>(velmo::toInt32(cropResize_[2])), 0.0f,
                                           static_cast<float>(velmo::toInt32(cropResize_[3])));
    for (int64_t k = 0; k < count; ++k) {
        cropNodes[2 * k] += cropResize_[0];
        cropNodes[2 * k + 1] += cropResize_[1];
    }

    MeshGridUtility::connectGridByTriangleMesh(workInts(13), meshW_, meshH_);
    genQueriedGridXYByMeshInterpolation(sensorNodes, movedSensorNodes, cropNodes, movedCropNodes);
    for (int64_t k = 0; k < 2 * count; ++k) out[k] = movedCropNodes[k] - cropNodes[k];
}

// Vectors come from the input grid's layout, not resampled between columns:
// a one-column input lends its row's vector to every mesh column.
void VectWarpMapTrans::warpGridByVector(float* out, float* mesh, float* vec) {
    const char* const name = "warpGridByVector";
    if (out == nullptr || mesh == nullptr || vec == nullptr || gridInW_ < 1) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: out(%p), mesh(%p) or vec(%p) is NULL, or gridInW(%d) below 1\n", name,
                  static_cast<void*>(out), static_cast<void*>(mesh), static_cast<void*>(vec), gridInW_);
        return;
    }
    for (int j = 0; j < meshH_; ++j) {
        for (int i = 0; i < meshW_; ++i) {
            const int64_t k = static_cast<int64_t>(j) * meshW_ + i;
            const int64_t v = (gridInW_ == 1 ? 0 : i) + static_cast<int64_t>(j) * gridInW_;
            out[2 * k] = mesh[2 * k] + vec[2 * v];
            out[2 * k + 1] = mesh[2 * k + 1] + vec[2 * v + 1];
        }
    }
}

void VectWarpMapTrans::resizeVectorWithImageResizing(float* vec, int n, int w0, int h0, int w1, int h1) {
    if (n < 1) return;
    if (vec == nullptr) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: vec is NULL\n", "resizeVectorWithImageResizing");
        return;
    }
    const float scaleX = static_cast<float>(w1) / static_cast<float>(w0);
    const float scaleY = static_cast<float>(h1) / static_cast<float>(h0);
    for (int64_t k = 0; k < n; ++k) {
        vec[2 * k] = vec[2 * k] * scaleX;
        vec[2 * k + 1] = vec[2 * k + 1] * scaleY;
    }
}

// The content mesh (vertices, displaced to `values`) read out at the output
// grid over the rotated image, into arrays arrX and arrY (pixels x 32).
// `scratch` is not read.
void VectWarpMapTrans::warpMapTransformation_byMesh(int* arrX, int* arrY, float* vertices, float* values,
                                                    float* queries, float* /*scratch*/, int outW, int outH,
                                                    GridFromOisParam const& g) {
    const char* const name = "warpMapTransformation_byMesh";
    // Without vertices the corner table of an earlier fill would be used; the
    // table-free walk has none, so vertices are required.
    if (arrX == nullptr || arrY == nullptr || vertices == nullptr || values == nullptr || queries == nullptr) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: arrX(%p), arrY(%p), vertices(%p), values(%p) or queries(%p) is NULL\n",
                  name, static_cast<void*>(arrX), static_cast<void*>(arrY), static_cast<void*>(vertices),
                  static_cast<void*>(values), static_cast<void*>(queries));
        return;
    }
    if (!workingBufferFits(name)) return;

    MeshInterpolator content(nullptr, 0, contentW_, contentH_, workInts(13), contentW_, contentH_);
    fillWarpMapQueries(queries, contentW_, contentH_, outW, outH, g);
    float* sampled = workPoints(17);
    content.interpolateQueryVerticesOpt(vertices, values, queries, sampled);
    convertToFixedPointPlanes(sampled, workPoints(21), contentW_ * contentH_, arrX, arrY);
}
