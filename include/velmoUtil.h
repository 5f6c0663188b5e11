#pragma once

// libquentra.velmoUtil.so: geometry utilities of the dual-camera stereo depth
// pipeline. This header brings in the whole exported API.

#include "velmoExport.h"
#include "velmoVersion.h"
#include "utilPlatform.h"
#include "AlignMode.h"
#include "gensize/GenSize.h"
#include "maputil/RotateMMap.h"
#include "maputil/PowerSaving.h"
#include "vwmt/core/Interp1Sorted.h"
#include "vwmt/core/ImageTransformationDescriptor.h"
#include "vwmt/core/MatrixUtility.h"
#include "vwmt/core/ProcWarpMap.h"
#include "vwmt/core/Transpose.h"
#include "vwmt/core/FileBin.h"
#include "vwmt/core/CalibrationDataReader.h"
#include "vwmt/core/MemoryManager.h"
#include "vwmt/core/GridBuffer.h"
#include "vwmt/core/MeshGridUtility.h"
#include "vwmt/core/MeshInterpolator.h"
#include "vwmt/OisWarpRecords.h"
#include "vwmt/VectWarpMapTrans.h"
#include "vwmt/BilinearInterpolation.h"
#include "vwmt/CombWarpMapTrans.h"
