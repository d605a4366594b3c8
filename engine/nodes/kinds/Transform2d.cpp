// transform2d: offset, rotation and scale, wrapping at the edges.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

#include <cmath>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("transform2d",
                     "Offset, rotation about the centre and scale (as repetitions), wrapping at the edges.",
                     OutputChannels::WidestSource)
        .position("offset", {0.0f, 0.0f}, "shift")
        .angle("rotation", 0.0f, "rotation about the centre")
        .vector("scale", {1.0f, 1.0f}, -64.0f, 64.0f,
                "repetitions along u and v; whole numbers keep it tileable")
        .ui(1.0f, 8.0f)
        .source("input", "the image to transform");
}

// Rotation is about the centre; whole-number scales keep the result tileable.
void evaluate(const NodeRun& run, Image& out) {
    const std::array<float, 4> offset = run.vector("offset");
    const std::array<float, 4> scale = run.vector("scale");
    const float angle = run.number("rotation") * 6.2831853f;
    const float cosA = std::cos(angle), sinA = std::sin(angle);
    resampleFilter(run, out, [&](int y, float* u, float* v) {
        const float py = pixelCentre(y, run.height) - 0.5f - offset[1];
        for (int x = 0; x < run.width; ++x) {
            const float px = pixelCentre(x, run.width) - 0.5f - offset[0];
            // Inverse transform: rotate back, then undo the scale.
            u[x] = (cosA * px + sinA * py) * scale[0] + 0.5f;
            v[x] = (-sinA * px + cosA * py) * scale[1] + 0.5f;
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
