#pragma once

// A transformer with its working buffer for the transform tests, and the
// working-array offsets of the documented carve order, so that tests read the
// arrays where a consumer of the buffer would.

#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "support/LogCapture.h"
#include "vwmt/VectWarpMapTrans.h"

namespace velmo {
namespace testing {

struct GridSizes {
    int gridW, gridH, meshW, meshH, contentW, contentH;
};

// Byte offset of working array `array` when carved back to back in the
// documented order with the documented sizes; with `bytes`, also its size.
inline size_t workingOffset(const GridSizes& s, int array, size_t* bytes = nullptr) {
    const int64_t g = int64_t{s.gridW} * s.gridH, m = int64_t{s.meshW} * s.meshH;
    const int64_t c = int64_t{s.contentW} * s.contentH;
    const int64_t cells = int64_t{s.contentW - 1} * (s.contentH - 1), rows = s.meshH;
    const std::pair<int, int64_t> order[] = {
        {0, 8 * g},  {20, 8 * g},  {21, 8 * c},    {1, 8 * m},     {2, 8 * m},     {3, 8 * m},  {4, 8 * m},
        {13, 24 * cells}, {14, 8 * m}, {15, 4 * m}, {16, 4 * m},   {22, 32 * rows}, {23, 8 * rows},
        {24, 8 * rows}, {5, 8 * c}, {6, 8 * c},     {7, 8 * c},     {8, 8 * c},     {17, 8 * c}, {18, 4 * c},
        {19, 4 * c},  {9, 8 * m},  {10, 8 * m},   {11, 8 * m},    {12, 8 * m}};
    int64_t at = 0;
    for (const auto& entry : order) {
        if (entry.first == array) {
            if (bytes != nullptr) *bytes = static_cast<size_t>(entry.second);
            return static_cast<size_t>(at);
        }
        at += entry.second;
    }
    return static_cast<size_t>(at);
}

// Pixels x 32, halves away from zero, in double: the expected fixed point of
// a coordinate worked out independently.
inline int32_t fixed(double pixels) {
    const double v = pixels * 32.0;
    return static_cast<int32_t>(v >= 0.0 ? v + 0.5 : v - 0.5);
}

// Tg crop 4000 x 3000 on a larger sensor, P1 crop and resize chosen per test.
inline ImgSizeDescription frameGeometry(VWMTRect p1Crop, VWMTSize p1Resize) {
    ImgSizeDescription d{};
    d.sensorSize = {8000, 6000};
    d.analogCrop = {100, 100, 7000, 5000};
    d.binningSize = {3500, 2500};
    d.digitalCrop = {10, 10, 3400, 2400};
    d.tgCrop = {40, 30, 4000, 3000};
    d.p1Crop = p1Crop;
    d.p1Resize = p1Resize;
    return d;
}

// An OIS-on transformer sized for one frame by updateVectSize, with its
// working buffer carved.
class TransformRig {
public:
    TransformRig(int vectW, int vectH, int contentW, int contentH, VWMT_DIRECTION dir, float angle)
        : trans_(vectW, vectH, 1), x_(size_t(vectW) * vectH, 0.0), y_(size_t(vectW) * vectH, 0.0) {
        in_ = VWMTInput{};
        in_.inOisX = x_.data();
        in_.inOisY = y_.data();
        in_.vect_w = vectW;
        in_.vect_h = vectH;
        in_.dir = dir;
        in_.gridParam.content_w = contentW;
        in_.gridParam.content_h = contentH;
        in_.gridParam.buffer_size = contentW > contentH ? contentW : contentH;
        in_.gridParam.rotAngle = angle;
        trans_.updateVectSize(in_);
        sizes_ = {vectW, vectH, vectW == 1 ? 2 : vectW, vectH, contentW, contentH};
        if (dir == 1 && (angle == 90.0f || angle == 270.0f)) std::swap(sizes_.contentW, sizes_.contentH);
        const int bytes = trans_.getWorkingBufferSize();
        work_.assign(size_t(bytes) / 4 + 1, 0u);
        trans_.setWorkingBuffer(buffer());
    }

    VectWarpMapTrans& trans() { return trans_; }
    std::vector<double>& x() { return x_; }
    std::vector<double>& y() { return y_; }
    const GridSizes& sizes() const { return sizes_; }
    char* buffer() { return reinterpret_cast<char*>(work_.data()); }
    size_t bufferBytes() const { return work_.size() * 4; }

    void forward(ImgSizeDescription const& d, GridFromOisParam g) {
        trans_.transformVectToWarpMap(x_.data(), y_.data(), d, g);
    }
    void backward(ImgSizeDescription const& d, GridFromOisParam g, VWMT_DIRECTION dir) {
        trans_.transformForwardVectToBackwardWarpMap(x_.data(), y_.data(), d, g, dir);
    }

    template <typename T>
    std::vector<T> read(int array, size_t count) const {
        std::vector<T> out(count);
        std::memcpy(out.data(), reinterpret_cast<const char*>(work_.data()) + workingOffset(sizes_, array),
                    count * sizeof(T));
        return out;
    }
    template <typename T>
    void write(int array, const std::vector<T>& values) {
        std::memcpy(buffer() + workingOffset(sizes_, array), values.data(), values.size() * sizeof(T));
    }
    // Working arrays 18 and 19: the grid the transform leaves, pixels x 32.
    std::vector<int32_t> gridX() const { return read<int32_t>(18, contentCount()); }
    std::vector<int32_t> gridY() const { return read<int32_t>(19, contentCount()); }
    size_t contentCount() const { return size_t(sizes_.contentW) * sizes_.contentH; }

private:
    VectWarpMapTrans trans_;
    std::vector<double> x_, y_;
    VWMTInput in_;
    GridSizes sizes_;
    std::vector<uint32_t> work_;
};

// Resets the process-wide settings the transforms read.
inline void resetTransformerGlobals() {
    VWMT::logLevel = 0;
    VWMT::ois_scale_x = 0.88f;
    VWMT::ois_scale_y = 0.88f;
}

}  // namespace testing
}  // namespace velmo
