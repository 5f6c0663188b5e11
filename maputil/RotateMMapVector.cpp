// Compiled once per vector target by Highway's foreach_target.h.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "maputil/RotateMMapVector.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep

#include <hwy/highway.h>

#include "maputil/RotateMMapScalar.h"
#include "maputil/RotateMMapVector.h"
#include "maputil/VectorConvert-inl.h"

HWY_BEFORE_NAMESPACE();
namespace velmo {
namespace maputil {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Columns per step. Each step is 16 / Lanes vectors of at most 16 lanes; Lanes
// is a power of two on every target.
constexpr int32_t kStep = 16;

using DF = hn::CappedTag<float, kStep>;
using DI = hn::RebindToSigned<DF>;
using VF = hn::Vec<DF>;
using VI = hn::Vec<DI>;
using MI = hn::Mask<DI>;

// Lanes inside [0, size) keep their value, the others are clamped so the
// gather stays in the map; `in` records which were inside.
HWY_INLINE VI ClampInto(DI di, VI v, int32_t size, MI& in) {
    const VI zero = hn::Zero(di);
    in = hn::And(hn::Gt(v, hn::Set(di, -1)), hn::Lt(v, hn::Set(di, size)));
    return hn::Min(hn::Max(v, zero), hn::Set(di, size - 1));
}

// ---- 0 degrees ---------------------------------------------------------------

// (SVE vectors cannot live in structs, so the lane functions take the plan and
// broadcast what they need; inlined, the broadcasts leave the loops.)
HWY_INLINE void ScaleLanes(const RotationPlan& p, const ScaledRow& src, VF centres, int32_t* outX,
                           int32_t* outY) {
    const DF df;
    const DI di;
    const VI x = TruncToInt32(di, hn::Add(hn::Mul(hn::Set(df, p.stepX), centres), hn::Set(df, 0.5f)));
    MI in;
    const VI column = ClampInto(di, x, p.srcWidth, in);
    hn::StoreU(hn::IfThenElseZero(in, hn::GatherIndex(di, src.x, column)), di, outX);
    hn::StoreU(hn::IfThenElseZero(in, hn::GatherIndex(di, src.y, column)), di, outY);
}

// Stores zeros over whole vectors of the row; returns the first column left.
HWY_INLINE int32_t ZeroLanes(int32_t width, int32_t* outX, int32_t* outY) {
    const DI di;
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(di));
    int32_t j = 0;
    for (; j + lanes <= width; j += lanes) {
        hn::StoreU(hn::Zero(di), di, outX + j);
        hn::StoreU(hn::Zero(di), di, outY + j);
    }
    return j;
}

void ScaleRow(const RotationPlan& p, const ScaledRow& src, int32_t* outX, int32_t* outY) {
    const DF df;
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(df));
    int32_t j = 0;
    if (src.x == nullptr || p.srcWidth < 1) {
        // The whole row samples outside the map.
        j = ZeroLanes(p.bandWidth, outX, outY);
    } else {
        const VF laneCentres = hn::Iota(df, 0.5f);
        for (; j + kStep <= p.bandWidth; j += kStep) {
            for (int32_t l = 0; l < kStep; l += lanes) {
                const VF centres = hn::Add(hn::Set(df, static_cast<float>(j + l)), laneCentres);
                ScaleLanes(p, src, centres, outX + j + l, outY + j + l);
            }
        }
    }
    for (; j < p.bandWidth; ++j) scaleColumn(p, src.x, src.y, j, outX + j, outY + j);
}

// ---- any other angle ---------------------------------------------------------

