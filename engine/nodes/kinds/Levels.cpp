// levels: input and output ranges with a gamma.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

#include <cmath>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("levels",
                     "Input and output ranges with a gamma, on the colour channels; alpha passes through.",
                     OutputChannels::WidestSource)
        .number("in_low", 0.0f, 0.0f, 1.0f, "input level mapped to 0")
        .number("in_high", 1.0f, 0.0f, 1.0f, "input level mapped to 1")
        .number("gamma", 1.0f, 0.01f, 100.0f, "midtone exponent: above 1 brightens, below 1 darkens")
        .ui(0.1f, 10.0f)
        .number("out_low", 0.0f, 0.0f, 1.0f, "output for 0")
        .number("out_high", 1.0f, 0.0f, 1.0f, "output for 1")
        .source("input", "the image to remap");
}

// Remaps [in_low, in_high] to [0, 1], applies gamma, then maps to [out_low, out_high].
void evaluate(const NodeRun& run, Image& out) {
    const float inLow = run.number("in_low");
    const float inHigh = run.number("in_high");
    const float outLow = run.number("out_low");
    const float outHigh = run.number("out_high");
    // Equal input levels make a step at that level rather than a division by zero.
    const float range = std::fabs(inHigh - inLow) < 1e-6f ? 1e-6f : inHigh - inLow;
    const float invRange = 1.0f / range;
    const float exponent = 1.0f / run.number("gamma");
    auto remap = [=](float v) { return clamp01((v - inLow) * invRange); };
    auto output = [=](float t) { return outLow + (outHigh - outLow) * t; };
    if (exponent == 1.0f) // keeps the common case free of pow, so it vectorises
        pointFilter(run, out, [&](float v) { return output(remap(v)); });
    else
        pointFilter(run, out, [&](float v) { return output(std::pow(remap(v), exponent)); });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
