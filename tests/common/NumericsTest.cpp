#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>

#include "common/Numerics.h"
#include "common/Trig.h"

namespace {

// Keeps the compiler from folding the canary at compile time.
template <typename T>
T opaque(T v) {
    volatile T hold = v;
    return hold;
}

TEST(Contraction, MultiplyThenAddIsNeverFused) {
    // Fused, the orientation test below gives 2.5e-5; with separate roundings
    // the products cancel exactly.
    const float x1 = opaque(0x1.9fccccp+5f), y1 = opaque(0x1.0b3334p+6f);
    const float x2 = opaque(0x1.5bccccp+6f), y2 = opaque(0x1.b2p+6f);
    const float x = opaque(0x1.03a9bap+6f), y = opaque(0x1.48ea8p+6f);
    const float orientation = (y1 - y2) * (x - x2) - (x1 - x2) * (y - y2);
    EXPECT_EQ(orientation, 0.0f);

    const float a = opaque(1.1f), b = opaque(3.3f), c = opaque(-3.63f);
    EXPECT_EQ(a * b + c, 0.0f);
}

TEST(Conversion, FloatToInt32FollowsArm) {
    EXPECT_EQ(velmo::toInt32(opaque(3e9f)), INT32_MAX);
    EXPECT_EQ(velmo::toInt32(opaque(-3e9f)), INT32_MIN);
    EXPECT_EQ(velmo::toInt32(opaque(std::numeric_limits<float>::quiet_NaN())), 0);
    EXPECT_EQ(velmo::toInt32(opaque(-std::numeric_limits<float>::infinity())), INT32_MIN);
    EXPECT_EQ(velmo::toInt32(opaque(2147483520.0f)), 2147483520);  // largest float below 2^31
    EXPECT_EQ(velmo::toInt32(opaque(-2147483648.0f)), INT32_MIN);
    EXPECT_EQ(velmo::toInt32(opaque(-1.9f)), -1);
    EXPECT_EQ(velmo::toInt32(opaque(1.9f)), 1);
}

TEST(Conversion, DoubleToInt32FollowsArm) {
    EXPECT_EQ(velmo::toInt32(opaque(2147483647.9)), INT32_MAX);
    EXPECT_EQ(velmo::toInt32(opaque(2147483648.0)), INT32_MAX);
    EXPECT_EQ(velmo::toInt32(opaque(-2147483648.9)), INT32_MIN);
    EXPECT_EQ(velmo::toInt32(opaque(-1e300)), INT32_MIN);
    EXPECT_EQ(velmo::toInt32(opaque(std::nan(""))), 0);
    EXPECT_EQ(velmo::toInt32(opaque(-7.5)), -7);
}

TEST(Conversion, ToUnsignedClampsNegativesToZero) {
    EXPECT_EQ(velmo::toUint32(opaque(-0.9f)), 0u);
    EXPECT_EQ(velmo::toUint32(opaque(-1.0f)), 0u);
    EXPECT_EQ(velmo::toUint32(opaque(-5e9f)), 0u);
    EXPECT_EQ(velmo::toUint32(opaque(std::numeric_limits<float>::quiet_NaN())), 0u);
    EXPECT_EQ(velmo::toUint32(opaque(5e9f)), UINT32_MAX);
    EXPECT_EQ(velmo::toUint32(opaque(4294967040.0f)), 4294967040u);
    EXPECT_EQ(velmo::toUint32(opaque(3e9)), 3000000000u);
    EXPECT_EQ(velmo::toUint32(opaque(-2.0)), 0u);
}

TEST(IntegerArithmetic, DivisionByZeroGivesZero) {
    EXPECT_EQ(velmo::udiv(opaque(7u), opaque(0u)), 0u);
    EXPECT_EQ(velmo::umod(opaque(7u), opaque(0u)), 7u);
    EXPECT_EQ(velmo::sdiv(opaque(-7), opaque(0)), 0);
    EXPECT_EQ(velmo::sdiv(opaque(-7), opaque(2)), -3);
    EXPECT_EQ(velmo::sdiv(opaque(INT32_MIN), opaque(-1)), INT32_MIN);
}

TEST(IntegerArithmetic, WrapAroundIsTwosComplement) {
    EXPECT_EQ(velmo::wrapAdd(INT32_MAX, 1), INT32_MIN);
    EXPECT_EQ(velmo::wrapSub(INT32_MIN, 1), INT32_MAX);
    EXPECT_EQ(velmo::wrapMul(65536, 65536), 0);
    EXPECT_EQ(velmo::wrapMul(-3, 5), -15);
    EXPECT_EQ(velmo::wrapAbs(INT32_MIN), INT32_MIN);
    EXPECT_EQ(velmo::wrapAbs(-5), 5);
    EXPECT_EQ(velmo::fromBits(0xffffffffu), -1);
}

TEST(Rounding, HalvesGoAwayFromZeroAndAlignmentHandlesZero) {
    EXPECT_EQ(velmo::roundHalfAway(2.5f), 3.0f);
    EXPECT_EQ(velmo::roundHalfAway(-2.5f), -3.0f);
    EXPECT_EQ(velmo::roundHalfAway(0.49999997f), 0.0f);
    EXPECT_EQ(velmo::ceil2(7.0f), 8.0f);
    EXPECT_EQ(velmo::ceil2(8.0f), 8.0f);
    EXPECT_EQ(velmo::ceil2(7.01f), 8.0f);
    EXPECT_EQ(velmo::alignUp(65, 64), 128u);
    EXPECT_EQ(velmo::alignUp(64, 64), 64u);
    EXPECT_EQ(velmo::alignUp(5, 0), 0u);
    EXPECT_EQ(velmo::alignDown(127, 64), 64u);
    EXPECT_EQ(velmo::alignRound(96, 64), 128u);
    EXPECT_EQ(velmo::alignRound(95, 64), 64u);
}

TEST(Text, NanPrintsTheSameOnEveryArchitecture) {
    char text[32];
    const double negativeNan = -std::numeric_limits<double>::quiet_NaN();
    std::snprintf(text, sizeof text, "%f", velmo::printable(negativeNan));
    EXPECT_STREQ(text, "nan");
    std::snprintf(text, sizeof text, "%f", velmo::printable(-1.5));
    EXPECT_STREQ(text, "-1.500000");
}

TEST(Trig, FloatFunctionsAreTheDoubleOnesRounded) {
    for (float x = -7.0f; x < 7.0f; x += 0.0137f) {
        EXPECT_EQ(velmo::trig::tanf(x), static_cast<float>(std::tan(static_cast<double>(x))));
        float s = 0.0f, c = 0.0f;
        velmo::trig::sincosf(x, &s, &c);
        EXPECT_EQ(s, static_cast<float>(std::sin(static_cast<double>(x))));
        EXPECT_EQ(c, static_cast<float>(std::cos(static_cast<double>(x))));
    }
    // Known correctly rounded values.
    EXPECT_EQ(velmo::trig::tanf(0.7853982f), 1.0f);
    float s = 0.0f, c = 0.0f;
    velmo::trig::sincosf(1.5707964f, &s, &c);
    EXPECT_EQ(s, 1.0f);
    EXPECT_EQ(c, -4.371139e-08f);
}

}  // namespace
