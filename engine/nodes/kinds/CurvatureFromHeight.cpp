// curvature.from_height: ridges and hollows of a height.
#include "engine/nodes/GaussianBlur.h"
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

namespace kvengine {

namespace {

// A point 1/32 above the average around it is white at intensity 1: curvature
// maps are mostly mid-gray, with their edges and creases the part that counts.
constexpr float kGain = 16.0f;

NodeKindInfo table() {
    return KindTable("curvature.from_height",
                     "Curvature of a height: 0.5 where flat or evenly sloped, brighter on ridges and "
                     "edges, darker in hollows and creases.",
                     OutputChannels::Gray)
        .length("radius", 0.01f, 0.0f, 0.5f, "reach over which the curvature is measured")
        .ui(0.0f, 0.05f)
        .number("intensity", 1.0f, 0.0f, 16.0f, "contrast")
        .ui(0.0f, 4.0f)
        .map("height", 0.5f, "the height to measure")
        .scratchImages(3); // heights, their blur and its pass buffer
}

// The height minus its average around: a band-limited laplacian, so the
// result is the same at every resolution.
void evaluate(const NodeRun& run, Image& out) {
    const Image heights = grayInput(run, 0);
    Image around(run.width, run.height, 1);
    gaussianBlur(heights, around, run.number("radius"), *run.parallel);
    const float gain = run.number("intensity") * kGain;
    generateRows(run, out, [&](int y, float* row) {
        const float* h = heights.row(0, y);
        const float* a = around.row(0, y);
        for (int x = 0; x < run.width; ++x)
            row[x] = clamp01(0.5f + gain * (h[x] - a[x]));
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
