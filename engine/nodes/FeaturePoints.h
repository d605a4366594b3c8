// The feature points of the cellular kinds: one per cell of a square grid
// that wraps, so the texture tiles. Coordinates are in cell units.
#pragma once

#include "engine/nodes/Random.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kvengine {

struct FeaturePoints {
    int cells = 0;
    std::vector<float> x, y, value; // offsets inside the cell and the cell's random value

    // jitter 0 puts every point at its cell's centre, 1 anywhere in the cell.
    FeaturePoints(int count, float jitter, uint32_t seed)
        : cells(count), x(static_cast<size_t>(count) * count), y(x.size()), value(x.size()) {
        for (int j = 0; j < count; ++j)
            for (int i = 0; i < count; ++i) {
                const size_t k = static_cast<size_t>(j) * count + i;
                const uint32_t h = hash3(seed, static_cast<uint32_t>(i), static_cast<uint32_t>(j));
                x[k] = 0.5f + (hashToUnit(h) - 0.5f) * jitter;
                y[k] = 0.5f + (hashToUnit(hashMix(h + 1u)) - 0.5f) * jitter;
                value[k] = hashToUnit(hashMix(h + 2u));
            }
    }

    size_t index(int i, int j) const {
        return static_cast<size_t>(wrap(j)) * static_cast<size_t>(cells) + static_cast<size_t>(wrap(i));
    }

private:
    int wrap(int i) const {
        const int r = i % cells;
        return r < 0 ? r + cells : r;
    }
};

} // namespace kvengine
