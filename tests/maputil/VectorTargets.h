#pragma once

// Runs a check once per vector target compiled into the library and supported
// by this CPU, with run-time dispatch pinned to that target, so the narrower
// paths (SSE4, NEON) are checked even where wider ones exist. The 128-bit
// target (NEON on phones without SVE) must be among them, not only the widest
// target of the test machine.

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>

#include "maputil/RotateMMapVector.h"

namespace velmo {
namespace testing {

template <class Check>
void forEachVectorTarget(Check check) {
    const std::vector<int64_t> targets = maputil::compiledVectorTargets();
    ASSERT_GE(targets.size(), 2u);
#if HWY_ARCH_X86
    ASSERT_NE(std::find(targets.begin(), targets.end(), HWY_SSE4), targets.end());
#elif HWY_ARCH_ARM_A64
    ASSERT_NE(std::find(targets.begin(), targets.end(), HWY_NEON), targets.end());
#endif
    for (int64_t target : targets) {
        SCOPED_TRACE(hwy::TargetName(target));
        hwy::SetSupportedTargetsForTest(target);
        ASSERT_EQ(maputil::dispatchedTarget(), target);
        check();
    }
    hwy::SetSupportedTargetsForTest(0);
}

}  // namespace testing
}  // namespace velmo
