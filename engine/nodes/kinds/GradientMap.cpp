// gradient.map: gray levels through a three-key colour ramp.
#include "engine/nodes/KindTable.h"
#include "engine/nodes/NodeKind.h"
#include "engine/nodes/Sampling.h"

#include <vector>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("gradient.map", "Maps gray levels through a three-key colour ramp.",
                     OutputChannels::Colour)
        .colour("low", {0.0f, 0.0f, 0.0f, 1.0f}, "colour at 0")
        .colour("mid", {0.5f, 0.5f, 0.5f, 1.0f}, "colour at mid_position")
        .colour("high", {1.0f, 1.0f, 1.0f, 1.0f}, "colour at 1")
        .number("mid_position", 0.5f, 0.001f, 0.999f, "gray level of the middle key")
        .map("input", 0.5f, "the gray levels to colour");
}

// low at 0, mid at mid_position, high at 1.
void evaluate(const NodeRun& run, Image& out) {
    const Image& in = run.input(0);
    const std::array<float, 4> low = run.vector("low");
    const std::array<float, 4> mid = run.vector("mid");
    const std::array<float, 4> high = run.vector("high");
    const float midPos = run.number("mid_position");
    run.parallel->run(run.height, [&](int y0, int y1) {
        std::vector<float> luma(static_cast<size_t>(run.width));
        for (int y = y0; y < y1; ++y) {
            luminanceRow(in, y, luma.data());
            for (float& t : luma)
                t = clamp01(t);
            for (size_t c = 0; c < 4; ++c) {
                float* row = out.row(static_cast<int>(c), y);
                const float a = low[c], b = mid[c], d = high[c];
                for (int x = 0; x < run.width; ++x) {
                    const float t = luma[static_cast<size_t>(x)];
                    const float lowPart = a + (b - a) * (t / midPos);
                    const float highPart = b + (d - b) * ((t - midPos) / (1.0f - midPos));
                    row[x] = t < midPos ? lowPart : highPart;
                }
            }
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
