// normal.from_height: a tangent-space normal map from a height.
#include "engine/nodes/KindTable.h"
#include "engine/nodes/NodeKind.h"
#include "engine/nodes/NormalRow.h"
#include "engine/nodes/Sampling.h"

#include <algorithm>
#include <utility>
#include <vector>

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
    const Image& in = run.input(0);
    const float intensity = run.number("intensity");
    NormalSlopes slopes;
    slopes.u = intensity * kHeightPerSide * static_cast<float>(width) * 0.5f;
    slopes.v = intensity * kHeightPerSide * static_cast<float>(height) * 0.5f;
    run.parallel->run(height, [&](int y0, int y1) {
        // Each row's heights are read once: three buffers roll down the range.
        const size_t stride = static_cast<size_t>(width) + 2 + kNormalRowSlack;
        std::vector<float> rows(3 * stride, 0.0f);
        float* above = rows.data() + 1;
        float* here = above + stride;
        float* below = here + stride;
        const auto load = [&](float* row, int y) {
            luminanceRow(in, wrapIndex(y, height), row);
            row[-1] = row[width - 1];
            row[width] = row[0];
        };
        load(above, y0 - 1);
        load(here, y0);
        for (int y = y0; y < y1; ++y) {
            load(below, y + 1);
            normalRow(above, here, below, width, slopes, out.row(0, y), out.row(1, y), out.row(2, y));
            std::fill(out.row(3, y), out.row(3, y) + width, 1.0f);
            std::swap(above, here);
            std::swap(here, below);
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
