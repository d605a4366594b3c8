// pattern.checker: a checkerboard.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

namespace kvengine {

namespace {

NodeKindInfo table() {
    // An even count keeps the alternation across the texture's wrap-around.
    return KindTable("pattern.checker", "Checkerboard of black (0) and white (1) squares.",
                     OutputChannels::Gray)
        .integer("tiles", 8, 2, 4096, "squares per side, rounded up to an even number")
        .ui(2, 64)
        .evenComponent(0);
}

void evaluate(const NodeRun& run, Image& out) {
    const float tiles = static_cast<float>(run.integer("tiles"));
    const float stepU = tiles / static_cast<float>(run.width);
    const float stepV = tiles / static_cast<float>(run.height);
    generateRows(run, out, [&](int y, float* row) {
        const int ty = static_cast<int>((static_cast<float>(y) + 0.5f) * stepV);
        for (int x = 0; x < run.width; ++x) {
            const int tx = static_cast<int>((static_cast<float>(x) + 0.5f) * stepU);
            row[x] = static_cast<float>((tx + ty) & 1);
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
