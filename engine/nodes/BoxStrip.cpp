// Compiled once per SIMD target (Highway's foreach_target re-includes this
// file) and dispatched at run time to the best target the CPU has.
#include "engine/nodes/BoxStrip.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "engine/nodes/BoxStrip.cpp"
#include "hwy/foreach_target.h" // IWYU pragma: keep

#include "hwy/highway.h"

#include <cstddef>

HWY_BEFORE_NAMESPACE();
namespace kvengine {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// The sums are doubles: in floats, adding and removing samples drifts, and
// a constant image would not blur to exactly itself. The sample entering
// less the one leaving is taken in float (exact for neighbouring values).
void BoxFilterStrip(const float* src, float* dst, int n, int h) {
    const hn::ScalableTag<double> dd;
    const hn::Rebind<float, decltype(dd)> df; // as many floats as doubles
    const size_t lanes = hn::Lanes(dd);
    const auto scale = hn::Set(dd, 1.0 / (2.0 * h + 1.0));
    HWY_ALIGN double sums[kBoxStripLanes];
    const auto sample = [src, df](int i, size_t c) {
        return hn::LoadU(df, src + static_cast<size_t>(i) * kBoxStripLanes + c);
    };

    // The window of sample 0 is [-h, h], wrapped; summed from its left end.
    const int first = h == 0 ? 0 : n - h;
    for (size_t c = 0; c < kBoxStripLanes; c += lanes) {
        auto sum = hn::Zero(dd);
        for (int k = 0, i = first; k <= 2 * h; ++k, i = i + 1 == n ? 0 : i + 1)
            sum = hn::Add(sum, hn::PromoteTo(dd, sample(i, c)));
        hn::Store(sum, dd, sums + c);
    }
    // Sliding by one adds the sample entering and removes the one leaving;
    // the indices wrap by comparison instead of a division per sample.
    int enter = h + 1 >= n ? h + 1 - n : h + 1;
    int leave = first;
    for (int i = 0; i < n; ++i) {
        float* row = dst + static_cast<size_t>(i) * kBoxStripLanes;
        for (size_t c = 0; c < kBoxStripLanes; c += lanes) {
            const auto sum = hn::Load(dd, sums + c);
            hn::StoreU(hn::DemoteTo(df, hn::Mul(sum, scale)), df, row + c);
            const auto change = hn::Sub(sample(enter, c), sample(leave, c));
            hn::Store(hn::Add(sum, hn::PromoteTo(dd, change)), dd, sums + c);
        }
        enter = enter + 1 == n ? 0 : enter + 1;
        leave = leave + 1 == n ? 0 : leave + 1;
    }
}

} // namespace HWY_NAMESPACE
} // namespace kvengine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kvengine {

HWY_EXPORT(BoxFilterStrip);

void boxFilterStrip(const float* src, float* dst, int n, int h) {
    HWY_DYNAMIC_DISPATCH(BoxFilterStrip)(src, dst, n, h);
}

} // namespace kvengine
#endif
