#include <cmath>

#include "AlignMode.h"
#include "common/Numerics.h"
#include "gensize/GenSize.h"

// a x b / n is formed in single precision, product first; the rounded quotient
// is truncated to an integer before it is scaled back by n (so n = 0 gives 0).
int enlargeWithNAligned(float a, float b, int n, AlignMode mode) {
    const float product = a * b;
    const float quotient = product / static_cast<float>(n);
    float steps;
    switch (mode) {
        case ALIGN_CEIL:
            steps = std::ceil(quotient);
            break;
        case ALIGN_ROUND:
            steps = velmo::roundHalfAway(quotient);
            break;
        case ALIGN_FLOOR:
            steps = std::floor(quotient);
            break;
        default:
            return 0;
    }
    return velmo::wrapMul(velmo::toInt32(steps), n);
}
