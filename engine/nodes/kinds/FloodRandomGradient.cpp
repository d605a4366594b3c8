// flood.random_gradient: a linear ramp across each cell of a flood.fill,
// each cell's turned its own way.
#include "engine/nodes/FloodCells.h"
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

#include <cmath>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("flood.random_gradient",
                     "A ramp from 0 to 1 across the bounding box of each cell of a flood.fill, in a random "
                     "direction per cell; 0 on the lines.",
                     OutputChannels::Gray)
        .angle("angle", 0.0f, "direction the ramps rise towards, before the random turn")
        .number("angle_variation", 1.0f, 0.0f, 1.0f, "range of each cell's random turn, in turns")
        .seed()
        .map("cells", 0.0f,
             "the output of flood.fill, read as its four channels of cell boxes, not as a gray level");
}

void evaluate(const NodeRun& run, Image& out) {
    const CellRows cells(run.input(0));
    const float angle = run.number("angle"), variation = run.number("angle_variation");
    const uint32_t seed = run.seed();
    generateRows(run, out, [&](int y, float* row) {
        const float v = pixelCentre(y, run.height);
        for (int x = 0; x < run.width; ++x) {
            const CellRows::Cell cell = cells.at(x, y);
            if (!cell.inside()) {
                row[x] = 0.0f;
                continue;
            }
            const float turn = angle + variation * (hashToUnit(cells.identity(cell, seed)) - 0.5f);
            // A cell wrapping round a whole side cannot ramp along it and still tile.
            const float dx = cell.width < 1.0f ? std::cos(6.2831853f * turn) : 0.0f;
            const float dy = cell.height < 1.0f ? std::sin(6.2831853f * turn) : 0.0f;
            // Half the box's extent along the direction maps to 0.5.
            const float extent = 0.5f * (std::fabs(dx) * cell.width + std::fabs(dy) * cell.height);
            const float along = dx * cell.offsetU(pixelCentre(x, run.width)) + dy * cell.offsetV(v);
            row[x] = extent > 0.0f ? clamp01(0.5f + 0.5f * along / extent) : 0.5f;
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
