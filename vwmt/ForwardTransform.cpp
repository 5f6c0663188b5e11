// Direction 0: the OIS vectors displace a mesh over the resized image, the
// displaced mesh is sampled at the content grid, rotated on the content mesh
// and read out over the rotated image into working arrays 18 and 19.

#include "vwmt/VectWarpMapTrans.h"
#include "vwmt/core/MeshGridUtility.h"

using VWMT::MeshGridUtility;

void VectWarpMapTrans::transformVectToWarpMap(double* inOisX, double* inOisY, ImgSizeDescription d,
                                              GridFromOisParam g) {
    if (!transformInputsUsable(__func__, inOisX, inOisY)) return;

    // 1. Scaled vectors into array 0; the forward map works on the rotated
    // image, so after the fix-up P1 is the rotated size.
    scaleCallerVectors(__func__, inOisX, inOisY);
    hack_forward_configuration(d, g);
    takeScaledVectors(inOisX, inOisY);
    const float p1W = static_cast<float>(d.p1Resize.w);
    const float p1H = static_cast<float>(d.p1Resize.h);

    // 2-4. The vector mesh over P1, displaced by the vectors.
    MeshGridUtility::sampleUniformMeshGrid(workPoints(1), meshW_, meshH_, 0.0f, p1W, 0.0f, p1H);
    MeshGridUtility::connectGridByTriangleMesh(workInts(13), meshW_, meshH_);
    displaceMeshByVectors(d);

    // 5-6. The displacement sampled at the content grid over P1.
    float* contentNodes = workPoints(5);
    float* displacedContent = workPoints(6);
    MeshGridUtility::sampleUniformMeshGrid(contentNodes, contentW_, contentH_, 0.0f, p1W, 0.0f, p1H);
    genQueriedGridXYByMeshInterpolation(workPoints(1), workPoints(2), contentNodes, displacedContent, contentW_,
                                        contentH_);

    // 7-9. From here on every mesh is the content grid.
    MeshGridUtility::connectGridByTriangleMesh(workInts(13), contentW_, contentH_);
    float* rotatedNodes = workPoints(8);
    genRotateGridXYByMeshInterPolation(contentNodes, rotatedNodes, displacedContent, workPoints(7), g);
    warpMapTransformation_byMeshOpt(workInts(18), workInts(19), contentNodes, displacedContent, rotatedNodes,
                                    nullptr, g.rotImg.size.w, g.rotImg.size.h, g);
}
