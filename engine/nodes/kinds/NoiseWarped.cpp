// noise.warped: gradient noise read through a displacement that is itself
// noise (domain warping), for marble, smoke and swirled strata.
#include "engine/nodes/FractalNoise.h"
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"
#include "engine/nodes/Random.h"

#include <algorithm>
#include <vector>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("noise.warped",
                     "Tileable gradient noise summed over octaves, read at places displaced by a second, "
                     "coarser noise; centred on 0.5. With no warp it equals noise.fbm.",
                     OutputChannels::Gray)
        .integer("scale", 4, 1, 1024, "cells per side of the coarsest octave")
        .ui(1, 64)
        .integer("octaves", 6, 1, 12, "number of octaves")
        .number("persistence", 0.5f, 0.0f, 1.0f, "amplitude ratio from one octave to the next")
        .length("warp", 0.1f, 0.0f, 1.0f, "largest displacement")
        .ui(0.0f, 0.5f)
        .integer("warp_scale", 2, 1, 256, "cells per side of the displacing noise")
        .ui(1, 32)
        .seed();
}

constexpr int kWarpOctaves = 3;

void evaluate(const NodeRun& run, Image& out) {
    const int scale = run.integer("scale");
    const int octaves = run.integer("octaves");
    const float persistence = run.number("persistence");
    const float warp = 2.0f * run.number("warp");
    const uint32_t seed = run.seed();
    const int finest = std::max(run.width, run.height);

    FractalNoise displacement;
    displacement.periodX = displacement.periodY = run.integer("warp_scale");
    displacement.octaves = kWarpOctaves;
    displacement.finestPeriod = finest;
    displacement.seed = hash2(seed, 0x9a7e0001u);
    const FractalRows warpU(displacement);
    displacement.seed = hash2(seed, 0x9a7e0002u);
    const FractalRows warpV(displacement);
    const float gain = contrastGain(octaves, persistence);

    run.parallel->run(run.height, [&](int y0, int y1) {
        const size_t width = static_cast<size_t>(run.width);
        std::vector<float> du(width), dv(width), scratch(width);
        for (int y = y0; y < y1; ++y) {
            const float v = pixelCentre(y, run.height);
            warpU(du.data(), scratch.data(), run.width, v);
            warpV(dv.data(), scratch.data(), run.width, v);
            float* row = out.row(0, y);
            std::fill(row, row + run.width, 0.0f);
            float amplitude = 1.0f;
            for (int o = 0, period = scale; o < octaves && period <= finest; ++o, period *= 2) {
                const uint32_t octave = octaveSeed(seed, o);
                for (int x = 0; x < run.width; ++x) {
                    const float u = pixelCentre(x, run.width) + warp * (du[static_cast<size_t>(x)] - 0.5f);
                    const float w = v + warp * (dv[static_cast<size_t>(x)] - 0.5f);
                    row[x] += amplitude * gradientNoiseAt(u, w, period, period, octave);
                }
                amplitude *= persistence;
            }
            for (int x = 0; x < run.width; ++x)
                row[x] = clamp01(0.5f + row[x] * gain);
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
