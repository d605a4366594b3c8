// noise.anisotropic: noise stretched along one axis, for wood grain, brushed
// metal and streaks.
#include "engine/nodes/FractalNoise.h"
#include "engine/nodes/KindTable.h"

#include <algorithm>
#include <utility>

namespace kvengine {

namespace {

enum Direction { Horizontal, Vertical };

NodeKindInfo table() {
    return KindTable("noise.anisotropic",
                     "Tileable value noise whose cells are much longer along the streaks than across, "
                     "summed over octaves; centred on 0.5.",
                     OutputChannels::Gray)
        .integer("scale", 64, 1, 1024, "cells across the streaks (over the texture side)")
        .ui(1, 256)
        .integer("length", 2, 1, 1024, "cells along the streaks; fewer makes longer streaks")
        .ui(1, 32)
        .choice("direction", Horizontal, {"horizontal", "vertical"}, "which way the streaks run")
        .integer("octaves", 3, 1, 12, "number of octaves, each of twice the frequency")
        .number("persistence", 0.5f, 0.0f, 1.0f, "amplitude ratio from one octave to the next")
        .seed();
}

void evaluate(const NodeRun& run, Image& out) {
    FractalNoise noise;
    noise.basis = NoiseBasis::Value;
    noise.periodX = run.integer("length");
    noise.periodY = run.integer("scale");
    if (run.choice("direction") == Vertical)
        std::swap(noise.periodX, noise.periodY);
    noise.octaves = run.integer("octaves");
    noise.persistence = run.number("persistence");
    // The first octave always shows, however fine its streaks.
    noise.finestPeriod = std::max({run.width, run.height, noise.periodX, noise.periodY});
    noise.seed = run.seed();
    generateFractal(run, out, noise);
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
