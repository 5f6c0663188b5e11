// The mesh steps both OIS transforms are built from: displacing the vector
// mesh, interpolating one mesh at another's nodes, rotating on the content
// mesh and turning the final float map into the 5-fractional-bit grid.
//
// Every interpolator lives on the stack and evaluates through the Opt walk,
// which reads vertex positions straight from the mesh: nothing here needs the
// arena or the heap.

#include <cstdint>
#include <cstring>

#include "common/Numerics.h"
#include "platform/Log.h"
#include "vwmt/RotationAngle.h"
#include "vwmt/VectWarpMapTrans.h"
#include "vwmt/core/Interp1Sorted.h"
#include "vwmt/core/MeshGridUtility.h"
#include "vwmt/core/MeshInterpolator.h"

namespace {

using VWMT::MeshGridUtility;

void copyPoints(float* dst, const float* src, int64_t count) {
    std::memmove(dst, src, static_cast<size_t>(count) * 2 * sizeof(float));
}

// Pixels to 5 fractional bits after the grid-corner shift, in double, halves
// away from zero.
int32_t toFixedAfterCornerShift(float v) {
    const double scaled = (static_cast<double>(v) - 0.5) * 32.0;
    return velmo::toInt32(scaled >= 0.0 ? scaled + 0.5 : scaled - 0.5);
}

}  // namespace

void VectWarpMapTrans::updateVectorByOffset(float* dst, float* src, float* offset) {
    const int64_t count = int64_t{gridInW_} * gridInH_;
    for (int64_t k = 0; k < count; ++k) {
        dst[2 * k] = src[2 * k] + offset[0];
        dst[2 * k + 1] = src[2 * k + 1] + offset[1];
    }
}

// The n vectors are taken to lie evenly from 0 to a and are re-sampled evenly
// from c to c + b: the part of the vector column that the crop keeps.
void VectWarpMapTrans::resampleVectorWithImageCropping_OneDimension(float* out, float* in, int n, int a, int c,
                                                                    int b) {
    if (n < 1 || !workingBufferFits(__func__)) return;
    // Positions and weights live in arrays 22 to 24, carved per mesh row.
    if (n > meshH_) {
        VELMO_LOG("OISWarpMap", "[VWMT][%s] Error: %d vectors, mesh has %d rows\n", __func__, n, meshH_);
        return;
    }
    float* samples = workPoints(23);
    float* queries = workPoints(24);
    const int32_t last = n - 1;
    for (int32_t i = 0; i < n; ++i) {
        samples[i] = n == 1 ? 0.0f : static_cast<float>(velmo::sdiv(velmo::wrapMul(i, a), last));
        queries[i] = n == 1 ? static_cast<float>(c)
                            : static_cast<float>(velmo::wrapAdd(velmo::sdiv(velmo::wrapMul(i, b), last), c));
    }
    float* table = workPoints(22);
    VWMT::Interp1_Sorted::getIndicesAndWeights(table, n, samples, n, queries);
    VWMT::Interp1_Sorted::applyWeightedSum(out, n, 2, table, in);
}

void VectWarpMapTrans::genQueriedGridXYByMeshInterpolation(float* vertices, float* values, float* queries,
                                                           float* out) {
    genQueriedGridXYByMeshInterpolation(vertices, values, queries, out, meshW_, meshH_);
}

void VectWarpMapTrans::genQueriedGridXYByMeshInterpolation(float* vertices, float* values, float* queries,
                                                           float* out, int queryW, int queryH) {
    if (!workingBufferFits(__func__)) return;
    VWMT::MeshInterpolator mesh(arena_, 0, meshW_, meshH_, workInts(13), queryW, queryH);
    mesh.interpolateByMeshOpt(vertices, values, queries, out);
}

void VectWarpMapTrans::genRotateGridXYByMeshInterPolation(float* nodes, float* rotated, float* grid,
                                                          float* scratch, GridFromOisParam const& g) {
    if (!workingBufferFits(__func__)) return;
    VWMT::MeshInterpolator mesh(arena_, 0, contentW_, contentH_, workInts(13), contentW_, contentH_);
    const float cx = static_cast<float>(g.srcImg.size.w) * 0.5f;
    const float cy = static_cast<float>(g.srcImg.size.h) * 0.5f;
    float s, c;
    velmo::sinCosOfDegrees(g.rotAngle, &s, &c);
    const int64_t count = int64_t{contentW_} * contentH_;
    for (int64_t k = 0; k < count; ++k) {
        const float dx = nodes[2 * k] - cx;
        const float dy = nodes[2 * k + 1] - cy;
        rotated[2 * k] = cx + (c * dx + s * dy);
        rotated[2 * k + 1] = cy + (c * dy - s * dx);
    }
    mesh.interpolateQueryVerticesOpt(nodes, rotated, grid, scratch);
    copyPoints(grid, scratch, count);
}

