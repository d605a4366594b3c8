// warp.directional: displacement along one direction by a gray map.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

#include <cmath>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("warp.directional",
                     "Displaces the input along one direction by the gray level of an intensity map.",
                     OutputChannels::WidestSource)
        .length("intensity", 0.1f, 0.0f, 1.0f, "displacement where the map is 1")
        .ui(0.0f, 0.25f)
        .angle("angle", 0.0f, "direction, 0 along +u")
        .source("input", "the image to displace")
        .map("intensity", 0.0f, "how far each pixel moves, scaling the intensity");
}

// Each pixel reads the input displaced along `angle` by intensity times the
// gray level of the intensity map, wrapping.
void evaluate(const NodeRun& run, Image& out) {
    const float intensity = run.number("intensity");
    const float angle = run.number("angle") * 6.2831853f;
    const float dirU = std::cos(angle) * intensity;
    const float dirV = std::sin(angle) * intensity;
    resampleFilter(run, out, [&](int y, float* u, float* v) {
        luminanceRow(run.input(1), y, v); // the displacement amount, until replaced below
        const float centreV = pixelCentre(y, run.height);
        for (int x = 0; x < run.width; ++x) {
            const float amount = v[x];
            u[x] = pixelCentre(x, run.width) - dirU * amount;
            v[x] = centreV - dirV * amount;
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
