// The GPU-layout transform, checked the way the GPU consumer sees it: arrays
// read from the working buffer at the offsets of the documented carve. The
// expected grids come from the geometry alone: constant OIS vectors shift
// every mesh by the same amount, and the rotation is an affine map that the
// triangle interpolation reproduces exactly (up to float rounding).

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "vwmt/TransformTestSupport.h"

namespace {

using namespace velmo::testing;

constexpr size_t kGuard = 64;
constexpr unsigned char kFill = 0xA5;

// A frame of the camera stack: a tgCrop of 4000 x 3000 at the origin, read
// out over a rotated image of 2000 x 1500.
struct GpuFrame {
    int vectW = 5, vectH = 4, contentW = 6, contentH = 5;
    float rotAngle = 0.0f;
    int p1CropX = 0, p1CropW = 4000, rotW = 2000;
    std::vector<double> x, y;

    // P1 resize and source size are both replaced by the rotated size.
    ImgSizeDescription desc() const {
        return ImgSizeDescription{{4208, 3120}, {0, 0, 4208, 3120}, {4208, 3120}, {0, 0, 4208, 3120},
                                  {0, 0, 4000, 3000},   {p1CropX, 0, p1CropW, 3000}, {1234, 567}};
    }
    GridFromOisParam grid() const {
        return GridFromOisParam{{{4000, 3000}}, {{0, 0}}, {}, {{rotW, 1500}}, contentW, contentH,
                                std::max(contentW, contentH), rotAngle};
    }
    VWMTInput input() { return VWMTInput{x.data(), y.data(), vectW, vectH, VWMT_DIRECTION_FORWARD, desc(), grid()}; }
    void constantVectors(double vx, double vy) {
        x.assign(size_t(vectW) * vectH, vx);
        y.assign(size_t(vectW) * vectH, vy);
    }
};

// A transformer sized for the frame, its working buffer between guard bytes.
struct Rig {
    explicit Rig(GpuFrame& f) : frame(f), trans(f.vectW, f.vectH, 1) {
        trans.updateVectSize(frame.input());
        carve = documentedCarve(f.vectW, f.vectH, f.vectW == 1 ? 2 : f.vectW, f.vectH, f.contentW, f.contentH);
        EXPECT_EQ(size_t(trans.getWorkingBufferSize()), carve.total);
        memory.assign(carve.total + 2 * kGuard, kFill);
        trans.setWorkingBuffer(reinterpret_cast<char*>(memory.data() + kGuard));
    }
    void run() { trans.transformVectToWarpMap_gpu(frame.x.data(), frame.y.data(), frame.desc(), frame.grid()); }
    template <typename T>
    T at(int array, size_t index) const {
        T v;
        std::memcpy(&v, memory.data() + kGuard + carve.offset[array] + index * sizeof(T), sizeof(T));
        return v;
    }
    bool untouched(size_t from, size_t bytes) const {
        return std::all_of(memory.begin() + from, memory.begin() + from + bytes, [](unsigned char b) { return b == kFill; });
    }
    bool guardsIntact() const { return untouched(0, kGuard) && untouched(memory.size() - kGuard, kGuard); }

