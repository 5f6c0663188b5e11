#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <tuple>

#include "common/Numerics.h"

namespace {

// Keeps the compiler from folding the canary at compile time.
template <typename T>
T opaque(T v) {
    volatile T hold = v;
    return hold;
}

// Fused, this orientation test gives 2.5e-5; with separate roundings the
// products cancel exactly.
TEST(Numerics, MultiplyThenAddIsNeverFused) {
    const float x1 = opaque(0x1.9fccccp+5f), y1 = opaque(0x1.0b3334p+6f);
    const float x2 = opaque(0x1.5bccccp+6f), y2 = opaque(0x1.b2p+6f);
    const float x = opaque(0x1.03a9bap+6f), y = opaque(0x1.48ea8p+6f);
    EXPECT_EQ((y1 - y2) * (x - x2) - (x1 - x2) * (y - y2), 0.0f);
}

// Conversions saturate, truncate toward zero and give 0 for NaN, as on Arm.
TEST(Numerics, ConversionsFollowArm) {
    const struct {
        double value;
        int32_t asInt32;     // from float
        int32_t fromDouble;  // from double
        uint32_t asUint32;   // from float
    } cases[] = {
        {3e9, INT32_MAX, INT32_MAX, 3000000000u},
        {-3e9, INT32_MIN, INT32_MIN, 0u},
        {2147483520.0, 2147483520, 2147483520, 2147483520u},  // largest float below 2^31
        {-2147483648.0, INT32_MIN, INT32_MIN, 0u},
        {-1.9, -1, -1, 0u},
        {-0.9, 0, 0, 0u},
        {5e9, INT32_MAX, INT32_MAX, UINT32_MAX},
        {-1e300, INT32_MIN, INT32_MIN, 0u},
        {std::nan(""), 0, 0, 0u},
        {-INFINITY, INT32_MIN, INT32_MIN, 0u},
    };
    for (const auto& c : cases) {
        const float f = opaque(static_cast<float>(c.value));
        EXPECT_EQ(std::make_tuple(velmo::toInt32(f), velmo::toInt32(opaque(c.value)), velmo::toUint32(f)),
                  std::make_tuple(c.asInt32, c.fromDouble, c.asUint32))
            << c.value;
    }
}

}  // namespace
