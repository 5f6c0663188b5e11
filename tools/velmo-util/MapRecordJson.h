#pragma once

// JSON reading and writing of the warp-grid and map-utility records, with the
// same strict rules as the GenSize records (RecordJson.h).

#include "MapRecordFields.h"
#include "RecordJson.h"

namespace velmo {
namespace cli {

bool fromJson(const Json& document, OisFrameRecord& record, JsonError& error);
bool fromJson(const Json& document, OIS_INTERPOLATE_INFO_STRUCT& record, JsonError& error);
// Only the scalar members are read; the plane pointers are left null.
bool fromJson(const Json& document, RotateMMapParam& record, JsonError& error);
bool fromJson(const Json& document, PowerSavingParam& record, JsonError& error);

Json toJson(const OisFrameRecord& record);
Json toJson(const OIS_INTERPOLATE_INFO_STRUCT& record);

}  // namespace cli
}  // namespace velmo
