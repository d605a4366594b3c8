#include "engine/nodes/NodeKinds.h"
#include "engine/nodes/Sampling.h"

#include <algorithm>
#include <cmath>

namespace kvengine::kinds {

namespace {

float hueToChannel(float p, float q, float t) {
    t -= std::floor(t);
    if (t < 1.0f / 6.0f)
        return p + (q - p) * 6.0f * t;
    if (t < 0.5f)
        return q;
    if (t < 2.0f / 3.0f)
        return p + (q - p) * (2.0f / 3.0f - t) * 6.0f;
    return p;
}

// Shifts hue (turns), scales saturation and offsets lightness in HSL space.
// A gray input has no hue or saturation: only the lightness offset applies.
void evaluate(const NodeRun& run, Image& out) {
    Image grey;
    const Image& in = inputOrGrey(run, 0, grey);
    const float hueShift = run.scalar(0);
    const float saturationScale = std::max(run.scalar(1), 0.0f);
    const float lightnessOffset = run.scalar(2);
    const int width = run.width;

    run.parallel->run(run.height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            if (out.channels() == 1) {
                const float* src = in.row(0, y);
                float* dst = out.row(0, y);
                for (int x = 0; x < width; ++x)
                    dst[x] = clamp01(src[x] + lightnessOffset);
                continue;
            }
            const float *r = in.row(0, y), *g = in.row(1, y), *b = in.row(2, y);
            float *outR = out.row(0, y), *outG = out.row(1, y), *outB = out.row(2, y);
            for (int x = 0; x < width; ++x) {
                const float red = clamp01(r[x]), green = clamp01(g[x]), blue = clamp01(b[x]);
                const float high = std::max(red, std::max(green, blue));
                const float low = std::min(red, std::min(green, blue));
                const float lightness = (high + low) * 0.5f;
                const float chroma = high - low;
                float hue = 0.0f, saturation = 0.0f;
                if (chroma > 1e-6f) {
                    saturation = chroma / (1.0f - std::fabs(2.0f * lightness - 1.0f));
                    if (high == red)
                        hue = (green - blue) / chroma / 6.0f;
                    else if (high == green)
                        hue = ((blue - red) / chroma + 2.0f) / 6.0f;
                    else
                        hue = ((red - green) / chroma + 4.0f) / 6.0f;
                }
                hue += hueShift;
                saturation = clamp01(saturation * saturationScale);
                const float l = clamp01(lightness + lightnessOffset);
                const float q = l < 0.5f ? l * (1.0f + saturation) : l + saturation - l * saturation;
                const float p = 2.0f * l - q;
                outR[x] = hueToChannel(p, q, hue + 1.0f / 3.0f);
                outG[x] = hueToChannel(p, q, hue);
                outB[x] = hueToChannel(p, q, hue - 1.0f / 3.0f);
            }
            std::copy(in.row(3, y), in.row(3, y) + width, out.row(3, y));
        }
    });
}

} // namespace

const NodeKind& hsl() {
    static const NodeKind kind{{"hsl",
                                "Hue shift, saturation scale and lightness offset; alpha passes through.",
                                {{"hue", 1, makeValue(0.0f), "hue shift in turns"},
                                 {"saturation", 1, makeValue(1.0f), "saturation multiplier, 0 gives gray"},
                                 {"lightness", 1, makeValue(0.0f), "added to the lightness, -1 to 1"}},
                                {"input"},
                                false},
                               firstInput,
                               evaluate};
    return kind;
}

} // namespace kvengine::kinds
