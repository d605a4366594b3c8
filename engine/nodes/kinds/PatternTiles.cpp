// pattern.tiles: a grid of bevelled, rounded tiles as a height.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"
#include "engine/nodes/TileSurface.h"

#include <algorithm>
#include <cmath>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable(
               "pattern.tiles",
               "Grid of tiles as a height: gaps 0, bevelled tiles with rounded corners, each at its own "
               "slightly varying level.",
               OutputChannels::Gray)
        .integers("tiles", {4, 4}, 1, 1024, "tiles across and down")
        .ui(1, 32)
        .number("gap", 0.08f, 0.0f, 1.0f, "gap between tiles as a fraction of a tile's shorter side")
        .number("bevel", 0.1f, 0.0f, 1.0f, "width of the bevel as a fraction of a tile's shorter side")
        .number("rounding", 0.1f, 0.0f, 1.0f, "corner radius as a fraction of half a tile's shorter side")
        .number("variation", 0.3f, 0.0f, 1.0f, "how much the level differs between tiles")
        .number("tilt", 0.0f, 0.0f, 1.0f, "how far each tile leans, lower on one side, in a random direction")
        .seed();
}

// Distances are in units of the tile's shorter side. A tile is a rounded
// box; its edge distance is the inside distance to that box's outline.
void evaluate(const NodeRun& run, Image& out) {
    const std::array<int, 4> tiles = run.integers("tiles");
    const float columns = static_cast<float>(tiles[0]), rows = static_cast<float>(tiles[1]);
    const float unit = std::max(columns, rows); // tile sides in units of the shorter side
    const float halfX = 0.5f * unit / columns, halfY = 0.5f * unit / rows;
    const float halfGap = 0.5f * run.number("gap");
    const float bevel = run.number("bevel");
    const float radius = run.number("rounding") * std::min(halfX, halfY);
    const float variation = run.number("variation");
    const float tilt = run.number("tilt");
    const uint32_t seed = run.seed();

    generateRows(run, out, [&](int y, float* row) {
        const float ty = pixelCentre(y, run.height) * rows;
        const int tileRow = std::min(static_cast<int>(ty), tiles[1] - 1);
        const float qy = std::fabs((ty - static_cast<float>(tileRow) - 0.5f) * unit / rows) - halfY + radius;
        int leaning = -1; // the column whose lean is at hand
        TileLean lean(0u, variation);
        for (int x = 0; x < run.width; ++x) {
            const float tx = pixelCentre(x, run.width) * columns;
            const int column = std::min(static_cast<int>(tx), tiles[0] - 1);
            if (column != leaning) {
                leaning = column;
                lean = TileLean(hash3(seed, static_cast<uint32_t>(column), static_cast<uint32_t>(tileRow)),
                                variation);
            }
            const float qx =
                std::fabs((tx - static_cast<float>(column) - 0.5f) * unit / columns) - halfX + radius;
            const float ox = std::max(qx, 0.0f), oy = std::max(qy, 0.0f);
            const float edge = radius - std::sqrt(ox * ox + oy * oy) - std::min(std::max(qx, qy), 0.0f);
            const float level =
                lean.at(tilt, tx - static_cast<float>(column), ty - static_cast<float>(tileRow));
            row[x] = level * bevelRise(edge, halfGap, bevel);
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
