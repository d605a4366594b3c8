// hsl: hue, saturation and lightness adjustments.
#include "engine/nodes/KindTable.h"
#include "engine/nodes/NodeKind.h"
#include "engine/nodes/Sampling.h"

#include <algorithm>
#include <cmath>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("hsl", "Hue shift, saturation scale and lightness offset; alpha passes through.",
                     OutputChannels::WidestSource)
        .angle("hue", 0.0f, "hue shift")
        .number("saturation", 1.0f, 0.0f, 4.0f, "saturation multiplier, 0 gives gray")
        .ui(0.0f, 2.0f)
        .number("lightness", 0.0f, -1.0f, 1.0f, "added to the lightness")
        .source("input", "the image to adjust; a gray one takes only the lightness offset");
}

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
    const Image& in = run.input(0);
    const float hueShift = run.number("hue");
    const float saturationScale = run.number("saturation");
    const float lightnessOffset = run.number("lightness");
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

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
