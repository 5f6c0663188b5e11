#pragma once

// Runs a check once per vector target compiled into the library and supported
// by this CPU, with run-time dispatch pinned to that target, so the narrower
// paths (SSE4, NEON) are checked even where wider ones exist.

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include "maputil/RotateMMapVector.h"

namespace velmo {
namespace testing {

template <class Check>
void forEachVectorTarget(Check check) {
    const std::vector<int64_t> targets = maputil::compiledVectorTargets();
    ASSERT_FALSE(targets.empty());
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
