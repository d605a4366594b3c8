// noise.cell_edges: true distance to the borders of cellular noise, so a
// threshold draws cracks of one even width.
#include "engine/nodes/FeaturePoints.h"
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"
#include "engine/nodes/LatticeNoise.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("noise.cell_edges",
                     "Tileable distance from each pixel to the nearest border between cellular-noise cells: "
                     "0 on the borders, rising evenly into each cell (unlike f2 - f1, whose borders vary "
                     "in width).",
                     OutputChannels::Gray)
        .integer("scale", 8, 1, 512, "cells per side")
        .ui(1, 64)
        .number("jitter", 1.0f, 0.0f, 1.0f, "how far feature points stray from the cell centre")
        .number("falloff", 0.5f, 0.01f, 2.0f,
                "distance from the border, in cells, at which the output reaches 1")
        .seed();
}

constexpr int kReach = 2; // points within two cells of the pixel's cell
constexpr int kSide = 2 * kReach + 1;
constexpr int kCount = kSide * kSide;

// Two passes per pixel: the nearest feature point, then the distance to the
// nearest bisector between it and any other point; that is the distance to
// the cell's border, measured straight, so it rises at the same rate
// everywhere.
float edgeDistance(const std::array<float, kCount>& px, const std::array<float, kCount>& py, float x,
                   float y) {
    int nearest = 0;
    float best = 1e30f;
    for (int k = 0; k < kCount; ++k) {
        const float dx = px[k] - x, dy = py[k] - y;
        const float d = dx * dx + dy * dy;
        if (d < best) {
            best = d;
            nearest = k;
        }
    }
    const float mx = px[nearest], my = py[nearest];
    float edge = 1e30f;
    for (int k = 0; k < kCount; ++k) {
        if (k == nearest)
            continue;
        const float ax = px[k] - mx, ay = py[k] - my;
        const float midX = 0.5f * (px[k] + mx) - x, midY = 0.5f * (py[k] + my) - y;
        const float length2 = ax * ax + ay * ay;
        if (length2 > 0.0f)
            edge = std::min(edge, (ax * midX + ay * midY) / std::sqrt(length2));
    }
    return edge;
}

void evaluate(const NodeRun& run, Image& out) {
    const int cells = run.integer("scale");
    const FeaturePoints points(cells, run.number("jitter"), run.seed());
    const float scale = 1.0f / run.number("falloff");
    const float toCellsX = static_cast<float>(cells) / static_cast<float>(run.width);
    const float toCellsY = static_cast<float>(cells) / static_cast<float>(run.height);

    generateRows(run, out, [&](int y, float* row) {
        const float py = (static_cast<float>(y) + 0.5f) * toCellsY;
        const int cy = std::min(static_cast<int>(py), cells - 1);
        std::array<float, kCount> fx{}, fy{};
        CellColumns columns(run.width, cells);
        int x = 0;
        for (int cx = 0; cx < cells && x < run.width; ++cx, columns.next()) {
            const int end = std::clamp(columns.end(), x, run.width);
            for (int dy = -kReach, k = 0; dy <= kReach; ++dy)
                for (int dx = -kReach; dx <= kReach; ++dx, ++k) {
                    const size_t p = points.index(cx + dx, cy + dy);
                    fx[static_cast<size_t>(k)] = static_cast<float>(cx + dx) + points.x[p];
                    fy[static_cast<size_t>(k)] = static_cast<float>(cy + dy) + points.y[p];
                }
            for (int i = x; i < end; ++i)
                row[i] = clamp01(scale * edgeDistance(fx, fy, (static_cast<float>(i) + 0.5f) * toCellsX, py));
            x = end;
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
