// Compiled once per SIMD target (Highway's foreach_target re-includes this
// file) and dispatched at run time to the best target the CPU has.
#include "engine/nodes/BilinearRow.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "engine/nodes/BilinearRow.cpp"
#include "hwy/foreach_target.h" // IWYU pragma: keep

#include "engine/nodes/Sampling.h"
#include "engine/nodes/SimdTail-inl.h"
#include "hwy/highway.h"

#include <cstddef>

HWY_BEFORE_NAMESPACE();
namespace kvengine {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

void BilinearRow(const float* const* planes, float* const* outs, int channels, int width, int height,
                 const float* u, const float* v, int count) {
    const hn::ScalableTag<float> d;
    const hn::RebindToSigned<decltype(d)> di;
    const int lanes = static_cast<int>(hn::Lanes(d));
    const auto widthF = hn::Set(d, static_cast<float>(width)),
               heightF = hn::Set(d, static_cast<float>(height));
    const auto half = hn::Set(d, 0.5f);
    const auto widthI = hn::Set(di, width), heightI = hn::Set(di, height);
    const auto zeroI = hn::Zero(di), oneI = hn::Set(di, 1);
    for (int x = 0; x < count; x += lanes) {
        const size_t left = static_cast<size_t>(count - x);
        auto px = hn::Sub(hn::Mul(loadFirstLanes(d, u + x, left), widthF), half);
        auto py = hn::Sub(hn::Mul(loadFirstLanes(d, v + x, left), heightF), half);
        const auto finite = hn::And(hn::IsFinite(px), hn::IsFinite(py));
        px = hn::IfThenElseZero(finite, px);
        py = hn::IfThenElseZero(finite, py);
        const auto fx0 = hn::Floor(px), fy0 = hn::Floor(py);
        // Whole coordinates at most one period out wrap with a compare; the
        // rare others (far-flung warps) take the scalar sampler.
        const auto far = hn::Or(hn::Ge(hn::Abs(fx0), widthF), hn::Ge(hn::Abs(fy0), heightF));
        if (!hn::AllFalse(d, far)) {
            for (int i = x; i < x + lanes && i < count; ++i) {
                const BilinearTap tap = bilinearTap(width, height, u[i], v[i]);
                for (int c = 0; c < channels; ++c)
                    outs[c][i] = sampleTap(planes[c], tap);
            }
            continue;
        }
        auto x0 = hn::ConvertTo(di, fx0), y0 = hn::ConvertTo(di, fy0);
        x0 = hn::IfThenElse(hn::Lt(x0, zeroI), hn::Add(x0, widthI), x0);
        y0 = hn::IfThenElse(hn::Lt(y0, zeroI), hn::Add(y0, heightI), y0);
        auto x1 = hn::Add(x0, oneI), y1 = hn::Add(y0, oneI);
        x1 = hn::IfThenZeroElse(hn::Eq(x1, widthI), x1);
        y1 = hn::IfThenZeroElse(hn::Eq(y1, heightI), y1);
        const auto row0 = hn::Mul(y0, widthI), row1 = hn::Mul(y1, widthI);
        const auto i00 = hn::Add(row0, x0), i01 = hn::Add(row0, x1);
        const auto i10 = hn::Add(row1, x0), i11 = hn::Add(row1, x1);
        const auto tx = hn::Sub(px, fx0), ty = hn::Sub(py, fy0);
        for (int c = 0; c < channels; ++c) {
            const float* plane = planes[c];
            const auto a = hn::GatherIndex(d, plane, i00), b = hn::GatherIndex(d, plane, i01);
            const auto top = hn::Add(a, hn::Mul(hn::Sub(b, a), tx));
            const auto e = hn::GatherIndex(d, plane, i10), f = hn::GatherIndex(d, plane, i11);
            const auto bottom = hn::Add(e, hn::Mul(hn::Sub(f, e), tx));
            storeFirstLanes(hn::Add(top, hn::Mul(hn::Sub(bottom, top), ty)), d, left, outs[c] + x);
        }
    }
}

} // namespace HWY_NAMESPACE
} // namespace kvengine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kvengine {

HWY_EXPORT(BilinearRow);

void bilinearRow(const float* const* planes, float* const* outs, int channels, int width, int height,
                 const float* u, const float* v, int count) {
    HWY_DYNAMIC_DISPATCH(BilinearRow)(planes, outs, channels, width, height, u, v, count);
}

} // namespace kvengine
#endif
