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

// The level at (fx, fy), 0 to 1 across the tile, of a tile whose random
// hash is h: up to `tilt` lower on one side. A zero tilt leaves level as it is.
inline float tiltedLevel(float level, float tilt, uint32_t h, float fx, float fy) {
    const float dx = 2.0f * hashToUnit(hashMix(h + 11u)) - 1.0f;
    const float dy = 2.0f * hashToUnit(hashMix(h + 12u)) - 1.0f;
    const float lean = 0.5f + 0.5f * (dx * (fx - 0.5f) + dy * (fy - 0.5f)); // 0 to 1
    return clamp01(level * (1.0f - tilt * lean));
}

} // namespace kvengine
