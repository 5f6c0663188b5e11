#pragma once

// Shared pieces of the OIS transformer tests: the process-wide settings, a
// frame's input and output planes, the working-array offsets of the
// documented carve order (so tests read the arrays where a consumer of the
// buffer would), a transformer rig, and the heap allocation counter.

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "support/LogCapture.h"
#include "vwmt/VectWarpMapTrans.h"

namespace velmo {
namespace testing {

// Counted while gCountAllocations is set (AllocationCounter.cpp).
extern std::atomic<bool> gCountAllocations;
extern std::atomic<long> gAllocations;

// Heap allocations made by f().
template <typename F>
long allocationsIn(F&& f) {
    gAllocations = 0;
    gCountAllocations = true;
    f();
    gCountAllocations = false;
    return gAllocations;
}

// Starts a test at the library's defaults (log level 0, scales 0.88) and
// restores whatever was set before.
class TransformerGlobals {
public:
    TransformerGlobals() : logLevel_(VWMT::logLevel), scaleX_(VWMT::ois_scale_x), scaleY_(VWMT::ois_scale_y) {
        VWMT::logLevel = 0;
        VWMT::ois_scale_x = VWMT::ois_scale_y = 0.88f;
    }
    ~TransformerGlobals() {
        VWMT::logLevel = logLevel_;
        VWMT::ois_scale_x = scaleX_;
        VWMT::ois_scale_y = scaleY_;
    }

private:
    int logLevel_;
    float scaleX_, scaleY_;
};

// A frame with the given vector grid and output; no geometry yet.
inline VWMTInput makeInput(int vectW, int vectH, VWMT_DIRECTION dir, int contentW, int contentH, int bufferSize,
                           float rotAngle) {
    return VWMTInput{nullptr, nullptr, vectW, vectH, dir, {}, {{}, {}, {}, {}, contentW, contentH, bufferSize, rotAngle}};
}

// Three square output planes prefilled with a sentinel, so that unwritten
// entries can be told apart.
struct OutputPlanes {
    static constexpr int32_t kUntouched = 0x5a5a5a5a;

    explicit OutputPlanes(int side)
        : side(side), x(size_t(side) * side, kUntouched), y(x), weight(x) {}
    VWMTOutput record(bool withWeight = true) {
        return VWMTOutput{x.data(), y.data(), withWeight ? weight.data() : nullptr};
    }
    bool untouched() const {
        return x == y && x == weight && std::all_of(x.begin(), x.end(), [](int32_t v) { return v == kUntouched; });
    }
    int32_t X(int col, int row) const { return x[size_t(row) * side + col]; }
    int32_t Y(int col, int row) const { return y[size_t(row) * side + col]; }
    int32_t W(int col, int row) const { return weight[size_t(row) * side + col]; }

    int side;
    std::vector<int32_t> x, y, weight;
};

// One frame through oisVecToGrid: a transformer, its working buffer, the
// caller's vectors and the output planes.
struct FrameRig {
    FrameRig(int vectW, int vectH, int isOisOn, int side, int content)
        : trans(vectW, vectH, isOisOn), planes(side), vx(size_t(vectW) * vectH, 0.0), vy(vx),
          in(makeInput(vectW, vectH, VWMT_DIRECTION_FORWARD, content, content, side, 0.0f)) {
        in.inOisX = vx.data();
        in.inOisY = vy.data();
    }
    void carve() {
        trans.updateVectSize(in);
        work.assign(size_t(trans.getWorkingBufferSize()) / 4, 0x77777777u);
        trans.setWorkingBuffer(reinterpret_cast<char*>(work.data()));
    }
    void run() {
        VWMTOutput out = planes.record();
        trans.oisVecToGrid(in, out);
    }
    // 1280 x 960 timing-generator crop resized to 640 x 480 in the front end.
    void geometry(int srcW, int rotW, int rotH, float angle, VWMT_DIRECTION dir) {
        ImgSizeDescription& d = in.imgSizeDesc;
        d.sensorSize = d.binningSize = {1280, 960};
        d.analogCrop = d.digitalCrop = d.tgCrop = {0, 0, 1280, 960};
        d.p1Resize = {640, 480};
        in.gridParam.srcImg.size = {srcW, 480};
        in.gridParam.rotImg.size = {rotW, rotH};
        in.gridParam.rotAngle = angle;
        in.dir = dir;
    }
    void fillVectors(double x, double y) {
        std::fill(vx.begin(), vx.end(), x);
        std::fill(vy.begin(), vy.end(), y);
    }

