// edge.detect: outlines where the gray level changes.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("edge.detect",
                     "Outlines where the gray level changes: the difference across each pixel over a "
                     "given width, so lines keep their thickness at every resolution.",
                     OutputChannels::Gray)
        .length("width", 0.004f, 0.0f, 0.1f, "thickness of the lines; at least a pixel")
        .ui(0.0f, 0.02f)
        .number("intensity", 1.0f, 0.0f, 16.0f, "gain: at 1 a full step makes a white line")
        .ui(0.0f, 4.0f)
        .map("input", 0.5f, "the gray levels to outline")
        .scratchImages(1);
}

// Differences between samples half the width either side of the pixel, on
// both axes, combined as a gradient length.
void evaluate(const NodeRun& run, Image& out) {
    const int width = run.width, height = run.height;
    const Image gray = grayInput(run, 0);
    const float reachU = std::max(run.number("width"), 1.0f / static_cast<float>(width)) * 0.5f;
    const float reachV = std::max(run.number("width"), 1.0f / static_cast<float>(height)) * 0.5f;
    const float intensity = run.number("intensity");
    const float* plane = gray.plane(0);
    generateRows(run, out, [&](int y, float* row) {
        const float v = pixelCentre(y, height);
        for (int x = 0; x < width; ++x) {
            const float u = pixelCentre(x, width);
            const float dx = sampleWrapped(plane, width, height, u + reachU, v) -
                             sampleWrapped(plane, width, height, u - reachU, v);
            const float dy = sampleWrapped(plane, width, height, u, v + reachV) -
                             sampleWrapped(plane, width, height, u, v - reachV);
            row[x] = clamp01(intensity * std::sqrt(dx * dx + dy * dy));
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
