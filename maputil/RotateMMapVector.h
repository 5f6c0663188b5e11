#pragma once

// The vector rows of RotateMMap, dispatched at run time to the widest target
// the CPU runs (NEON or SVE on arm64, SSE4, AVX2 or AVX-512 on x86-64).

#include <cstdint>
#include <vector>

#include "maputil/RotationPlan.h"

namespace velmo {
namespace maputil {

// Writes every row of the band 16 columns per step, then one column at a time;
// gives exactly the columns of rotateRowsScalar.
void rotateRowsVector(const RotationPlan& plan);

// The vector targets compiled in and supported by this CPU (Highway target
// bits), so tests can run each one.
std::vector<int64_t> compiledVectorTargets();

// The target run-time dispatch picks now (it follows
// hwy::SetSupportedTargetsForTest).
int64_t dispatchedTarget();

}  // namespace maputil
}  // namespace velmo
