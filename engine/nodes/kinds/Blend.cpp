// blend: foreground over background through a mode, an opacity and a mask.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kvengine {

namespace {

enum Mode { Copy, Add, Subtract, Multiply, Screen, Overlay, SoftLight, Minimum, Maximum, Difference, Divide };

NodeKindInfo table() {
    return KindTable("blend",
                     "Blends foreground over background with a mode, an opacity and an optional gray mask.",
                     OutputChannels::WidestSource)
        .choice("mode", Copy,
                {"copy", "add", "subtract", "multiply", "screen", "overlay", "soft_light", "min", "max",
                 "difference", "divide"},
                "how foreground and background combine; divide is background / foreground")
        .number("opacity", 1.0f, 0.0f, 1.0f, "how much of the blended result replaces the background")
        .source("foreground", "the layer laid over the background")
        .source("background", "the layer underneath")
        .map("mask", 1.0f, "where the blend applies, scaling the opacity");
}

// result = background blended with mode(foreground, background), then
// mixed by t = opacity * mask, clamped to [0, 1]. One loop per mode so each
// vectorises.
void blendRow(int mode, const float* fg, const float* bg, const float* t, float* out, int n) {
    auto finish = [&](auto&& op) {
        for (int x = 0; x < n; ++x) {
            const float blended = op(fg[x], bg[x]);
            out[x] = clamp01(bg[x] + (blended - bg[x]) * t[x]);
        }
    };
    switch (mode) {
    case Add:
        finish([](float a, float b) { return a + b; });
        break;
    case Subtract:
        finish([](float a, float b) { return b - a; });
        break;
    case Multiply:
        finish([](float a, float b) { return a * b; });
        break;
    case Screen:
        finish([](float a, float b) { return 1.0f - (1.0f - a) * (1.0f - b); });
        break;
    case Overlay:
        finish(
            [](float a, float b) { return b < 0.5f ? 2.0f * a * b : 1.0f - 2.0f * (1.0f - a) * (1.0f - b); });
        break;
    case SoftLight: // the pegtop formula: continuous, no branch
        finish([](float a, float b) { return (1.0f - 2.0f * a) * b * b + 2.0f * a * b; });
        break;
    case Minimum:
        finish([](float a, float b) { return std::min(a, b); });
        break;
    case Maximum:
        finish([](float a, float b) { return std::max(a, b); });
        break;
    case Difference:
        finish([](float a, float b) { return std::fabs(a - b); });
        break;
    case Divide:
        finish([](float a, float b) { return a > 1e-6f ? b / a : 1.0f; });
        break;
    default:
        finish([](float a, float) { return a; });
        break;
    }
}

void evaluate(const NodeRun& run, Image& out) {
    const Image& fg = run.input(0);
    const Image& bg = run.input(1);
    const Image& mask = run.input(2);
    const int mode = run.choice("mode");
    const float opacity = run.number("opacity");
    const int width = run.width;

    run.parallel->run(run.height, [&](int y0, int y1) {
        std::vector<float> t(static_cast<size_t>(width));
        const std::vector<float> one(static_cast<size_t>(width), 1.0f);
        for (int y = y0; y < y1; ++y) {
            luminanceRow(mask, y, t.data());
            for (float& v : t)
                v = clamp01(v) * opacity;
            for (int c = 0; c < 3 && c < out.channels(); ++c)
                blendRow(mode, fg.colourPlane(c) + static_cast<size_t>(y) * width,
                         bg.colourPlane(c) + static_cast<size_t>(y) * width, t.data(), out.row(c, y), width);
            if (out.channels() == 4) {
                // Alpha is mixed, never blended: a gray source counts as opaque.
                const float* fa = fg.channels() == 4 ? fg.row(3, y) : one.data();
                const float* ba = bg.channels() == 4 ? bg.row(3, y) : one.data();
                float* oa = out.row(3, y);
                for (int x = 0; x < width; ++x)
                    oa[x] = clamp01(ba[x] + (fa[x] - ba[x]) * t[x]);
            }
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
