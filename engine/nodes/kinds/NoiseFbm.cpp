// noise.fbm: tileable noise summed over octaves.
#include "engine/nodes/FractalNoise.h"
#include "engine/nodes/KindTable.h"

#include <algorithm>

namespace kvengine {

namespace {

// The parameters added after "seed" keep older packages, which store
// parameters by position, reading as before.
NodeKindInfo table() {
    return KindTable("noise.fbm",
                     "Tileable noise summed over octaves of rising frequency: plain (centred on 0.5), "
                     "ridged or turbulent.",
                     OutputChannels::Gray)
        .integer("scale", 4, 1, 1024, "cells per side of the coarsest octave")
        .ui(1, 64)
        .integer("octaves", 6, 1, 12, "number of octaves")
        .number("persistence", 0.5f, 0.0f, 1.0f, "amplitude ratio from one octave to the next")
        .seed()
        .choice("mode", 0, {"fbm", "ridged", "turbulence"},
                "plain sum, sharp crests where the noise crosses its middle, or its magnitude (creases)")
        .integer("lacunarity", 2, 2, 4, "frequency ratio from one octave to the next; whole, so it tiles")
        .choice("basis", 0, {"gradient", "value", "simplex"}, "the noise each octave is made of");
}

void evaluate(const NodeRun& run, Image& out) {
    FractalNoise noise;
    noise.basis = static_cast<NoiseBasis>(run.choice("basis"));
    noise.mode = static_cast<FractalMode>(run.choice("mode"));
    noise.periodX = noise.periodY = run.integer("scale");
    noise.octaves = run.integer("octaves");
    noise.persistence = run.number("persistence");
    noise.lacunarity = run.integer("lacunarity");
    noise.finestPeriod = std::max(run.width, run.height);
    noise.seed = run.seed();
    noise.shiftOctaves = !(noise.basis == NoiseBasis::Gradient && noise.mode == FractalMode::Sum);
    generateFractal(run, out, noise);
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
