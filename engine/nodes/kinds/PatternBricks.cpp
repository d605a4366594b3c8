// pattern.bricks: a running-bond brick wall as a height.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"
#include "engine/nodes/TileSurface.h"

#include <algorithm>
#include <cmath>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("pattern.bricks",
                     "Brick wall as a height: mortar 0, bevelled bricks of slightly varying level.",
                     OutputChannels::Gray)
        .integers("bricks", {4, 8}, 1, 1024, "bricks per row and rows; rows are rounded up to an even number")
        .ui(1, 32)
        .evenComponent(1)
        .number("mortar", 0.1f, 0.0f, 1.0f, "mortar width as a fraction of a brick's height")
        .number("bevel", 0.15f, 0.0f, 1.0f, "width of the bevel as a fraction of a brick's height")
        .number("offset", 0.5f, -1.0f, 1.0f, "shift of every other row, in bricks")
        .number("variation", 0.3f, 0.0f, 1.0f, "how much the level differs between bricks")
        .seed()
        // After seed, so that stored packages, which hold parameters by position, read as before.
        .number("tilt", 0.0f, 0.0f, 1.0f,
                "how far each brick leans, lower on one side, in a random direction");
}

// The first pixel past `begin` whose brick is not `brick`, given where the
// brick ends (`right`, in texture units): a guess from there, then moved
// until it agrees with the brick each pixel finds for itself.
template <typename BrickCoordinate>
int brickEnd(int begin, float brick, const BrickCoordinate& bxAt, int width, float right) {
    const float guess = right * static_cast<float>(width) - 0.5f;
    int end = guess >= static_cast<float>(width) ? width : std::max(begin + 1, static_cast<int>(guess));
    while (end > begin + 1 && floorOf(bxAt(end - 1)) != brick)
        --end;
    while (end < width && floorOf(bxAt(end)) == brick)
        ++end;
    return end;
}

// Every other row shifted by `offset` of a brick. 0 in the mortar, rising
// over the bevel to the brick's own level, which varies per brick.
void evaluate(const NodeRun& run, Image& out) {
    const std::array<int, 4> bricks = run.integers("bricks");
    const float columns = static_cast<float>(bricks[0]);
    const float rows = static_cast<float>(bricks[1]); // even, so the shifted rows alternate across the wrap
    const float mortar = run.number("mortar") * 0.5f;
    const float bevel = run.number("bevel");
    const float offset = run.number("offset");
    const float variation = run.number("variation");
    const float tilt = run.number("tilt");
    const uint32_t seed = run.seed();
    const float aspect = rows / columns; // brick width in brick heights
    const int columnCount = bricks[0];

    const auto leanOf = [&](float cell, int brickRow) {
        const int column = wrapIndex(static_cast<int>(std::fmod(cell, columns)), columnCount);
        return TileLean(hash3(seed, static_cast<uint32_t>(column), static_cast<uint32_t>(brickRow)),
                        variation);
    };

    generateRows(run, out, [&](int y, float* row) {
        const float by = pixelCentre(y, run.height) * rows;
        const int brickRow = static_cast<int>(by);
        const float fy = by - static_cast<float>(brickRow);
        const float edgeY = std::min(fy, 1.0f - fy);
        const float shift = (brickRow & 1) ? offset : 0.0f;
        const auto bxAt = [&](int x) { return pixelCentre(x, run.width) * columns - shift; };
        // A brick at a time: its hash once, then a loop the compiler vectorises.
        for (int x = 0; x < run.width;) {
            const float brick = floorOf(bxAt(x));
            const int end = brickEnd(x, brick, bxAt, run.width, (brick + 1.0f + shift) / columns);
            const TileLean lean = leanOf(brick, brickRow);
            for (; x < end; ++x) {
                const float fx = bxAt(x) - brick;
                const float edge = std::min(std::min(fx, 1.0f - fx) * aspect, edgeY);
                row[x] = lean.at(tilt, fx, fy) * bevelRise(edge, mortar, bevel);
            }
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
