// Construction, per-frame sizes and the working buffer of VectWarpMapTrans.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "common/Numerics.h"
#include "platform/Log.h"
#include "platform/Property.h"
#include "vwmt/VectWarpMapTrans.h"
#include "vwmt/core/MemoryManager.h"
#include "vwmt/core/MeshGridUtility.h"

namespace VWMT {

int logLevel = 0;
float ois_scale_x = 0.88f;
float ois_scale_y = 0.88f;

}  // namespace VWMT

namespace {

constexpr const char* kTag = "OISWarpMap";
constexpr const char* kCtor = "VectWarpMapTrans";

// The arena is sized for the largest mesh the transformer meets; the camera
// stack has always used this figure.
constexpr int kArenaBytes = 2500000;
// Stand-by size of an object built with OIS off: big enough for any grid the
// warp engine is configured with before OIS is switched on.
constexpr int kStandbySize = 28;

void logVersion() {
    VELMO_LOG(kTag, "[VWMT][%s] VectWMTrans v%2d.%2d.%2d\n", kCtor, 2, 4, 20);
    VELMO_LOG(kTag, "[VWMT][%s] version: %s-%s", kCtor, "20240827", "2");
}

void readLogLevel() {
    char value[velmo::kPropertyBufferSize];
    if (velmo::readProperty("vendor.velmoUtil.vwmt.logLevel", value)) VWMT::logLevel = std::atoi(value);
}

void readOisScales() {
    char value[velmo::kPropertyBufferSize];
    if (velmo::readProperty("vendor.velmoUtil.vwmt.ois_scale_x", value))
        VWMT::ois_scale_x = static_cast<float>(std::atof(value));
    if (velmo::readProperty("vendor.velmoUtil.vwmt.ois_scale_y", value))
        VWMT::ois_scale_y = static_cast<float>(std::atof(value));
}

// 4 x ceil(max / 4) in single precision: the warp engine takes grids in steps
// of four nodes.
int warpMapSide(int gridInW, int gridInH) {
    const float longest = static_cast<float>(std::max(gridInW, gridInH));
    const float quarters = std::ceil(0.25f * longest);
    return velmo::toInt32(4.0f * quarters);
}

bool fitsInt32(int64_t v) {
    return v >= std::numeric_limits<int32_t>::min() && v <= std::numeric_limits<int32_t>::max();
}

// Working arrays by address: the GPU consumer reads arrays 18 and 19 at
// these offsets, so the order is part of the interface.
constexpr int kCarveOrder[] = {0, 20, 21, 1, 2, 3, 4, 13, 14, 15, 16, 22, 23,
                               24, 5, 6, 7, 8, 17, 18, 19, 9, 10, 11, 12};

}  // namespace

VectWarpMapTrans::VectWarpMapTrans(int gridInW, int gridInH)
    : gridInW_(gridInW), gridInH_(gridInH) {
    logVersion();
    VELMO_LOG(kTag, "[VWMT][%s] Init VectWMTrans gridInW(%d), gridInH(%d)\n", kCtor, gridInW_, gridInH_);
    initOisOnSizes();
    isOisOn_ = 0;
    resetConstructedState();
    readLogLevel();
    VELMO_LOG(kTag, "[VWMT][%s] logLevel: %d\n", kCtor, VWMT::logLevel);
}

VectWarpMapTrans::VectWarpMapTrans(int gridInW, int gridInH, int isOisOn)
    : gridInW_(gridInW), gridInH_(gridInH), isOisOn_(isOisOn) {
    logVersion();
    VELMO_LOG(kTag, "[VWMT][%s] Init VectWMTrans gridInW(%d), gridInH(%d), isOisOn(%d)\n", kCtor, gridInW_,
              gridInH_, isOisOn_);
    if (isOisOn_ != 1) {
        bufferW_ = bufferH_ = kStandbySize;
        meshW_ = meshH_ = kStandbySize;
        contentW_ = contentH_ = kStandbySize;
        vectOffset_[0] = vectOffset_[1] = 0.0f;
        arena_ = nullptr;
    } else {
        initOisOnSizes();
        VELMO_LOG(kTag, "[VWMT][%s] Init VectWMTrans buffer_w(%d), buffer_h(%d), content_w(%d), content_h(%d),\n",
                  kCtor, bufferW_, bufferH_, contentW_, contentH_);
    }
    resetConstructedState();
    readLogLevel();
    VELMO_LOG(kTag, "[VWMT][%s] logLevel: %d, isOisOn: %d\n", kCtor, VWMT::logLevel, isOisOn_);
    readOisScales();
    VELMO_LOG(kTag, "[VWMT][%s] ois_scale_x: %f, ois_scale_y: %f\n", kCtor,
              velmo::printable(VWMT::ois_scale_x), velmo::printable(VWMT::ois_scale_y));
}

