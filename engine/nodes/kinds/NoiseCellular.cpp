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
        for (int y = y0; y < y1; ++y) {
            float* row = out.row(0, y);
            const float py = (static_cast<float>(y) + 0.5f) * toCellsY;
            const int cy = std::min(static_cast<int>(py), cells - 1);
            for (int x = 0; x < run.width; ++x) {
                const float px = (static_cast<float>(x) + 0.5f) * toCellsX;
                const int cx = std::min(static_cast<int>(px), cells - 1);
                float d1 = 1e30f, d2 = 1e30f, nearestValue = 0.0f;
                for (int dy = -1; dy <= 1; ++dy) {
                    const size_t rowBase = static_cast<size_t>(wrapIndex(cy + dy, cells)) * cells;
                    for (int dx = -1; dx <= 1; ++dx) {
                        const size_t k = rowBase + static_cast<size_t>(wrapIndex(cx + dx, cells));
                        const float ex = static_cast<float>(cx + dx) + points.x[k] - px;
                        const float ey = static_cast<float>(cy + dy) + points.y[k] - py;
                        const float d = ex * ex + ey * ey;
                        if (d < d1) {
                            d2 = d1;
                            d1 = d;
                            nearestValue = points.value[k];
                        } else if (d < d2) {
                            d2 = d;
                        }
                    }
                }
                d1 = std::sqrt(d1);
                d2 = std::sqrt(d2);
                float result = nearestValue;
                if (mode == F1)
                    result = d1;
                else if (mode == F2)
                    result = d2;
                else if (mode == F2MinusF1)
                    result = d2 - d1;
                row[x] = clamp01(result);
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
