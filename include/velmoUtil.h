#pragma once

// libquentra.velmoUtil.so: geometry utilities of the dual-camera stereo depth
// pipeline. This header brings in the whole exported API.

#include "velmoExport.h"
#include "utilPlatform.h"
#include "AlignMode.h"
#include "gensize/GenSize.h"
#include "vwmt/core/MemoryManager.h"
#include "vwmt/core/GridBuffer.h"
#include "vwmt/core/MeshGridUtility.h"
#include "vwmt/core/MeshInterpolator.h"
