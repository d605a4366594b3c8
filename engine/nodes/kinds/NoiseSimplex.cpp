// noise.simplex: one octave of tileable simplex noise.
#include "engine/nodes/FractalNoise.h"
#include "engine/nodes/KindTable.h"

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("noise.simplex",
                     "Tileable simplex-like noise: gradient kernels on a triangular lattice, fewer "
                     "axis-aligned artefacts than gradient noise; centred on 0.5.",
                     OutputChannels::Gray)
        .integer("scale", 8, 1, 1024, "cells per side")
        .ui(1, 64)
        .seed();
}

void evaluate(const NodeRun& run, Image& out) {
    FractalNoise noise;
    noise.basis = NoiseBasis::Simplex;
    noise.periodX = noise.periodY = run.integer("scale");
    noise.finestPeriod = noise.periodX;
    noise.seed = run.seed();
    generateFractal(run, out, noise);
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
