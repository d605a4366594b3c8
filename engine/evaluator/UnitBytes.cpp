// Compiled once per SIMD target (Highway's foreach_target re-includes this
// file) and dispatched at run time to the best target the CPU has.
#include "engine/evaluator/UnitBytes.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "engine/evaluator/UnitBytes.cpp"
#include "hwy/foreach_target.h" // IWYU pragma: keep

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace kvengine {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <class D, class DU8>
HWY_INLINE hn::Vec<DU8> unitBytes(D d, DU8 du8, const float* HWY_RESTRICT src) {
    const hn::RebindToSigned<D> di;
    const auto v = hn::LoadU(d, src);
    const auto clamped = hn::Min(hn::IfThenElseZero(hn::Gt(v, hn::Zero(d)), v), hn::Set(d, 1.0f));
    const auto scaled = hn::Add(hn::Mul(clamped, hn::Set(d, 255.0f)), hn::Set(d, 0.5f));
    return hn::DemoteTo(du8, hn::ConvertTo(di, scaled));
}

void UnitBytesRgba(const float* const rgba[4], int width, uint8_t* out) {
    const hn::ScalableTag<float> d;
    const hn::Rebind<uint8_t, decltype(d)> du8;
    const int lanes = static_cast<int>(hn::Lanes(d));
    const float* alpha = rgba[3];
    int x = 0;
    for (; x + lanes <= width; x += lanes) {
        const auto a = alpha ? unitBytes(d, du8, alpha + x) : hn::Set(du8, uint8_t{255});
        hn::StoreInterleaved4(unitBytes(d, du8, rgba[0] + x), unitBytes(d, du8, rgba[1] + x),
                              unitBytes(d, du8, rgba[2] + x), a, du8, out + 4 * static_cast<size_t>(x));
    }
    for (; x < width; ++x) {
        uint8_t* texel = out + 4 * static_cast<size_t>(x);
        for (int c = 0; c < 3; ++c)
            texel[c] = unitByte(rgba[c][x]);
        texel[3] = alpha ? unitByte(alpha[x]) : uint8_t{255};
    }
}

void UnitBytesGray(const float* row, int width, uint8_t* out) {
    const hn::ScalableTag<float> d;
    const hn::Rebind<uint8_t, decltype(d)> du8;
    const int lanes = static_cast<int>(hn::Lanes(d));
    int x = 0;
    for (; x + lanes <= width; x += lanes)
        hn::StoreU(unitBytes(d, du8, row + x), du8, out + x);
    for (; x < width; ++x)
        out[x] = unitByte(row[x]);
}

} // namespace HWY_NAMESPACE
} // namespace kvengine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kvengine {

HWY_EXPORT(UnitBytesRgba);
HWY_EXPORT(UnitBytesGray);

void unitBytesRgba(const float* const rgba[4], int width, uint8_t* out) {
    HWY_DYNAMIC_DISPATCH(UnitBytesRgba)(rgba, width, out);
}

void unitBytesGray(const float* row, int width, uint8_t* out) {
    HWY_DYNAMIC_DISPATCH(UnitBytesGray)(row, width, out);
}

} // namespace kvengine
#endif
