// pattern.scatter: a shape or an image placed once per cell of a grid, each
// copy moved, turned, sized and shaded at random; copies wrap across the
// texture's edges.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"
#include "engine/nodes/Random.h"
#include "engine/nodes/Shapes.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kvengine {

namespace {

constexpr int kImage = 8; // the shape choice after the built-in shapes
enum Blending { Maximum, Add };

NodeKindInfo table() {
    return KindTable("pattern.scatter",
                     "Scatters copies of a shape, or of the image input, one per cell of a grid, each at a "
                     "random offset, rotation, size and level; copies wrap across the edges.",
                     OutputChannels::Gray)
        .integers("grid", {8, 8}, 1, 256, "cells across and down, one copy in each")
        .ui(1, 32)
        .choice(
            "shape", 0, {"disc", "square", "polygon", "star", "ring", "cone", "pyramid", "bell", "image"},
            "what each copy is; image scatters the image input (its luminance, filling the copy's square)")
        .integer("sides", 5, 2, 64, "sides of the polygon, tips of the star")
        .ui(3, 12)
        .number("size", 0.8f, 0.01f, 4.0f, "diameter of a copy in cells (of the grid's finer axis)")
        .number("size_variation", 0.3f, 0.0f, 1.0f, "how much smaller a copy may be drawn")
        .number("jitter", 0.5f, 0.0f, 1.0f, "how far a copy may stray from its cell's centre, in cells")
        .number("rotation", 1.0f, 0.0f, 1.0f, "range of the random turn, in turns")
        .number("value_variation", 0.3f, 0.0f, 1.0f, "how much darker a copy may be")
        .number("softness", 0.0f, 0.0f, 1.0f,
                "edge softness of the solid shapes, as a fraction of the radius")
        .choice("blending", Maximum, {"max", "add"}, "how overlapping copies combine")
        .seed()
        .map("image", 1.0f, "the image scattered when shape is image")
        .scratchImages(1);
}

struct Copy {
    float u, v;         // centre, texture units
    float reach;        // texture units the copy covers around its centre, at most half the side
    float cosine, sine; // rotation over the radius: texture offsets to shape units
    float value;
};

// boxy: the shape fills its square, whose corners reach sqrt(2) radii once turned.
std::vector<Copy> placeCopies(const NodeRun& run, int columns, int rows, bool boxy) {
    const float corner = boxy ? 1.4142136f : 1.0f;
    const float cell = 1.0f / static_cast<float>(std::max(columns, rows));
    const float size = run.number("size"), sizeVariation = run.number("size_variation");
    const float jitter = run.number("jitter"), turn = run.number("rotation");
    const float valueVariation = run.number("value_variation");
    const uint32_t seed = run.seed();
    std::vector<Copy> copies;
    copies.reserve(static_cast<size_t>(columns) * static_cast<size_t>(rows));
    for (int j = 0; j < rows; ++j)
        for (int i = 0; i < columns; ++i) {
            const uint32_t h = hash3(seed, static_cast<uint32_t>(i), static_cast<uint32_t>(j));
            auto random = [h](uint32_t k) { return hashToUnit(hashMix(h + k)); };
            Copy c;
            c.u = (static_cast<float>(i) + 0.5f + jitter * (random(1) - 0.5f)) / static_cast<float>(columns);
            c.v = (static_cast<float>(j) + 0.5f + jitter * (random(2) - 0.5f)) / static_cast<float>(rows);
            c.u -= std::floor(c.u);
            c.v -= std::floor(c.v);
            const float radius =
                std::min(0.5f * size * cell * (1.0f - sizeVariation * random(3)), 0.5f / corner);
            c.reach = radius * corner;
            const float angle = 6.2831853f * turn * random(4);
            c.cosine = std::cos(angle) / radius;
            c.sine = std::sin(angle) / radius;
            c.value = 1.0f - valueVariation * random(5);
            copies.push_back(c);
        }
    return copies;
}

// The image input read as gray: its own plane, or its luminance in scratch.
const float* grayPlane(const Image& image, std::vector<float>& scratch) {
    if (image.channels() == 1)
        return image.plane(0);
    scratch.resize(image.planeSize());
    for (int y = 0; y < image.height(); ++y)
        luminanceRow(image, y, scratch.data() + static_cast<size_t>(y) * image.width());
    return scratch.data();
}

void evaluate(const NodeRun& run, Image& out) {
    const std::array<int, 4> grid = run.integers("grid");
    const int columns = grid[0], rows = grid[1];
    const int shapeChoice = run.choice("shape");
    Shape shape;
    shape.kind = static_cast<ShapeKind>(std::min(shapeChoice, kImage - 1));
    const bool boxy =
        shapeChoice == kImage || shape.kind == ShapeKind::Square || shape.kind == ShapeKind::Pyramid;
    const std::vector<Copy> copies = placeCopies(run, columns, rows, boxy);
    shape.sides = run.integer("sides");
    shape.inner = shape.kind == ShapeKind::Ring ? 0.3f : 0.45f;
    shape.softness = run.number("softness");
    const bool add = run.choice("blending") == Add;
    std::vector<float> luminance;
    const float* image = shapeChoice == kImage ? grayPlane(run.input(0), luminance) : nullptr;
    const int width = run.width, height = run.height;

    // Copies stay within their reach of the centre, which strays at most
    // half a cell: only rows of cells within that reach can touch a row.
    float largest = 0.0f;
    for (const Copy& c : copies)
        largest = std::max(largest, c.reach);
    const int reach = static_cast<int>(std::ceil(largest * static_cast<float>(rows) + 0.5f)) + 1;
    const int first = 2 * reach + 1 >= rows ? 0 : -reach;
    const int last = 2 * reach + 1 >= rows ? rows - 1 : reach;

    run.parallel->run(height, [&](int y0, int y1) {
        const size_t span = static_cast<size_t>(width);
        std::vector<float> lx(span), ly(span), level(span);
        for (int y = y0; y < y1; ++y) {
            float* row = out.row(0, y);
            std::fill(row, row + width, 0.0f);
            const float v = pixelCentre(y, height);
            const int cellRow = std::min(static_cast<int>(v * static_cast<float>(rows)), rows - 1);
            for (int dj = first; dj <= last; ++dj) {
                const Copy* rowCopies =
                    copies.data() + static_cast<size_t>(wrapIndex(cellRow + dj, rows)) * columns;
                for (int i = 0; i < columns; ++i) {
                    const Copy& c = rowCopies[i];
                    float dv = v - c.v;
                    dv -= std::round(dv);
                    if (std::fabs(dv) >= c.reach)
                        continue;
                    // Pixels whose centres lie within the reach across, at most one turn of the row.
                    const int x0 =
                        static_cast<int>(std::ceil((c.u - c.reach) * static_cast<float>(width) - 0.5f));
                    const int x1 =
                        static_cast<int>(std::floor((c.u + c.reach) * static_cast<float>(width) - 0.5f));
                    const int count = std::min(x1 - x0 + 1, width);
                    for (int k = 0; k < count; ++k) {
                        const float du = pixelCentre(x0 + k, width) - c.u;
                        lx[static_cast<size_t>(k)] = du * c.cosine + dv * c.sine;
                        ly[static_cast<size_t>(k)] = dv * c.cosine - du * c.sine;
                    }
                    if (image) {
                        for (int k = 0; k < count; ++k) {
                            const float sx = lx[static_cast<size_t>(k)], sy = ly[static_cast<size_t>(k)];
                            level[static_cast<size_t>(k)] =
                                std::fabs(sx) < 1.0f && std::fabs(sy) < 1.0f
                                    ? sampleWrapped(image, width, height, 0.5f + 0.5f * sx, 0.5f + 0.5f * sy)
                                    : 0.0f;
                        }
                    } else {
                        shapeRow(shape, lx.data(), ly.data(), level.data(), count);
                    }
                    for (int k = 0, x = wrapIndex(x0, width); k < count;
                         ++k, x = x + 1 == width ? 0 : x + 1) {
                        const float value = c.value * level[static_cast<size_t>(k)];
                        row[x] = add ? row[x] + value : std::max(row[x], value);
                    }
                }
            }
            for (int x = 0; x < width; ++x)
                row[x] = clamp01(row[x]);
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
