#include "engine/nodes/NodeKinds.h"
#include "engine/nodes/Sampling.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kvengine::kinds {

namespace {

enum Mode {
    Copy,
    Add,
    Subtract,
    Multiply,
    Screen,
    Overlay,
    SoftLight,
    Minimum,
    Maximum,
    Difference,
    Divide,
    ModeCount
};

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

int outputChannels(const std::vector<int>& inputs, int) {
    return (inputs.size() > 0 && inputs[0] == 4) || (inputs.size() > 1 && inputs[1] == 4) ? 4 : 1;
}

void evaluate(const NodeRun& run, Image& out) {
    Image greyFg, greyBg;
    const Image& fg = inputOrGrey(run, 0, greyFg);
    const Image& bg = inputOrGrey(run, 1, greyBg);
    const Image* mask = run.inputs.size() > 2 ? run.inputs[2] : nullptr;
    const int mode = static_cast<int>(std::clamp(std::round(run.scalar(0)), 0.0f, float(ModeCount - 1)));
    const float opacity = clamp01(run.scalar(1));
    const int width = run.width;

    run.parallel->run(run.height, [&](int y0, int y1) {
        std::vector<float> t(static_cast<size_t>(width), opacity);
        const std::vector<float> one(static_cast<size_t>(width), 1.0f);
        for (int y = y0; y < y1; ++y) {
            if (mask) {
                luminanceRow(*mask, y, t.data());
                for (float& v : t)
                    v = clamp01(v) * opacity;
            }
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

} // namespace

const NodeKind& blend() {
    static const NodeKind kind{
        {"blend",
         "Blends foreground over background with a mode, an opacity and an optional gray mask.",
         {{"mode", 1, makeValue(0.0f),
           "0 copy, 1 add, 2 subtract, 3 multiply, 4 screen, 5 overlay, 6 soft light, 7 min, 8 max, "
           "9 difference, 10 divide (background / foreground)"},
          {"opacity", 1, makeValue(1.0f), "0 to 1"}},
         {"foreground", "background", "mask"},
         false},
        outputChannels,
        evaluate};
    return kind;
}

} // namespace kvengine::kinds
