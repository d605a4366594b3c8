// Compiled once per SIMD target (Highway's foreach_target re-includes this
// file) and dispatched at run time to the best target the CPU has.
#include "engine/nodes/CellularRun.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "engine/nodes/CellularRun.cpp"
#include "hwy/foreach_target.h" // IWYU pragma: keep

#include "engine/nodes/SimdTail-inl.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace kvengine {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

void CellularRun(const RunPoint* points, int count, int begin, int end, float toCells, CellularMode mode,
                 float* out) {
    const hn::ScalableTag<float> d;
    const int lanes = static_cast<int>(hn::Lanes(d));
    const auto half = hn::Set(d, 0.5f), scale = hn::Set(d, toCells);
    const auto zero = hn::Zero(d), one = hn::Set(d, 1.0f), far = hn::Set(d, 1e30f);
    for (int x = begin; x < end; x += lanes) {
        const auto u = hn::Mul(hn::Add(hn::Iota(d, static_cast<float>(x)), half), scale);
        auto d1 = far, d2 = far, nearest = zero;
        // Keeps the two smallest squared distances without a branch per pixel.
        for (int p = 0; p < count; ++p) {
            const auto du = hn::Sub(hn::Set(d, points[p].u), u);
            const auto dist = hn::Add(hn::Mul(du, du), hn::Set(d, points[p].dv2));
            nearest = hn::IfThenElse(hn::Lt(dist, d1), hn::Set(d, points[p].value), nearest);
            d2 = hn::Min(d2, hn::Max(d1, dist));
            d1 = hn::Min(d1, dist);
        }
        const auto f1 = hn::Sqrt(d1), f2 = hn::Sqrt(d2);
        const auto result = mode == CellularMode::F1          ? f1
                            : mode == CellularMode::F2        ? f2
                            : mode == CellularMode::F2MinusF1 ? hn::Sub(f2, f1)
                                                              : nearest;
        storeFirstLanes(hn::Min(hn::Max(result, zero), one), d, static_cast<size_t>(end - x), out + x);
    }
}

} // namespace HWY_NAMESPACE
} // namespace kvengine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kvengine {

HWY_EXPORT(CellularRun);

void cellularRun(const RunPoint* points, int count, int begin, int end, float toCells, CellularMode mode,
                 float* out) {
    HWY_DYNAMIC_DISPATCH(CellularRun)(points, count, begin, end, toCells, mode, out);
}

} // namespace kvengine
#endif
