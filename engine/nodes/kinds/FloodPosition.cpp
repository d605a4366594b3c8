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

void evaluate(const NodeRun& run, Image& out) {
    const CellRows cells(run.input(0));
    const int output = run.choice("output");
    generateRows(run, out, [&](int y, float* row) {
        const float v = pixelCentre(y, run.height);
        for (int x = 0; x < run.width; ++x) {
            const CellRows::Cell cell = cells.at(x, y);
            float value = 0.0f;
            switch (output) {
            case CentreU:
                value = cell.u;
                break;
            case CentreV:
                value = cell.v;
                break;
            case Width:
                value = cell.width;
                break;
            case Height:
                value = cell.height;
                break;
            case LocalU:
                value = 0.5f + cell.offsetU(pixelCentre(x, run.width)) / cell.width;
                break;
            default:
                value = 0.5f + cell.offsetV(v) / cell.height;
                break;
            }
            row[x] = cell.inside() ? clamp01(value) : 0.0f;
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
