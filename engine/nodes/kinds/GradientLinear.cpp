#include "engine/nodes/NodeKinds.h"

#include <cmath>

namespace kvengine::kinds {

namespace {

// Ramps with whole periods along u and v so that the texture tiles; the
// direction follows from the two period counts.
void evaluate(const NodeRun& run, Image& out) {
    const float periodsU = std::round(run.param(0).f[0]);
    const float periodsV = std::round(run.param(0).f[1]);
    const bool mirror = run.scalar(1) >= 0.5f;
    const float stepU = periodsU / static_cast<float>(run.width);
    const float stepV = periodsV / static_cast<float>(run.height);
    run.parallel->run(run.height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            float* row = out.row(0, y);
            const float base = (static_cast<float>(y) + 0.5f) * stepV;
            for (int x = 0; x < run.width; ++x) {
                const float t = base + (static_cast<float>(x) + 0.5f) * stepU;
                const float f = t - std::floor(t);
                row[x] = mirror ? 1.0f - std::fabs(2.0f * f - 1.0f) : f;
            }
        }
    });
}

} // namespace

const NodeKind& gradientLinear() {
    static const NodeKind kind{
        {"gradient.linear",
         "Linear ramp from 0 to 1, repeated a whole number of times across the texture.",
         {{"periods", 2, makeValue(1.0f, 0.0f), "whole repetitions along u and v (rounded)"},
          {"mirror", 1, makeValue(0.0f), "1: ramp up then down in each period, so no hard edge"}},
         {},
         false},
        alwaysGray,
        evaluate};
    return kind;
}

} // namespace kvengine::kinds
