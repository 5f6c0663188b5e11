// Separate transformers and mergers on separate threads at once, with the
// vector dump on: each thread must get the grid it gets alone, and its own
// dump text. Built with ThreadSanitizer (VELMO_SANITIZE_THREAD) this also
// checks that no state is shared between them; scripts/test-all.sh does so.

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "vwmt/CombWarpMapTrans.h"
#include "vwmt/TransformTestSupport.h"

extern thread_local char tempStrX[4096];

namespace {

using velmo::testing::FrameRig;
using velmo::testing::OutputPlanes;
using velmo::testing::TransformerGlobals;

constexpr int kThreads = 4;
constexpr int kFrames = 6;

// One camera's transformer with its own buffers; the frames differ per
// camera by their shake.
struct Camera : FrameRig {
    explicit Camera(int index) : FrameRig(6, 5, 1, 8, 8) {
        geometry(660, 640, 480, index % 3 ? 0.0f : 90.0f, index % 2 ? VWMT_DIRECTION_BACKWARD : VWMT_DIRECTION_FORWARD);
        fillVectors(2.5 * index, -1.25 * index);
        carve();
    }
    // Runs the frames; false when the dump text is not this camera's.
    bool runFrames() {
        const std::string dump = "inOisX: " + std::to_string(static_cast<int>(vx[0])) + ",";
        bool ownDump = true;
        for (int f = 0; f < kFrames; ++f) {
            run();
            ownDump = ownDump && std::strncmp(tempStrX, dump.c_str(), dump.size()) == 0;
        }
        return ownDump;
    }
};

TEST(Threads, SeparateTransformersRunFramesAtOnce) {
    TransformerGlobals globals;
    testing::internal::CaptureStdout();  // the arenas' usage lines
    std::vector<std::unique_ptr<Camera>> alone, together;
    for (int i = 0; i < kThreads; ++i) {
        alone.push_back(std::make_unique<Camera>(i));
        together.push_back(std::make_unique<Camera>(i));
    }
    testing::internal::GetCapturedStdout();
    VWMT::logLevel = 1;  // set before the threads start: the dump runs in every frame

    for (auto& camera : alone) EXPECT_TRUE(camera->runFrames());
    bool ownDump[kThreads] = {};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&, i] { ownDump[i] = together[i]->runFrames(); });
    for (auto& t : threads) t.join();

    for (int i = 0; i < kThreads; ++i) {
        EXPECT_TRUE(ownDump[i]) << "camera " << i;
        EXPECT_EQ(together[i]->planes.x, alone[i]->planes.x) << "camera " << i;
        EXPECT_EQ(together[i]->planes.y, alone[i]->planes.y) << "camera " << i;
        EXPECT_NE(alone[i]->planes.x[0], OutputPlanes::kUntouched) << "camera " << i;
    }
}

// Two mergers on two threads, each with its own working buffer.
TEST(Threads, SeparateMergersRunAtOnce) {
    constexpr int kMergers = 2;
    struct Merger {
        CombWarpMapTrans comb;
        std::vector<int32_t> buffer;
        std::vector<int> oisX, oisY, n3dX, n3dY;
        Merger(int index)
            : buffer(static_cast<size_t>(comb.getWorkingBufferSize()) / 4),
              oisX(16, 32 * index), oisY(16, -16 * index), n3dX(100), n3dY(100) {
            comb.setWorkingBuffer(reinterpret_cast<char*>(buffer.data()));
            for (int k = 0; k < 100; ++k) {
                n3dX[k] = 32 * 64 * (k % 10);
                n3dY[k] = 32 * 48 * (k / 10);
            }
        }
        std::vector<int> merge() {
            int* ois[2] = {oisX.data(), oisY.data()};
            int* n3d[2] = {n3dX.data(), n3dY.data()};
            comb.mergeGrid(ois, n3d, OIS_INTERPOLATE_INFO_STRUCT{640, 480, 0, 0, 4, 4, 10, 10});
            return {comb.resultX(), comb.resultX() + 100};
        }
    };
    std::vector<std::unique_ptr<Merger>> mergers;
    std::vector<std::vector<int>> alone, together(kMergers);
    for (int i = 0; i < kMergers; ++i) {
        mergers.push_back(std::make_unique<Merger>(i + 1));
        alone.push_back(mergers.back()->merge());
    }
    std::vector<std::thread> threads;
    for (int i = 0; i < kMergers; ++i) threads.emplace_back([&, i] { together[i] = mergers[i]->merge(); });
    for (auto& t : threads) t.join();
    for (int i = 0; i < kMergers; ++i) EXPECT_EQ(together[i], alone[i]) << "merger " << i;
    EXPECT_NE(alone[0], alone[1]);
}

}  // namespace
