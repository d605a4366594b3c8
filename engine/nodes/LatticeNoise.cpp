#include "engine/nodes/LatticeNoise.h"

#include "engine/nodes/Random.h"
#include "engine/nodes/Sampling.h"

#include <array>

namespace kvengine {

namespace {

struct GradientTable {
    std::array<float, 256> x{};
    std::array<float, 256> y{};
    GradientTable() {
        for (int i = 0; i < 256; ++i) {
            const double angle = 6.283185307179586 * (i + 0.5) / 256.0;
            x[static_cast<size_t>(i)] = static_cast<float>(std::cos(angle));
            y[static_cast<size_t>(i)] = static_cast<float>(std::sin(angle));
        }
    }
};

const GradientTable& gradients() {
    static const GradientTable table;
    return table;
}

inline size_t gradientIndex(uint32_t seed, int x, int y) {
    return hash3(seed, static_cast<uint32_t>(x), static_cast<uint32_t>(y)) & 255u;
}

inline float latticeValue(uint32_t seed, int x, int y) {
    return hashToUnit(hash3(seed, static_cast<uint32_t>(x), static_cast<uint32_t>(y))) - 0.5f;
}

inline float fade(float t) {
    return t * t * t * (t * (t * 6.0f - 15.0f) + 10.0f);
}

// The lattice row above a texture row and its fraction of the way down.
struct LatticeRow {
    int y0, y1;
    float fy;
    LatticeRow(float v, int period) {
        const float py = v * static_cast<float>(period);
        const int cy = std::min(static_cast<int>(py), period - 1);
        fy = py - static_cast<float>(cy);
        y0 = cy;
        y1 = cy + 1 == period ? 0 : cy + 1;
    }
};

// The lattice gradients are looked up once per cell; the inner loop over the
// cell's pixels is plain arithmetic that the compiler vectorises.
void gradientRow(float* out, int width, float v, int periodX, int periodY, uint32_t seed) {
    const GradientTable& table = gradients();
    const LatticeRow lattice(v, periodY);
    const float fy = lattice.fy;
    const float sy = fade(fy);
    const float cellsPerPixel = static_cast<float>(periodX) / static_cast<float>(width);
    int x = 0;
    for (int cx = 0; cx < periodX && x < width; ++cx) {
        const int end = std::clamp(cellEnd(cx, width, periodX), x, width);
        if (end == x)
            continue;
        const int x1 = cx + 1 == periodX ? 0 : cx + 1;
        const size_t h00 = gradientIndex(seed, cx, lattice.y0), h10 = gradientIndex(seed, x1, lattice.y0);
        const size_t h01 = gradientIndex(seed, cx, lattice.y1), h11 = gradientIndex(seed, x1, lattice.y1);
        const float g00x = table.x[h00], g00y = table.y[h00], g10x = table.x[h10], g10y = table.y[h10];
        const float g01x = table.x[h01], g01y = table.y[h01], g11x = table.x[h11], g11y = table.y[h11];
        const float top0 = g00y * fy, top1 = g10y * fy;
        const float bottom0 = g01y * (fy - 1.0f), bottom1 = g11y * (fy - 1.0f);
        for (int i = x; i < end; ++i) {
            const float fx = (static_cast<float>(i) + 0.5f) * cellsPerPixel - static_cast<float>(cx);
            const float sx = fade(fx);
            const float n00 = g00x * fx + top0;
            const float n10 = g10x * (fx - 1.0f) + top1;
            const float n01 = g01x * fx + bottom0;
            const float n11 = g11x * (fx - 1.0f) + bottom1;
            const float top = n00 + (n10 - n00) * sx;
            const float bottom = n01 + (n11 - n01) * sx;
            out[i] = top + (bottom - top) * sy;
        }
        x = end;
    }
}

void valueRow(float* out, int width, float v, int periodX, int periodY, uint32_t seed) {
    const LatticeRow lattice(v, periodY);
    const float sy = fade(lattice.fy);
    const float cellsPerPixel = static_cast<float>(periodX) / static_cast<float>(width);
    int x = 0;
    for (int cx = 0; cx < periodX && x < width; ++cx) {
        const int end = std::clamp(cellEnd(cx, width, periodX), x, width);
        const int x1 = cx + 1 == periodX ? 0 : cx + 1;
        const float v00 = latticeValue(seed, cx, lattice.y0), v10 = latticeValue(seed, x1, lattice.y0);
        const float v01 = latticeValue(seed, cx, lattice.y1), v11 = latticeValue(seed, x1, lattice.y1);
        const float left = v00 + (v01 - v00) * sy;
        const float right = v10 + (v11 - v10) * sy;
        for (int i = x; i < end; ++i) {
            const float sx = fade((static_cast<float>(i) + 0.5f) * cellsPerPixel - static_cast<float>(cx));
            out[i] = left + (right - left) * sx;
        }
        x = end;
    }
}

// Triangular lattice: rows of points one cell apart, every other row shifted
// by half a cell, rows sqrt(3)/2 apart in lattice units so the triangles are
// equilateral. Each point adds (3/4 - d^2)^4 times its gradient's dot product
// with the offset; that kernel ends at sqrt(3)/2, so no point of the rows
// beyond the two around a pixel, nor the third of a row, reaches it: the two
// nearest points of the row above and of the row below are all. Half-cell
// spans of a row share those four points.
void simplexRow(float* out, int width, float v, int columns, int squareRows, uint32_t seed) {
    constexpr float kRowHeight = 0.8660254f;
    constexpr float kReach = 0.75f;
    constexpr float kGain = 7.5f; // brings the extremes near +-0.5
    const int rows = 2 * std::max(1, static_cast<int>(std::lround(squareRows / 1.7320508)));
    const GradientTable& table = gradients();
    const LatticeRow lattice(v, rows);
    const float dyTop = lattice.fy * kRowHeight, dyBottom = (lattice.fy - 1.0f) * kRowHeight;
    const float topShift = (lattice.y0 & 1) ? 0.5f : 0.0f, bottomShift = 0.5f - topShift;
    const float cellsPerPixel = static_cast<float>(columns) / static_cast<float>(width);
    int x = 0;
    for (int half = 0; half < 2 * columns && x < width; ++half) {
        const int end = std::clamp(cellEnd(half, width, 2 * columns), x, width);
        // Left point of the pair around this span in each row; -1 wraps.
        const int shiftedLeft = (half - 1) >> 1, plainLeft = half >> 1;
        const int topLeft = topShift > 0.0f ? shiftedLeft : plainLeft;
        const int bottomLeft = bottomShift > 0.0f ? shiftedLeft : plainLeft;
        const size_t t0 = gradientIndex(seed, wrapIndex(topLeft, columns), lattice.y0);
        const size_t t1 = gradientIndex(seed, wrapIndex(topLeft + 1, columns), lattice.y0);
        const size_t b0 = gradientIndex(seed, wrapIndex(bottomLeft, columns), lattice.y1);
        const size_t b1 = gradientIndex(seed, wrapIndex(bottomLeft + 1, columns), lattice.y1);
        const float topX = static_cast<float>(topLeft) + topShift;
        const float bottomX = static_cast<float>(bottomLeft) + bottomShift;
        const float tdy = kReach - dyTop * dyTop, bdy = kReach - dyBottom * dyBottom;
        const float t0y = table.y[t0] * dyTop, t1y = table.y[t1] * dyTop;
        const float b0y = table.y[b0] * dyBottom, b1y = table.y[b1] * dyBottom;
        auto kernel = [](float reach, float dx, float gx, float gy) {
            float t = std::max(reach - dx * dx, 0.0f);
            t *= t;
            return t * t * (gx * dx + gy);
        };
        for (int i = x; i < end; ++i) {
            const float px = (static_cast<float>(i) + 0.5f) * cellsPerPixel;
            const float tx = px - topX, bx = px - bottomX;
            out[i] = kGain * (kernel(tdy, tx, table.x[t0], t0y) + kernel(tdy, tx - 1.0f, table.x[t1], t1y) +
                              kernel(bdy, bx, table.x[b0], b0y) + kernel(bdy, bx - 1.0f, table.x[b1], b1y));
        }
        x = end;
    }
}

} // namespace

void noiseRow(NoiseBasis basis, float* out, int width, float v, int periodX, int periodY, uint32_t seed) {
    switch (basis) {
    case NoiseBasis::Gradient:
        gradientRow(out, width, v, periodX, periodY, seed);
        break;
    case NoiseBasis::Value:
        valueRow(out, width, v, periodX, periodY, seed);
        break;
    case NoiseBasis::Simplex:
        simplexRow(out, width, v, periodX, periodY, seed);
        break;
    }
}

float gradientNoiseAt(float u, float v, int periodX, int periodY, uint32_t seed) {
    const GradientTable& table = gradients();
    u -= std::floor(u);
    const float px = u * static_cast<float>(periodX);
    const int cx = std::min(static_cast<int>(px), periodX - 1);
    const int x1 = cx + 1 == periodX ? 0 : cx + 1;
    const float fx = px - static_cast<float>(cx);
    const LatticeRow lattice(v - std::floor(v), periodY);
    const float fy = lattice.fy;
    const size_t h00 = gradientIndex(seed, cx, lattice.y0), h10 = gradientIndex(seed, x1, lattice.y0);
    const size_t h01 = gradientIndex(seed, cx, lattice.y1), h11 = gradientIndex(seed, x1, lattice.y1);
    const float n00 = table.x[h00] * fx + table.y[h00] * fy;
    const float n10 = table.x[h10] * (fx - 1.0f) + table.y[h10] * fy;
    const float n01 = table.x[h01] * fx + table.y[h01] * (fy - 1.0f);
    const float n11 = table.x[h11] * (fx - 1.0f) + table.y[h11] * (fy - 1.0f);
    const float sx = fade(fx);
    const float top = n00 + (n10 - n00) * sx;
    const float bottom = n01 + (n11 - n01) * sx;
    return top + (bottom - top) * fade(fy);
}

} // namespace kvengine
