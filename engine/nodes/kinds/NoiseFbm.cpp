// noise.fbm: tileable gradient noise summed over octaves.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"
#include "engine/nodes/Random.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("noise.fbm",
                     "Tileable gradient noise summed over octaves of doubling frequency, centred on 0.5.",
                     OutputChannels::Gray)
        .integer("scale", 4, 1, 1024, "cells per side of the coarsest octave")
        .ui(1, 64)
        .integer("octaves", 6, 1, 12, "number of octaves")
        .number("persistence", 0.5f, 0.0f, 1.0f, "amplitude ratio from one octave to the next")
        .seed();
}

struct GradientTable {
    std::array<float, 256> x{};
    std::array<float, 256> y{};
    GradientTable() {
        for (int i = 0; i < 256; ++i) {
            const double angle = 6.283185307179586 * (i + 0.5) / 256.0;
            x[static_cast<size_t>(i)] = static_cast<float>(std::cos(angle));
            y[static_cast<size_t>(i)] = static_cast<float>(std::sin(angle));
        }
    }
};

const GradientTable& gradients() {
    static const GradientTable table;
    return table;
}

inline float fade(float t) {
    return t * t * t * (t * (t * 6.0f - 15.0f) + 10.0f);
}

// Adds amplitude * gradient noise of the given lattice period (cells per
// side, wrapping so the texture tiles) to one row. The lattice gradients are
// looked up once per cell; the inner loop over the cell's pixels is plain
// arithmetic that the compiler vectorises.
void addOctaveRow(float* acc, int width, float v, int period, uint32_t seed, float amplitude) {
    const GradientTable& table = gradients();
    const float py = v * static_cast<float>(period);
    const int cy = std::min(static_cast<int>(py), period - 1);
    const float fy = py - static_cast<float>(cy);
    const float sy = fade(fy);
    const uint32_t y0 = static_cast<uint32_t>(cy);
    const uint32_t y1 = static_cast<uint32_t>(cy + 1 == period ? 0 : cy + 1);
    const float cellsPerPixel = static_cast<float>(period) / static_cast<float>(width);

    int x = 0;
    for (int cx = 0; cx < period && x < width; ++cx) {
        // Pixels whose centre lies in cell cx.
        int end = static_cast<int>(std::ceil((static_cast<double>(cx) + 1.0) * width / period - 0.5));
        end = std::clamp(end, x, width);
        if (end == x)
            continue;
        const uint32_t x0 = static_cast<uint32_t>(cx);
        const uint32_t x1 = static_cast<uint32_t>(cx + 1 == period ? 0 : cx + 1);
        const size_t h00 = hash3(seed, x0, y0) & 255u, h10 = hash3(seed, x1, y0) & 255u;
        const size_t h01 = hash3(seed, x0, y1) & 255u, h11 = hash3(seed, x1, y1) & 255u;
        const float g00x = table.x[h00], g00y = table.y[h00], g10x = table.x[h10], g10y = table.y[h10];
        const float g01x = table.x[h01], g01y = table.y[h01], g11x = table.x[h11], g11y = table.y[h11];
        const float top0 = g00y * fy, top1 = g10y * fy;
        const float bottom0 = g01y * (fy - 1.0f), bottom1 = g11y * (fy - 1.0f);
        for (int i = x; i < end; ++i) {
            const float fx = (static_cast<float>(i) + 0.5f) * cellsPerPixel - static_cast<float>(cx);
            const float sx = fade(fx);
            const float n00 = g00x * fx + top0;
            const float n10 = g10x * (fx - 1.0f) + top1;
            const float n01 = g01x * fx + bottom0;
            const float n11 = g11x * (fx - 1.0f) + bottom1;
            const float top = n00 + (n10 - n00) * sx;
            const float bottom = n01 + (n11 - n01) * sx;
            acc[i] += amplitude * (top + (bottom - top) * sy);
        }
        x = end;
    }
}

void evaluate(const NodeRun& run, Image& out) {
    const int scale = run.integer("scale");
    const int octaves = run.integer("octaves");
    const float persistence = run.number("persistence");
    const uint32_t seed = run.seed();

    // Normalise over every requested octave, also those too fine to show at
    // this size, so that all resolutions share one contrast.
    float amplitudeSum = 0.0f;
    for (int o = 0; o < octaves; ++o)
        amplitudeSum += std::pow(persistence, static_cast<float>(o));
    const float gain = 1.0f / amplitudeSum;
    const int finest = std::max(run.width, run.height);

    generateRows(run, out, [&](int y, float* row) {
        std::fill(row, row + run.width, 0.0f);
        const float v = pixelCentre(y, run.height);
        float amplitude = 1.0f;
        for (int o = 0, period = scale; o < octaves && period <= finest; ++o, period *= 2) {
            addOctaveRow(row, run.width, v, period, hash2(seed, static_cast<uint32_t>(o)), amplitude);
            amplitude *= persistence;
        }
        for (int x = 0; x < run.width; ++x)
            row[x] = clamp01(0.5f + row[x] * gain);
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
