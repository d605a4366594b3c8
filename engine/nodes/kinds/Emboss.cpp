// emboss: a height lit from one side, as a gray relief.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

#include <cmath>

namespace kvengine {

namespace {

// As for normal.from_height: height 1 rises 1/16 of the texture side at
// intensity 1, so the relief does not depend on the resolution.
constexpr float kHeightPerSide = 1.0f / 16.0f;

NodeKindInfo table() {
    return KindTable("emboss",
                     "Relief of a height lit from one side: 0.5 where flat, brighter on slopes facing "
                     "the light, darker on those facing away.",
                     OutputChannels::Gray)
        .angle("light_angle", 0.125f, "direction the light comes from, 0 along +u, 0.25 from the top")
        .number("intensity", 1.0f, 0.0f, 16.0f, "height scale; at 1 a height of 1 rises 1/16 of the side")
        .ui(0.0f, 4.0f)
        .map("height", 0.5f, "the height to light");
}

// 0.5 + 0.5 * (how far the surface leans towards the light) / sqrt(1 + slope^2): the light's
// grazing component, bounded by [0, 1]. Central differences wrap.
void evaluate(const NodeRun& run, Image& out) {
    const int width = run.width;
    const float angle = run.number("light_angle") * 6.2831853f;
    const float intensity = run.number("intensity") * kHeightPerSide * 0.5f;
    const float lightU = std::cos(angle) * intensity * static_cast<float>(width);
    const float lightV = std::sin(angle) * intensity * static_cast<float>(run.height);
    areaFilter(run, [&](int y, const float* above, const float* here, const float* below) {
        float* dst = out.row(0, y);
        for (int x = 0; x < width; ++x) {
            // Downhill along +u and along up (-v): a slope faces the light when it falls away from it.
            const float gx = here[x == 0 ? width - 1 : x - 1] - here[x + 1 == width ? 0 : x + 1];
            const float gy = below[x] - above[x];
            const float towards = gx * lightU + gy * lightV;
            dst[x] = 0.5f + 0.5f * towards / std::sqrt(1.0f + towards * towards);
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
