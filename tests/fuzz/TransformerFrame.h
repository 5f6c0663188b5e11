#pragma once

// A camera-stack frame for the transformer targets, with a few words of its
// records rewritten by the fuzzer, and the transformer's working buffer
// carved at exactly the size it asks for.

#include <algorithm>
#include <memory>

#include "FuzzSupport.h"
#include "vwmt/VectWarpMapTrans.h"

namespace velmo {
namespace fuzz {

struct TransformerFrame {
    int32_t vectW, vectH;
    ImgSizeDescription desc{{4208, 3120}, {0, 0, 4208, 3120}, {4208, 3120}, {0, 0, 4208, 3120},
                            {0, 0, 4000, 3000}, {0, 0, 4000, 3000}, {2000, 1500}};
    GridFromOisParam grid{};

    explicit TransformerFrame(FuzzedDataProvider& in) {
        vectW = size(in, 1, 12);
        vectH = size(in, 1, 12);
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

// Carves the transformer's working buffer at exactly the bytes it asks for
// after the sizes of `sizing` (which may differ from the frame later run).
// Requests beyond 64 MB are not carved: false.
inline bool carve(VectWarpMapTrans& trans, const VWMTInput& sizing, std::unique_ptr<Exact<char>>& work) {
    trans.updateVectSize(sizing);
    const int requested = trans.getWorkingBufferSize();
    if (requested < 0 || requested > (64 << 20)) return false;
    work.reset(new Exact<char>(requested));
    trans.setWorkingBuffer(work->get());
    return true;
}

// Vectors of a frame: a smooth field, or anything the bytes say.
inline void fillVectors(FuzzedDataProvider& in, Exact<double>& x, Exact<double>& y) {
    const bool wild = in.ConsumeIntegralInRange<int>(0, 7) == 0;
    for (int64_t i = 0; i < x.size(); ++i) {
        x[i] = wild ? value(in, -1e6, 1e6) : in.ConsumeFloatingPointInRange<double>(-8.0, 8.0);
        y[i] = wild ? value(in, -1e6, 1e6) : in.ConsumeFloatingPointInRange<double>(-8.0, 8.0);
    }
}

}  // namespace fuzz
}  // namespace velmo
