// The rows of the lattice noises. Lattice data is looked up once per column
// (scalar); the pixels of a column are computed in vectors. Compiled once per
// SIMD target (Highway's foreach_target re-includes this file) and dispatched
// at run time; every pixel sees the same float operations in the same order
// on every target.
#include "engine/nodes/LatticeNoise.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "engine/nodes/LatticeRows.cpp"
#include "hwy/foreach_target.h" // IWYU pragma: keep

#include "engine/nodes/LatticeCells.h"
#include "engine/nodes/Sampling.h"
#include "engine/nodes/SimdTail-inl.h"
#include "hwy/highway.h"

#include <vector>

HWY_BEFORE_NAMESPACE();
namespace kvengine {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using D = hn::ScalableTag<float>;
using V = hn::Vec<D>;

// fade() of every lane, in the same order of operations.
HWY_INLINE V fadeLanes(D d, V t) {
    const auto inner =
        hn::Add(hn::Mul(t, hn::Sub(hn::Mul(t, hn::Set(d, 6.0f)), hn::Set(d, 15.0f))), hn::Set(d, 10.0f));
    return hn::Mul(hn::Mul(hn::Mul(t, t), t), inner);
}

// Calls pixels(x, u) for the vectors of pixels from begin to end, u being
// (x + lane + 0.5) * cellsPerPixel, and stores what it returns at out + x.
// The last vector may spill past end into the next column's pixels, which
// that column then overwrites; nothing is written past the row's width.
template <class Pixels>
HWY_INLINE void columnPixels(D d, int begin, int end, int width, float cellsPerPixel, float* out,
                             const Pixels& pixels) {
    const int lanes = static_cast<int>(hn::Lanes(d));
    const auto half = hn::Set(d, 0.5f), scale = hn::Set(d, cellsPerPixel);
    for (int x = begin; x < end; x += lanes) {
        const auto u = hn::Mul(hn::Add(hn::Iota(d, static_cast<float>(x)), half), scale);
        storeFirstLanes(pixels(u), d, static_cast<size_t>(width - x), out + x);
    }
}

// Calls cell(cx, begin, end) for the columns cx of a lattice of `period`
// cells across a row of width pixels, with the pixels whose centres fall in
// the column, left to right.
template <class Cell>
HWY_INLINE void forEachColumn(int width, int period, const Cell& cell) {
    CellColumns columns(width, period);
    int x = 0;
    for (int cx = 0; cx < period && x < width; ++cx, columns.next()) {
        const int end = std::clamp(columns.end(), x, width);
        cell(cx, x, end);
        x = end;
    }
}

// hash3(seed, cx, y) of every lattice column cx of a row at the lattice rows
// above (top) and below (bottom) it, lanes being columns; entry period
// repeats column 0, so that cell cx reads its corners at cx and cx + 1.
struct ColumnHashes {
    std::vector<uint32_t> top, bottom;

