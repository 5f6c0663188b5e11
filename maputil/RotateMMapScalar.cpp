#include "maputil/RotateMMapScalar.h"

namespace velmo {
namespace maputil {

void rotateRowsScalar(const RotationPlan& p) {
    for (int32_t r = 0; r < p.rows; ++r) {
        const std::ptrdiff_t at = elementIndex(p.bandStart, r, p.dstStride);
        int32_t* outX = p.dstX + at;
        int32_t* outY = p.dstY + at;
        if (p.angleZero) {
            const ScaledRow src = scaledRow(p, r);
            for (int32_t j = 0; j < p.bandWidth; ++j) scaleColumn(p, src.x, src.y, j, outX + j, outY + j);
        } else {
            const RotatedRow row = rotatedRow(p, r);
            for (int32_t j = 0; j < p.bandWidth; ++j) rotateColumn(p, row, j, outX + j, outY + j);
        }
    }
}

int rotateMMapScalar(RotateMMapParam param) {
    RotationPlan plan;
    if (planRotation(param, plan)) rotateRowsScalar(plan);
    return 0;
}

}  // namespace maputil
}  // namespace velmo
