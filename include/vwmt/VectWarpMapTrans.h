#pragma once

// The OIS warp-grid transformer. Once per frame it turns a small grid of
// optical-image-stabilisation shift vectors and the frame's image geometry
// into the integer warp grid of the warp engine (pixels x 32).
//
// Per-frame use:
//   VectWarpMapTrans trans(28, 28, 1);                 // vector grid, OIS on
//   std::vector<char> work(trans.getWorkingBufferSize());
//   trans.setWorkingBuffer(work.data());
//   trans.oisVecToGrid(in, out);                       // every frame
//
// Sizes may change per frame but must stay within what the working buffer
// was carved for; a frame that needs more is refused with one log line.

#include <cstdint>

#include "velmoExport.h"
#include "vwmt/OisWarpRecords.h"

namespace VWMT {

class MemoryManager;
class ImageTransformationDescriptor;

// Process-wide settings, read from system properties by the constructors.
VELMO_EXPORT extern int logLevel;       // vendor.velmoUtil.vwmt.logLevel, starts at 0
VELMO_EXPORT extern float ois_scale_x;  // vendor.velmoUtil.vwmt.ois_scale_x, starts at 0.88
VELMO_EXPORT extern float ois_scale_y;  // vendor.velmoUtil.vwmt.ois_scale_y, starts at 0.88

}  // namespace VWMT

class VELMO_EXPORT VectWarpMapTrans {
public:
    // Arena for the gridInW x gridInH mesh; OIS off.
    VectWarpMapTrans(int gridInW, int gridInH);
    // The per-frame constructor. With isOisOn other than 1 the object stands by
    // at 28 x 28 without an arena; it still reads the three properties.
    VectWarpMapTrans(int gridInW, int gridInH, int isOisOn);
    // vectOffset: two doubles (x, y) added to every vector.
    VectWarpMapTrans(int gridInW, int gridInH, double* vectOffset);
    VectWarpMapTrans(int gridInW, int gridInH, int warpmapW, int warpmapH, double* vectOffset);
    ~VectWarpMapTrans();
    VectWarpMapTrans(const VectWarpMapTrans&) = delete;
    VectWarpMapTrans& operator=(const VectWarpMapTrans&) = delete;

    // A one-column grid becomes a two-column mesh.
    int updateGridLenToMeshLen(int len);
    void updateVectSize(VWMTInput const& in);
    // Bytes of working memory for the current sizes (32-bit arithmetic).
    int getWorkingBufferSize();
    // Carves buf into the 25 working arrays; always returns 0.
    int setWorkingBuffer(char* buf);

    void oisVecToGrid(VWMTInput const& in, VWMTOutput& out);

    // Transforms: leave the grid in working arrays 18 and 19 (int32, pixels x 32).
    void transformVectToWarpMap(double* inOisX, double* inOisY, ImgSizeDescription d, GridFromOisParam g);
    void transformForwardVectToBackwardWarpMap(double* inOisX, double* inOisY, ImgSizeDescription d,
                                               GridFromOisParam g, VWMT_DIRECTION dir);
    void transformVectToWarpMap_gpu(double* inOisX, double* inOisY, ImgSizeDescription d, GridFromOisParam g);

    // Grid writers; out points at the three planes of a VWMTOutput.
    void getGridFromResizeCropRot(int** out, int srcW, int srcH, int rzW, int rzH, int cropX, int cropY,
                                  int cropW, int cropH, int rotW, int rotH, float rotAngle, VWMT_DIRECTION dir);
    void getGridFromOisResizeCropRot(int** out, int* arrX, int* arrY, int srcW, int srcH, int rzW, int rzH,
                                     int cropX, int cropY, int cropW, int cropH, int rotW, int rotH,
                                     float rotAngle, VWMT_DIRECTION dir);

    // Geometry fix-ups and the integrated crop-and-resize estimate.
    void hack_forward_configuration(ImgSizeDescription& d, GridFromOisParam& g);
    void hack_backward_configuration(ImgSizeDescription& d, GridFromOisParam& g, VWMT_DIRECTION dir);
    void estimateImageSizeDescription(ImgSizeDescription d);

