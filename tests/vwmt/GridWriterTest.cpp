// The two grid writers: pure resize/crop/rotation grids and the OIS grid
// taken from the working arrays. Expected values are worked by hand in
// pixels, then x 32.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "vwmt/TransformTestSupport.h"

namespace {

using namespace velmo::testing;

struct Geometry {
    int srcW, srcH, rzW, rzH, cropX, cropY, cropW, cropH, rotW, rotH;
    float angle;
    int dir;
};

// A transformer with OIS off whose content is contentW x contentH in planes
// of side `side`.
struct Writer {
    Writer(int contentW, int contentH, int side) : planes(side) {
        trans.updateVectSize(makeInput(1, 1, VWMT_DIRECTION_BACKWARD, contentW, contentH, side, 0.0f));
        log.clear();
    }
    void resizeCropRot(const Geometry& g, bool withWeight = true) {
        VWMTOutput out = planes.record(withWeight);
        int* p[3] = {out.gridX, out.gridY, out.gridWeight};
        trans.getGridFromResizeCropRot(p, g.srcW, g.srcH, g.rzW, g.rzH, g.cropX, g.cropY, g.cropW, g.cropH,
                                       g.rotW, g.rotH, g.angle, static_cast<VWMT_DIRECTION>(g.dir));
    }
    void fromOis(OutputPlanes& into, std::vector<int>& arrX, std::vector<int>& arrY, float angle, int dir) {
        VWMTOutput out = into.record();
        int* p[3] = {out.gridX, out.gridY, out.gridWeight};
        trans.getGridFromOisResizeCropRot(p, arrX.data(), arrY.data(), 640, 480, 0, 0, 0, 0, 0, 0, 600, 481, angle,
                                          static_cast<VWMT_DIRECTION>(dir));
    }

