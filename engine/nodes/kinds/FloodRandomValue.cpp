// flood.random_value: one random level per cell of a flood.fill.
#include "engine/nodes/FloodCells.h"
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("flood.random_value",
                     "A random level per cell of a flood.fill, from min to max; 0 on the lines.",
                     OutputChannels::Gray)
        .number("min", 0.0f, 0.0f, 1.0f, "lowest level a cell may take")
        .number("max", 1.0f, 0.0f, 1.0f, "highest level a cell may take")
        .seed()
        .map("cells", 0.0f,
             "the output of flood.fill, read as its four channels of cell boxes, not as a gray level");
}

void evaluate(const NodeRun& run, Image& out) {
    const CellRows cells(run.input(0));
    const float low = run.number("min"), high = run.number("max");
    const uint32_t seed = run.seed();
    generateRows(run, out, [&](int y, float* row) {
        for (int x = 0; x < run.width; ++x) {
            const CellRows::Cell cell = cells.at(x, y);
            row[x] = cell.inside() ? low + (high - low) * hashToUnit(cells.identity(cell, seed)) : 0.0f;
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
