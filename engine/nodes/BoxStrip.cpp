// Compiled once per SIMD target (Highway's foreach_target re-includes this
// file) and dispatched at run time to the best target the CPU has.
#include "engine/nodes/BoxStrip.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "engine/nodes/BoxStrip.cpp"
#include "hwy/foreach_target.h" // IWYU pragma: keep

#include "hwy/highway.h"

#include <algorithm>
#include <cstddef>

HWY_BEFORE_NAMESPACE();
namespace kvengine {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// The sums are doubles: in floats, adding and removing samples drifts, and
// a constant image would not blur to exactly itself.
void BoxFilterStrip(const float* src, size_t srcStride, float* dst, size_t dstStride, int n, int h,
                    BoxDifference difference) {
    const hn::ScalableTag<double> dd;
    const hn::Rebind<float, decltype(dd)> df; // as many floats as doubles
    const size_t lanes = hn::Lanes(dd);
    const auto scale = hn::Set(dd, 1.0 / (2.0 * h + 1.0));
    HWY_ALIGN double sums[kBoxStripLanes];
    const auto sample = [src, srcStride, df](int i, size_t c) {
        return hn::LoadU(df, src + static_cast<size_t>(i) * srcStride + c);
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
        float* row = dst + static_cast<size_t>(i) * dstStride;
        for (size_t c = 0; c < kBoxStripLanes; c += lanes) {
            const auto sum = hn::Load(dd, sums + c);
            hn::StoreU(hn::DemoteTo(df, hn::Mul(sum, scale)), df, row + c);
            const auto entering = sample(enter, c), leaving = sample(leave, c);
            const auto change = difference == BoxDifference::Float
                                    ? hn::PromoteTo(dd, hn::Sub(entering, leaving))
                                    : hn::Sub(hn::PromoteTo(dd, entering), hn::PromoteTo(dd, leaving));
            hn::Store(hn::Add(sum, change), dd, sums + c);
        }
        enter = enter + 1 == n ? 0 : enter + 1;
        leave = leave + 1 == n ? 0 : leave + 1;
    }
}

// Transposes the 4 x 4 block of floats at src (rows srcStride apart) into dst
// (rows dstStride apart). A plain copy per float on the one-lane target.
HWY_INLINE void transpose4(const float* src, size_t srcStride, float* dst, size_t dstStride) {
#if HWY_TARGET == HWY_SCALAR
    for (size_t i = 0; i < 4; ++i)
        for (size_t j = 0; j < 4; ++j)
            dst[j * dstStride + i] = src[i * srcStride + j];
#else
    const hn::Full128<float> d;
    const auto r0 = hn::LoadU(d, src), r1 = hn::LoadU(d, src + srcStride);
    const auto r2 = hn::LoadU(d, src + 2 * srcStride), r3 = hn::LoadU(d, src + 3 * srcStride);
    const auto low01 = hn::InterleaveLower(d, r0, r1), low23 = hn::InterleaveLower(d, r2, r3);
    const auto high01 = hn::InterleaveUpper(d, r0, r1), high23 = hn::InterleaveUpper(d, r2, r3);
    hn::StoreU(hn::ConcatLowerLower(d, low23, low01), d, dst);
    hn::StoreU(hn::ConcatUpperUpper(d, low23, low01), d, dst + dstStride);
    hn::StoreU(hn::ConcatLowerLower(d, high23, high01), d, dst + 2 * dstStride);
    hn::StoreU(hn::ConcatUpperUpper(d, high23, high01), d, dst + 3 * dstStride);
#endif
}

// Visits the floats of count rows of width samples in 4 x 4 blocks, then the
// ragged edges one by one; kBlock samples at a time so that both sides stay in cache.
template <class Block, class One>
HWY_INLINE void forEachBlock(int width, int count, const Block& block, const One& one) {
    constexpr int kBlock = 64;
    const int fullRows = count & ~3;
    for (int x0 = 0; x0 < width; x0 += kBlock) {
        const int x1 = std::min(width, x0 + kBlock), fullX1 = x0 + ((x1 - x0) & ~3);
        for (int r = 0; r < fullRows; r += 4) {
            for (int x = x0; x < fullX1; x += 4)
                block(x, r);
            for (int x = fullX1; x < x1; ++x)
                for (int i = r; i < r + 4; ++i)
                    one(x, i);
        }
        for (int r = fullRows; r < count; ++r)
            for (int x = x0; x < x1; ++x)
                one(x, r);
    }
}

void RowsToStrip(const float* rows, size_t stride, int width, int count, float* strip) {
    const auto at = [=](int x, int r) { return strip + static_cast<size_t>(x) * kBoxStripLanes + r; };
    const auto row = [=](int x, int r) { return rows + static_cast<size_t>(r) * stride + x; };
    forEachBlock(
        width, count, [&](int x, int r) { transpose4(row(x, r), stride, at(x, r), kBoxStripLanes); },
        [&](int x, int r) { *at(x, r) = *row(x, r); });
}

void StripToRows(const float* strip, int width, int count, float* rows, size_t stride) {
    const auto at = [=](int x, int r) { return strip + static_cast<size_t>(x) * kBoxStripLanes + r; };
    const auto row = [=](int x, int r) { return rows + static_cast<size_t>(r) * stride + x; };
    forEachBlock(
        width, count, [&](int x, int r) { transpose4(at(x, r), kBoxStripLanes, row(x, r), stride); },
        [&](int x, int r) { *row(x, r) = *at(x, r); });
}

} // namespace HWY_NAMESPACE
} // namespace kvengine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kvengine {

HWY_EXPORT(BoxFilterStrip);

HWY_EXPORT(RowsToStrip);
HWY_EXPORT(StripToRows);

void boxFilterStrip(const float* src, size_t srcStride, float* dst, size_t dstStride, int n, int h,
                    BoxDifference difference) {
    HWY_DYNAMIC_DISPATCH(BoxFilterStrip)(src, srcStride, dst, dstStride, n, h, difference);
}

void rowsToStrip(const float* rows, size_t stride, int width, int count, float* strip) {
    HWY_DYNAMIC_DISPATCH(RowsToStrip)(rows, stride, width, count, strip);
}

void stripToRows(const float* strip, int width, int count, float* rows, size_t stride) {
    HWY_DYNAMIC_DISPATCH(StripToRows)(strip, width, count, rows, stride);
}

} // namespace kvengine
#endif
