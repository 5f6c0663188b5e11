#include "maputil/RotateMMap.h"

#include "maputil/RotateMMapVector.h"
#include "maputil/RotationPlan.h"

int RotateMMap(RotateMMapParam param) {
    velmo::maputil::RotationPlan plan;
    if (velmo::maputil::planRotation(param, plan)) velmo::maputil::rotateRowsVector(plan);
    return 0;
}
