#pragma once

#include <cstdint>

// How a size is brought to a multiple of an alignment. One 32-bit enumeration
// shared by GenSize and the VWMT warp-grid code (VWMT::AlignMode aliases it).
enum AlignMode : int32_t {
    ALIGN_CEIL = 0,   // up
    ALIGN_ROUND = 1,  // to nearest, halves away from zero
    ALIGN_FLOOR = 2,  // down
};

static_assert(sizeof(AlignMode) == 4, "AlignMode is a 32-bit enumeration");
