// The per-frame entry of the OIS transformer.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "common/Numerics.h"
#include "platform/Log.h"
#include "vwmt/VectWarpMapTrans.h"

// Text of the vector dump. One pair per thread: separate transformers may run
// their frames on separate threads with logging on. (The names are internal
// to the library, not exported.)
thread_local char tempStrX[4096];
thread_local char tempStrY[4096];

namespace {

constexpr const char* kTag = "OISWarpMap";
constexpr const char* kFn = "oisVecToGrid";
constexpr int kTextBytes = static_cast<int>(sizeof tempStrX);

void logOverflow() { VELMO_LOG(kTag, "%s", "snprintf fail, string more than max length\n"); }

// Appends at the current end of the text; a cut is reported and the text
// stays cut at the buffer's end.
template <typename... Args>
void append(char* text, const char* fmt, Args... args) {
    const size_t used = std::strlen(text);
    const size_t room = static_cast<size_t>(kTextBytes) - used;
    const int written = std::snprintf(text + used, room, fmt, args...);
    if (written < 0 || static_cast<size_t>(written) >= room) logOverflow();
}

void dumpPlane(char* text, const char* heading, const double* values, int64_t count) {
    if (std::snprintf(text, kTextBytes, "%s", "") >= kTextBytes) logOverflow();
    append(text, "%s", heading);
    for (int64_t i = 0; i < count; ++i) append(text, "%d,", velmo::toInt32(values[i]));
    VELMO_LOG(kTag, "[VWMT][%s]%s\n", kFn, text);
}

}  // namespace

bool VectWarpMapTrans::frameIsValid(VWMTInput const& in, VWMTOutput const& out) const {
    (void)out;  // null planes are the grid writers' documented report
    if (in.vect_w < 1 || in.vect_h < 1) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: vect_w(%d) or vect_h(%d) below 1\n", kFn, in.vect_w, in.vect_h);
        return false;
    }
    const bool vectorsRead = isOisOn_ != 0 || VWMT::logLevel >= 1;
    if (vectorsRead && (in.inOisX == nullptr || in.inOisY == nullptr)) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: inOisX(%p) or inOisY(%p) is NULL\n", kFn,
                  static_cast<void*>(in.inOisX), static_cast<void*>(in.inOisY));
        return false;
    }
    if (bufferW_ < 1 || bufferH_ < 1) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: buffer size(%d) below 1\n", kFn, bufferW_);
        return false;
    }
    // The planes are square, so a block turned by a quarter fits as well.
    if (contentW_ > bufferW_ || contentH_ > bufferH_) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: content(%d, %d) larger than buffer(%d, %d)\n", kFn, contentW_,
                  contentH_, bufferW_, bufferH_);
        return false;
    }
    return isOisOn_ == 0 || workingBufferFits(kFn);
}

void VectWarpMapTrans::dumpVectors(VWMTInput const& in) const {
    VELMO_LOG(kTag, "[VWMT][%s] vect_w: %d, vect_h: %d, dir: %d\n", kFn, in.vect_w, in.vect_h,
              static_cast<int>(in.dir));
    // With OIS off the member grid can be larger than what the caller passed.
    const int64_t members = static_cast<int64_t>(gridInW_) * gridInH_;
    const int64_t given = static_cast<int64_t>(in.vect_w) * in.vect_h;
    const int64_t count = std::max<int64_t>(0, std::min(members, given));
    dumpPlane(tempStrX, "inOisX: ", in.inOisX, count);
    dumpPlane(tempStrY, "inOisY: ", in.inOisY, count);
}

void VectWarpMapTrans::oisVecToGrid(VWMTInput const& in, VWMTOutput& out) {
    updateVectSize(in);
    if (!frameIsValid(in, out)) return;
    if (VWMT::logLevel >= 1) dumpVectors(in);

    const GridFromOisParam& g = in.gridParam;
    int* planes[3] = {out.gridX, out.gridY, out.gridWeight};
    if (isOisOn_ != 0) {
        if (in.dir == 1 || in.dir == 2)
            transformForwardVectToBackwardWarpMap(in.inOisX, in.inOisY, in.imgSizeDesc, g, in.dir);
        else if (in.dir == 0)
            transformVectToWarpMap(in.inOisX, in.inOisY, in.imgSizeDesc, g);
        // Any other direction reuses the grid the previous frame left.
    }
    if (isOisOn_ != 0) {
        getGridFromOisResizeCropRot(planes, workInts(18), workInts(19), g.srcImg.size.w, g.srcImg.size.h,
                                    g.rzImg.size.w, g.rzImg.size.h, g.CropImg.size.x, g.CropImg.size.y,
                                    g.CropImg.size.w, g.CropImg.size.h, g.rotImg.size.w, g.rotImg.size.h,
                                    g.rotAngle, in.dir);
    } else {
        getGridFromResizeCropRot(planes, g.srcImg.size.w, g.srcImg.size.h, g.rzImg.size.w, g.rzImg.size.h,
                                 g.CropImg.size.x, g.CropImg.size.y, g.CropImg.size.w, g.CropImg.size.h,
                                 g.rotImg.size.w, g.rotImg.size.h, g.rotAngle, in.dir);
    }
}
