#include "engine/nodes/NodeKinds.h"
#include "engine/nodes/Sampling.h"

#include <algorithm>

namespace kvengine::kinds {

namespace {

void evaluate(const NodeRun& run, Image& out) {
    Image grey;
    const Image& in = inputOrGrey(run, 0, grey);
    const int colourChannels = std::min(out.channels(), 3);
    run.parallel->run(run.height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            for (int c = 0; c < colourChannels; ++c) {
                const float* src = in.row(c, y);
                float* dst = out.row(c, y);
                for (int x = 0; x < run.width; ++x)
                    dst[x] = 1.0f - src[x];
            }
            if (out.channels() == 4)
                std::copy(in.row(3, y), in.row(3, y) + run.width, out.row(3, y));
        }
    });
}

} // namespace

const NodeKind& invert() {
    static const NodeKind kind{
        {"invert", "1 - value on the colour channels; alpha passes through.", {}, {"input"}, false},
        widestInput,
        evaluate};
    return kind;
}

} // namespace kvengine::kinds
