// threshold: a black and white cut of the gray level.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

#include <cmath>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("threshold", "Black and white cut of the gray level.", OutputChannels::Gray)
        .number("level", 0.5f, 0.0f, 1.0f, "gray level of the cut")
        .number("softness", 0.0f, 0.0f, 1.0f, "width of the ramp around the cut, 0 for a hard edge")
        .map("input", 0.5f, "the gray levels to cut");
}

// 0 below level, 1 above, with a linear ramp of the given softness centred on
// level; with no softness the ramp's limit, a step that is 0.5 on the level.
void evaluate(const NodeRun& run, Image& out) {
    const float level = run.number("level");
    const float softness = run.number("softness");
    const float start = level - softness * 0.5f;
    const float invSoftness = 1.0f / softness;
    generateRows(run, out, [&](int y, float* row) {
        luminanceRow(run.input(0), y, row);
        if (std::isfinite(invSoftness)) {
            for (int x = 0; x < run.width; ++x)
                row[x] = clamp01((row[x] - start) * invSoftness);
        } else {
            for (int x = 0; x < run.width; ++x)
                row[x] = row[x] > level ? 1.0f : (row[x] < level ? 0.0f : 0.5f);
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
