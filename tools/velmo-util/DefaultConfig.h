#pragma once

// The configuration velmo-util uses when no file is given, and the template
// that `velmo-util default-config` prints.

#include "gensize/GenSizeRecords.h"

namespace velmo {
namespace cli {

// A dual 12 MP module: a 4.3 mm wide camera (main, OIS) beside a 2.2 mm
// ultra-wide (auxiliary), both in a 2x2-binned 16:9 mode of 2000x1124, a 12 mm
// horizontal baseline, 1920x1080 RRZ output and a 640x360 Velmo depth map.
STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT defaultConfig();

}  // namespace cli
}  // namespace velmo
