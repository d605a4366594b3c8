// Octaves of a lattice noise summed into one row, shared by the noise kinds:
// each octave multiplies the lattice periods by the (whole) lacunarity so
// every octave tiles, and scales the amplitude by the persistence.
#pragma once

#include "engine/nodes/LatticeNoise.h"
#include "engine/nodes/NodeKind.h"

#include <cstdint>

namespace kvengine {

enum class FractalMode : uint8_t {
    Sum,        // centred on 0.5
    Ridged,     // sharp crests where each octave crosses zero
    Turbulence, // the magnitude of each octave: creases at 0
};

struct FractalNoise {
    NoiseBasis basis = NoiseBasis::Gradient;
    FractalMode mode = FractalMode::Sum;
    int periodX = 4, periodY = 4; // cells of the coarsest octave across and down
    int octaves = 1;
    float persistence = 0.5f;
    int lacunarity = 2;
    // Octaves whose periods exceed this many cells are left out (too fine to
    // show); the contrast still counts them, so all resolutions share it.
    int finestPeriod = 1;
    uint32_t seed = 0;
    // Whole lacunarities line every octave's lattice up with the coarser
    // ones, which shows as straight seams in creased modes; each octave after
    // the first is then shifted by a random offset (whole pixels across).
    // Plain gradient fbm keeps its octaves aligned: packages made before the
    // other modes rely on its bytes.
    bool shiftOctaves = true;
};

class FractalRows {
public:
    explicit FractalRows(const FractalNoise& noise);
    // Writes the row at v (texture units) in [0, 1]; scratch holds width floats.
    void operator()(float* out, float* scratch, int width, float v) const;

private:
    FractalNoise noise_;
    float gain_;
};

// Fills the gray output with the noise, rows split over run.parallel.
void generateFractal(const NodeRun& run, Image& out, const FractalNoise& noise);

// 1 / the sum of the octaves' amplitudes.
float contrastGain(int octaves, float persistence);

// The seed of octave o, as noise.fbm has always used it.
uint32_t octaveSeed(uint32_t seed, int octave);

} // namespace kvengine
