// sharpen: unsharp masking.
#include "engine/nodes/GaussianBlur.h"
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("sharpen",
                     "Unsharp masking: adds the difference between the input and its blur; alpha "
                     "passes through.",
                     OutputChannels::WidestSource)
        .number("amount", 1.0f, 0.0f, 16.0f, "how much of the difference is added")
        .ui(0.0f, 4.0f)
        .length("radius", 0.004f, 0.0f, 0.1f, "reach of the blur: the size of the details sharpened")
        .ui(0.0f, 0.02f)
        .source("input", "the image to sharpen")
        .scratchImages(2); // the blur and its pass buffer
}

void evaluate(const NodeRun& run, Image& out) {
    const Image& in = run.input(0);
    const float amount = run.number("amount");
    Image blurred(run.width, run.height, out.channels());
    gaussianBlur(in, blurred, run.number("radius"), *run.parallel);
    const int colourChannels = std::min(out.channels(), 3);
    run.parallel->run(run.height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            for (int c = 0; c < colourChannels; ++c) {
                const float* src = in.row(c, y);
                const float* soft = blurred.row(c, y);
                float* dst = out.row(c, y);
                for (int x = 0; x < run.width; ++x)
                    dst[x] = clamp01(src[x] + amount * (src[x] - soft[x]));
            }
            if (out.channels() == 4)
                std::copy(in.row(3, y), in.row(3, y) + run.width, out.row(3, y));
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
