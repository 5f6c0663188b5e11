#include "maputil/RotationPlan.h"

#include <cmath>
#include <cstdlib>

#include "common/Numerics.h"
#include "common/Trig.h"
#include "platform/Log.h"
#include "platform/Property.h"

namespace velmo {
namespace maputil {
namespace {

constexpr const char* kTag = "MMapRotate";
constexpr const char* kVersion = "20220824";

void logDetails(const RotateMMapParam& p) {
    char value[kPropertyBufferSize];
    if (!readProperty("vendor.mmapRotate.detailLog", value) || std::atoi(value) != 1) return;
    VELMO_LOG(kTag, "version %s\n", kVersion);
    VELMO_LOG(kTag, "_width_map %d\n", p._width_map);
    VELMO_LOG(kTag, "_height_map %d\n", p._height_map);
    VELMO_LOG(kTag, "_stride_map %d\n", p._stride_map);
    VELMO_LOG(kTag, "_degree_rot %d\n", p._degree_rot);
    VELMO_LOG(kTag, "_width_map_rot_buffer %d\n", p._width_map_rot_buffer);
    VELMO_LOG(kTag, "_height_map_rot_buffer %d\n", p._height_map_rot_buffer);
    VELMO_LOG(kTag, "_stride_map_rot_buffer %d\n", p._stride_map_rot_buffer);
    VELMO_LOG(kTag, "_width_img %d\n", p._width_img);
    VELMO_LOG(kTag, "_height_img %d\n", p._height_img);
    VELMO_LOG(kTag, "_padding_x_img %d\n", p._padding_x_img);
}

struct Band {
    int32_t start;  // x0
    int32_t width;  // N
};

// The map covers the unpadded image: k image columns per destination column
// (rounded up), and the padding, in destination columns, is left out on each
// side. Needs a positive destination width and k.
Band bandOf(const RotateMMapParam& p, int32_t k) {
    const int32_t padding = p._padding_x_img;
    if (padding == 0) return {0, p._width_img / k};
    const int32_t start = padding / k;
    return {start, wrapSub(wrapSub(p._width_map_rot_buffer, padding / k), start)};
}

// Image columns per destination column, rounded up; 0 or less when the
// padding leaves no image.
int32_t imageColumnsPerMapColumn(const RotateMMapParam& p) {
    const int32_t unpadded = wrapSub(p._width_img, wrapMul(2, p._padding_x_img));
    const int32_t width = p._width_map_rot_buffer;
    return unpadded / width + (unpadded % width > 0 ? 1 : 0);
}

// Checks the band and the planes once rows are to be written.
bool rowsCanBeWritten(const RotateMMapParam& p, Band band) {
    const int64_t end = int64_t{band.start} + band.width;
    if (band.start < 0) {
        VELMO_LOG(kTag, "[RotateMMap] _padding_x_img %d starts the band at column %d\n",
                  p._padding_x_img, band.start);
        return false;
    }
    if (end > p._stride_map_rot_buffer) {
        VELMO_LOG(kTag, "[RotateMMap] _stride_map_rot_buffer %d is below the band end %lld\n",
                  p._stride_map_rot_buffer, static_cast<long long>(end));
        return false;
    }
    const struct {
        const void* plane;
        const char* name;
    } planes[] = {{p._map_x, "_map_x"},
                  {p._map_y, "_map_y"},
                  {p._map_x_rot_buffer, "_map_x_rot_buffer"},
                  {p._map_y_rot_buffer, "_map_y_rot_buffer"}};
    for (const auto& plane : planes) {
        if (plane.plane == nullptr) {
            VELMO_LOG(kTag, "[RotateMMap] %s is null\n", plane.name);
            return false;
        }
    }
    if (p._stride_map < p._width_map) {
        VELMO_LOG(kTag, "[RotateMMap] _stride_map %d is below _width_map %d\n", p._stride_map,
                  p._width_map);
        return false;
    }
    return true;
}

int32_t ceilToInt(float v) { return toInt32(std::ceil(v)); }

void planSampling(const RotateMMapParam& p, RotationPlan& plan) {
    const float theta = static_cast<float>(p._degree_rot) * 0.017453292f;
    float s = 0.0f;
    float c = 0.0f;
    trig::sincosf(theta, &s, &c);
    const float w = static_cast<float>(p._width_map);
    const float h = static_cast<float>(p._height_map);
    const float rotatedW = std::fabs(s * h) + std::fabs(c * w);
    const float rotatedH = std::fabs(s * w) + std::fabs(c * h);
    const int32_t ceilW = ceilToInt(rotatedW);
    const int32_t ceilH = ceilToInt(rotatedH);
    plan.angleZero = p._degree_rot == 0;
    plan.sinA = s;
    plan.cosA = c;
    plan.stepX = static_cast<float>(ceilW) / static_cast<float>(plan.bandWidth);
    plan.stepY = static_cast<float>(ceilH) / static_cast<float>(plan.rows);
    plan.centreX = static_cast<float>(p._width_map / 2);
    plan.centreY = static_cast<float>(p._height_map / 2);
    plan.rotCentreX = static_cast<float>(ceilW / 2);
    plan.rotCentreY = static_cast<float>(ceilH / 2);
}

}  // namespace

bool planRotation(const RotateMMapParam& p, RotationPlan& plan) {
    logDetails(p);
    if (p._width_map_rot_buffer <= 0) {
        VELMO_LOG(kTag, "[RotateMMap] _width_map_rot_buffer %d is not positive\n",
                  p._width_map_rot_buffer);
        return false;
    }
    const int32_t k = imageColumnsPerMapColumn(p);
    if (k <= 0) {
        VELMO_LOG(kTag, "[RotateMMap] _padding_x_img %d leaves no image of _width_img %d\n",
                  p._padding_x_img, p._width_img);
        return false;
    }
    const Band band = bandOf(p, k);
    // No rows: nothing is written, whatever the planes are.
    if (p._height_map_rot_buffer < 1) return false;
    if (!rowsCanBeWritten(p, band)) return false;
    // A band of no columns writes nothing on any row; do not walk two billion
    // of them.
    if (band.width < 1) return false;

    plan.srcX = p._map_x;
    plan.srcY = p._map_y;
    plan.srcWidth = p._width_map;
    plan.srcHeight = p._height_map;
    plan.srcStride = p._stride_map;
    plan.dstX = p._map_x_rot_buffer;
    plan.dstY = p._map_y_rot_buffer;
    plan.dstStride = p._stride_map_rot_buffer;
    plan.rows = p._height_map_rot_buffer;
    plan.bandStart = band.start;
    plan.bandWidth = band.width;
    planSampling(p, plan);
    return true;
}

}  // namespace maputil
}  // namespace velmo