VectWarpMapTrans::VectWarpMapTrans(int gridInW, int gridInH, double* vectOffset)
    : gridInW_(gridInW), gridInH_(gridInH) {
    initWithOffset(vectOffset);
    bufferW_ = bufferH_ = 0;
    contentW_ = contentH_ = 0;
}

VectWarpMapTrans::VectWarpMapTrans(int gridInW, int gridInH, int warpmapW, int warpmapH, double* vectOffset)
    : gridInW_(gridInW), gridInH_(gridInH), bufferW_(warpmapW), bufferH_(warpmapH) {
    initWithOffset(vectOffset);
    contentW_ = warpmapW;
    contentH_ = warpmapH;
}

VectWarpMapTrans::~VectWarpMapTrans() {
    delete arena_;
    arena_ = nullptr;
}

// Steps shared by the first constructor and the OIS-on per-frame one.
void VectWarpMapTrans::initOisOnSizes() {
    meshW_ = gridInW_ == 1 ? 2 : gridInW_;
    meshH_ = gridInH_;
    VELMO_LOG(kTag, "[VWMT][%s] Init VectWMTrans meshW(%d), meshH(%d)\n", kCtor, meshW_, meshH_);
    bufferW_ = bufferH_ = warpMapSide(gridInW_, gridInH_);
    VELMO_LOG(kTag, "[VWMT][%s] Init VectWMTrans warpmapW(%d), warpmapH(%d)\n", kCtor, bufferW_, bufferH_);
    vectOffset_[0] = vectOffset_[1] = 0.0f;
    contentW_ = bufferW_;
    contentH_ = bufferH_;
    arena_ = new VWMT::MemoryManager(kArenaBytes, nullptr, 0, 0, bufferW_, bufferH_, 0, 0, 0, 0, 0, 0);
    arena_->printMemoryUsage("MB");
}

// Steps shared by the two constructors that take a vector offset.
void VectWarpMapTrans::initWithOffset(const double* vectOffset) {
    const double offsetX = vectOffset ? vectOffset[0] : 0.0;
    const double offsetY = vectOffset ? vectOffset[1] : 0.0;
    VELMO_LOG(kTag, "VectWMTrans v%2d.%2d.%2d\n", 2, 4, 20);
    VELMO_LOG(kTag, "VectWMTrans gridInW(%d), gridInH(%d), vectOffset(%lf, %lf)\n", gridInW_, gridInH_,
              velmo::printable(offsetX), velmo::printable(offsetY));
    if (vectOffset == nullptr)
        VELMO_LOG(kTag, "[VWMT][%s] Error: vectOffset is NULL, using (0, 0)\n", kCtor);
    meshW_ = updateGridLenToMeshLen(gridInW_);
    meshH_ = gridInH_;
    vectOffset_[0] = static_cast<float>(offsetX);
    vectOffset_[1] = static_cast<float>(offsetY);
    arena_ = new VWMT::MemoryManager(kArenaBytes, nullptr, 0, 0, meshW_, gridInH_, 0, 0, 0, 0, 0, 0);
    isOisOn_ = 0;
    resetConstructedState();
}

// The crop-and-resize estimate is written per frame before it is read; it
// starts at zero so that nothing reads indeterminate values.
void VectWarpMapTrans::resetConstructedState() {
    descriptor_ = nullptr;
    reserved_ = 0;
    std::fill(cropResize_, cropResize_ + 6, 0.0f);
    clearWorkingArrays();
}

void VectWarpMapTrans::clearWorkingArrays() {
    for (int k = 0; k < kWorkingArrays; ++k) {
        work_[k] = nullptr;
        carvedBytes_[k] = 0;
    }
}

int VectWarpMapTrans::updateGridLenToMeshLen(int len) { return len == 1 ? 2 : len; }

