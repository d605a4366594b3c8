// Lattice data shared by the noise rows and the single-point gradient noise:
// the gradient table, the hashed values and gradients of lattice points, the
// fade curve and the lattice row a texture row falls in.
#pragma once

#include "engine/nodes/Random.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace kvengine {

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

inline const GradientTable& gradients() {
    static const GradientTable table;
    return table;
}

inline size_t gradientIndex(uint32_t seed, int x, int y) {
    return hash3(seed, static_cast<uint32_t>(x), static_cast<uint32_t>(y)) & 255u;
}

// The value of a lattice point of value noise, from its hash3.
inline float latticeValue(uint32_t hash) {
    return hashToUnit(hash) - 0.5f;
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

} // namespace kvengine
