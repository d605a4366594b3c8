// The surface of one tile or brick as a height, shared by the tile-grid
// kinds: 0 in the gap, rising over the bevel to the tile's own level, which
// a tilt leans along a random direction.
#pragma once

#include "engine/nodes/Random.h"
#include "engine/nodes/Sampling.h"

#include <cstdint>

namespace kvengine {

// edge: distance from the tile's outline inward; halfGap and bevel in the same unit.
inline float bevelRise(float edge, float halfGap, float bevel) {
    // A zero bevel is a sharp step at the gap's edge.
    return bevel > 0.0f ? clamp01((edge - halfGap) / bevel) : (edge > halfGap ? 1.0f : 0.0f);
}

// What a tile's random hash h decides: its level (1 less up to `variation`)
// and the direction it leans in. Worked out once per tile, not per texel:
// a row crosses few tiles, and the hashes cost more than the surface.
class TileLean {
public:
    TileLean(uint32_t h, float variation)
        : level_(1.0f - variation * hashToUnit(h)), dx_(2.0f * hashToUnit(hashMix(h + 11u)) - 1.0f),
          dy_(2.0f * hashToUnit(hashMix(h + 12u)) - 1.0f) {}

    // The level at (fx, fy), 0 to 1 across the tile: up to `tilt` lower on
    // one side. A zero tilt leaves the level as it is.
    float at(float tilt, float fx, float fy) const {
        const float lean = 0.5f + 0.5f * (dx_ * (fx - 0.5f) + dy_ * (fy - 0.5f)); // 0 to 1
        return clamp01(level_ * (1.0f - tilt * lean));
    }

private:
    float level_, dx_, dy_;
};

} // namespace kvengine
