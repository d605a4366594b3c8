// Shared by the SIMD kernels: loading and storing the first `count` lanes of
// a vector without touching memory past them, for the last, partial vector
// of a row.
// Highway per-target header: included once per target after highway.h.
#if defined(KV_SIMD_TAIL_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef KV_SIMD_TAIL_INL_H_
#undef KV_SIMD_TAIL_INL_H_
#else
#define KV_SIMD_TAIL_INL_H_
#endif

#include "hwy/highway.h"

#include <algorithm>
#include <cstddef>

HWY_BEFORE_NAMESPACE();
namespace kvengine {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <class D>
HWY_INLINE void storeFirstLanes(hn::Vec<D> v, D d, size_t count, hn::TFromD<D>* HWY_RESTRICT dst) {
    if (count >= hn::Lanes(d)) {
        hn::StoreU(v, d, dst);
        return;
    }
    HWY_ALIGN hn::TFromD<D> lanes[hn::MaxLanes(d)];
    hn::Store(v, d, lanes);
    std::copy_n(lanes, count, dst);
}

// The lanes past count are 0.
template <class D>
HWY_INLINE hn::Vec<D> loadFirstLanes(D d, const hn::TFromD<D>* HWY_RESTRICT src, size_t count) {
    if (count >= hn::Lanes(d))
        return hn::LoadU(d, src);
    HWY_ALIGN hn::TFromD<D> lanes[hn::MaxLanes(d)] = {};
    std::copy_n(src, count, lanes);
    return hn::Load(d, lanes);
}

} // namespace HWY_NAMESPACE
} // namespace kvengine
HWY_AFTER_NAMESPACE();

#endif
