// noise.cellular: tileable cellular (Worley) noise.
#include "engine/nodes/CellularRun.h"
#include "engine/nodes/FeaturePoints.h"
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"
#include "engine/nodes/LatticeNoise.h"

#include <algorithm>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("noise.cellular",
                     "Tileable cellular (Worley) noise: distances to random feature points, one per cell.",
                     OutputChannels::Gray)
        .integer("scale", 8, 1, 512, "cells per side")
        .ui(1, 64)
        .choice("mode", static_cast<int>(CellularMode::F1), {"f1", "f2", "f2_minus_f1", "cell_value"},
                "distance to the nearest point, to the second nearest, their difference (cell borders), "
                "or a random value per cell")
        .number("jitter", 1.0f, 0.0f, 1.0f, "how far feature points stray from the cell centre")
        .seed();
}

void evaluate(const NodeRun& run, Image& out) {
    const int cells = run.integer("scale");
    const auto mode = static_cast<CellularMode>(run.choice("mode"));
    const FeaturePoints points(cells, run.number("jitter"), run.seed());
    const float toCellsX = static_cast<float>(cells) / static_cast<float>(run.width);
    const float toCellsY = static_cast<float>(cells) / static_cast<float>(run.height);

    run.parallel->run(run.height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            const float py = (static_cast<float>(y) + 0.5f) * toCellsY;
            const int cy = std::min(static_cast<int>(py), cells - 1);
            // Runs of pixels sharing a cell see the same 3 x 3 feature points.
            CellColumns columns(run.width, cells);
            int x = 0;
            for (int cx = 0; cx < cells && x < run.width; ++cx, columns.next()) {
                const int end = std::clamp(columns.end(), x, run.width);
                RunPoint near[9];
                for (int dy = -1, n = 0; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx, ++n) {
                        const size_t k = points.index(cx + dx, cy + dy);
                        const float ey = static_cast<float>(cy + dy) + points.y[k] - py;
                        near[n] = {static_cast<float>(cx + dx) + points.x[k], ey * ey, points.value[k]};
                    }
                cellularRun(near, 9, x, end, toCellsX, mode, out.row(0, y));
                x = end;
            }
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
