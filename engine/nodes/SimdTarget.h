// Which SIMD target the kernels run on: Highway picks the best one the CPU
// has at the first call. Tests restrict the choice to compare the targets.
#pragma once

#include <cstdint>
#include <vector>

namespace kvengine {

// The name of the target the kernels dispatch to now ("AVX3", "AVX2", "SSE4", "SSSE3", "SCALAR", ...).
const char* simdTargetName();

// The targets the kernels were compiled for that this CPU runs, best first.
std::vector<int64_t> simdTargets();

// From now on the kernels run on `target` alone (one of simdTargets()), or
// again on the best one when target is 0. Not for use while a render runs.
void useSimdTarget(int64_t target);

} // namespace kvengine
