// occlusion.from_height: ambient occlusion estimated from a height.
#include "engine/nodes/GaussianBlur.h"
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

#include <algorithm>

namespace kvengine {

namespace {

// How strongly a cavity darkens: a point 0.25 below its surroundings (at both scales) is black at
// intensity 1.
constexpr float kDepthGain = 4.0f;

NodeKindInfo table() {
    return KindTable("occlusion.from_height", "Ambient occlusion estimated from a height: cavities darken.",
                     OutputChannels::Gray)
        .length("radius", 0.03f, 0.0f, 0.5f, "reach of the occlusion")
        .ui(0.0f, 0.1f)
        .number("intensity", 1.0f, 0.0f, 16.0f, "darkening strength")
        .ui(0.0f, 4.0f)
        .map("height", 0.5f, "the height whose cavities darken")
        .scratchImages(4); // heights, the two blurred copies and the blur's own pass buffer
}

// How far each point lies below the average height around it, at the given
// radius and at a third of it (a wide and a tight cavity term, averaged).
// 1 open, 0 fully occluded.
void evaluate(const NodeRun& run, Image& out) {
    const int width = run.width, height = run.height;
    const Image heights = grayInput(run, 0);
    const float radius = run.number("radius");
    const float gain = run.number("intensity") * kDepthGain * 0.5f;
    Image wide(width, height, 1), tight(width, height, 1);
    gaussianBlur(heights, wide, radius, *run.parallel);
    gaussianBlur(heights, tight, radius / 3.0f, *run.parallel);
    generateRows(run, out, [&](int y, float* row) {
        const float* h = heights.row(0, y);
        const float* w = wide.row(0, y);
        const float* t = tight.row(0, y);
        for (int x = 0; x < width; ++x) {
            const float depth = std::max(w[x] - h[x], 0.0f) + std::max(t[x] - h[x], 0.0f);
            row[x] = clamp01(1.0f - gain * depth);
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
