// The caller's integer warp grid: a pure resize/crop/rotation grid with OIS
// off, the OIS-corrected working grid with OIS on.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "common/Numerics.h"
#include "platform/Log.h"
#include "vwmt/RotationAngle.h"
#include "vwmt/VectWarpMapTrans.h"
#include "vwmt/core/Transpose.h"

namespace {

constexpr const char* kTag = "OISWarpMap";
// 1.0 in the warp engine's Q14 weight format.
constexpr int32_t kUnitWeight = 16384;

void logGridParam(const char* fn, VWMT_DIRECTION dir, int srcW, int srcH, int rzW, int rzH, int cropX, int cropY,
                  int cropW, int cropH, int rotW, int rotH, float rotAngle) {
    VELMO_LOG(kTag,
              "[VWMT][%s][_gridParam] direction: %d, srcImg.size: (%d, %d), rzImg.size: (%d, %d), CropImg.size: "
              "(%d, %d, %d, %d), rotImg.size: (%d, %d), rotAngle: (%f)\n",
              fn, static_cast<int>(dir), srcW, srcH, rzW, rzH, cropX, cropY, cropW, cropH, rotW, rotH,
              velmo::printable(rotAngle));
}

// The text names the OIS writer for both writers; tools match it as it is.
bool planesMissing(int** out) {
    int* gridX = out ? out[0] : nullptr;
    int* gridY = out ? out[1] : nullptr;
    if (gridX != nullptr && gridY != nullptr) return false;
    VELMO_LOG(kTag, "getGridFromOisResizeCropRot Error: gridX(%p) or gridY(%p) is NULL\n",
              static_cast<void*>(gridX), static_cast<void*>(gridY));
    return true;
}

// Plus one half in double, then truncation: negative values move toward zero
// (-1.7 is stored as -1), as the warp engine expects.
int32_t toFixed5(float scaled) { return velmo::toInt32(static_cast<double>(scaled) + 0.5); }

}  // namespace

void VectWarpMapTrans::getGridFromResizeCropRot(int** out, int srcW, int srcH, int rzW, int rzH, int cropX,
                                                int cropY, int cropW, int cropH, int rotW, int rotH,
                                                float rotAngle, VWMT_DIRECTION dir) {
    // An all-zero pair means "this step did not happen".
    const bool resized = !(rzW == 0 && rzH == 0);
    const int rW = resized ? rzW : srcW, rH = resized ? rzH : srcH;
    const bool cropped = !(cropW == 0 && cropH == 0);
    const int cX = cropped ? cropX : 0, cY = cropped ? cropY : 0;
    const int cW = cropped ? cropW : rW, cH = cropped ? cropH : rH;
    const bool rotated = !(rotW == 0 && rotH == 0);
    const int oW = rotated ? rotW : cW, oH = rotated ? rotH : cH;

    const float sX = rW == 0 ? static_cast<float>(srcW) : static_cast<float>(srcW) / static_cast<float>(rW);
    const float sY = rH == 0 ? static_cast<float>(srcH) : static_cast<float>(srcH) / static_cast<float>(rH);
    const int nX = contentW_, nY = contentH_;
    const ptrdiff_t pitchX = bufferW_, pitchY = bufferH_;

    if (VWMT::logLevel >= 1)
        logGridParam("getGridFromResizeCropRot", dir, srcW, srcH, rzW, rzH, cropX, cropY, cropW, cropH, rotW, rotH,
                     rotAngle);
    if (planesMissing(out)) return;
    int* gridX = out[0];
    int* gridY = out[1];
    int* weight = out[2];

    // Uses the rotated size as given, not its default.
    const float hX = static_cast<float>(velmo::halfDifference(srcW, rotW));
    const float hY = static_cast<float>(velmo::halfDifference(srcH, rotH));
    float s = 0.0f, c = 0.0f;
    velmo::sinCosOfDegrees(rotAngle, &s, &c);

    const float cXf = static_cast<float>(cX), cYf = static_cast<float>(cY);
    const float cWf = static_cast<float>(cW), cHf = static_cast<float>(cH);
    const float oWf = static_cast<float>(oW), oHf = static_cast<float>(oH);
    const float halfCW = cWf / 2.0f, halfCH = cHf / 2.0f;
    const float stepX = (oWf - 1.0f) / (static_cast<float>(nX) - 1.0f);
    const float stepY = (oHf - 1.0f) / (static_cast<float>(nY) - 1.0f);
    float shiftX = 0.0f, shiftY = 0.0f;
    if (dir == 1) {
        // A vertical module keeps the crop centred on the rotated image.
        shiftX = (cWf - oWf) / 2.0f;
        shiftY = (cHf - oHf) / 2.0f;
    } else if (dir == 0) {
        shiftX = hX;
        shiftY = hY;
    }

    for (int j = 0; j < nY; ++j) {
        // The Y plane steps by the buffer height; the buffers are square in use.
        int* rowX = gridX + j * pitchX;
        int* rowY = gridY + j * pitchY;
        int* rowW = weight ? weight + j * pitchX : nullptr;
        for (int i = 0; i < nX; ++i) {
            float x = static_cast<float>(i) * stepX;
            float y = static_cast<float>(j) * stepY;
            if (dir == 1 || dir == 0) {
                x += shiftX;
                y += shiftY;
            }
            const float u = (x + 0.5f) - halfCW;
            const float v = (y + 0.5f) - halfCH;
            const float X = sX * ((((halfCW + (c * u + s * v)) - 0.5f) + cXf) + 0.5f) - 0.5f;
            const float Y = sY * ((((halfCH + (c * v - s * u)) - 0.5f) + cYf) + 0.5f) - 0.5f;
            rowX[i] = toFixed5(X * 32.0f);
            rowY[i] = toFixed5(Y * 32.0f);
            if (rowW) rowW[i] = kUnitWeight;
        }
    }
}