    VectWarpMapTrans trans;
    OutputPlanes planes;
    std::vector<double> vx, vy;
    VWMTInput in;
    std::vector<uint32_t> work;
};

// Byte offset and size of every working array, carved back to back in the
// documented order with the documented sizes.
struct Carve {
    size_t offset[25];
    size_t bytes[25];
    size_t total;
};

inline Carve documentedCarve(int gridW, int gridH, int meshW, int meshH, int contentW, int contentH) {
    const size_t g = size_t(gridW) * gridH, m = size_t(meshW) * meshH, c = size_t(contentW) * contentH;
    const size_t cells = size_t(contentW - 1) * (contentH - 1), rows = size_t(meshH);
    const std::pair<int, size_t> order[] = {
        {0, 8 * g},  {20, 8 * g},  {21, 8 * c},     {1, 8 * m},      {2, 8 * m},      {3, 8 * m},  {4, 8 * m},
        {13, 24 * cells}, {14, 8 * m}, {15, 4 * m}, {16, 4 * m},     {22, 32 * rows}, {23, 8 * rows},
        {24, 8 * rows}, {5, 8 * c}, {6, 8 * c},     {7, 8 * c},      {8, 8 * c},      {17, 8 * c}, {18, 4 * c},
        {19, 4 * c},  {9, 8 * m},  {10, 8 * m},    {11, 8 * m},     {12, 8 * m}};
    Carve carve{};
    for (const auto& entry : order) {
        carve.offset[entry.first] = carve.total;
        carve.bytes[entry.first] = entry.second;
        carve.total += entry.second;
    }
    return carve;
}

// Pixels x 32, halves away from zero, in double: the expected fixed point of
// a coordinate worked out independently.
inline int32_t fixed(double pixels) {
    const double v = pixels * 32.0;
    return static_cast<int32_t>(v >= 0.0 ? v + 0.5 : v - 0.5);
}

// Tg crop 4000 x 3000 on a larger sensor, P1 crop and resize chosen per test.
inline ImgSizeDescription frameGeometry(VWMTRect p1Crop, VWMTSize p1Resize) {
    return ImgSizeDescription{{8000, 6000}, {100, 100, 7000, 5000}, {3500, 2500}, {10, 10, 3400, 2400},
                              {40, 30, 4000, 3000}, p1Crop, p1Resize};
}

inline GridFromOisParam gridParam(VWMTSize src, VWMTSize rz, VWMTSize rot, float angle) {
    return GridFromOisParam{{src}, {rz}, {}, {rot}, 0, 0, 0, angle};
}

// A transformer sized for one frame by updateVectSize, with its working
// buffer carved; with OIS off the mesh takes the content size.
struct TransformRig {
    TransformRig(int vectW, int vectH, int contentW, int contentH, VWMT_DIRECTION dir, float angle, int isOisOn = 1)
        : trans(vectW, vectH, isOisOn), x(size_t(vectW) * vectH, 0.0), y(x) {
        VWMTInput in = makeInput(vectW, vectH, dir, contentW, contentH, std::max(contentW, contentH), angle);
        in.inOisX = x.data();
        in.inOisY = y.data();
        trans.updateVectSize(in);
        if (isOisOn && dir == 1 && (angle == 90.0f || angle == 270.0f)) std::swap(contentW, contentH);
        contentCount = size_t(contentW) * contentH;
        carve = isOisOn ? documentedCarve(vectW, vectH, vectW == 1 ? 2 : vectW, vectH, contentW, contentH)
                        : documentedCarve(vectW, vectH, contentW, contentH, contentW, contentH);
        work.assign(size_t(trans.getWorkingBufferSize()) / 4 + 1, 0u);
        trans.setWorkingBuffer(buffer());
    }
    char* buffer() { return reinterpret_cast<char*>(work.data()); }
    void forward(ImgSizeDescription const& d, GridFromOisParam g) { trans.transformVectToWarpMap(x.data(), y.data(), d, g); }
    void backward(ImgSizeDescription const& d, GridFromOisParam g, VWMT_DIRECTION dir) {
        trans.transformForwardVectToBackwardWarpMap(x.data(), y.data(), d, g, dir);
    }
    template <typename T>
    std::vector<T> read(int array, size_t count) const {
        std::vector<T> out(count);
        std::memcpy(out.data(), reinterpret_cast<const char*>(work.data()) + carve.offset[array], count * sizeof(T));
        return out;
    }
    // Working arrays 18 and 19: the grid the transform leaves, pixels x 32.
    std::vector<int32_t> gridX() const { return read<int32_t>(18, contentCount); }
    std::vector<int32_t> gridY() const { return read<int32_t>(19, contentCount); }

    VectWarpMapTrans trans;
    std::vector<double> x, y;
    size_t contentCount;
    Carve carve;
    std::vector<uint32_t> work;
};

}  // namespace testing
}  // namespace velmo
