#include "engine/nodes/NodeKinds.h"
#include "engine/nodes/Sampling.h"

#include <algorithm>
#include <cmath>

namespace kvengine::kinds {

namespace {

// 1 at the centre falling to 0 at the radius. Distances are measured on the
// torus (the nearest copy of the centre), so the texture tiles.
void evaluate(const NodeRun& run, Image& out) {
    const float centreU = run.param(0).f[0], centreV = run.param(0).f[1];
    const float invRadius = 1.0f / std::max(run.scalar(1), 1e-4f);
    const int width = run.width;
    run.parallel->run(run.height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            float dv = (static_cast<float>(y) + 0.5f) / static_cast<float>(run.height) - centreV;
            dv -= std::round(dv);
            float* row = out.row(0, y);
            for (int x = 0; x < width; ++x) {
                float du = (static_cast<float>(x) + 0.5f) / static_cast<float>(width) - centreU;
                du -= std::round(du);
                row[x] = clamp01(1.0f - std::sqrt(du * du + dv * dv) * invRadius);
            }
        }
    });
}

} // namespace

const NodeKind& gradientRadial() {
    static const NodeKind kind{
        {"gradient.radial",
         "Radial falloff from 1 at the centre to 0 at the radius, wrapping across the edges; gray.",
         {{"center", 2, makeValue(0.5f, 0.5f), "centre in texture units"},
          {"radius", 1, makeValue(0.5f), "reach in texture units"}},
         {},
         false},
        alwaysGray,
        evaluate};
    return kind;
}

} // namespace kvengine::kinds
