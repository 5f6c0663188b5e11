#pragma once

// Field tables of the warp-grid and map-utility records that velmo-util reads
// and writes, in the conventions of RecordFields.h: JSON keys are the members'
// names, nested records are nested objects. Pointer members (planes, vectors)
// are not in the tables; the commands read them from their own keys.

#include <cstdint>

#include "RecordFields.h"
#include "maputil/PowerSaving.h"
#include "maputil/RotateMMap.h"
#include "vwmt/CombWarpMapTrans.h"
#include "vwmt/OisWarpRecords.h"

namespace velmo {
namespace cli {

// One frame of the OIS transformer as velmo-util reads it: the constructor's
// sizes, then the scalar part of VWMTInput. The vectors (inOisX, inOisY) sit
// beside these keys in the same JSON object.
struct OisFrameRecord {
    int32_t gridInW;
    int32_t gridInH;
    int32_t isOisOn;
    int32_t vect_w;
    int32_t vect_h;
    int32_t dir;
    ImgSizeDescription imgSizeDesc;
    GridFromOisParam gridParam;
};

#define VELMO_RECORD_FIELDS(RecordType, ...)                      \
    template <>                                                   \
    struct RecordFields<RecordType> {                             \
        using Record = RecordType;                                \
        static constexpr auto list = std::make_tuple(__VA_ARGS__); \
    }
#define FIELD(name) makeField(#name, &Record::name)

VELMO_RECORD_FIELDS(VWMTSize, FIELD(w), FIELD(h));
VELMO_RECORD_FIELDS(VWMTRect, FIELD(x), FIELD(y), FIELD(w), FIELD(h));
VELMO_RECORD_FIELDS(VWMTImageSize, FIELD(size));
VELMO_RECORD_FIELDS(VWMTImageCrop, FIELD(size));
VELMO_RECORD_FIELDS(ImgSizeDescription,
    FIELD(sensorSize), FIELD(analogCrop), FIELD(binningSize), FIELD(digitalCrop), FIELD(tgCrop),
    FIELD(p1Crop), FIELD(p1Resize));
VELMO_RECORD_FIELDS(GridFromOisParam,
    FIELD(srcImg), FIELD(rzImg), FIELD(CropImg), FIELD(rotImg), FIELD(content_w), FIELD(content_h),
    FIELD(buffer_size), FIELD(rotAngle));
VELMO_RECORD_FIELDS(OisFrameRecord,
    FIELD(gridInW), FIELD(gridInH), FIELD(isOisOn), FIELD(vect_w), FIELD(vect_h), FIELD(dir),
    FIELD(imgSizeDesc), FIELD(gridParam));
VELMO_RECORD_FIELDS(OIS_INTERPOLATE_INFO_STRUCT,
    FIELD(imageW), FIELD(imageH), FIELD(reserved0), FIELD(reserved1), FIELD(oisW), FIELD(oisH),
    FIELD(n3dW), FIELD(n3dH));
// The scalar members only; the plane pointers come from the command.
VELMO_RECORD_FIELDS(RotateMMapParam,
    FIELD(_width_map), FIELD(_height_map), FIELD(_stride_map), FIELD(_degree_rot),
    FIELD(_width_map_rot_buffer), FIELD(_height_map_rot_buffer), FIELD(_stride_map_rot_buffer),
    FIELD(_width_img), FIELD(_height_img), FIELD(_padding_x_img));
VELMO_RECORD_FIELDS(PowerSavingParam,
    FIELD(_width), FIELD(_height), FIELD(_stride), FIELD(_precision), FIELD(_scale_num_x),
    FIELD(_scale_num_y), FIELD(_scale_den_x), FIELD(_scale_den_y), FIELD(_thr_max_x), FIELD(_thr_max_y),
    FIELD(_thr_avg_x), FIELD(_thr_avg_y));

#undef FIELD
#undef VELMO_RECORD_FIELDS

static_assert(describedBytes<VWMTSize>() == sizeof(VWMTSize), "VWMTSize's table covers every member");
static_assert(describedBytes<VWMTRect>() == sizeof(VWMTRect), "VWMTRect's table covers every member");
static_assert(describedBytes<ImgSizeDescription>() == sizeof(ImgSizeDescription),
              "ImgSizeDescription's table covers every member");
static_assert(describedBytes<GridFromOisParam>() == sizeof(GridFromOisParam),
              "GridFromOisParam's table covers every member");
static_assert(describedBytes<OisFrameRecord>() == sizeof(OisFrameRecord),
              "OisFrameRecord's table covers every member");
static_assert(describedBytes<OIS_INTERPOLATE_INFO_STRUCT>() == sizeof(OIS_INTERPOLATE_INFO_STRUCT),
              "OIS_INTERPOLATE_INFO_STRUCT's table covers every member");
// Two plane pointers besides the scalars.
static_assert(describedBytes<RotateMMapParam>() + 4 * sizeof(int32_t*) == sizeof(RotateMMapParam),
              "RotateMMapParam's table covers every scalar member");
static_assert(describedBytes<PowerSavingParam>() + 2 * sizeof(int32_t*) == sizeof(PowerSavingParam),
              "PowerSavingParam's table covers every scalar member");

}  // namespace cli
}  // namespace velmo