void VectWarpMapTrans::warpMapTransformation_byMeshOpt(int* arrX, int* arrY, float* vertices, float* values,
                                                       float* queries, float* /*unused*/, int outW, int outH,
                                                       GridFromOisParam const& g) {
    if (!workingBufferFits(__func__)) return;
    VWMT::MeshInterpolator mesh(arena_, 0, contentW_, contentH_, workInts(13), contentW_, contentH_);
    // The output grid spans the rotated image; its nodes are pixel centres
    // of the source placed inside the rotated canvas.
    const float hX = static_cast<float>(velmo::halfDifference(g.rotImg.size.w, g.srcImg.size.w));
    const float hY = static_cast<float>(velmo::halfDifference(g.rotImg.size.h, g.srcImg.size.h));
    const float spanX = static_cast<float>(velmo::wrapSub(outW, 1));
    const float spanY = static_cast<float>(velmo::wrapSub(outH, 1));
    const float lastCol = static_cast<float>(contentW_ - 1);
    const float lastRow = static_cast<float>(contentH_ - 1);
    for (int j = 0; j < contentH_; ++j) {
        const float y = ((static_cast<float>(j) / lastRow) * spanY + 0.5f) - hY;
        for (int i = 0; i < contentW_; ++i) {
            const int64_t k = int64_t{j} * contentW_ + i;
            queries[2 * k] = ((static_cast<float>(i) / lastCol) * spanX + 0.5f) - hX;
            queries[2 * k + 1] = y;
        }
    }
    float* sampled = workPoints(17);
    mesh.interpolateQueryVerticesOpt(vertices, values, queries, sampled);
    const int64_t count = int64_t{contentW_} * contentH_;
    for (int64_t k = 0; k < count; ++k) {
        arrX[k] = toFixedAfterCornerShift(sampled[2 * k]);
        arrY[k] = toFixedAfterCornerShift(sampled[2 * k + 1]);
    }
}

// Working array 2 receives the mesh of array 1 moved by the frame's vectors,
// expressed at the P1 scale. Arrays 0 (vectors), 1 (uniform P1 mesh) and 13
// (mesh triangles) are ready.
void VectWarpMapTrans::displaceMeshByVectors(ImgSizeDescription const& d) {
    estimateImageSizeDescription(d);
    const float cropX = cropResize_[0], cropY = cropResize_[1];
    const float cropW = cropResize_[2], cropH = cropResize_[3];
    const float scaleX = cropResize_[4] / cropW;
    const float scaleY = cropResize_[5] / cropH;
    const float* uniform = workPoints(1);
    float* displaced = workPoints(2);
    const int64_t count = int64_t{meshW_} * meshH_;

    if (gridInW_ == 1) {
        // A single vector column: both mesh columns of a row take its vector.
        float* offsetVectors = workPoints(20);
        float* rowVectors = workPoints(21);
        updateVectorByOffset(offsetVectors, workPoints(0), vectOffset_);
        resampleVectorWithImageCropping_OneDimension(rowVectors, offsetVectors, meshH_, d.sensorSize.w,
                                                     velmo::toInt32(cropX), velmo::toInt32(cropW));
        for (int64_t k = 0; k < count; ++k) {
            const int64_t row = k / meshW_;
            displaced[2 * k] = uniform[2 * k] + scaleX * rowVectors[2 * row];
            displaced[2 * k + 1] = uniform[2 * k + 1] + scaleY * rowVectors[2 * row + 1];
        }
        return;
    }

    // The sensor mesh moved by its vectors, sampled where the crop's nodes lie
    // on the sensor: each crop node's shift, which is then resized to P1.
    float* sensorNodes = workPoints(11);
    float* movedSensorNodes = workPoints(12);
    float* cropNodes = workPoints(9);
    float* movedCropNodes = workPoints(10);
    const float* vectors = workPoints(0);
    MeshGridUtility::sampleUniformMeshGrid(sensorNodes, meshW_, meshH_, 0.0f, static_cast<float>(d.sensorSize.w),
                                           0.0f, static_cast<float>(d.sensorSize.h));
    MeshGridUtility::sampleUniformMeshGrid(cropNodes, meshW_, meshH_, 0.0f,
                                           static_cast<float>(velmo::toInt32(cropW)), 0.0f,
                                           static_cast<float>(velmo::toInt32(cropH)));
    for (int64_t k = 0; k < count; ++k) {
        movedSensorNodes[2 * k] = sensorNodes[2 * k] + vectors[2 * k] + vectOffset_[0];
        movedSensorNodes[2 * k + 1] = sensorNodes[2 * k + 1] + vectors[2 * k + 1] + vectOffset_[1];
        cropNodes[2 * k] += cropX;
        cropNodes[2 * k + 1] += cropY;
    }
    genQueriedGridXYByMeshInterpolation(sensorNodes, movedSensorNodes, cropNodes, movedCropNodes);
    for (int64_t k = 0; k < count; ++k) {
        displaced[2 * k] = scaleX * (movedCropNodes[2 * k] - cropNodes[2 * k]) + uniform[2 * k];
        displaced[2 * k + 1] = scaleY * (movedCropNodes[2 * k + 1] - cropNodes[2 * k + 1]) + uniform[2 * k + 1];
    }
}
