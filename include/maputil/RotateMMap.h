#pragma once

// Rotation of a two-plane motion-vector map about its centre by whole degrees,
// resampled (nearest neighbour) to fit a destination band; the vectors are
// rotated by the same angle.

#include <cstddef>
#include <cstdint>

#include "velmoExport.h"

struct RotateMMapParam {
    int32_t* _map_x;                 // source x plane
    int32_t* _map_y;                 // source y plane, same layout
    int32_t _width_map;              // source width, elements
    int32_t _height_map;             // source height, rows
    int32_t _stride_map;             // source row stride, elements
    int32_t _degree_rot;             // rotation angle in degrees; 0 only rescales
    int32_t* _map_x_rot_buffer;      // destination x plane
    int32_t* _map_y_rot_buffer;      // destination y plane
    int32_t _width_map_rot_buffer;   // destination width
    int32_t _height_map_rot_buffer;  // destination rows written
    int32_t _stride_map_rot_buffer;  // destination row stride, elements
    int32_t _width_img;              // width of the image the map belongs to
    int32_t _height_img;             // image height (diagnostics only)
    int32_t _padding_x_img;          // horizontal image padding on each side
};

#if UINTPTR_MAX == 0xffffffffffffffffu
// The camera stack passes this record by value across the library boundary.
static_assert(sizeof(RotateMMapParam) == 72, "RotateMMapParam layout");
static_assert(offsetof(RotateMMapParam, _width_map) == 16, "RotateMMapParam layout");
static_assert(offsetof(RotateMMapParam, _degree_rot) == 28, "RotateMMapParam layout");
static_assert(offsetof(RotateMMapParam, _map_x_rot_buffer) == 32, "RotateMMapParam layout");
static_assert(offsetof(RotateMMapParam, _width_map_rot_buffer) == 48, "RotateMMapParam layout");
static_assert(offsetof(RotateMMapParam, _padding_x_img) == 68, "RotateMMapParam layout");
#endif

// Writes only the destination band that matches the unpadded image; columns
// outside it keep their contents. Always returns 0; bad input writes nothing
// and logs one line under the tag "MMapRotate".
VELMO_EXPORT int RotateMMap(RotateMMapParam param);
