#pragma once

// Shared pieces of the fuzz targets: buffers of exactly the size a call is
// entitled to (the sanitizer's redzone sits right after the last element),
// and sizes drawn both from plausible ranges and from the whole int range.
// (Refused calls print a line on standard output; the runs close it with
// -close_fd_mask=1, or the terminal becomes the bottleneck.)

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <type_traits>

#include "common/Numerics.h"

namespace velmo {
namespace fuzz {

// A heap block of exactly `count` elements; for none, a block of zero bytes
// (the sanitizer reports any element read from it). Elements start as `fill`.
template <typename T>
class Exact {
public:
    explicit Exact(int64_t count, T fill = T{}) : count_(count < 0 ? 0 : count) {
        data_ = static_cast<T*>(std::malloc(static_cast<size_t>(count_) * sizeof(T)));
        if (data_ == nullptr) data_ = static_cast<T*>(std::malloc(1));
        for (int64_t i = 0; i < count_; ++i) data_[i] = fill;
    }
    ~Exact() { std::free(data_); }
    Exact(const Exact&) = delete;
    Exact& operator=(const Exact&) = delete;

    T* get() const { return data_; }
    int64_t size() const { return count_; }
    T& operator[](int64_t i) const { return data_[i]; }
    bool sameAs(const Exact& other) const {
        return count_ == other.count_ && std::memcmp(data_, other.data_, static_cast<size_t>(count_) * sizeof(T)) == 0;
    }

private:
    int64_t count_;
    T* data_;
};

// Element counts the targets are willing to allocate.
constexpr int64_t kMaxElements = int64_t{1} << 18;

// Mostly a size in [lo, hi], sometimes anything at all (negative, huge,
// the extremes), so that the refusals are exercised as well as the maths.
inline int32_t size(FuzzedDataProvider& in, int32_t lo, int32_t hi) {
    switch (in.ConsumeIntegralInRange<int>(0, 15)) {
        case 0: return in.ConsumeIntegral<int32_t>();
        case 1: return in.PickValueInArray<int32_t>({0, -1, 1, std::numeric_limits<int32_t>::min(),
                                                     std::numeric_limits<int32_t>::max(), 65536});
        default: return in.ConsumeIntegralInRange<int32_t>(lo, hi);
    }
}

// Mostly a plain float or double in [lo, hi], sometimes any bit pattern (NaN,
// infinities).
template <typename F>
F value(FuzzedDataProvider& in, F lo, F hi) {
    using Bits = std::conditional_t<sizeof(F) == 4, uint32_t, uint64_t>;
    if (in.ConsumeIntegralInRange<int>(0, 15) != 0) return in.ConsumeFloatingPointInRange<F>(lo, hi);
    const Bits bits = in.ConsumeIntegral<Bits>();
    F f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

// Product of sizes, or -1 when any is negative or the product is beyond what
// a target allocates.
inline int64_t elements(std::initializer_list<int64_t> sizes) {
    int64_t n = 1;
    for (const int64_t s : sizes) {
        if (s < 0 || (s != 0 && n > kMaxElements / s)) return -1;
        n *= s;
    }
    return n;
}

// Elements a plane of h rows of w used elements, `stride` apart, spans
// ((h - 1) x stride + w), or -1 when that is beyond what a target allocates.
// Sizes that describe no plane (a row shorter than its elements included)
// get none: the call must then read nothing.
inline int64_t planeElements(int32_t w, int32_t h, int32_t stride) {
    if (w < 1 || h < 1 || stride < w) return 0;
    const int64_t rows = elements({h - int64_t{1}, stride});
    return rows < 0 || rows + w > kMaxElements ? -1 : rows + w;
}

// Aborts with a message so that the fuzzer records the input.
[[noreturn]] inline void differs(const char* what) {
    std::fprintf(stderr, "vector and scalar results differ: %s\n", what);
    std::abort();
}

// Rewrites a few 32-bit words of a plain record of ints and floats: a nudge
// of a plausible value, any integer, or any float bit pattern. Starting from
// a realistic record keeps most inputs deep in the computation.
template <typename Record>
void mutateWords(FuzzedDataProvider& in, Record& record) {
    static_assert(sizeof(Record) % 4 == 0, "a record of 32-bit words");
    unsigned char* bytes = reinterpret_cast<unsigned char*>(&record);
    for (int edits = in.ConsumeIntegralInRange<int>(0, 6); edits > 0; --edits) {
        const size_t at = 4 * in.ConsumeIntegralInRange<size_t>(0, sizeof(Record) / 4 - 1);
        int32_t word;
        std::memcpy(&word, bytes + at, 4);
        switch (in.ConsumeIntegralInRange<int>(0, 3)) {
            case 0: word = velmo::wrapAdd(word, in.ConsumeIntegralInRange<int32_t>(-64, 64)); break;
            case 1: word = in.ConsumeIntegral<int32_t>(); break;
            case 2: word = in.ConsumeIntegralInRange<int32_t>(-2, 5000); break;
            default: {
                const float f = value(in, -5000.0f, 5000.0f);
                std::memcpy(&word, &f, 4);
            }
        }
        std::memcpy(bytes + at, &word, 4);
    }
}

}  // namespace fuzz
}  // namespace velmo