    ColumnHashes(uint32_t seed, int period, const LatticeRow& lattice) {
        const hn::ScalableTag<uint32_t> du;
        const size_t lanes = hn::Lanes(du), count = static_cast<size_t>(period) + 1;
        top.resize((count + lanes - 1) / lanes * lanes);
        bottom.resize(top.size());
        // hash2(a, b) = hashMix(a ^ hashMix(b + golden)): the row halves are constants.
        const auto mix = [du](hn::Vec<decltype(du)> x) {
            x = hn::Xor(x, hn::ShiftRight<16>(x));
            x = hn::Mul(x, hn::Set(du, 0x7feb352dU));
            x = hn::Xor(x, hn::ShiftRight<15>(x));
            x = hn::Mul(x, hn::Set(du, 0x846ca68bU));
            return hn::Xor(x, hn::ShiftRight<16>(x));
        };
        const auto golden = hn::Set(du, 0x9e3779b9U), seeds = hn::Set(du, seed);
        const auto above = hn::Set(du, hashMix(static_cast<uint32_t>(lattice.y0) + 0x9e3779b9U));
        const auto below = hn::Set(du, hashMix(static_cast<uint32_t>(lattice.y1) + 0x9e3779b9U));
        for (size_t cx = 0; cx < top.size(); cx += lanes) {
            const auto column =
                mix(hn::Xor(seeds, mix(hn::Add(hn::Iota(du, static_cast<uint32_t>(cx)), golden))));
            hn::StoreU(mix(hn::Xor(column, above)), du, top.data() + cx);
            hn::StoreU(mix(hn::Xor(column, below)), du, bottom.data() + cx);
        }
        top[static_cast<size_t>(period)] = top[0];
        bottom[static_cast<size_t>(period)] = bottom[0];
    }
};

void GradientRow(float* out, int width, float v, int periodX, int periodY, uint32_t seed) {
    const D d;
    const GradientTable& table = gradients();
    const LatticeRow lattice(v, periodY);
    const float fy = lattice.fy;
    const auto sy = hn::Set(d, fade(fy)), one = hn::Set(d, 1.0f);
    const float cellsPerPixel = static_cast<float>(periodX) / static_cast<float>(width);
    const ColumnHashes hashes(seed, periodX, lattice);
    forEachColumn(width, periodX, [&](int cx, int begin, int end) {
        const size_t left = static_cast<size_t>(cx), right = left + 1;
        const size_t h00 = hashes.top[left] & 255u, h10 = hashes.top[right] & 255u;
        const size_t h01 = hashes.bottom[left] & 255u, h11 = hashes.bottom[right] & 255u;
        const auto g00x = hn::Set(d, table.x[h00]), g10x = hn::Set(d, table.x[h10]);
        const auto g01x = hn::Set(d, table.x[h01]), g11x = hn::Set(d, table.x[h11]);
        const auto top0 = hn::Set(d, table.y[h00] * fy), top1 = hn::Set(d, table.y[h10] * fy);
        const auto bottom0 = hn::Set(d, table.y[h01] * (fy - 1.0f));
        const auto bottom1 = hn::Set(d, table.y[h11] * (fy - 1.0f));
        const auto column = hn::Set(d, static_cast<float>(cx));
        columnPixels(d, begin, end, width, cellsPerPixel, out, [&](V u) {
            const auto fx = hn::Sub(u, column);
            const auto fx1 = hn::Sub(fx, one);
            const auto sx = fadeLanes(d, fx);
            const auto n00 = hn::Add(hn::Mul(g00x, fx), top0);
            const auto n10 = hn::Add(hn::Mul(g10x, fx1), top1);
            const auto n01 = hn::Add(hn::Mul(g01x, fx), bottom0);
            const auto n11 = hn::Add(hn::Mul(g11x, fx1), bottom1);
            const auto top = hn::Add(n00, hn::Mul(hn::Sub(n10, n00), sx));
            const auto bottom = hn::Add(n01, hn::Mul(hn::Sub(n11, n01), sx));
            return hn::Add(top, hn::Mul(hn::Sub(bottom, top), sy));
        });
    });
}

void ValueRow(float* out, int width, float v, int periodX, int periodY, uint32_t seed) {
    const D d;
    const LatticeRow lattice(v, periodY);
    const float sy = fade(lattice.fy);
    const float cellsPerPixel = static_cast<float>(periodX) / static_cast<float>(width);
    const ColumnHashes hashes(seed, periodX, lattice);
    forEachColumn(width, periodX, [&](int cx, int begin, int end) {
        const size_t c0 = static_cast<size_t>(cx), c1 = c0 + 1;
        const float v00 = latticeValue(hashes.top[c0]), v10 = latticeValue(hashes.top[c1]);
        const float v01 = latticeValue(hashes.bottom[c0]), v11 = latticeValue(hashes.bottom[c1]);
        const float leftValue = v00 + (v01 - v00) * sy;
        const auto left = hn::Set(d, leftValue);
        const auto span = hn::Set(d, v10 + (v11 - v10) * sy - leftValue);
        const auto column = hn::Set(d, static_cast<float>(cx));
        columnPixels(d, begin, end, width, cellsPerPixel, out,
                     [&](V u) { return hn::Add(left, hn::Mul(span, fadeLanes(d, hn::Sub(u, column)))); });
    });
}

// Triangular lattice: rows of points one cell apart, every other row shifted
// by half a cell, rows sqrt(3)/2 apart in lattice units so the triangles are
// equilateral. Each point adds (3/4 - d^2)^4 times its gradient's dot product
// with the offset; that kernel ends at sqrt(3)/2, so no point of the rows
// beyond the two around a pixel, nor the third of a row, reaches it: the two
// nearest points of the row above and of the row below are all. Half-cell
// spans of a row share those four points.
void SimplexRow(float* out, int width, float v, int columns, int squareRows, uint32_t seed) {
    constexpr float kRowHeight = 0.8660254f;
    constexpr float kReach = 0.75f;
    constexpr float kGain = 7.5f; // brings the extremes near +-0.5
    const D d;
    const auto zero = hn::Zero(d), one = hn::Set(d, 1.0f), gain = hn::Set(d, kGain);
    const int rows = 2 * std::max(1, static_cast<int>(std::lround(squareRows / 1.7320508)));
    const GradientTable& table = gradients();
    const LatticeRow lattice(v, rows);
    const float dyTop = lattice.fy * kRowHeight, dyBottom = (lattice.fy - 1.0f) * kRowHeight;
    const float topShift = (lattice.y0 & 1) ? 0.5f : 0.0f, bottomShift = 0.5f - topShift;
    const float cellsPerPixel = static_cast<float>(columns) / static_cast<float>(width);
    // (reach - dx^2)^4, cut at 0, times the gradient's dot product with (dx, dy).
    const auto kernel = [&](V reach, V dx, V gx, V gy) {
        auto t = hn::Max(hn::Sub(reach, hn::Mul(dx, dx)), zero);
        t = hn::Mul(t, t);
        return hn::Mul(hn::Mul(t, t), hn::Add(hn::Mul(gx, dx), gy));
    };
    forEachColumn(width, 2 * columns, [&](int half, int begin, int end) {
        // Left point of the pair around this span in each row; -1 wraps.
        const int shiftedLeft = (half - 1) >> 1, plainLeft = half >> 1;
        const int topLeft = topShift > 0.0f ? shiftedLeft : plainLeft;
        const int bottomLeft = bottomShift > 0.0f ? shiftedLeft : plainLeft;
        const size_t t0 = gradientIndex(seed, wrapIndex(topLeft, columns), lattice.y0);
        const size_t t1 = gradientIndex(seed, wrapIndex(topLeft + 1, columns), lattice.y0);
        const size_t b0 = gradientIndex(seed, wrapIndex(bottomLeft, columns), lattice.y1);
        const size_t b1 = gradientIndex(seed, wrapIndex(bottomLeft + 1, columns), lattice.y1);
        const auto topX = hn::Set(d, static_cast<float>(topLeft) + topShift);
        const auto bottomX = hn::Set(d, static_cast<float>(bottomLeft) + bottomShift);
        const auto tdy = hn::Set(d, kReach - dyTop * dyTop), bdy = hn::Set(d, kReach - dyBottom * dyBottom);
        const auto t0x = hn::Set(d, table.x[t0]), t1x = hn::Set(d, table.x[t1]);
        const auto b0x = hn::Set(d, table.x[b0]), b1x = hn::Set(d, table.x[b1]);
        const auto t0y = hn::Set(d, table.y[t0] * dyTop), t1y = hn::Set(d, table.y[t1] * dyTop);
        const auto b0y = hn::Set(d, table.y[b0] * dyBottom), b1y = hn::Set(d, table.y[b1] * dyBottom);
        columnPixels(d, begin, end, width, cellsPerPixel, out, [&](V u) {
            const auto tx = hn::Sub(u, topX), bx = hn::Sub(u, bottomX);
            const auto sum =
                hn::Add(hn::Add(hn::Add(kernel(tdy, tx, t0x, t0y), kernel(tdy, hn::Sub(tx, one), t1x, t1y)),
                                kernel(bdy, bx, b0x, b0y)),
                        kernel(bdy, hn::Sub(bx, one), b1x, b1y));
            return hn::Mul(gain, sum);
        });
    });
}

} // namespace HWY_NAMESPACE
} // namespace kvengine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kvengine {

HWY_EXPORT(GradientRow);
HWY_EXPORT(ValueRow);
HWY_EXPORT(SimplexRow);

void noiseRow(NoiseBasis basis, float* out, int width, float v, int periodX, int periodY, uint32_t seed) {
    switch (basis) {
    case NoiseBasis::Gradient:
        HWY_DYNAMIC_DISPATCH(GradientRow)(out, width, v, periodX, periodY, seed);
        break;
    case NoiseBasis::Value:
        HWY_DYNAMIC_DISPATCH(ValueRow)(out, width, v, periodX, periodY, seed);
        break;
    case NoiseBasis::Simplex:
        HWY_DYNAMIC_DISPATCH(SimplexRow)(out, width, v, periodX, periodY, seed);
        break;
    }
}

} // namespace kvengine
#endif
