// flood.position: where each cell of a flood.fill lies, or where a pixel lies
// within its cell.
#include "engine/nodes/FloodCells.h"
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

namespace kvengine {

namespace {

enum Output { CentreU, CentreV, Width, Height, LocalU, LocalV };

NodeKindInfo table() {
    return KindTable("flood.position",
                     "One measure of each cell of a flood.fill as a level: its centre, its size, or a "
                     "pixel's place within its bounding box (0 to 1); 0 on the lines.",
                     OutputChannels::Gray)
        .choice("output", CentreU, {"center_x", "center_y", "width", "height", "local_x", "local_y"},
                "the bounding box's centre or size, or the pixel's place within the box")
        .map("cells", 0.0f,
             "the output of flood.fill, read as its four channels of cell boxes, not as a gray level");
}

// measure(cell, u, v) for every pixel inside a cell, 0 on the lines; one
// loop per measure keeps the choice out of the pixel loop.
template <typename Measure>
void fill(const NodeRun& run, Image& out, Measure&& measure) {
    const CellRows cells(run.input(0));
    generateRows(run, out, [&](int y, float* row) {
        const float v = pixelCentre(y, run.height);
        for (int x = 0; x < run.width; ++x) {
            const CellRows::Cell cell = cells.at(x, y);
            row[x] = cell.inside() ? clamp01(measure(cell, pixelCentre(x, run.width), v)) : 0.0f;
        }
    });
}

void evaluate(const NodeRun& run, Image& out) {
    using Cell = CellRows::Cell;
    switch (run.choice("output")) {
    case CentreU:
        fill(run, out, [](const Cell& c, float, float) { return c.u; });
        break;
    case CentreV:
        fill(run, out, [](const Cell& c, float, float) { return c.v; });
        break;
    case Width:
        fill(run, out, [](const Cell& c, float, float) { return c.width; });
        break;
    case Height:
        fill(run, out, [](const Cell& c, float, float) { return c.height; });
        break;
    case LocalU:
        fill(run, out, [](const Cell& c, float u, float) { return 0.5f + c.offsetU(u) / c.width; });
        break;
    default:
        fill(run, out, [](const Cell& c, float, float v) { return 0.5f + c.offsetV(v) / c.height; });
        break;
    }
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
