// The library as a camera-stack client sees it: only velmoUtil.h, only the
// exported symbols of libquentra.velmoUtil.so.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "gensize/SizingConfig.h"
#include "utilPlatformHost.h"
#include "velmoUtil.h"

namespace {

struct Captured {
    std::vector<std::string> tags;
    std::vector<int> modules;
};

void capture(void* user, int module, const char* tag, const char*) {
    auto* c = static_cast<Captured*>(user);
    c->tags.push_back(tag);
    c->modules.push_back(module);
}

TEST(Api, TheLoadedLibraryHasTheHeadersVersion) {
    EXPECT_STREQ(velmoUtilVersion(), VELMO_UTIL_VERSION_STRING);
    EXPECT_EQ(std::to_string(VELMO_UTIL_VERSION_MAJOR) + "." + std::to_string(VELMO_UTIL_VERSION_MINOR) + "." +
                  std::to_string(VELMO_UTIL_VERSION_PATCH),
              VELMO_UTIL_VERSION_STRING);
}

TEST(Api, SizingLeavesTheCallersRecordsAloneAndLogsUnderTheLibraryModule) {
    Captured log;
    quentra::host::setLogSink(&capture, &log);

    STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT in = velmo::testing::dualTwelveMegapixel(2 | (2 << 16));
    const STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT before = in;
    STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT first{}, second{};
    EXPECT_EQ(GenSizeInit(first, in), static_cast<uint32_t>(GEN_SIZE_PASS));
    EXPECT_EQ(GenSizeInit(second, in), static_cast<uint32_t>(GEN_SIZE_PASS));
    EXPECT_EQ(std::memcmp(&in, &before, sizeof in), 0);
    EXPECT_EQ(std::memcmp(&first, &second, sizeof first), 0);

    STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT frame{};
    gen_procIn_testcase(frame, in);
    STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT perFrame{};
    EXPECT_EQ(GenSizeProc(perFrame, frame, in), static_cast<uint32_t>(GEN_SIZE_PASS));
    EXPECT_EQ(std::memcmp(&in, &before, sizeof in), 0);
    EXPECT_EQ(perFrame.zoom_constraint, first.zoom_constraint);

    quentra::host::setLogSink(nullptr, nullptr);
    ASSERT_FALSE(log.tags.empty());
    for (std::size_t i = 0; i < log.tags.size(); ++i) {
        EXPECT_EQ(log.tags[i], "GenSize");
        EXPECT_EQ(log.modules[i], 0x10004001);
    }
}

TEST(Api, PowerSavingAcceptsAStillField) {
    std::vector<int32_t> x(8 * 4, 0), y(8 * 4, 0);
    const PowerSavingParam p{x.data(), y.data(), 8, 4, 8, 1, 1, 1, 1, 1, 1, 1, 1, 1};
    testing::internal::CaptureStdout();
    const bool save = PowerSaving(p);
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(save);
}

}  // namespace
