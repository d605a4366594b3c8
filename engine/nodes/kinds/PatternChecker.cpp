#include "engine/nodes/NodeKinds.h"

#include <algorithm>
#include <cmath>

namespace kvengine::kinds {

namespace {

constexpr float kMaxTiles = 4096.0f;

void evaluate(const NodeRun& run, Image& out) {
    // An even count keeps the alternation across the texture's wrap-around.
    float tiles = std::clamp(std::round(run.scalar(0)), 2.0f, kMaxTiles);
    tiles += std::fmod(tiles, 2.0f);
    const float stepU = tiles / static_cast<float>(run.width);
    const float stepV = tiles / static_cast<float>(run.height);
    run.parallel->run(run.height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            float* row = out.row(0, y);
            const int ty = static_cast<int>((static_cast<float>(y) + 0.5f) * stepV);
            for (int x = 0; x < run.width; ++x) {
                const int tx = static_cast<int>((static_cast<float>(x) + 0.5f) * stepU);
                row[x] = static_cast<float>((tx + ty) & 1);
            }
        }
    });
}

} // namespace

const NodeKind& patternChecker() {
    static const NodeKind kind{
        {"pattern.checker",
         "Checkerboard of black (0) and white (1) squares; gray.",
         {{"tiles", 1, makeValue(8.0f), "squares per side, rounded up to an even number, 2 to 4096"}},
         {},
         false},
        alwaysGray,
        evaluate};
    return kind;
}

} // namespace kvengine::kinds