void VectWarpMapTrans::updateVectSize(VWMTInput const& in) {
    const GridFromOisParam& g = in.gridParam;
    bufferW_ = bufferH_ = g.buffer_size;
    if (isOisOn_ != 0) {
        gridInW_ = in.vect_w;
        gridInH_ = in.vect_h;
        meshW_ = in.vect_w == 1 ? 2 : in.vect_w;
        meshH_ = in.vect_h;
        contentW_ = g.content_w;
        contentH_ = g.content_h;
        // A vertical module turned by a quarter writes its grid transposed.
        if ((g.rotAngle == 90.0f || g.rotAngle == 270.0f) && in.dir == 1) std::swap(contentW_, contentH_);
    } else {
        contentW_ = meshW_ = g.content_w;
        contentH_ = meshH_ = g.content_h;
    }
    if (VWMT::logLevel >= 1) {
        const char* fn = "updateVectSize";
        VELMO_LOG(kTag, "[VWMT][%s] Perframe VectWMTrans gridInW(%d), gridInH(%d)\n", fn, gridInW_, gridInH_);
        VELMO_LOG(kTag, "[VWMT][%s] Perframe VectWMTrans meshW(%d), meshH(%d)\n", fn, meshW_, meshH_);
        VELMO_LOG(kTag, "[VWMT][%s] Perframe VectWMTrans meshW_resampled(%d), meshH_resampled(%d)\n", fn,
                  contentW_, contentH_);
        VELMO_LOG(kTag, "[VWMT][%s] Perframe VectWMTrans buffer_w(%d), buffer_h(%d), content_w(%d), content_h(%d)\n",
                  fn, bufferW_, bufferH_, contentW_, contentH_);
    }
}

// The documented size keeps its 32-bit wrap-around; setWorkingBuffer refuses
// to carve when the true size differs from it.
int VectWarpMapTrans::getWorkingBufferSize() {
    using velmo::wrapAdd;
    using velmo::wrapMul;
    using velmo::wrapSub;
    const int32_t g = wrapMul(gridInW_, gridInH_);
    const int32_t m = wrapMul(meshW_, meshH_);
    const int32_t c = wrapMul(contentW_, contentH_);
    const int32_t cells = wrapMul(wrapMul(24, wrapSub(contentW_, 1)), wrapSub(contentH_, 1));
    int32_t total = wrapMul(16, g);
    total = wrapAdd(total, wrapMul(56, c));
    total = wrapAdd(total, wrapMul(80, m));
    total = wrapAdd(total, cells);
    return wrapAdd(total, wrapMul(48, meshH_));
}

bool VectWarpMapTrans::carvedSizes(int64_t* bytes) const {
    const int64_t g = static_cast<int64_t>(gridInW_) * gridInH_;
    const int64_t m = static_cast<int64_t>(meshW_) * meshH_;
    const int64_t c = static_cast<int64_t>(contentW_) * contentH_;
    const int64_t cells = (static_cast<int64_t>(contentW_) - 1) * (static_cast<int64_t>(contentH_) - 1);
    if (!fitsInt32(g) || !fitsInt32(m) || !fitsInt32(c) || !fitsInt32(cells)) return false;
    for (int k : {0, 20}) bytes[k] = 8 * g;
    for (int k : {1, 2, 3, 4, 14, 9, 10, 11, 12}) bytes[k] = 8 * m;
    for (int k : {15, 16}) bytes[k] = 4 * m;
    for (int k : {21, 5, 6, 7, 8, 17}) bytes[k] = 8 * c;
    for (int k : {18, 19}) bytes[k] = 4 * c;
    bytes[13] = 24 * cells;
    bytes[22] = 32 * static_cast<int64_t>(meshH_);
    bytes[23] = bytes[24] = 8 * static_cast<int64_t>(meshH_);
    for (int k = 0; k < kWorkingArrays; ++k)
        if (bytes[k] < 0) return false;
    return true;
}

