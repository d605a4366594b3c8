#include "engine/nodes/NodeKinds.h"
#include "engine/nodes/Random.h"
#include "engine/nodes/Sampling.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kvengine::kinds {

namespace {

constexpr float kMaxCells = 512.0f;

enum Mode { F1 = 0, F2 = 1, F2MinusF1 = 2, CellValue = 3 };

// One feature point per cell of a scale x scale grid that wraps, so the
// texture tiles; distances are in cell units.
struct FeaturePoints {
    int cells = 0;
    std::vector<float> x, y, value; // offsets inside the cell and the cell's random value

    FeaturePoints(int count, float jitter, uint32_t seed)
        : cells(count), x(static_cast<size_t>(count) * count), y(x.size()), value(x.size()) {
        for (int j = 0; j < count; ++j)
            for (int i = 0; i < count; ++i) {
                const size_t k = static_cast<size_t>(j) * count + i;
                const uint32_t h = hash3(seed, static_cast<uint32_t>(i), static_cast<uint32_t>(j));
                x[k] = 0.5f + (hashToUnit(h) - 0.5f) * jitter;
                y[k] = 0.5f + (hashToUnit(hashMix(h + 1u)) - 0.5f) * jitter;
                value[k] = hashToUnit(hashMix(h + 2u));
            }
    }
};

void evaluate(const NodeRun& run, Image& out) {
    const int cells = static_cast<int>(std::clamp(std::round(run.scalar(0)), 1.0f, kMaxCells));
    const int mode = static_cast<int>(std::clamp(std::round(run.scalar(1)), 0.0f, 3.0f));
    const float jitter = std::clamp(run.scalar(2), 0.0f, 1.0f);
    const FeaturePoints points(cells, jitter, nodeSeed(run.randomSeed, run.scalar(3)));
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
                int end =
                    static_cast<int>(std::ceil((static_cast<double>(cx) + 1.0) * run.width / cells - 0.5));
                end = std::clamp(end, x, run.width);
                for (int dy = -1; dy <= 1; ++dy) {
                    const size_t rowBase = static_cast<size_t>(wrapIndex(cy + dy, cells)) * cells;
                    for (int dx = -1; dx <= 1; ++dx) {
                        const size_t k = rowBase + static_cast<size_t>(wrapIndex(cx + dx, cells));
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

} // namespace

const NodeKind& noiseCellular() {
    static const NodeKind kind{
        {"noise.cellular",
         "Tileable cellular (Worley) noise: distances to random feature points, one per cell; gray.",
         {{"scale", 1, makeValue(8.0f), "cells per side, 1 to 512 (rounded)"},
          {"mode", 1, makeValue(0.0f), "0 F1 distance, 1 F2 distance, 2 F2-F1 (cell borders), 3 cell value"},
          {"jitter", 1, makeValue(1.0f), "how far feature points stray from the cell centre, 0 to 1"},
          {"seed", 1, makeValue(0.0f), "variation, combined with $randomseed"}},
         {},
         false},
        alwaysGray,
        evaluate};
    return kind;
}

} // namespace kvengine::kinds
