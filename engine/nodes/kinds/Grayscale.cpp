// grayscale: a weighted sum of the colour channels.
#include "engine/nodes/KindTable.h"
#include "engine/nodes/NodeKind.h"
#include "engine/nodes/Sampling.h"

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("grayscale",
                     "Gray level as a weighted sum of red, green and blue; the weights are scaled to sum to "
                     "1, so white stays white.",
                     OutputChannels::Gray)
        .vector("weights", {kLumaR, kLumaG, kLumaB}, 0.0f, 1.0f,
                "weight of red, green and blue; all 0 gives their plain average")
        .colourMap("input", "the image to reduce");
}

void evaluate(const NodeRun& run, Image& out) {
    const Image& in = run.input(0);
    std::array<float, 4> w = run.vector("weights");
    const float sum = w[0] + w[1] + w[2];
    for (int c = 0; c < 3; ++c)
        w[c] = sum > 0.0f ? w[c] / sum : 1.0f / 3.0f;
    run.parallel->run(run.height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            const size_t offset = static_cast<size_t>(y) * run.width;
            const float* r = in.colourPlane(0) + offset;
            const float* g = in.colourPlane(1) + offset;
            const float* b = in.colourPlane(2) + offset;
            float* dst = out.row(0, y);
            for (int x = 0; x < run.width; ++x)
                dst[x] = clamp01(w[0] * r[x] + w[1] * g[x] + w[2] * b[x]);
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