    TransformerGlobals globals;
    LogCapture log;
    VectWarpMapTrans trans{4, 4, 0};
    OutputPlanes planes;
};

TEST(ResizeCropRotGrid, WorkedGeometries) {
    const struct {
        const char* name;
        Geometry g;
        int contentW, contentH;
        std::vector<int> xs;  // per column (all rows alike)
        std::vector<int> ys;  // per row (all columns alike)
        bool withWeight;
    } cases[] = {
        // Nothing resized, cropped or rotated: node i sits at i x 639 / 4 = 159.75 i.
        {"identity", {640, 480, 0, 0, 0, 0, 0, 0, 0, 0, 0.0f, 2}, 5, 5,
         {0, 5112, 10224, 15336, 20448}, {0, 3832, 7664, 11496, 15328}, true},
        // Forward with rotImg 0 x 0: shifted by half the source (320, 240).
        {"forward shift by half the source", {640, 480, 0, 0, 0, 0, 0, 0, 0, 0, 0.0f, 0}, 5, 5,
         {10240, 15352, 20464, 25576, 30688}, {7680, 11512, 15344, 19176, 23008}, true},
        // Resized by half, cropped at (100, 50): X = 2 (x + 100.5) - 0.5 with
        // x = 0, 799.5, 1599; Y likewise with 50 and 0, 599.5, 1199.
        {"resize and crop", {4000, 3000, 2000, 1500, 100, 50, 1600, 1200, 0, 0, 0.0f, 2}, 3, 3,
         {6416, 57584, 108752}, {3216, 41584, 79952}, true},
        // A vertical module centres the 800 x 600 output on the 1000 x 800 crop.
        {"vertical module centres the crop", {1000, 800, 0, 0, 0, 0, 1000, 800, 800, 600, 0.0f, 1}, 2, 2,
         {3200, 28768}, {3200, 22368}, true},
        {"backward without centring", {1000, 800, 0, 0, 0, 0, 1000, 800, 800, 600, 0.0f, 2}, 2, 2,
         {0, 25568}, {0, 19168}, true},
        // A crop starting left of and above the image gives -3 and -2 pixels:
        // plus one half, then truncated toward zero: -95.5 -> -95, -63.5 -> -63.
        {"negative coordinates round toward zero", {8, 6, 0, 0, -3, -2, 8, 6, 0, 0, 0.0f, 2}, 2, 2,
         {-95, 128}, {-63, 96}, true},
        // 7 and 5 pixels; no weight plane to write.
        {"weight plane is optional", {8, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0.0f, 2}, 2, 2, {0, 224}, {0, 160}, false},
        // One rotated side 0 still counts as rotated: that side steps by
        // (0 - 1) pixels, -32 + 0.5 truncated to -31.
        {"rotated width 0", {8, 6, 0, 0, 0, 0, 0, 0, 0, 6, 0.0f, 2}, 2, 2, {0, -31}, {0, 160}, true},
        {"rotated height 0", {8, 6, 0, 0, 0, 0, 0, 0, 8, 0, 0.0f, 2}, 2, 2, {0, 224}, {0, -31}, true},
    };
    for (const auto& c : cases) {
        Writer w(c.contentW, c.contentH, 7);
        w.resizeCropRot(c.g, c.withWeight);
        for (int j = 0; j < 7; ++j) {
            for (int i = 0; i < 7; ++i) {
                const bool inside = i < c.contentW && j < c.contentH;
                EXPECT_EQ(w.planes.X(i, j), inside ? c.xs[i] : OutputPlanes::kUntouched) << c.name << " " << i << "," << j;
                EXPECT_EQ(w.planes.Y(i, j), inside ? c.ys[j] : OutputPlanes::kUntouched) << c.name << " " << i << "," << j;
                EXPECT_EQ(w.planes.W(i, j), inside && c.withWeight ? 16384 : OutputPlanes::kUntouched) << c.name;
            }
        }
    }
}

// A quarter turn of a 101 x 101 image about its centre (50.5, 50.5): the
// output node (x, y) fetches the source pixel (y, 100 - x). The float angle is
// not exactly 90 degrees; its error stays far below 1/64 pixel.
TEST(ResizeCropRotGrid, QuarterTurnFetchesFromTheTurnedPosition) {
    Writer w(3, 3, 3);
    w.resizeCropRot({101, 101, 0, 0, 0, 0, 0, 0, 0, 0, 90.0f, 2});
    for (int k = 0; k < 9; ++k) {
        EXPECT_EQ(w.planes.X(k % 3, k / 3), 1600 * (k / 3)) << k;
        EXPECT_EQ(w.planes.Y(k % 3, k / 3), 3200 - 1600 * (k % 3)) << k;
    }
}

// The OIS writer copies the working grid, re-rounded: plus one half then
// truncation moves a negative value one step toward zero. Forward grids refer
// to the rotated image: re-centred by half the size difference, (640 - 600) /
// 2 = 20 pixels across and (480 - 481) / 2 = 0 (truncated toward zero) down.
// A vertical module (dir 1) undoes its turn: a 3 x 2 grid a b c / d e f
// leaves the planes as below, and the content size then describes the
// turned block.
TEST(OisGridWriter, CopiesRecentresAndUndoesTheVerticalTurn) {
    const std::vector<int> abc = {32, 64, 96, 128, 160, 192}, halves = {0, 32, -16, 47};
    const struct {
        float angle;
        int dir, contentW, contentH, outW, outH;
        std::vector<int> xs, ys;  // written block, row by row; no ys: as xs
    } cases[] = {
        {90.0f, 1, 3, 2, 2, 3, {128, 32, 160, 64, 192, 96}, {}},   // d a / e b / f c
        {270.0f, 1, 3, 2, 2, 3, {96, 192, 64, 160, 32, 128}, {}},  // c f / b e / a d
        {-90.0f, 1, 3, 2, 2, 3, {96, 192, 64, 160, 32, 128}, {}},
        {180.0f, 1, 3, 2, 3, 2, {192, 160, 128, 96, 64, 32}, {}},
        {90.0001f, 1, 3, 2, 3, 2, abc, {}},
        {45.0f, 1, 3, 2, 3, 2, abc, {}},
        {0.0f, 0, 2, 2, 2, 2, {640, 672, 624, 687}, {0, 32, -15, 47}},
        {0.0f, 2, 2, 2, 2, 2, {0, 32, -15, 47}, {}},
        {0.0f, 1, 2, 2, 2, 2, {0, 32, -15, 47}, {}},
        {0.0f, 7, 2, 2, 2, 2, {0, 32, -15, 47}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << "angle " << c.angle << " dir " << c.dir);
        Writer w(c.contentW, c.contentH, 4);
        std::vector<int> arrX = c.contentW == 3 ? abc : halves, arrY = arrX;
        EXPECT_EQ(allocationsIn([&] { w.fromOis(w.planes, arrX, arrY, c.angle, c.dir); }), 0);
        for (int k = 0; k < 16; ++k) {
            const int i = k % 4, j = k / 4, at = j * c.outW + i;
            const bool inside = i < c.outW && j < c.outH;
            EXPECT_EQ(w.planes.X(i, j), inside ? c.xs[at] : OutputPlanes::kUntouched) << i << "," << j;
            EXPECT_EQ(w.planes.Y(i, j), inside ? (c.ys.empty() ? c.xs : c.ys)[at] : OutputPlanes::kUntouched) << i << "," << j;
        }
        EXPECT_EQ(w.planes.weight, std::vector<int32_t>(16, OutputPlanes::kUntouched)) << "OIS never writes it";
        OutputPlanes again(4);
        w.fromOis(again, arrX, arrY, 0.0f, VWMT_DIRECTION_BACKWARD);
        EXPECT_NE(again.X(c.outW - 1, c.outH - 1), OutputPlanes::kUntouched);
        EXPECT_EQ(again.X(c.outW, c.outH - 1), OutputPlanes::kUntouched);
        EXPECT_EQ(again.X(c.outW - 1, c.outH), OutputPlanes::kUntouched);
    }
}

}  // namespace
