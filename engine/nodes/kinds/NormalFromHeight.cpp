#include "engine/nodes/NodeKinds.h"
#include "engine/nodes/Sampling.h"

#include <cmath>
#include <vector>

namespace kvengine::kinds {

namespace {

// Height 1 stands for 1/16 of the texture side at intensity 1, so slopes (and
// the look) do not depend on the resolution.
constexpr float kHeightPerSide = 1.0f / 16.0f;

// Tangent-space normal with +Y up (green grows towards the top of the image),
// encoded as 0.5 + 0.5 n; alpha 1. Central differences wrap at the edges.
void evaluate(const NodeRun& run, Image& out) {
    Image grey;
    const Image& in = inputOrGrey(run, 0, grey);
    const int width = run.width, height = run.height;
    const float slopeU = run.scalar(0) * kHeightPerSide * static_cast<float>(width) * 0.5f;
    const float slopeV = run.scalar(0) * kHeightPerSide * static_cast<float>(height) * 0.5f;

    run.parallel->run(height, [&](int y0, int y1) {
        const size_t w = static_cast<size_t>(width);
        std::vector<float> above(w), here(w), below(w);
        for (int y = y0; y < y1; ++y) {
            luminanceRow(in, wrapIndex(y - 1, height), above.data());
            luminanceRow(in, y, here.data());
            luminanceRow(in, wrapIndex(y + 1, height), below.data());
            float* nx = out.row(0, y);
            float* ny = out.row(1, y);
            float* nz = out.row(2, y);
            for (int x = 0; x < width; ++x) {
                const float left = here[static_cast<size_t>(x == 0 ? width - 1 : x - 1)];
                const float right = here[static_cast<size_t>(x + 1 == width ? 0 : x + 1)];
                const float gx = -(right - left) * slopeU;
                const float gy = (below[static_cast<size_t>(x)] - above[static_cast<size_t>(x)]) * slopeV;
                const float inv = 1.0f / std::sqrt(gx * gx + gy * gy + 1.0f);
                nx[x] = 0.5f + 0.5f * gx * inv;
                ny[x] = 0.5f + 0.5f * gy * inv;
                nz[x] = 0.5f + 0.5f * inv;
            }
            std::fill(out.row(3, y), out.row(3, y) + width, 1.0f);
        }
    });
}

} // namespace

const NodeKind& normalFromHeight() {
    static const NodeKind kind{
        {"normal.from_height",
         "Tangent-space normal map (+Y up) from a height (luminance of a colour input).",
         {{"intensity", 1, makeValue(1.0f),
           "height scale; at 1 a height of 1 rises 1/16 of the texture side"}},
         {"height"},
         false},
        alwaysColour,
        evaluate};
    return kind;
}

} // namespace kvengine::kinds
