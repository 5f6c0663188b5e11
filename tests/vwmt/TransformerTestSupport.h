#pragma once

// Frames, planes and process-wide settings for the OIS transformer tests.

#include <cstdint>
#include <vector>

#include "vwmt/VectWarpMapTrans.h"

namespace velmo {
namespace testing {

// Starts a test at the library's defaults (log level 0, scales 0.88) and
// restores whatever was set before.
class TransformerGlobals {
public:
    TransformerGlobals()
        : logLevel_(VWMT::logLevel), scaleX_(VWMT::ois_scale_x), scaleY_(VWMT::ois_scale_y) {
        VWMT::logLevel = 0;
        VWMT::ois_scale_x = 0.88f;
        VWMT::ois_scale_y = 0.88f;
    }
    ~TransformerGlobals() {
        VWMT::logLevel = logLevel_;
        VWMT::ois_scale_x = scaleX_;
        VWMT::ois_scale_y = scaleY_;
    }
    TransformerGlobals(const TransformerGlobals&) = delete;
    TransformerGlobals& operator=(const TransformerGlobals&) = delete;

private:
    int logLevel_;
    float scaleX_;
    float scaleY_;
};

// A frame with the given vector grid and output; no geometry yet.
inline VWMTInput makeInput(int vectW, int vectH, VWMT_DIRECTION dir, int contentW, int contentH, int bufferSize,
                           float rotAngle) {
    VWMTInput in{};
    in.vect_w = vectW;
    in.vect_h = vectH;
    in.dir = dir;
    in.gridParam.content_w = contentW;
    in.gridParam.content_h = contentH;
    in.gridParam.buffer_size = bufferSize;
    in.gridParam.rotAngle = rotAngle;
    return in;
}

// Three square output planes prefilled with a sentinel, so that unwritten
// entries can be told apart.
struct OutputPlanes {
    static constexpr int32_t kUntouched = 0x5a5a5a5a;

    explicit OutputPlanes(int side)
        : side(side),
          x(static_cast<size_t>(side) * side, kUntouched),
          y(static_cast<size_t>(side) * side, kUntouched),
          weight(static_cast<size_t>(side) * side, kUntouched) {}

    VWMTOutput record(bool withWeight = true) {
        return VWMTOutput{x.data(), y.data(), withWeight ? weight.data() : nullptr};
    }
    bool untouched() const {
        for (size_t i = 0; i < x.size(); ++i)
            if (x[i] != kUntouched || y[i] != kUntouched || weight[i] != kUntouched) return false;
        return true;
    }
    int32_t X(int col, int row) const { return x[static_cast<size_t>(row) * side + col]; }
    int32_t Y(int col, int row) const { return y[static_cast<size_t>(row) * side + col]; }
    int32_t W(int col, int row) const { return weight[static_cast<size_t>(row) * side + col]; }

    int side;
    std::vector<int32_t> x;
    std::vector<int32_t> y;
    std::vector<int32_t> weight;
};

}  // namespace testing
}  // namespace velmo
