#include "engine/nodes/NodeKinds.h"
#include "engine/nodes/Sampling.h"

#include <algorithm>
#include <cmath>

namespace kvengine::kinds {

namespace {

// Remaps [in_low, in_high] to [0, 1], applies gamma, then maps to
// [out_low, out_high]. Colour channels only; alpha passes through.
void evaluate(const NodeRun& run, Image& out) {
    Image grey;
    const Image& in = inputOrGrey(run, 0, grey);
    const float inLow = run.scalar(0);
    const float inHigh = run.scalar(1);
    const float gamma = std::clamp(run.scalar(2), 0.01f, 100.0f);
    const float outLow = run.scalar(3);
    const float outHigh = run.scalar(4);
    const float range = std::fabs(inHigh - inLow) < 1e-6f ? 1e-6f : inHigh - inLow;
    const float invRange = 1.0f / range;
    const float exponent = 1.0f / gamma;
    const int colourChannels = std::min(out.channels(), 3);

    run.parallel->run(run.height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            for (int c = 0; c < colourChannels; ++c) {
                const float* src = in.colourPlane(c) + static_cast<size_t>(y) * run.width;
                float* dst = out.row(c, y);
                for (int x = 0; x < run.width; ++x)
                    dst[x] = clamp01((src[x] - inLow) * invRange);
                if (exponent != 1.0f)
                    for (int x = 0; x < run.width; ++x)
                        dst[x] = std::pow(dst[x], exponent);
                for (int x = 0; x < run.width; ++x)
                    dst[x] = outLow + (outHigh - outLow) * dst[x];
            }
            if (out.channels() == 4)
                std::copy(in.row(3, y), in.row(3, y) + run.width, out.row(3, y));
        }
    });
}

} // namespace

const NodeKind& levels() {
    static const NodeKind kind{
        {"levels",
         "Input and output ranges with a gamma, on the colour channels.",
         {{"in_low", 1, makeValue(0.0f), "input level mapped to 0"},
          {"in_high", 1, makeValue(1.0f), "input level mapped to 1"},
          {"gamma", 1, makeValue(1.0f), "midtone exponent: above 1 brightens, below 1 darkens"},
          {"out_low", 1, makeValue(0.0f), "output for 0"},
          {"out_high", 1, makeValue(1.0f), "output for 1"}},
         {"input"},
         false},
        widestInput,
        evaluate};
    return kind;
}

} // namespace kvengine::kinds
