// normal.from_height: a tangent-space normal map from a height.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

#include <cmath>

namespace kvengine {

namespace {

// Height 1 stands for 1/16 of the texture side at intensity 1, so slopes (and
// the look) do not depend on the resolution.
constexpr float kHeightPerSide = 1.0f / 16.0f;

NodeKindInfo table() {
    return KindTable("normal.from_height", "Tangent-space normal map (+Y up) from a height.",
                     OutputChannels::Colour)
        .number("intensity", 1.0f, 0.0f, 16.0f,
                "height scale; at 1 a height of 1 rises 1/16 of the texture side")
        .ui(0.0f, 4.0f)
        .map("height", 0.5f, "the height to take slopes of");
}

// +Y up (green grows towards the top of the image), encoded as 0.5 + 0.5 n;
// alpha 1. Central differences wrap at the edges.
void evaluate(const NodeRun& run, Image& out) {
    const int width = run.width, height = run.height;
    const float intensity = run.number("intensity");
    const float slopeU = intensity * kHeightPerSide * static_cast<float>(width) * 0.5f;
    const float slopeV = intensity * kHeightPerSide * static_cast<float>(height) * 0.5f;
    areaFilter(run, [&](int y, const float* above, const float* here, const float* below) {
        float* nx = out.row(0, y);
        float* ny = out.row(1, y);
        float* nz = out.row(2, y);
        for (int x = 0; x < width; ++x) {
            const float left = here[x == 0 ? width - 1 : x - 1];
            const float right = here[x + 1 == width ? 0 : x + 1];
            const float gx = -(right - left) * slopeU;
            const float gy = (below[x] - above[x]) * slopeV;
            const float inv = 1.0f / std::sqrt(gx * gx + gy * gy + 1.0f);
            nx[x] = 0.5f + 0.5f * gx * inv;
            ny[x] = 0.5f + 0.5f * gy * inv;
            nz[x] = 0.5f + 0.5f * inv;
        }
        std::fill(out.row(3, y), out.row(3, y) + width, 1.0f);
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
