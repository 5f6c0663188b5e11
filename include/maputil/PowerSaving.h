#pragma once

// Decides from the largest magnitudes and the means of a two-plane vector
// field whether motion is small enough for the power-saving mode.

#include <cstddef>
#include <cstdint>

#include "velmoExport.h"

struct PowerSavingParam {
    int32_t* _map_x;       // x components, row-major
    int32_t* _map_y;       // y components, same layout
    int32_t _width;        // elements used per row
    int32_t _height;       // rows
    int32_t _stride;       // row distance, elements
    int32_t _precision;    // fixed-point scale of the stored values
    int32_t _scale_num_x;  // horizontal scale to the target image, numerator
    int32_t _scale_num_y;  // vertical scale, numerator
    int32_t _scale_den_x;  // horizontal scale, denominator
    int32_t _scale_den_y;  // vertical scale, denominator
    int32_t _thr_max_x;    // limit of the scaled largest x magnitude
    int32_t _thr_max_y;    // limit of the scaled largest y magnitude
    int32_t _thr_avg_x;    // limit of the scaled x mean
    int32_t _thr_avg_y;    // limit of the scaled y mean
};

#if UINTPTR_MAX == 0xffffffffffffffffu
static_assert(sizeof(PowerSavingParam) == 64, "PowerSavingParam layout");
static_assert(offsetof(PowerSavingParam, _width) == 16, "PowerSavingParam layout");
static_assert(offsetof(PowerSavingParam, _precision) == 28, "PowerSavingParam layout");
static_assert(offsetof(PowerSavingParam, _scale_den_y) == 44, "PowerSavingParam layout");
static_assert(offsetof(PowerSavingParam, _thr_avg_y) == 60, "PowerSavingParam layout");
#endif

// True when all four scaled statistics lie strictly below their thresholds.
// Prints the statistics on standard output. Bad input prints one line and
// gives false.
VELMO_EXPORT bool PowerSaving(PowerSavingParam param);
