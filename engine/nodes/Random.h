// Hash-based randomness: every random value is a pure function of its
// coordinates and seeds, so results never depend on evaluation order.
#pragma once

#include <cstdint>

namespace kvengine {

inline uint32_t hashMix(uint32_t x) {
    x ^= x >> 16;
    x *= 0x7feb352dU;
    x ^= x >> 15;
    x *= 0x846ca68bU;
    x ^= x >> 16;
    return x;
}

inline uint32_t hash2(uint32_t a, uint32_t b) {
    return hashMix(a ^ hashMix(b + 0x9e3779b9U));
}
inline uint32_t hash3(uint32_t a, uint32_t b, uint32_t c) {
    return hash2(hash2(a, b), c);
}

// Uniform in [0, 1).
inline float hashToUnit(uint32_t h) {
    return static_cast<float>(h >> 8) * (1.0f / 16777216.0f);
}

// Seed of one node: the render's $randomseed combined with the node's own
// (normalised, whole) seed parameter.
inline uint32_t nodeSeed(uint32_t randomSeed, int32_t seed) {
    return hash2(randomSeed, static_cast<uint32_t>(seed));
}

} // namespace kvengine