int VectWarpMapTrans::setWorkingBuffer(char* buf) {
    const char* fn = "setWorkingBuffer";
    clearWorkingArrays();
    // The arrays hold floats and int32 values read in place.
    if (buf == nullptr || reinterpret_cast<uintptr_t>(buf) % 4 != 0) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: working buffer(%p) is NULL or not 4-byte aligned\n", fn,
                  static_cast<void*>(buf));
        return 0;
    }
    int64_t bytes[kWorkingArrays];
    int64_t total = 0;
    const bool sizesValid = carvedSizes(bytes);
    if (sizesValid)
        for (int64_t b : bytes) total += b;
    if (!sizesValid || total != getWorkingBufferSize()) {
        VELMO_LOG(kTag,
                  "[VWMT][%s] Error: working buffer size does not fit 32 bits for gridIn(%d, %d), mesh(%d, %d), "
                  "content(%d, %d)\n",
                  fn, gridInW_, gridInH_, meshW_, meshH_, contentW_, contentH_);
        return 0;
    }
    unsigned char* cursor = reinterpret_cast<unsigned char*>(buf);
    for (int k : kCarveOrder) {
        work_[k] = cursor;
        carvedBytes_[k] = bytes[k];
        cursor += bytes[k];
    }
    return 0;
}

bool VectWarpMapTrans::workingArrayFits(int k, int64_t bytes, const char* caller) const {
    if (bytes <= carvedBytes_[k]) return true;
    VELMO_LOG(kTag, "[VWMT][%s] Error: working array %d needs %lld bytes, %lld carved\n", caller, k,
              static_cast<long long>(bytes), static_cast<long long>(carvedBytes_[k]));
    return false;
}

bool VectWarpMapTrans::workingBufferFits(const char* caller) const {
    if (work_[0] == nullptr) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: no working buffer set\n", caller);
        return false;
    }
    // Every step divides by (size - 1) and interpolates over whole cells.
    if (gridInW_ < 1 || gridInH_ < 1 || meshW_ < 2 || meshH_ < 2 || contentW_ < 2 || contentH_ < 2) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: gridIn(%d, %d), mesh(%d, %d) or content(%d, %d) too small\n", caller,
                  gridInW_, gridInH_, meshW_, meshH_, contentW_, contentH_);
        return false;
    }
    int64_t need[kWorkingArrays];
    if (!carvedSizes(need)) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: gridIn(%d, %d), mesh(%d, %d) or content(%d, %d) overflows 32 bits\n",
                  caller, gridInW_, gridInH_, meshW_, meshH_, contentW_, contentH_);
        return false;
    }
    // A one-column grid resamples its meshH vectors into array 21.
    if (gridInW_ == 1) need[21] = std::max(need[21], 8 * static_cast<int64_t>(meshH_));
    // The triangle list serves the mesh cells too; it may run on into arrays
    // 14 to 16, which nothing reads, but no further.
    const int64_t meshCells = (static_cast<int64_t>(meshW_) - 1) * (meshH_ - 1);
    const int64_t triangleBytes = 24 * std::max(meshCells, static_cast<int64_t>(contentW_ - 1) * (contentH_ - 1));
    const int64_t triangleRoom = carvedBytes_[13] + carvedBytes_[14] + carvedBytes_[15] + carvedBytes_[16];
    if (triangleBytes > triangleRoom) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: working array %d needs %lld bytes, %lld carved\n", caller, 13,
                  static_cast<long long>(triangleBytes), static_cast<long long>(triangleRoom));
        return false;
    }
    for (int k = 0; k < kWorkingArrays; ++k) {
        if (k >= 13 && k <= 16) continue;
        if (!workingArrayFits(k, need[k], caller)) return false;
    }
    return true;
}

void VectWarpMapTrans::createUniformMeshGrid(float* out, int W, int H) {
    VWMT::MeshGridUtility::sampleUniformMeshGrid(out, W, H, 0.0f, static_cast<float>(velmo::wrapSub(W, 1)), 0.0f,
                                                 static_cast<float>(velmo::wrapSub(H, 1)));
}

// Corner nodes on the corner pixels of the image.
void VectWarpMapTrans::createUniformMeshGrid(float* out, int W, int H, int imageW, int imageH) {
    VWMT::MeshGridUtility::sampleUniformMeshGrid(out, W, H, 0.0f, static_cast<float>(velmo::wrapSub(imageW, 1)),
                                                 0.0f, static_cast<float>(velmo::wrapSub(imageH, 1)));
}

void VectWarpMapTrans::connectGridByTriangleMesh(int* out, int W, int H) {
    VWMT::MeshGridUtility::connectGridByTriangleMesh(out, W, H);
}
