#include "vwmt/core/Interp1Sorted.h"

#include <cstddef>
#include <cstdint>

#include "common/Numerics.h"

namespace VWMT {

namespace {

// The interpolation state carried from one query to the next: the left sample
// only ever moves right, and a query that finds no interval keeps the weights
// of the previous one.
struct Cursor {
    int left = 0;
    int right = 0;
    float w0 = 1.0f;
    float w1 = 0.0f;
};

// Places t on the samples from the cursor onwards. Assumes left < nX - 1.
void locate(Cursor& c, int nX, float const* x, float t) {
    if (t <= x[c.left]) {  // below the current sample: clamp to it
        c.w0 = 1.0f;
        c.w1 = 0.0f;
        c.right = c.left + 1;
        return;
    }
    for (int k = c.left; k + 1 < nX; ++k) {
        const bool lastInterval = k + 2 == nX;
        if (lastInterval && t >= x[nX - 1]) {  // above the range: clamp to the last sample
            c.left = nX - 2;
            c.w0 = 0.0f;
            c.w1 = 1.0f;
            c.right = nX - 1;
            return;
        }
        if (x[k] <= t && t <= x[k + 1]) {
            c.left = k;
            c.w0 = (x[k + 1] - t) / (x[k + 1] - x[k]);
            c.w1 = (t - x[k]) / (x[k + 1] - x[k]);
            c.right = k + 1;
            return;
        }
    }
    // Only unsorted samples or a NaN query get here; the weights stay as they were.
    c.left = nX - 1;
    c.right = nX - 1;
}

void reverseInto(float* dst, float const* src, int n) {
    for (int k = 0; k < n; ++k) dst[k] = src[n - 1 - k];
}

}  // namespace

void Interp1_Sorted::getIndicesAndWeights(float* out, int nX, float const* x, int nQ, float const* q) {
    Cursor c;
    for (int k = 0; k < nQ; ++k) {
        if (static_cast<int64_t>(c.left) + 1 < nX) locate(c, nX, x, q[k]);
        float* record = out + static_cast<ptrdiff_t>(k) * kRecordFloats;
        record[0] = static_cast<float>(c.left);
        record[1] = c.w0;
        record[2] = static_cast<float>(c.right);
        record[3] = c.w1;
    }
}

void Interp1_Sorted::getIndicesAndWeights(float* out, int nX, float const* x, bool xDescending, float** xWork,
                                          int nQ, float const* q, bool qDescending, float** qWork) {
    // 1. The walk needs ascending samples.
    float const* samples = x;
    if (xDescending && nX >= 1) {
        reverseInto(*xWork, x, nX);
        samples = *xWork;
    }

    // 2-3. Descending queries are walked reversed, and their records turned back.
    if (qDescending) {
        if (nQ < 1) return;  // no records to write
        reverseInto(*qWork, q, nQ);
        getIndicesAndWeights(out, nX, samples, nQ, *qWork);
        for (int k = 0; k < nQ / 2; ++k) {
            float* front = out + static_cast<ptrdiff_t>(k) * kRecordFloats;
            float* back = out + static_cast<ptrdiff_t>(nQ - 1 - k) * kRecordFloats;
            for (int f = 0; f < kRecordFloats; ++f) swapDoubles(front + f, back + f);
        }
    } else {
        getIndicesAndWeights(out, nX, samples, nQ, q);
    }

    // 4. Indices back into the caller's sample order, in float as stored.
    if (xDescending) {
        const float count = static_cast<float>(nX);
        for (int k = 0; k < nQ; ++k) {
            float* record = out + static_cast<ptrdiff_t>(k) * kRecordFloats;
            record[0] = (count - record[0]) - 1.0f;
            record[2] = (count - record[2]) - 1.0f;
        }
    }
}

float* Interp1_Sorted::applyWeightedSum(float* out, int nQ, int stride, float const* table, float const* data) {
    for (int k = 0; k < nQ; ++k) {
        float const* record = table + static_cast<ptrdiff_t>(k) * kRecordFloats;
        float const* d0 = data + static_cast<ptrdiff_t>(velmo::toInt32(record[0])) * stride;
        float const* d1 = data + static_cast<ptrdiff_t>(velmo::toInt32(record[2])) * stride;
        const float w0 = record[1];
        const float w1 = record[3];
        for (int e = 0; e < stride; ++e) *out++ = w0 * d0[e] + w1 * d1[e];
    }
    return out;
}

void Interp1_Sorted::swapDoubles(float* a, float* b) {
    const float held = *a;
    *a = *b;
    *b = held;
}

}  // namespace VWMT
