#pragma once

// A camera-stack frame for the transformer targets, with a few words of its
// records rewritten by the fuzzer, and the transformer's working buffer
// carved at exactly the size it asks for.

#include <algorithm>

#include "FuzzSupport.h"
#include "vwmt/VectWarpMapTrans.h"

namespace velmo {
namespace fuzz {

struct TransformerFrame {
    int32_t vectW, vectH;
    ImgSizeDescription desc{};
    GridFromOisParam grid{};

    explicit TransformerFrame(FuzzedDataProvider& in) {
        vectW = size(in, 1, 12);
        vectH = size(in, 1, 12);
        desc.sensorSize = {4208, 3120};
        desc.analogCrop = {0, 0, 4208, 3120};
        desc.binningSize = {4208, 3120};
        desc.digitalCrop = {0, 0, 4208, 3120};
        desc.tgCrop = {0, 0, 4000, 3000};
        desc.p1Crop = {0, 0, 4000, 3000};
        desc.p1Resize = {2000, 1500};
        grid.srcImg.size = {2000, 1500};
        grid.rzImg.size = in.ConsumeBool() ? VWMTSize{1000, 750} : VWMTSize{0, 0};
        grid.CropImg.size = in.ConsumeBool() ? VWMTRect{100, 50, 800, 600} : VWMTRect{0, 0, 0, 0};
        grid.rotImg.size = in.ConsumeBool() ? VWMTSize{1500, 2000} : VWMTSize{0, 0};
        grid.content_w = size(in, 2, 24);
        grid.content_h = size(in, 2, 24);
        grid.buffer_size = std::max(grid.content_w, grid.content_h);
        grid.rotAngle = in.PickValueInArray<float>({0.0f, 90.0f, 180.0f, 270.0f, 30.0f, -90.0f});
        mutateWords(in, desc);
        mutateWords(in, grid);
    }

    int64_t vectorCount() const { return elements({vectW, vectH}); }
};

// A working buffer of exactly the bytes the transformer asks for, after the
// sizes of `sizing` (which may differ from the frame later run). Requests
// beyond 64 MB are not carved (`carved` stays false).
struct Carved {
    static constexpr int kMaxBytes = 64 << 20;

private:
    int requested_ = 0;  // before `bytes`, which sets it

public:
    bool carved = false;
    Exact<char> bytes;
    Carved(VectWarpMapTrans& trans, const VWMTInput& sizing) : bytes(bytesFor(trans, sizing)) {
        if (bytes.size() == 0 && requested_ != 0) return;
        trans.setWorkingBuffer(bytes.get());
        carved = true;
    }

private:
    int64_t bytesFor(VectWarpMapTrans& trans, const VWMTInput& sizing) {
        trans.updateVectSize(sizing);
        requested_ = trans.getWorkingBufferSize();
        return requested_ >= 0 && requested_ <= kMaxBytes ? requested_ : 0;
    }
};

// Vectors of a frame: a smooth field, or anything the bytes say.
inline void fillVectors(FuzzedDataProvider& in, Exact<double>& x, Exact<double>& y) {
    const bool wild = in.ConsumeIntegralInRange<int>(0, 7) == 0;
    for (int64_t i = 0; i < x.size(); ++i) {
        x[i] = wild ? value(in, -1e6, 1e6, true) : in.ConsumeFloatingPointInRange<double>(-8.0, 8.0);
        y[i] = wild ? value(in, -1e6, 1e6, true) : in.ConsumeFloatingPointInRange<double>(-8.0, 8.0);
    }
}

}  // namespace fuzz
}  // namespace velmo
