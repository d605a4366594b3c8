// Compiled once per SIMD target (Highway's foreach_target re-includes this
// file) and dispatched at run time to the best target the CPU has.
#include "engine/nodes/OctaveSum.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "engine/nodes/OctaveSum.cpp"
#include "hwy/foreach_target.h" // IWYU pragma: keep

#include "engine/nodes/SimdTail-inl.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace kvengine {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Adds amplitude * shape(octave[from + i]) to sum[to + i] for i in [0, count).
template <class D, class Shape>
HWY_INLINE void addShaped(D d, const float* octave, int from, float* sum, int to, int count, float amplitude,
                          const Shape& shape) {
    const int lanes = static_cast<int>(hn::Lanes(d));
    const auto gain = hn::Set(d, amplitude);
    for (int i = 0; i < count; i += lanes) {
        const size_t left = static_cast<size_t>(count - i);
        const auto value = shape(loadFirstLanes(d, octave + from + i, left));
        const auto total = hn::Add(loadFirstLanes(d, sum + to + i, left), hn::Mul(gain, value));
        storeFirstLanes(total, d, left, sum + to + i);
    }
}

void AddOctave(FractalMode mode, const float* octave, int width, int shift, float amplitude, float* sum) {
    const hn::ScalableTag<float> d;
    const auto zero = hn::Zero(d), one = hn::Set(d, 1.0f), two = hn::Set(d, 2.0f);
    const auto add = [&](const auto& shape) {
        // The octave is read shift pixels further along, wrapping: two runs.
        addShaped(d, octave, shift, sum, 0, width - shift, amplitude, shape);
        addShaped(d, octave, 0, sum, width - shift, shift, amplitude, shape);
    };
    switch (mode) {
    case FractalMode::Sum:
        add([](auto v) { return v; });
        break;
    case FractalMode::Ridged: // sharp crests where the octave crosses zero
        add([&](auto v) {
            const auto crest = hn::Max(hn::Sub(one, hn::Mul(two, hn::Abs(v))), zero);
            return hn::Mul(crest, crest);
        });
        break;
    case FractalMode::Turbulence:
        add([&](auto v) { return hn::Mul(two, hn::Abs(v)); });
        break;
    }
}

void FinishOctaves(float* sum, int width, float centre, float gain) {
    const hn::ScalableTag<float> d;
    const int lanes = static_cast<int>(hn::Lanes(d));
    const auto zero = hn::Zero(d), one = hn::Set(d, 1.0f);
    const auto offset = hn::Set(d, centre), scale = hn::Set(d, gain);
    for (int x = 0; x < width; x += lanes) {
        const size_t left = static_cast<size_t>(width - x);
        const auto value = hn::Add(offset, hn::Mul(loadFirstLanes(d, sum + x, left), scale));
        storeFirstLanes(hn::Min(hn::Max(value, zero), one), d, left, sum + x);
    }
}

} // namespace HWY_NAMESPACE
} // namespace kvengine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kvengine {

HWY_EXPORT(AddOctave);
HWY_EXPORT(FinishOctaves);

void addOctave(FractalMode mode, const float* octave, int width, int shift, float amplitude, float* sum) {
    HWY_DYNAMIC_DISPATCH(AddOctave)(mode, octave, width, shift, amplitude, sum);
}

void finishOctaves(float* sum, int width, float centre, float gain) {
    HWY_DYNAMIC_DISPATCH(FinishOctaves)(sum, width, centre, gain);
}

} // namespace kvengine
#endif
