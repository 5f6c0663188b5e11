#pragma once

// Motion maps of the sizes the depth pipeline produces, shared by the
// benchmarks of RotateMMap, PowerSaving and their peers.

#include <cstdint>
#include <string>
#include <vector>

#include "maputil/PowerSaving.h"
#include "maputil/RotateMMap.h"

namespace velmo {
namespace bench {

struct RotateCase {
    int32_t width, height, degrees;
};

// Motion-map sizes at 90 and 30 degrees (into the transposed size) and at 0.
inline const RotateCase kRotateCases[] = {
    {240, 136, 90}, {240, 136, 30}, {240, 136, 0}, {480, 272, 90}, {480, 272, 30},
};

inline std::string caseName(const RotateCase& c) {
    return std::to_string(c.width) + "x" + std::to_string(c.height) + "/deg" + std::to_string(c.degrees);
}

// The map rotated into its transposed size (an upright map for a sensor
// mounted at 90 degrees); angle 0 keeps the size.
class RotateData {
public:
    explicit RotateData(RotateCase c)
        : c_(c), dstWidth_(c.degrees == 0 ? c.width : c.height),
          dstHeight_(c.degrees == 0 ? c.height : c.width),
          srcX_(static_cast<size_t>(c.width) * c.height), srcY_(srcX_.size()),
          dstX_(srcX_.size()), dstY_(srcX_.size()) {
        uint32_t state = 1;
        for (size_t i = 0; i < srcX_.size(); ++i) {
            state = state * 1664525u + 1013904223u;
            srcX_[i] = static_cast<int32_t>(state >> 20) - 2048;
            srcY_[i] = static_cast<int32_t>((state >> 8) & 0xfff) - 2048;
        }
    }

    RotateMMapParam param() {
        return {srcX_.data(), srcY_.data(), c_.width,     c_.height,  c_.width,
                c_.degrees,   dstX_.data(), dstY_.data(), dstWidth_,  dstHeight_,
                dstWidth_,    dstWidth_,    dstHeight_,   0};
    }
    int64_t elements() const { return int64_t{dstWidth_} * dstHeight_; }
    const RotateCase& shape() const { return c_; }
    int32_t dstWidth() const { return dstWidth_; }
    int32_t dstHeight() const { return dstHeight_; }
    int32_t* dstX() { return dstX_.data(); }
    int32_t* dstY() { return dstY_.data(); }
    int32_t* srcX() { return srcX_.data(); }
    int32_t* srcY() { return srcY_.data(); }

private:
    RotateCase c_;
    int32_t dstWidth_, dstHeight_;
    std::vector<int32_t> srcX_, srcY_, dstX_, dstY_;
};

class FieldData {
public:
    FieldData(int32_t width, int32_t height)
        : width_(width), height_(height), x_(static_cast<size_t>(width) * height), y_(x_.size()) {
        uint32_t state = 7;
        for (size_t i = 0; i < x_.size(); ++i) {
            state = state * 1664525u + 1013904223u;
            x_[i] = static_cast<int32_t>(state >> 22) - 512;
            y_[i] = static_cast<int32_t>((state >> 6) & 0x3ff) - 512;
        }
    }
    PowerSavingParam param() {
        return {x_.data(), y_.data(), width_, height_, width_, 16, 1, 1, 1, 1, 8, 8, 2, 2};
    }
    int64_t elements() const { return int64_t{width_} * height_; }
    const int32_t* x() const { return x_.data(); }
    const int32_t* y() const { return y_.data(); }

private:
    int32_t width_, height_;
    std::vector<int32_t> x_, y_;
};

}  // namespace bench
}  // namespace velmo
