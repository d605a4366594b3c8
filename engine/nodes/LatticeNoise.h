// Tileable lattice noises, evaluated a row at a time. Every lattice wraps
// after a whole number of cells per axis, so the texture tiles; every value
// is a pure function of the seed and the lattice coordinates.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace kvengine {

enum class NoiseBasis : uint8_t {
    Gradient, // gradient (Perlin-like) noise on a square lattice
    Value,    // smoothly interpolated random values on a square lattice
    Simplex,  // radial gradient kernels on a triangular lattice
};

// Writes one row of noise, zero-centred and mostly within [-0.5, 0.5]:
// v is the row's place in texture units, the lattice has periodX cells
// across and periodY down (Simplex rounds periodY to the nearest even count
// that keeps its triangles close to equilateral).
void noiseRow(NoiseBasis basis, float* out, int width, float v, int periodX, int periodY, uint32_t seed);

// Gradient noise at one place (texture units, any value), the same as
// noiseRow(NoiseBasis::Gradient, ...) gives at a pixel centre.
float gradientNoiseAt(float u, float v, int periodX, int periodY, uint32_t seed);

// The pixels of a row of width pixels whose centres fall in lattice column
// cx of period: [previous end, cellEnd(cx)). Shared by the row loops that
// look up lattice data once per cell.
inline int cellEnd(int cx, int width, int period) {
    return static_cast<int>(std::ceil((static_cast<double>(cx) + 1.0) * width / period - 0.5));
}

} // namespace kvengine
