// Compiled once per SIMD target like the kernels, so that it dispatches the way they do.
#include "engine/nodes/SimdTarget.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "engine/nodes/SimdTarget.cpp"
#include "hwy/foreach_target.h" // IWYU pragma: keep

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace kvengine {
namespace HWY_NAMESPACE {

const char* SimdTargetName() {
    return hwy::TargetName(HWY_TARGET);
}

} // namespace HWY_NAMESPACE
} // namespace kvengine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kvengine {

HWY_EXPORT(SimdTargetName);

const char* simdTargetName() {
    return HWY_DYNAMIC_DISPATCH(SimdTargetName)();
}

std::vector<int64_t> simdTargets() {
    return hwy::SupportedAndGeneratedTargets();
}

void useSimdTarget(int64_t target) {
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

} // namespace kvengine
#endif