    // Vector and mesh helpers of the transforms. Point arrays are interleaved
    // (x, y) floats, row-major.
    void updateVectorByOffset(float* dst, float* src, float* offset);
    void resampleVectorWithImageCropping_OneDimension(float* out, float* in, int n, int a, int c, int b);
    void resampleVectorWithImageCropping_TwoDimension(float* out, float* in, ImgSizeDescription const& d);
    void vectorTransformation_OutputSize(float* out, float* in, int meshW, int meshH, ImgSizeDescription d);
    void warpGridByVector(float* out, float* mesh, float* vec);
    void resizeVectorWithImageResizing(float* vec, int n, int w0, int h0, int w1, int h1);
    void genQueriedGridXYByMeshInterpolation(float* vertices, float* values, float* queries, float* out);
    void genQueriedGridXYByMeshInterpolation(float* vertices, float* values, float* queries, float* out,
                                             int queryW, int queryH);
    void genRotateGridXYByMeshInterPolation(float* nodes, float* rotated, float* grid, float* scratch,
                                            GridFromOisParam const& g);
    void genRotateGridXYByMeshInterPolation_backward(float* vertices, float* values, float* queries, float* out,
                                                     GridFromOisParam const& g);
    void warpMapTransformation_byMeshOpt(int* arrX, int* arrY, float* vertices, float* values, float* queries,
                                         float* unused, int outW, int outH, GridFromOisParam const& g);
    void warpMapTransformation_byMesh(int* arrX, int* arrY, float* vertices, float* values, float* queries,
                                      float* scratch, int outW, int outH, GridFromOisParam const& g);
    void paddingWarpGridOpt(float* vertices, float* values, float* grid, float* out, int w, int h,
                            ImgSizeDescription const& d, GridFromOisParam const& g);
    void genQueriedGridXYByBilinerInterpolation(float* gridAfter, float* gridBefore, float* queryXY, float* out,
                                                int gridW, int gridH, int queryW, int queryH, int imageW,
                                                int imageH);

    // Thin forwards to VWMT::MeshGridUtility.
    void createUniformMeshGrid(float* out, int W, int H);
    void createUniformMeshGrid(float* out, int W, int H, int imageW, int imageH);
    void connectGridByTriangleMesh(int* out, int W, int H);

private:
    static constexpr int kWorkingArrays = 25;

    // Working array k as interleaved float points or as int32 values. The
    // carve keeps every array on the buffer's 4-byte alignment.
    VELMO_LOCAL float* workPoints(int k) const { return reinterpret_cast<float*>(work_[k]); }
    VELMO_LOCAL int* workInts(int k) const { return reinterpret_cast<int*>(work_[k]); }
    // True when the working buffer is set and the current member sizes fit
    // what it was carved for; otherwise logs one line naming `caller` and what
    // is wrong.
    VELMO_LOCAL bool workingBufferFits(const char* caller) const;

    // Transform steps
    // True when the working buffer fits and both vector arrays are given;
    // otherwise logs one line naming `caller`.
    VELMO_LOCAL bool transformInputsUsable(const char* caller, const double* inOisX, const double* inOisY);
    // Scales the caller's vectors in place by the OIS scale factors.
    VELMO_LOCAL void scaleCallerVectors(const char* caller, double* inOisX, double* inOisY);
    // Copies the scaled vectors into working array 0 and unscales the caller's.
    VELMO_LOCAL void takeScaledVectors(double* inOisX, double* inOisY);
    // Working array 2 = the mesh of array 1 displaced by the vectors of array 0.
    VELMO_LOCAL void displaceMeshByVectors(ImgSizeDescription const& d);
    // True when working array k was carved with at least `bytes` bytes; else
    // logs one line naming `caller`. For uses beyond those workingBufferFits
    // checks (the frame paths of oisVecToGrid).
    VELMO_LOCAL bool workingArrayFits(int k, int64_t bytes, const char* caller) const;

    VELMO_LOCAL void initOisOnSizes();
    VELMO_LOCAL void initWithOffset(const double* vectOffset);
    VELMO_LOCAL void resetConstructedState();
    VELMO_LOCAL void clearWorkingArrays();
    // Byte size of every working array for the current member sizes, by
    // array number; false when a size product does not fit 32 bits or a size
    // is negative.
    VELMO_LOCAL bool carvedSizes(int64_t* bytes) const;
    // Refusals of oisVecToGrid, checked before anything is written.
    VELMO_LOCAL bool frameIsValid(VWMTInput const& in, VWMTOutput const& out) const;
    VELMO_LOCAL void dumpVectors(VWMTInput const& in) const;

    int gridInW_;
    int gridInH_;
    int bufferW_;
    int bufferH_;
    int isOisOn_;
    int meshW_;
    int meshH_;
    int contentW_;
    int contentH_;
    // Crop x, y, width, height on the sensor, then the resized width, height.
    float cropResize_[6];
    float vectOffset_[2];
    VWMT::MemoryManager* arena_;
    VWMT::ImageTransformationDescriptor* descriptor_;
    int reserved_;
    unsigned char* work_[kWorkingArrays];
    // Bytes carved for each working array by setWorkingBuffer (0 before).
    int64_t carvedBytes_[kWorkingArrays];
};
