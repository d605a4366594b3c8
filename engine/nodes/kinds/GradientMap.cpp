#include "engine/nodes/NodeKinds.h"
#include "engine/nodes/Sampling.h"

#include <algorithm>
#include <vector>

namespace kvengine::kinds {

namespace {

// Three-key colour ramp: low at 0, mid at mid_position, high at 1.
void evaluate(const NodeRun& run, Image& out) {
    Image grey;
    const Image& in = inputOrGrey(run, 0, grey);
    const Value4& low = run.param(0);
    const Value4& mid = run.param(1);
    const Value4& high = run.param(2);
    const float midPos = std::clamp(run.scalar(3), 0.001f, 0.999f);
    run.parallel->run(run.height, [&](int y0, int y1) {
        std::vector<float> luma(static_cast<size_t>(run.width));
        for (int y = y0; y < y1; ++y) {
            luminanceRow(in, y, luma.data());
            for (float& t : luma)
                t = clamp01(t);
            for (int c = 0; c < 4; ++c) {
                float* row = out.row(c, y);
                const float a = low.f[c], b = mid.f[c], d = high.f[c];
                for (int x = 0; x < run.width; ++x) {
                    const float t = luma[x];
                    const float lowPart = a + (b - a) * (t / midPos);
                    const float highPart = b + (d - b) * ((t - midPos) / (1.0f - midPos));
                    row[x] = t < midPos ? lowPart : highPart;
                }
            }
        }
    });
}

} // namespace

const NodeKind& gradientMap() {
    static const NodeKind kind{
        {"gradient.map",
         "Maps the gray level (luminance of a colour input) through a three-key colour ramp.",
         {{"low", 4, makeValue(0.0f, 0.0f, 0.0f, 1.0f), "colour at 0"},
          {"mid", 4, makeValue(0.5f, 0.5f, 0.5f, 1.0f), "colour at mid_position"},
          {"high", 4, makeValue(1.0f, 1.0f, 1.0f, 1.0f), "colour at 1"},
          {"mid_position", 1, makeValue(0.5f), "gray level of the middle key, 0 to 1"}},
         {"input"},
         false},
        alwaysColour,
        evaluate};
    return kind;
}

} // namespace kvengine::kinds
