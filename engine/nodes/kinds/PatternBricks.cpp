#include "engine/nodes/NodeKinds.h"
#include "engine/nodes/Random.h"
#include "engine/nodes/Sampling.h"

#include <algorithm>
#include <cmath>

namespace kvengine::kinds {

namespace {

constexpr float kMaxBricks = 1024.0f;

// Running-bond bricks: every other row shifted by `offset` of a brick. The
// output is a height: 0 in the mortar, rising over the bevel to the brick's
// own level, which varies per brick.
void evaluate(const NodeRun& run, Image& out) {
    const float columns = std::clamp(std::round(run.param(0).f[0]), 1.0f, kMaxBricks);
    float rows = std::clamp(std::round(run.param(0).f[1]), 1.0f, kMaxBricks);
    rows += std::fmod(rows, 2.0f); // even, so the shifted rows alternate across the wrap
    const float mortar = std::clamp(run.scalar(1), 0.0f, 1.0f) * 0.5f;
    const float bevel = std::max(run.scalar(2), 1e-4f);
    const float offset = run.scalar(3);
    const float variation = std::clamp(run.scalar(4), 0.0f, 1.0f);
    const uint32_t seed = nodeSeed(run.randomSeed, run.scalar(5));
    const float aspect = rows / columns; // brick width in brick heights
    const int columnCount = static_cast<int>(columns);

    run.parallel->run(run.height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            float* row = out.row(0, y);
            const float by = (static_cast<float>(y) + 0.5f) / static_cast<float>(run.height) * rows;
            const int brickRow = static_cast<int>(by);
            const float fy = by - static_cast<float>(brickRow);
            const float edgeY = std::min(fy, 1.0f - fy);
            const float shift = (brickRow & 1) ? offset : 0.0f;
            for (int x = 0; x < run.width; ++x) {
                const float bx =
                    (static_cast<float>(x) + 0.5f) / static_cast<float>(run.width) * columns - shift;
                const float cell = std::floor(bx);
                const float fx = bx - cell;
                const float edge = std::min(std::min(fx, 1.0f - fx) * aspect, edgeY);
                const int column = wrapIndex(static_cast<int>(std::fmod(cell, columns)), columnCount);
                const float level = 1.0f - variation * hashToUnit(hash3(seed, static_cast<uint32_t>(column),
                                                                        static_cast<uint32_t>(brickRow)));
                row[x] = level * clamp01((edge - mortar) / bevel);
            }
        }
    });
}

} // namespace

const NodeKind& patternBricks() {
    static const NodeKind kind{
        {"pattern.bricks",
         "Brick wall as a height: mortar 0, bevelled bricks of slightly varying level; gray.",
         {{"bricks", 2, makeValue(4.0f, 8.0f), "bricks per row and rows (rounded up to even), 1 to 1024"},
          {"mortar", 1, makeValue(0.1f), "mortar width as a fraction of a brick's height"},
          {"bevel", 1, makeValue(0.15f), "width of the bevel as a fraction of a brick's height"},
          {"offset", 1, makeValue(0.5f), "shift of every other row, in bricks"},
          {"variation", 1, makeValue(0.3f), "how much the level differs between bricks, 0 to 1"},
          {"seed", 1, makeValue(0.0f), "variation, combined with $randomseed"}},
         {},
         false},
        alwaysGray,
        evaluate};
    return kind;
}

} // namespace kvengine::kinds