void VectWarpMapTrans::getGridFromOisResizeCropRot(int** out, int* arrX, int* arrY, int srcW, int srcH, int rzW,
                                                   int rzH, int cropX, int cropY, int cropW, int cropH, int rotW,
                                                   int rotH, float rotAngle, VWMT_DIRECTION dir) {
    const char* fn = "getGridFromOisResizeCropRot";
    if (arrX == nullptr || arrY == nullptr) {
        VELMO_LOG(kTag, "[VWMT][%s] Error: arrX(%p) or arrY(%p) is NULL\n", fn, static_cast<void*>(arrX),
                  static_cast<void*>(arrY));
        return;
    }
    int w = contentW_, h = contentH_;
    const ptrdiff_t pitch = bufferW_;

    if (dir == 1) {
        if (VWMT::logLevel >= 1)
            VELMO_LOG(kTag, "[VWMT][%s] rotate warping grid for vertical case, rotDegree: %f\n", fn,
                      velmo::printable(rotAngle));
        // The transforms work in the module's orientation; undo its turn.
        if (rotAngle == 90.0f) {
            VWMT::transpose_image_clockwise(arrX, w, h);
            VWMT::transpose_image_clockwise(arrY, w, h);
            std::swap(w, h);
        } else if (rotAngle == 270.0f || rotAngle == -90.0f) {
            VWMT::transpose_image_counterclockwise(arrX, w, h);
            VWMT::transpose_image_counterclockwise(arrY, w, h);
            std::swap(w, h);
        } else if (rotAngle == 180.0f) {
            VWMT::transpose_image_opposite(arrX, w, h);
            VWMT::transpose_image_opposite(arrY, w, h);
        }
    }
    contentW_ = w;
    contentH_ = h;

    if (VWMT::logLevel >= 1)
        logGridParam(fn, dir, srcW, srcH, rzW, rzH, cropX, cropY, cropW, cropH, rotW, rotH, rotAngle);
    if (planesMissing(out)) return;
    int* gridX = out[0];
    int* gridY = out[1];

    // The forward grid refers to the rotated image; re-centre it on the source.
    const bool forward = dir == 0;
    const float hX = forward ? static_cast<float>(velmo::halfDifference(srcW, rotW)) : 0.0f;
    const float hY = forward ? static_cast<float>(velmo::halfDifference(srcH, rotH)) : 0.0f;
    for (int j = 0; j < h; ++j) {
        const int* srcX = arrX + static_cast<ptrdiff_t>(j) * w;
        const int* srcY = arrY + static_cast<ptrdiff_t>(j) * w;
        int* rowX = gridX + j * pitch;
        int* rowY = gridY + j * pitch;
        for (int i = 0; i < w; ++i) {
            const float px = static_cast<float>(srcX[i]) * 0.03125f;
            const float py = static_cast<float>(srcY[i]) * 0.03125f;
            if (forward) {
                rowX[i] = toFixed5((px + hX) * 32.0f);
                rowY[i] = toFixed5((py + hY) * 32.0f);
            } else {
                rowX[i] = toFixed5(px * 32.0f);
                rowY[i] = toFixed5(py * 32.0f);
            }
        }
    }
}
