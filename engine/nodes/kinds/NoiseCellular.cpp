// noise.cellular: tileable cellular (Worley) noise.
#include "engine/nodes/FeaturePoints.h"
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"
#include "engine/nodes/LatticeNoise.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kvengine {

namespace {

enum Mode { F1 = 0, F2 = 1, F2MinusF1 = 2, CellValue = 3 };

NodeKindInfo table() {
    return KindTable("noise.cellular",
                     "Tileable cellular (Worley) noise: distances to random feature points, one per cell.",
                     OutputChannels::Gray)
        .integer("scale", 8, 1, 512, "cells per side")
        .ui(1, 64)
        .choice("mode", F1, {"f1", "f2", "f2_minus_f1", "cell_value"},
                "distance to the nearest point, to the second nearest, their difference (cell borders), "
                "or a random value per cell")
        .number("jitter", 1.0f, 0.0f, 1.0f, "how far feature points stray from the cell centre")
        .seed();
}

void evaluate(const NodeRun& run, Image& out) {
    const int cells = run.integer("scale");
    const int mode = run.choice("mode");
    const FeaturePoints points(cells, run.number("jitter"), run.seed());
    const float toCellsX = static_cast<float>(cells) / static_cast<float>(run.width);
    const float toCellsY = static_cast<float>(cells) / static_cast<float>(run.height);

    run.parallel->run(run.height, [&](int y0, int y1) {
        std::vector<float> d1(static_cast<size_t>(run.width)), d2(d1.size()), nearest(d1.size());
        for (int y = y0; y < y1; ++y) {
            const float py = (static_cast<float>(y) + 0.5f) * toCellsY;
            const int cy = std::min(static_cast<int>(py), cells - 1);
            std::fill(d1.begin(), d1.end(), 1e30f);
            std::fill(d2.begin(), d2.end(), 1e30f);
            // Runs of pixels sharing a cell see the same 3 x 3 feature points;
            // the loop over a run keeps the two nearest without branches.
            int x = 0;
            for (int cx = 0; cx < cells && x < run.width; ++cx) {
                const int end = std::clamp(cellEnd(cx, run.width, cells), x, run.width);
                for (int dy = -1; dy <= 1; ++dy) {
                    for (int dx = -1; dx <= 1; ++dx) {
                        const size_t k = points.index(cx + dx, cy + dy);
                        const float fx = static_cast<float>(cx + dx) + points.x[k];
                        const float ey = static_cast<float>(cy + dy) + points.y[k] - py;
                        const float ey2 = ey * ey;
                        const float value = points.value[k];
                        for (int i = x; i < end; ++i) {
                            const float ex = fx - (static_cast<float>(i) + 0.5f) * toCellsX;
                            const float d = ex * ex + ey2;
                            const bool closest = d < d1[i];
                            d2[i] = std::min(d2[i], std::max(d1[i], d));
                            nearest[i] = closest ? value : nearest[i];
                            d1[i] = std::min(d1[i], d);
                        }
                    }
                }
                x = end;
            }
            float* row = out.row(0, y);
            for (int i = 0; i < run.width; ++i) {
                const float f1 = std::sqrt(d1[i]);
                const float f2 = std::sqrt(d2[i]);
                const float result = mode == F1          ? f1
                                     : mode == F2        ? f2
                                     : mode == F2MinusF1 ? f2 - f1
                                                         : nearest[i];
                row[i] = clamp01(result);
            }
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
