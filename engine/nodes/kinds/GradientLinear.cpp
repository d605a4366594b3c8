// gradient.linear: a ramp repeated a whole number of times, so it tiles.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

#include <cmath>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("gradient.linear",
                     "Linear ramp from 0 to 1, repeated a whole number of times across the texture.",
                     OutputChannels::Gray)
        .integers("periods", {1, 1}, -256, 256,
                  "repetitions along u and v; the default runs diagonally, seamless at every edge")
        .ui(0, 8)
        .flag("mirror", false, "ramp up then down in each period, so no hard edge");
}

// The direction follows from the two period counts.
void evaluate(const NodeRun& run, Image& out) {
    const std::array<int, 4> periods = run.integers("periods");
    const bool mirror = run.flag("mirror");
    const float stepU = static_cast<float>(periods[0]) / static_cast<float>(run.width);
    const float stepV = static_cast<float>(periods[1]) / static_cast<float>(run.height);
    generateRows(run, out, [&](int y, float* row) {
        const float base = (static_cast<float>(y) + 0.5f) * stepV;
        for (int x = 0; x < run.width; ++x) {
            const float t = base + (static_cast<float>(x) + 0.5f) * stepU;
            const float f = t - std::floor(t);
            row[x] = mirror ? 1.0f - std::fabs(2.0f * f - 1.0f) : f;
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
