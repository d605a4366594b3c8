// Lattice column stepping and gradient noise at a single point; the rows live in LatticeRows.cpp.
#include "engine/nodes/LatticeNoise.h"

#include "engine/nodes/LatticeCells.h"

namespace kvengine {

CellColumns::CellColumns(int width, int period)
    : divisor_(2 * static_cast<int64_t>(period)), whole_(2 * static_cast<int64_t>(width) / divisor_),
      rest_(2 * static_cast<int64_t>(width) % divisor_) {
    // The first column's end, ceil((2 * width - period) / (2 * period)); the
    // numerator is negative when there are more columns than pixels.
    const int64_t first = 2 * static_cast<int64_t>(width) - period;
    end_ = first / divisor_;
    if (end_ * divisor_ < first)
        ++end_;
    slack_ = end_ * divisor_ - first;
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
