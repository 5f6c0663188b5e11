// The library as a camera-stack client sees it: only velmoUtil.h, only the
// exported symbols of libquentra.velmoUtil.so.

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "velmoUtil.h"

namespace {

TEST(Api, PowerSavingAcceptsAStillField) {
    std::vector<int32_t> x(8 * 4, 0), y(8 * 4, 0);
    const PowerSavingParam p{x.data(), y.data(), 8, 4, 8, 1, 1, 1, 1, 1, 1, 1, 1, 1};
    testing::internal::CaptureStdout();
    const bool save = PowerSaving(p);
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(save);
}

}  // namespace