    GpuFrame& frame;
    VectWarpMapTrans trans;
    Carve carve{};
    std::vector<unsigned char> memory;
};

// Constant vectors of (vx, vy) sensor pixels become (vx, vy) / 2 at the 2x
// smaller rotated image; the content grid is then turned about the image
// centre (1000, 750) and read out at the pixel centres of the output grid.
TEST(GpuTransform, WorkingArraysHoldTheRotatedShiftedGrid) {
    const float cases[][3] = {{0.0f, 0.0f, 0.0f}, {0.0f, 12.0f, -7.0f}, {90.0f, 12.0f, -7.0f}, {-30.0f, -5.0f, 9.0f},
                              {180.0f, 3.0f, 4.0f}};
    for (const auto& tc : cases) {
        SCOPED_TRACE(::testing::Message() << "angle " << tc[0]);
        GpuFrame frame;
        frame.rotAngle = tc[0];
        frame.constantVectors(tc[1], tc[2]);
        Rig rig(frame);
        EXPECT_EQ(allocationsIn([&] { rig.run(); }), 0);
        const int cw = frame.contentW, ch = frame.contentH, n = cw * ch;
        const double theta = double(tc[0]) * 3.14159265358979323846 / 180.0, c = std::cos(theta), s = std::sin(theta);
        auto turn = [&](double px, double py, int axis) {
            const double dx = px + tc[1] / 2.0 - 1000.0, dy = py + tc[2] / 2.0 - 750.0;
            return axis == 0 ? 1000.0 + c * dx + s * dy : 750.0 + c * dy - s * dx;
        };
        std::vector<double> planes(2 * size_t(n));  // x plane, y plane of the single pass, pixel centre
        for (int k = 0; k < n; ++k) {
            const double nodeX = 2000.0 * (k % cw) / (cw - 1), nodeY = 1500.0 * (k / cw) / (ch - 1);
            const double qx = double(k % cw) / (cw - 1) * 1999 + 0.5, qy = double(k / cw) / (ch - 1) * 1499 + 0.5;
            for (int axis = 0; axis < 2; ++axis) {
                EXPECT_NEAR(rig.at<float>(5, 2 * k + axis), axis ? nodeY : nodeX, 1e-3) << "node " << k;
                EXPECT_NEAR(rig.at<float>(6, 2 * k + axis), turn(nodeX, nodeY, axis), 2e-3) << "node " << k;
                EXPECT_NEAR(rig.at<float>(8, 2 * k + axis), axis ? qy : qx, 1e-3) << "node " << k;
                EXPECT_NEAR(rig.at<float>(7, 2 * k + axis), turn(qx, qy, axis), 2e-3) << "node " << k;
                planes[axis * n + k] = turn(qx, qy, axis) - 0.5;
            }
        }
        // The second fixed-point pass reads the planes as (x, y) pairs.
        for (int m = 0; m < n; ++m) {
            EXPECT_NEAR(rig.at<int32_t>(18, m), fixed(planes[2 * m] - 0.5), 1) << "point " << m;
            EXPECT_NEAR(rig.at<int32_t>(19, m), fixed(planes[2 * m + 1] - 0.5), 1) << "point " << m;
        }
        // Not the single pass's grid, which would have y of point 0 there.
        EXPECT_GT(std::abs(rig.at<int32_t>(19, 0) - fixed(planes[n])), 32);
        EXPECT_TRUE(rig.guardsIntact());
    }
}

// Vector rows (10 j, -4 j) at 5 rows spread over the 4000-pixel sensor width,
// re-sampled over a crop from 1000 to 3000 (rows 1, 1.5, ..., 3) and halved
// for the 2000 -> 1000 resize: both mesh columns move by the same row shift.
TEST(GpuTransform, OneColumnInputLendsItsRowVectorToBothMeshColumns) {
    GpuFrame frame;
    frame.vectW = 1;
    frame.vectH = 5;
    frame.p1CropX = 1000;
    frame.p1CropW = 2000;
    frame.rotW = 1000;
    for (int j = 0; j < frame.vectH; ++j) {
        frame.x.push_back(10.0 * j);
        frame.y.push_back(-4.0 * j);
    }
    Rig rig(frame);
    rig.run();
    for (int k = 0; k < 10; ++k) {
        const double at = 1.0 + 0.5 * (k / 2);
        EXPECT_NEAR(rig.at<float>(2, 2 * k), 1000.0 * (k % 2) + 10.0 * at / 2, 1e-3) << k;
        EXPECT_NEAR(rig.at<float>(2, 2 * k + 1), 1500.0 * (k / 2) / 4 - 4.0 * at / 2, 1e-3) << k;
    }
    // The two-dimensional resampling arrays stay as they were.
    for (int array : {9, 10, 11, 12}) EXPECT_TRUE(rig.untouched(kGuard + rig.carve.offset[array], 80)) << array;
    EXPECT_TRUE(rig.guardsIntact());
}

// vectorTransformation_OutputSize on a binned frame whose crop width on the
// sensor is 1001 / 0.75 = 1334.67: the resize factor is taken from the
// integer sizes, 667 / 1334 = 0.5 exactly (not 0.49975).
TEST(GpuTransform, ResizeFactorsUseIntegerSizes) {
    VectWarpMapTrans trans(5, 4, 1);
    std::vector<unsigned char> work(size_t(trans.getWorkingBufferSize()));
    trans.setWorkingBuffer(reinterpret_cast<char*>(work.data()));
    ImgSizeDescription d = frameGeometry({0, 0, 1001, 2250}, {667, 1125});
    d.sensorSize = {4000, 3000};
    d.analogCrop = {0, 0, 4000, 3000};
    d.binningSize = {3000, 2250};
    d.digitalCrop = d.tgCrop = {0, 0, 3000, 2250};
    std::vector<float> in(2 * 20), out(2 * 20, -1.0f);
    for (size_t k = 0; k < 40; ++k) in[k] = k % 2 ? 80.0f : 100.0f;
    trans.vectorTransformation_OutputSize(out.data(), in.data(), 5, 4, d);
    for (size_t k = 0; k < 40; ++k) EXPECT_NEAR(out[k], k % 2 ? 30.0f : 50.0f, 2e-3) << k;
}

// Helpers called on their own refuse what they cannot do safely.
TEST(GpuTransform, HelpersRefuseWithOneLine) {
    VectWarpMapTrans trans(1, 4, 1);  // one vector column: a 2 x 4 mesh, 4 x 4 content
    std::vector<unsigned char> memory(size_t(trans.getWorkingBufferSize()), kFill);
    trans.setWorkingBuffer(reinterpret_cast<char*>(memory.data()));
    std::vector<float> points(2 * 16, 1.0f);
    std::vector<int> planes(16, 7);
    const GpuFrame frame;
    LogCapture log;
    // No vertices: the table-free walk has no mesh to search.
    trans.warpMapTransformation_byMesh(planes.data(), planes.data(), nullptr, points.data(), points.data(), nullptr,
                                       100, 100, frame.grid());
    // Nine mesh rows need more weight records than the four rows carved.
    trans.vectorTransformation_OutputSize(points.data(), points.data(), 2, 9, frame.desc());
    ASSERT_EQ(log.lines().size(), 2u);
    EXPECT_NE(log.lines()[0].text.find("[VWMT][warpMapTransformation_byMesh] Error: "), std::string::npos);
    EXPECT_NE(log.lines()[1].text.find("working array 22 needs 144 bytes, 128 carved"), std::string::npos);
    EXPECT_EQ(planes, std::vector<int>(16, 7));
    EXPECT_EQ(points, std::vector<float>(2 * 16, 1.0f));
    EXPECT_TRUE(std::all_of(memory.begin(), memory.end(), [](unsigned char b) { return b == kFill; }));
}

TEST(GpuTransform, BadFramesAreRefusedWithOneLineAndNoWrite) {
    const struct {
        const char* needle;  // part of the one log line
        int gridW, gridH;
        int warpW, warpH;  // 0: the per-frame constructor, else the fixed-size one (OIS off)
        bool carve, nullX, nullY;
        int frameW, frameH;  // 0: no per-frame size update, else the content size of one
    } cases[] = {
        {"no working buffer", 5, 4, 0, 0, false, false, false, 0, 0},
        {"NULL", 5, 4, 0, 0, true, true, false, 0, 0},
        {"NULL", 5, 4, 0, 0, true, false, true, 0, 0},
        {"mesh(5, 1) or content(8, 8) too small", 5, 1, 0, 0, true, false, false, 0, 0},
        {"content(1, 8) too small", 5, 4, 0, 0, true, false, false, 1, 8},
        {"carved", 5, 4, 0, 0, true, false, false, 12, 12},  // carved for 8 x 8
        // Mesh 6 x 6 on a 4 x 4 content carve: 36 vectors in array 21's 16.
        {"working array 21 needs 288 bytes, 128 carved", 6, 6, 4, 4, true, false, false, 0, 0},
        // OIS off keeps the 8-wide vector rows under a 2 x 3 mesh: rows would be
        // read up to vector 1 + 2 x 8 = 17, past array 21's 16.
        {"gridIn(8, 3)", 8, 3, 4, 4, true, false, false, 2, 3},
    };
    for (const auto& r : cases) {
        GpuFrame frame;
        frame.constantVectors(1.0, 1.0);
        double offset[2] = {0.0, 0.0};
        VectWarpMapTrans trans = r.warpW == 0 ? VectWarpMapTrans(r.gridW, r.gridH, 1)
                                              : VectWarpMapTrans(r.gridW, r.gridH, r.warpW, r.warpH, offset);
        std::vector<unsigned char> memory(size_t(trans.getWorkingBufferSize()) + kGuard, kFill);
        if (r.carve) trans.setWorkingBuffer(reinterpret_cast<char*>(memory.data()));
        if (r.frameW != 0) {
            frame.contentW = r.frameW;
            frame.contentH = r.frameH;
            trans.updateVectSize(frame.input());
        }
        LogCapture log;
        trans.transformVectToWarpMap_gpu(r.nullX ? nullptr : frame.x.data(), r.nullY ? nullptr : frame.y.data(),
                                         frame.desc(), frame.grid());
        ASSERT_EQ(log.lines().size(), 1u) << r.needle;
        EXPECT_EQ(log.lines()[0].tag, "OISWarpMap");
        EXPECT_EQ(log.lines()[0].text.rfind("[VWMT][transformVectToWarpMap_gpu] Error: ", 0), 0u) << log.lines()[0].text;
        EXPECT_NE(log.lines()[0].text.find(r.needle), std::string::npos) << log.lines()[0].text;
        EXPECT_EQ(memory, std::vector<unsigned char>(memory.size(), kFill)) << r.needle;
    }
}

}  // namespace
