#include "engine/nodes/GaussianBlur.h"
#include "engine/nodes/NodeKinds.h"
#include "engine/nodes/Sampling.h"

#include <algorithm>

namespace kvengine::kinds {

namespace {

// How strongly a cavity darkens: a point 0.25 below its surroundings (at both scales) is black at
// intensity 1.
constexpr float kDepthGain = 4.0f;

// Ambient occlusion estimated from how far each point lies below the average
// height around it, at the given radius and at a third of it (a wide and a
// tight cavity term, averaged). Gray: 1 open, 0 fully occluded.
void evaluate(const NodeRun& run, Image& out) {
    Image grey;
    const Image& in = inputOrGrey(run, 0, grey);
    const int width = run.width, height = run.height;
    Image heights(width, height, 1);
    run.parallel->run(height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y)
            luminanceRow(in, y, heights.row(0, y));
    });
    const float radius = std::clamp(run.scalar(0), 0.0f, 0.5f);
    const float gain = run.scalar(1) * kDepthGain * 0.5f;
    Image wide(width, height, 1), tight(width, height, 1);
    gaussianBlur(heights, wide, radius, *run.parallel);
    gaussianBlur(heights, tight, radius / 3.0f, *run.parallel);
    run.parallel->run(height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            const float* h = heights.row(0, y);
            const float* w = wide.row(0, y);
            const float* t = tight.row(0, y);
            float* dst = out.row(0, y);
            for (int x = 0; x < width; ++x) {
                const float depth = std::max(w[x] - h[x], 0.0f) + std::max(t[x] - h[x], 0.0f);
                dst[x] = clamp01(1.0f - gain * depth);
            }
        }
    });
}

} // namespace

const NodeKind& occlusionFromHeight() {
    static const NodeKind kind{
        {"occlusion.from_height",
         "Ambient occlusion estimated from a height (luminance of a colour input): cavities darken; gray.",
         {{"radius", 1, makeValue(0.03f),
           "reach of the occlusion as a fraction of the texture side, 0 to 0.5"},
          {"intensity", 1, makeValue(1.0f), "darkening strength"}},
         {"height"},
         false},
        alwaysGray,
        evaluate,
        4}; // heights, the two blurred copies and the blur's own pass buffer
    return kind;
}

} // namespace kvengine::kinds
