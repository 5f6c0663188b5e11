// Float-to-int32 lanes with the 64-bit Arm result: truncate toward zero,
// saturate, NaN to 0 (what velmo::toInt32 gives). Included once per target.
#if defined(VELMO_MAPUTIL_VECTOR_CONVERT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef VELMO_MAPUTIL_VECTOR_CONVERT_INL_H_
#undef VELMO_MAPUTIL_VECTOR_CONVERT_INL_H_
#else
#define VELMO_MAPUTIL_VECTOR_CONVERT_INL_H_
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace velmo {
namespace maputil {
namespace HWY_NAMESPACE {

template <class DI, class VF>
HWY_INLINE hwy::HWY_NAMESPACE::Vec<DI> TruncToInt32(DI di, VF v) {
    namespace hn = hwy::HWY_NAMESPACE;
#if HWY_ARCH_ARM && HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128
    // FCVTZS already saturates and turns NaN into 0.
    return hn::ConvertTo(di, v);
#else
    // Highway saturates the overflowing lanes (x86's 0x80000000 becomes
    // INT32_MAX for positive ones), but a NaN lane would stay 0x80000000, or be
    // undefined on the scalar target: clear NaN lanes first.
    return hn::ConvertTo(di, hn::IfThenElseZero(hn::Eq(v, v), v));
#endif
}

}  // namespace HWY_NAMESPACE
}  // namespace maputil
}  // namespace velmo
HWY_AFTER_NAMESPACE();

#endif  // include guard
