// gradient.radial: a falloff around a centre, measured on the torus so it tiles.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

#include <cmath>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("gradient.radial",
                     "Radial falloff from 1 at the centre to 0 at the radius, wrapping across the edges.",
                     OutputChannels::Gray)
        .position("center", {0.5f, 0.5f}, "centre of the falloff")
        .length("radius", 0.5f, 0.001f, 2.0f, "distance at which the falloff reaches 0")
        .ui(0.01f, 1.0f);
}

// 1 at the centre falling to 0 at the radius; distances reach the nearest
// copy of the centre.
void evaluate(const NodeRun& run, Image& out) {
    const std::array<float, 4> centre = run.vector("center");
    const float invRadius = 1.0f / run.number("radius");
    generateRows(run, out, [&](int y, float* row) {
        float dv = pixelCentre(y, run.height) - centre[1];
        dv -= std::round(dv);
        for (int x = 0; x < run.width; ++x) {
            float du = pixelCentre(x, run.width) - centre[0];
            du -= std::round(du);
            row[x] = clamp01(1.0f - std::sqrt(du * du + dv * dv) * invRadius);
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
