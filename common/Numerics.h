#pragma once

// Numerics shared by every subsystem. The library's results are defined as the
// 64-bit Arm results of its arithmetic; these helpers give those results on
// every host (x86-64 included) without undefined behaviour:
//  - float-to-integer conversion truncates toward zero, saturates at the
//    target's limits and maps NaN to 0 (FCVTZS/FCVTZU semantics);
//  - integer division by zero gives 0, as SDIV/UDIV do;
//  - 32-bit wrap-around is computed in uint32_t, never by overflowing int.

#include <cmath>
#include <cstdint>
#include <limits>

namespace velmo {

// ---- float -> integer, 64-bit Arm semantics --------------------------------

constexpr int32_t toInt32(float v) {
    if (v != v) return 0;
    if (v >= 2147483648.0f) return std::numeric_limits<int32_t>::max();
    if (v <= -2147483648.0f) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(v);
}

constexpr int32_t toInt32(double v) {
    if (v != v) return 0;
    if (v >= 2147483648.0) return std::numeric_limits<int32_t>::max();
    if (v <= -2147483649.0) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(v);
}

constexpr uint32_t toUint32(float v) {
    if (!(v > -1.0f)) return 0;  // NaN and anything that truncates below 0
    if (v >= 4294967296.0f) return std::numeric_limits<uint32_t>::max();
    return static_cast<uint32_t>(v);
}

constexpr uint32_t toUint32(double v) {
    if (!(v > -1.0)) return 0;
    if (v >= 4294967296.0) return std::numeric_limits<uint32_t>::max();
    return static_cast<uint32_t>(v);
}

constexpr int64_t toInt64(double v) {
    if (v != v) return 0;
    if (v >= 9223372036854775808.0) return std::numeric_limits<int64_t>::max();
    if (v <= -9223372036854775808.0) return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(v);
}

// ---- integer arithmetic with defined results -------------------------------

// Unsigned division and remainder; a zero divisor gives quotient 0 and leaves
// the dividend as remainder (UDIV then MSUB on Arm).
constexpr uint32_t udiv(uint32_t a, uint32_t b) { return b ? a / b : 0; }
constexpr uint32_t umod(uint32_t a, uint32_t b) { return b ? a % b : a; }

// Signed division truncating toward zero; by zero gives 0, and INT32_MIN / -1
// gives INT32_MIN, as SDIV does.
constexpr int32_t sdiv(int32_t a, int32_t b) {
    if (b == 0) return 0;
    if (b == -1) return static_cast<int32_t>(0u - static_cast<uint32_t>(a));
    return a / b;
}

// Two's-complement wrap-around of 32-bit signed arithmetic.
constexpr int32_t fromBits(uint32_t v) {
    return v <= 0x7fffffffu ? static_cast<int32_t>(v)
                            : static_cast<int32_t>(v - 0x80000000u) - 0x7fffffff - 1;
}
constexpr int32_t wrapAdd(int32_t a, int32_t b) {
    return fromBits(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
constexpr int32_t wrapSub(int32_t a, int32_t b) {
    return fromBits(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
constexpr int32_t wrapMul(int32_t a, int32_t b) {
    return fromBits(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}
// |INT32_MIN| stays INT32_MIN, as the plain two's-complement negation does.
constexpr int32_t wrapAbs(int32_t a) { return a < 0 ? fromBits(0u - static_cast<uint32_t>(a)) : a; }

// ---- rounding and alignment --------------------------------------------------

// Round half away from zero (std::round semantics), in the argument's precision.
inline float roundHalfAway(float v) { return std::round(v); }
inline double roundHalfAway(double v) { return std::round(v); }

// 2 * ceil(x * 0.5): the smallest even integer not below x, in single precision.
inline float ceil2(float x) { return 2.0f * std::ceil(x * 0.5f); }

// Integer alignment to a multiple of n (n = 0 gives 0, as the Arm division does).
constexpr uint32_t alignDown(uint32_t v, uint32_t n) { return udiv(v, n) * n; }
constexpr uint32_t alignUp(uint32_t v, uint32_t n) { return udiv(v + (n ? n - 1 : 0), n) * n; }
constexpr uint32_t alignRound(uint32_t v, uint32_t n) { return udiv(v + n / 2, n) * n; }

// ---- text ------------------------------------------------------------------

// glibc prints a NaN with the sign bit set as "-nan" (x86-64's default NaN has
// it); arm64's default NaN has not. Clearing the sign makes both print "nan".
inline double printable(double v) { return std::isnan(v) ? std::fabs(v) : v; }

}  // namespace velmo
