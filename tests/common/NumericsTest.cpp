#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <tuple>

#include "common/Numerics.h"
#include "common/Trig.h"

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

TEST(Numerics, IntegerArithmeticWrapsAndDivisionByZeroGivesZero) {
    EXPECT_EQ(velmo::udiv(opaque(7u), opaque(0u)), 0u);
    EXPECT_EQ(velmo::umod(opaque(7u), opaque(0u)), 7u);
    EXPECT_EQ(velmo::sdiv(opaque(-7), opaque(0)), 0);
    EXPECT_EQ(velmo::sdiv(opaque(INT32_MIN), opaque(-1)), INT32_MIN);
    EXPECT_EQ(velmo::wrapAdd(INT32_MAX, 1), INT32_MIN);
    EXPECT_EQ(velmo::wrapMul(65536, 65536), 0);
    EXPECT_EQ(velmo::wrapAbs(INT32_MIN), INT32_MIN);
}

TEST(Numerics, RoundingAndAlignment) {
    EXPECT_EQ(velmo::roundHalfAway(-2.5f), -3.0f);
    EXPECT_EQ(velmo::ceil2(7.01f), 8.0f);
    EXPECT_EQ(velmo::alignUp(65, 64), 128u);
    EXPECT_EQ(velmo::alignUp(5, 0), 0u);
    EXPECT_EQ(velmo::alignDown(127, 64), 64u);
    EXPECT_EQ(velmo::alignRound(96, 64), 128u);
}

TEST(Numerics, FloatTrigIsTheDoubleTrigRounded) {
    for (float x = -7.0f; x < 7.0f; x += 0.0137f) {
        EXPECT_EQ(velmo::trig::tanf(x), static_cast<float>(std::tan(static_cast<double>(x))));
        float s = 0.0f, c = 0.0f;
        velmo::trig::sincosf(x, &s, &c);
        EXPECT_EQ(s, static_cast<float>(std::sin(static_cast<double>(x))));
        EXPECT_EQ(c, static_cast<float>(std::cos(static_cast<double>(x))));
    }
    EXPECT_EQ(velmo::trig::tanf(0.7853982f), 1.0f);  // a known correctly rounded value
}

}  // namespace
