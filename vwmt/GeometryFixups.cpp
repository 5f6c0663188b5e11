// The preparation both OIS transforms share: the vectors are scaled into the
// working buffer, and the frame geometry is normalised ("hack" fix-ups) so
// that only the timing-generator crop, the P1 crop and the P1 resize shape the
// crop-and-resize mapping.

#include <cstdint>

#include "common/Numerics.h"
#include "platform/Log.h"
#include "vwmt/VectWarpMapTrans.h"
#include "vwmt/core/ImageTransformationDescriptor.h"
#include "vwmt/core/ProcWarpMap.h"

namespace {

constexpr const char* kTag = "OISWarpMap";

void logImgSizeDescription(const char* fn, const char* when, ImgSizeDescription const& d) {
    VELMO_LOG(kTag,
              "[VWMT][%s][_imgSizeDesc][%s] sensorSize: (%d, %d), analogCrop: (%d, %d, %d, %d), "
              "binningSize: (%d, %d), digitalCrop: (%d, %d, %d, %d), tgCrop: (%d, %d, %d, %d), "
              "p1Crop: (%d, %d, %d, %d), p1Resize: (%d, %d)\n",
              fn, when, d.sensorSize.w, d.sensorSize.h, d.analogCrop.x, d.analogCrop.y, d.analogCrop.w,
              d.analogCrop.h, d.binningSize.w, d.binningSize.h, d.digitalCrop.x, d.digitalCrop.y,
              d.digitalCrop.w, d.digitalCrop.h, d.tgCrop.x, d.tgCrop.y, d.tgCrop.w, d.tgCrop.h, d.p1Crop.x,
              d.p1Crop.y, d.p1Crop.w, d.p1Crop.h, d.p1Resize.w, d.p1Resize.h);
}

void logGridParam(const char* fn, const char* when, GridFromOisParam const& g) {
    VELMO_LOG(kTag,
              "[VWMT][%s][_gridParam][%s] srcImg.size: (%d, %d), rzImg.size: (%d, %d), "
              "CropImg.size: (%d, %d, %d, %d), rotImg.size: (%d, %d), rotAngle: (%f)\n",
              fn, when, g.srcImg.size.w, g.srcImg.size.h, g.rzImg.size.w, g.rzImg.size.h, g.CropImg.size.x,
              g.CropImg.size.y, g.CropImg.size.w, g.CropImg.size.h, g.rotImg.size.w, g.rotImg.size.h,
              velmo::printable(static_cast<double>(g.rotAngle)));
}

void logGeometry(const char* fn, const char* when, ImgSizeDescription const& d, GridFromOisParam const& g) {
    if (VWMT::logLevel < 1) return;
    logImgSizeDescription(fn, when, d);
    logGridParam(fn, when, g);
}

// Describes the frame as if the timing-generator crop were the whole sensor.
void treatTgCropAsSensor(ImgSizeDescription& d) {
    const VWMTRect tg = d.tgCrop;
    if (d.p1Crop.w == 0) d.p1Crop.w = tg.w;
    if (d.p1Crop.h == 0) d.p1Crop.h = tg.h;
    d.sensorSize = {tg.w, tg.h};
    d.analogCrop = {0, 0, tg.w, tg.h};
    d.binningSize = {tg.w, tg.h};
    d.digitalCrop = {0, 0, tg.w, tg.h};
}

// The first three values of a vector plane; a smaller grid prints 0 for the
// values it does not have rather than reading past the caller's array.
struct FirstThree {
    double v[3] = {0.0, 0.0, 0.0};
    FirstThree(const double* values, int64_t count) {
        for (int64_t i = 0; i < 3 && i < count; ++i) v[i] = velmo::printable(values[i]);
    }
};

void logFirstThree(const char* fn, const char* format, const double* values, int64_t count) {
    const FirstThree first(values, count);
    VELMO_LOG(kTag, format, fn, first.v[0], first.v[1], first.v[2]);
}

}  // namespace

void VectWarpMapTrans::hack_forward_configuration(ImgSizeDescription& d, GridFromOisParam& g) {
    logGeometry(__func__, "before", d, g);
    // The forward map is built on the rotated image, resized to itself.
    g.srcImg.size = g.rotImg.size;
    d.p1Resize = {g.rotImg.size.w, g.rotImg.size.h};
    treatTgCropAsSensor(d);
    logGeometry(__func__, "after", d, g);
}

