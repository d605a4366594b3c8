// noise.value: one octave of tileable value noise.
#include "engine/nodes/FractalNoise.h"
#include "engine/nodes/KindTable.h"

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("noise.value",
                     "Tileable value noise: random levels on a square lattice, smoothly interpolated; "
                     "centred on 0.5.",
                     OutputChannels::Gray)
        .integer("scale", 8, 1, 1024, "cells per side")
        .ui(1, 64)
        .seed();
}

void evaluate(const NodeRun& run, Image& out) {
    FractalNoise noise;
    noise.basis = NoiseBasis::Value;
    noise.periodX = noise.periodY = run.integer("scale");
    noise.finestPeriod = noise.periodX;
    noise.seed = run.seed();
    generateFractal(run, out, noise);
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