HWY_INLINE void RotateLanes(const RotationPlan& p, VF rowA, VF rowB, VF centres, int32_t* outX,
                            int32_t* outY) {
    const DF df;
    const DI di;
    const VF sinA = hn::Set(df, p.sinA);
    const VF cosA = hn::Set(df, p.cosA);
    const VF half = hn::Set(df, 0.5f);
    const VF dx = hn::Sub(hn::Mul(hn::Set(df, p.stepX), centres), hn::Set(df, p.rotCentreX));
    const VI x = TruncToInt32(di, hn::Add(hn::Add(rowA, hn::Mul(cosA, dx)), half));
    const VI y = TruncToInt32(di, hn::Add(hn::Sub(rowB, hn::Mul(sinA, dx)), half));
    MI inX;
    MI inY;
    const VI column = ClampInto(di, x, p.srcWidth, inX);
    const VI row = ClampInto(di, y, p.srcHeight, inY);
    const MI in = hn::And(inX, inY);
    const VI at = hn::Add(hn::Mul(row, hn::Set(di, p.srcStride)), column);
    const VF vx = hn::ConvertTo(df, hn::GatherIndex(di, p.srcX, at));
    const VF vy = hn::ConvertTo(df, hn::GatherIndex(di, p.srcY, at));
    const VF rx = hn::Add(hn::Sub(hn::Mul(cosA, vx), hn::Mul(sinA, vy)), half);
    const VF ry = hn::Add(hn::Add(hn::Mul(sinA, vx), hn::Mul(cosA, vy)), half);
    hn::StoreU(hn::IfThenElseZero(in, TruncToInt32(di, rx)), di, outX);
    hn::StoreU(hn::IfThenElseZero(in, TruncToInt32(di, ry)), di, outY);
}

void RotateRow(const RotationPlan& p, int32_t r, int32_t* outX, int32_t* outY) {
    const DF df;
    const RotatedRow row = rotatedRow(p, r);
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(df));
    int32_t j = 0;
    if (p.srcWidth < 1 || p.srcHeight < 1) {
        // An empty map: every sample is outside.
        j = ZeroLanes(p.bandWidth, outX, outY);
    } else {
        const VF rowA = hn::Set(df, row.a);
        const VF rowB = hn::Set(df, row.b);
        const VF laneCentres = hn::Iota(df, 0.5f);
        for (; j + kStep <= p.bandWidth; j += kStep) {
            for (int32_t l = 0; l < kStep; l += lanes) {
                const VF centres = hn::Add(hn::Set(df, static_cast<float>(j + l)), laneCentres);
                RotateLanes(p, rowA, rowB, centres, outX + j + l, outY + j + l);
            }
        }
    }
    for (; j < p.bandWidth; ++j) rotateColumn(p, row, j, outX + j, outY + j);
}

int64_t CurrentTarget() { return HWY_TARGET; }

void RotateRows(const RotationPlan& p) {
    for (int32_t r = 0; r < p.rows; ++r) {
        const std::ptrdiff_t at = elementIndex(p.bandStart, r, p.dstStride);
        if (p.angleZero) {
            ScaleRow(p, scaledRow(p, r), p.dstX + at, p.dstY + at);
        } else {
            RotateRow(p, r, p.dstX + at, p.dstY + at);
        }
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace maputil
}  // namespace velmo
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace velmo {
namespace maputil {

HWY_EXPORT(RotateRows);
HWY_EXPORT(CurrentTarget);

namespace {

// The lanes work in 32-bit gather offsets and exact float column centres; maps
// beyond that (gigabyte planes, rows of millions of columns) take the scalar
// rows.
bool fitsVectorRows(const RotationPlan& p) {
    const int64_t lastOffset =
        (int64_t{p.srcHeight} - 1) * p.srcStride + (int64_t{p.srcWidth} - 1);
    return lastOffset <= INT32_MAX && p.bandWidth <= (1 << 22);
}

}  // namespace

void rotateRowsVector(const RotationPlan& plan) {
    if (!fitsVectorRows(plan)) {
        rotateRowsScalar(plan);
        return;
    }
    HWY_DYNAMIC_DISPATCH(RotateRows)(plan);
}

std::vector<int64_t> compiledVectorTargets() { return hwy::SupportedAndGeneratedTargets(); }

int64_t dispatchedTarget() { return HWY_DYNAMIC_DISPATCH(CurrentTarget)(); }

}  // namespace maputil
}  // namespace velmo
#endif  // HWY_ONCE