void VectWarpMapTrans::hack_backward_configuration(ImgSizeDescription& d, GridFromOisParam& g,
                                                   VWMT_DIRECTION dir) {
    logGeometry(__func__, "before", d, g);
    if (dir == VWMT_DIRECTION_BACKWARD) {  // no rotation for this direction
        g.rotAngle = 0.0f;
        g.rotImg.size = g.srcImg.size;
    }
    VWMTSize& rot = g.rotImg.size;
    const VWMTSize src = g.srcImg.size;
    const VWMTSize rz = g.rzImg.size;
    if (rz.w != 0) {
        // Back to the source scale; products wrap at 32 bits like the camera
        // stack's arithmetic, a zero height gives 0 instead of trapping.
        rot.w = velmo::sdiv(velmo::wrapMul(rot.w, src.w), rz.w);
        rot.h = rz.h != 0 ? velmo::sdiv(velmo::wrapMul(rot.h, src.h), rz.h) : 0;
    } else if (g.rotAngle == -90.0f || g.rotAngle == 90.0f || g.rotAngle == 270.0f) {
        const int32_t w = rot.w;
        rot.w = rot.h;
        rot.h = w;
    }
    treatTgCropAsSensor(d);
    logGeometry(__func__, "after", d, g);
}

// The descriptor lives on the stack for the duration of the call; the member
// pointer is cleared afterwards so that it never points at a dead frame.
void VectWarpMapTrans::estimateImageSizeDescription(ImgSizeDescription d) {
    VWMT::ImageTransformationDescriptor history(d.sensorSize.w, d.sensorSize.h);
    descriptor_ = &history;
    auto crop = [&history](VWMTRect const& r) {
        history.applyCropping(static_cast<float>(r.x), static_cast<float>(r.y), static_cast<float>(r.w),
                              static_cast<float>(r.h));
    };
    auto resize = [&history](VWMTSize const& s) {
        history.applyResizing(static_cast<float>(s.w), static_cast<float>(s.h));
    };
    crop(d.analogCrop);
    resize(d.binningSize);
    crop(d.digitalCrop);
    crop(d.tgCrop);
    crop(d.p1Crop);
    resize(d.p1Resize);
    history.getIntegratedCroppingAndResizingParameter(cropResize_);
    descriptor_ = nullptr;
}

bool VectWarpMapTrans::transformInputsUsable(const char* caller, const double* inOisX,
                                             const double* inOisY) {
    if (!workingBufferFits(caller)) return false;
    if (inOisX == nullptr || inOisY == nullptr) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: inOisX(%p) or inOisY(%p) is NULL\n", caller,
                  static_cast<const void*>(inOisX), static_cast<const void*>(inOisY));
        return false;
    }
    // The mesh steps read meshW x meshH vectors (a column: meshH) from the
    // gridInW x gridInH the caller gave; a stand-by object may disagree.
    if (meshW_ != updateGridLenToMeshLen(gridInW_) || meshH_ != gridInH_) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: mesh(%d, %d) does not match gridIn(%d, %d)\n", caller, meshW_, meshH_,
                  gridInW_, gridInH_);
        return false;
    }
    return true;
}

// The OIS module reports shifts at the full optical scale; the grid applies a
// tuned fraction of them. The caller's arrays are scaled in place.
void VectWarpMapTrans::scaleCallerVectors(const char* caller, double* inOisX, double* inOisY) {
    const int64_t count = int64_t{gridInW_} * gridInH_;
    if (VWMT::logLevel >= 2) {
        logFirstThree(caller, "[VWMT][%s]ois x bf scale: %f, %f, %f\n", inOisX, count);
        logFirstThree(caller, "[VWMT][%s]ois y bf scale: %f, %f, %f\n", inOisY, count);
    }
    const double sx = VWMT::ois_scale_x;
    const double sy = VWMT::ois_scale_y;
    for (int64_t i = 0; i < count; ++i) {
        inOisX[i] = inOisX[i] * sx;
        inOisY[i] = inOisY[i] * sy;
    }
    if (VWMT::logLevel >= 2) {
        logFirstThree(caller, "[VWMT][%s]ois x af scale: %f, %f, %f\n", inOisX, count);
        logFirstThree(caller, "[VWMT][%s]ois y af scale: %f, %f, %f\n", inOisY, count);
    }
}

// Only working array 0 keeps the scaled vectors; the caller gets its values
// back, up to the rounding of the multiply-divide.
void VectWarpMapTrans::takeScaledVectors(double* inOisX, double* inOisY) {
    const int64_t count = int64_t{gridInW_} * gridInH_;
    VWMT::ProcWarpMap::remap_WarpMapXY_PlaneToInterleaved(inOisX, inOisY, workPoints(0),
                                                          static_cast<int>(count));
    const double sx = VWMT::ois_scale_x;
    const double sy = VWMT::ois_scale_y;
    for (int64_t i = 0; i < count; ++i) {
        inOisX[i] = inOisX[i] / sx;
        inOisY[i] = inOisY[i] / sy;
    }
}
