// blur.slope: a blur that follows the slopes of a map.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"
#include "engine/nodes/LineBlur.h"

#include <algorithm>
#include <cmath>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("blur.slope",
                     "Smears the input down the slopes of a map: each pixel reads from its "
                     "position up the slope, so content runs down it. Flat areas stay sharp.",
                     OutputChannels::WidestSource)
        .length("length", 0.03f, 0.0f, 0.5f, "longest smear, reached where the map is steep")
        .ui(0.0f, 0.1f)
        .choice("mode", 0, {"average", "min", "max"}, "how the samples along the slope combine")
        .source("input", "the image to smear")
        .map("slope", 0.5f, "the height whose slopes guide the smear")
        .scratchImages(4); // the gray slope, the field's two components and the passes' buffer
}

// The slope is the map's gradient in height per texture side, measured
// across a quarter of the length (at least a pixel) so that fine grain in
// the map does not scatter the directions. A gradient of g gives a smear of
// length * g / sqrt(1 + g^2): steep slopes reach the full length, flat
// areas none.
void evaluate(const NodeRun& run, Image& out) {
    const int width = run.width, height = run.height;
    const float length = run.number("length");
    LineBlurShape shape;
    shape.maxLength = length;
    shape.oneSided = true;
    shape.reduce = static_cast<LineReduce>(run.choice("mode"));
    const Image slope = grayInput(run, 1);
    const float reachU = std::max(0.25f * length, 1.0f / static_cast<float>(width));
    const float reachV = std::max(0.25f * length, 1.0f / static_cast<float>(height));
    const float* h = slope.plane(0);
    // The field is found once; every pass of the blur reads it.
    Image alongU(width, height, 1), alongV(width, height, 1);
    run.parallel->run(height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            const float v = pixelCentre(y, height);
            float* du = alongU.row(0, y);
            float* dv = alongV.row(0, y);
            for (int x = 0; x < width; ++x) {
                const float u = pixelCentre(x, width);
                const float gx = (sampleWrapped(h, width, height, u + reachU, v) -
                                  sampleWrapped(h, width, height, u - reachU, v)) /
                                 (2.0f * reachU);
                const float gy = (sampleWrapped(h, width, height, u, v + reachV) -
                                  sampleWrapped(h, width, height, u, v - reachV)) /
                                 (2.0f * reachV);
                const float scale = length / std::sqrt(1.0f + gx * gx + gy * gy);
                du[x] = gx * scale;
                dv[x] = gy * scale;
            }
        }
    });
    lineBlur(
        run.input(0), out, shape,
        [&](int y, float* du, float* dv) {
            std::copy_n(alongU.row(0, y), width, du);
            std::copy_n(alongV.row(0, y), width, dv);
        },
        *run.parallel);
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
