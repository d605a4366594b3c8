// blend.height: lays one height over another where it stands higher.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

#include <algorithm>
#include <vector>

namespace kvengine {

namespace {

enum Output { Height, Mask };

NodeKindInfo table() {
    return KindTable("blend.height",
                     "Height blend: the top height shows where it stands above the bottom one, with a "
                     "transition whose sharpness the contrast sets. Outputs the blended height, or the "
                     "mask of where the top shows (to blend colours the same way).",
                     OutputChannels::Gray)
        .number("offset", 0.0f, -1.0f, 1.0f, "raises (or lowers) the top height before the comparison")
        .number("contrast", 0.9f, 0.0f, 1.0f, "sharpness of the transition: 1 is a hard edge")
        .choice("output", Height, {"height", "mask"}, "the blended height or the mask of the top")
        .map("top", 0.5f, "the height laid over")
        .map("bottom", 0.0f, "the height underneath")
        .map("mask", 1.0f, "where the top may show at all");
}

// t = smoothstep of (top + offset - bottom) over a band of half-width
// (1 - contrast) / 2, times the mask; the height is bottom + (top + offset
// - bottom) t, so it follows the higher surface away from the band.
void evaluate(const NodeRun& run, Image& out) {
    const float offset = run.number("offset");
    const float band = std::max((1.0f - run.number("contrast")) * 0.5f, 1e-4f);
    const bool mask = run.choice("output") == Mask;
    const int width = run.width;
    generateRows(run, out, [&](int y, float* row) {
        std::vector<float> top(static_cast<size_t>(width)), bottom(top.size());
        luminanceRow(run.input(0), y, top.data());
        luminanceRow(run.input(1), y, bottom.data());
        luminanceRow(run.input(2), y, row); // the mask, until replaced
        for (int x = 0; x < width; ++x) {
            const float raised = top[static_cast<size_t>(x)] + offset;
            const float s = clamp01((raised - bottom[static_cast<size_t>(x)] + band) / (2.0f * band));
            const float t = s * s * (3.0f - 2.0f * s) * clamp01(row[x]);
            row[x] =
                mask
                    ? t
                    : clamp01(bottom[static_cast<size_t>(x)] + (raised - bottom[static_cast<size_t>(x)]) * t);
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
