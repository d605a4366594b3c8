#include "engine/nodes/FractalNoise.h"

#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/OctaveSum.h"
#include "engine/nodes/Random.h"
#include "engine/nodes/Sampling.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kvengine {

float contrastGain(int octaves, float persistence) {
    float amplitudeSum = 0.0f;
    for (int o = 0; o < octaves; ++o)
        amplitudeSum += std::pow(persistence, static_cast<float>(o));
    return 1.0f / amplitudeSum;
}

uint32_t octaveSeed(uint32_t seed, int octave) {
    return hash2(seed, static_cast<uint32_t>(octave));
}

FractalRows::FractalRows(const FractalNoise& noise)
    : noise_(noise), gain_(contrastGain(noise.octaves, noise.persistence)) {}

void FractalRows::operator()(float* out, float* scratch, int width, float v) const {
    const FractalNoise& noise = noise_;
    std::fill(out, out + width, 0.0f);
    float amplitude = 1.0f;
    for (int o = 0, px = noise.periodX, py = noise.periodY;
         o < noise.octaves && std::max(px, py) <= noise.finestPeriod;
         ++o, px *= noise.lacunarity, py *= noise.lacunarity) {
        const uint32_t seed = octaveSeed(noise.seed, o);
        int shift = 0;
        float octaveV = v;
        if (noise.shiftOctaves && o > 0) {
            shift = static_cast<int>(hashToUnit(hashMix(seed + 1u)) * static_cast<float>(width)) % width;
            octaveV += hashToUnit(hashMix(seed + 2u));
            octaveV -= std::floor(octaveV);
        }
        noiseRow(noise.basis, scratch, width, octaveV, px, py, seed);
        addOctave(noise.mode, scratch, width, shift, amplitude, out);
        amplitude *= noise.persistence;
    }
    finishOctaves(out, width, noise.mode == FractalMode::Sum ? 0.5f : 0.0f, gain_);
}

void generateFractal(const NodeRun& run, Image& out, const FractalNoise& noise) {
    const FractalRows rows(noise);
    run.parallel->run(run.height, [&](int y0, int y1) {
        std::vector<float> scratch(static_cast<size_t>(run.width));
        for (int y = y0; y < y1; ++y)
            rows(out.row(0, y), scratch.data(), run.width, pixelCentre(y, run.height));
    });
}

} // namespace kvengine
