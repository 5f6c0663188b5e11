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

// AVX2, AVX-512 and SVE gather lanes from offsets in one instruction. The
// 128-bit targets (SSE4, NEON) emulate it lane by lane through memory, and
// reloading a vector from lanes stored just before stalls on store
// forwarding; they gather a whole step through the stack instead, so the
// stores have drained before the vectors are reloaded.
constexpr bool kNativeGather = (HWY_TARGET & (HWY_AVX2 | HWY_AVX3 | HWY_AVX3_DL | HWY_SVE |
                                              HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)) != 0;

// One step's sample offsets, in-map lanes (all ones) and gathered values.
struct StepSamples {
    int32_t at[kStep];
    int32_t inside[kStep];
    int32_t x[kStep];
    int32_t y[kStep];
};

HWY_INLINE void GatherStep(const int32_t* planeX, const int32_t* planeY, StepSamples& s) {
    for (int32_t i = 0; i < kStep; ++i) {
        s.x[i] = planeX[s.at[i]];
        s.y[i] = planeY[s.at[i]];
    }
}

// Destination column centres of lanes starting at column j.
HWY_INLINE VF LaneCentres(int32_t j) {
    const DF df;
    return hn::Add(hn::Set(df, static_cast<float>(j)), hn::Iota(df, 0.5f));
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

// Runs one 16-column step: `offsets(j, in)` gives the clamped source offsets
// of the lanes from column j and which lie in the map, `store(vx, vy, in, j)`
// writes the lanes from the gathered values. (SVE vectors cannot live in
// structs or arrays, hence the callbacks rather than a table of lanes.)
template <class Offsets, class Store>
HWY_INLINE void RunStep(const int32_t* planeX, const int32_t* planeY, int32_t j, Offsets offsets,
                        Store store) {
    const DI di;
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(di));
    if constexpr (kNativeGather) {
        for (int32_t l = j; l < j + kStep; l += lanes) {
            MI in;
            const VI at = offsets(l, in);
            store(hn::GatherIndex(di, planeX, at), hn::GatherIndex(di, planeY, at), in, l);
        }
    } else {
        StepSamples s;
        for (int32_t l = 0; l < kStep; l += lanes) {
            MI in;
            hn::StoreU(offsets(j + l, in), di, s.at + l);
            hn::StoreU(hn::VecFromMask(di, in), di, s.inside + l);
        }
        GatherStep(planeX, planeY, s);
        for (int32_t l = 0; l < kStep; l += lanes) {
            const MI in = hn::MaskFromVec(hn::LoadU(di, s.inside + l));
            store(hn::LoadU(di, s.x + l), hn::LoadU(di, s.y + l), in, j + l);
        }
    }
}

// ---- 0 degrees ---------------------------------------------------------------

void ScaleRow(const RotationPlan& p, const ScaledRow& src, int32_t* outX, int32_t* outY) {
    const DF df;
    const DI di;
    int32_t j = 0;
    if (src.x == nullptr || p.srcWidth < 1) {
        // The whole row samples outside the map.
        j = ZeroLanes(p.bandWidth, outX, outY);
    } else {
        const VF stepX = hn::Set(df, p.stepX);
        const VF half = hn::Set(df, 0.5f);
        const auto columns = [&](int32_t from, MI& in) {
            const VI x = TruncToInt32(di, hn::Add(hn::Mul(stepX, LaneCentres(from)), half));
            return ClampInto(di, x, p.srcWidth, in);
        };
        const auto copy = [&](VI vx, VI vy, MI in, int32_t from) {
            hn::StoreU(hn::IfThenElseZero(in, vx), di, outX + from);
            hn::StoreU(hn::IfThenElseZero(in, vy), di, outY + from);
        };
        for (; j + kStep <= p.bandWidth; j += kStep) RunStep(src.x, src.y, j, columns, copy);
    }
    for (; j < p.bandWidth; ++j) scaleColumn(p, src.x, src.y, j, outX + j, outY + j);
}

// ---- any other angle ---------------------------------------------------------

void RotateRow(const RotationPlan& p, int32_t r, int32_t* outX, int32_t* outY) {
    const DF df;
    const DI di;
    const RotatedRow row = rotatedRow(p, r);
    int32_t j = 0;
    if (p.srcWidth < 1 || p.srcHeight < 1) {
        // An empty map: every sample is outside.
        j = ZeroLanes(p.bandWidth, outX, outY);
    } else {
        const VF sinA = hn::Set(df, p.sinA);
        const VF cosA = hn::Set(df, p.cosA);
        const VF half = hn::Set(df, 0.5f);
        const VF stepX = hn::Set(df, p.stepX);
        const VF rotCentreX = hn::Set(df, p.rotCentreX);
        const VF rowA = hn::Set(df, row.a);
        const VF rowB = hn::Set(df, row.b);
        const VI stride = hn::Set(di, p.srcStride);
        // Inverse rotation of the destination point about both centres.
        const auto samples = [&](int32_t from, MI& in) {
            const VF dx = hn::Sub(hn::Mul(stepX, LaneCentres(from)), rotCentreX);
            const VI x = TruncToInt32(di, hn::Add(hn::Add(rowA, hn::Mul(cosA, dx)), half));
            const VI y = TruncToInt32(di, hn::Add(hn::Sub(rowB, hn::Mul(sinA, dx)), half));
            MI inX;
            MI inY;
            const VI column = ClampInto(di, x, p.srcWidth, inX);
            const VI sourceRow = ClampInto(di, y, p.srcHeight, inY);
            in = hn::And(inX, inY);
            return hn::Add(hn::Mul(sourceRow, stride), column);
        };
        // Forward rotation of the sampled vector.
        const auto rotate = [&](VI x, VI y, MI in, int32_t from) {
            const VF vx = hn::ConvertTo(df, x);
            const VF vy = hn::ConvertTo(df, y);
            const VF rx = hn::Add(hn::Sub(hn::Mul(cosA, vx), hn::Mul(sinA, vy)), half);
            const VF ry = hn::Add(hn::Add(hn::Mul(sinA, vx), hn::Mul(cosA, vy)), half);
            hn::StoreU(hn::IfThenElseZero(in, TruncToInt32(di, rx)), di, outX + from);
            hn::StoreU(hn::IfThenElseZero(in, TruncToInt32(di, ry)), di, outY + from);
        };
        for (; j + kStep <= p.bandWidth; j += kStep) RunStep(p.srcX, p.srcY, j, samples, rotate);
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
