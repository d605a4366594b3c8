// Compiled once per SIMD target (Highway's foreach_target re-includes this
// file) and dispatched at run time to the best target the CPU has.
#include "engine/nodes/NormalRow.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "engine/nodes/NormalRow.cpp"
#include "hwy/foreach_target.h" // IWYU pragma: keep

#include "engine/nodes/SimdTail-inl.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace kvengine {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

void NormalRow(const float* above, const float* here, const float* below, int width, NormalSlopes slopes,
               float* nx, float* ny, float* nz) {
    const hn::ScalableTag<float> d;
    const int lanes = static_cast<int>(hn::Lanes(d));
    const auto slopeU = hn::Set(d, slopes.u), slopeV = hn::Set(d, slopes.v);
    const auto half = hn::Set(d, 0.5f), one = hn::Set(d, 1.0f);
    for (int x = 0; x < width; x += lanes) {
        const auto gx =
            hn::Mul(hn::Neg(hn::Sub(hn::LoadU(d, here + x + 1), hn::LoadU(d, here + x - 1))), slopeU);
        const auto gy = hn::Mul(hn::Sub(hn::LoadU(d, below + x), hn::LoadU(d, above + x)), slopeV);
        // An exact square root and division, not the estimates, which differ between targets.
        const auto inv = hn::Div(one, hn::Sqrt(hn::Add(hn::Add(hn::Mul(gx, gx), hn::Mul(gy, gy)), one)));
        const size_t count = static_cast<size_t>(width - x);
        storeFirstLanes(hn::Add(half, hn::Mul(hn::Mul(half, gx), inv)), d, count, nx + x);
        storeFirstLanes(hn::Add(half, hn::Mul(hn::Mul(half, gy), inv)), d, count, ny + x);
        storeFirstLanes(hn::Add(half, hn::Mul(half, inv)), d, count, nz + x);
    }
}

} // namespace HWY_NAMESPACE
} // namespace kvengine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kvengine {

HWY_EXPORT(NormalRow);

void normalRow(const float* above, const float* here, const float* below, int width, NormalSlopes slopes,
               float* x, float* y, float* z) {
    HWY_DYNAMIC_DISPATCH(NormalRow)(above, here, below, width, slopes, x, y, z);
}

} // namespace kvengine
#endif
