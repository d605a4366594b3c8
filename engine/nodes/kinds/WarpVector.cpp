// warp.vector: displacement by a vector field image.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("warp.vector",
                     "Displaces the input by a vector field: red moves along +u and green up (-v), both "
                     "centred on 0.5 as in normal maps.",
                     OutputChannels::WidestSource)
        .length("intensity", 0.05f, 0.0f, 1.0f, "displacement for a full-scale vector (0 or 1)")
        .ui(0.0f, 0.25f)
        .source("input", "the image to displace")
        .colourMap("vector", "the field; a gray one moves along the diagonal");
}

// Each pixel reads the input where the field says its content comes from,
// wrapping.
void evaluate(const NodeRun& run, Image& out) {
    const Image& field = run.input(1);
    const float scale = 2.0f * run.number("intensity");
    resampleFilter(run, out, [&](int y, float* u, float* v) {
        const float* fx = field.colourPlane(0) + static_cast<size_t>(y) * run.width;
        const float* fy = field.colourPlane(1) + static_cast<size_t>(y) * run.width;
        const float centreV = pixelCentre(y, run.height);
        for (int x = 0; x < run.width; ++x) {
            u[x] = pixelCentre(x, run.width) - (fx[x] - 0.5f) * scale;
            v[x] = centreV + (fy[x] - 0.5f) * scale;
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
