// The per-pixel half of fractal noise: adding one octave's row into the sum
// in the fractal's mode, and the sum's final contrast. Vectorised across
// pixels; every pixel sees the same float operations in the same order on
// every SIMD target.
#pragma once

#include "engine/nodes/FractalNoise.h"

namespace kvengine {

// sum[x] += amplitude * f(octave[(x + shift) % width]) for x in [0, width),
// f being the mode's shaping of a noise value; 0 <= shift < width.
void addOctave(FractalMode mode, const float* octave, int width, int shift, float amplitude, float* sum);

// sum[x] = clamp01(centre + sum[x] * gain).
void finishOctaves(float* sum, int width, float centre, float gain);

} // namespace kvengine
