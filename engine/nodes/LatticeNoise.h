// Tileable lattice noises, evaluated a row at a time. Every lattice wraps
// after a whole number of cells per axis, so the texture tiles; every value
// is a pure function of the seed and the lattice coordinates.
#pragma once

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

// Steps through the lattice columns of a row for the loops that look up
// lattice data once per column: column cx of period covers the pixels whose
// centres fall in it, from the previous column's end to its own,
// ceil((cx + 1) * width / period - 0.5). Stepped without a division.
class CellColumns {
public:
    CellColumns(int width, int period);
    // Where the current column's pixels end (not clamped to the row).
    int end() const { return static_cast<int>(end_); }
    void next() {
        end_ += whole_;
        const int64_t t = rest_ - slack_;
        if (t > 0) {
            ++end_;
            slack_ = divisor_ - t;
        } else {
            slack_ = -t;
        }
    }

private:
    // end is ceil(a / divisor) of a numerator a that grows by a fixed step per
    // column, kept as end * divisor - slack with 0 <= slack < divisor.
    int64_t divisor_, whole_, rest_, end_, slack_;
};

} // namespace kvengine
