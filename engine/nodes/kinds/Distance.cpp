// distance: grows or shrinks a mask by a distance, or ramps away from its edge.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kvengine {

namespace {

enum Mode { Mask, Falloff };

constexpr float kFar = 1e30f; // squared distance of a pixel with nothing to measure to

NodeKindInfo table() {
    return KindTable("distance",
                     "Grows (positive distance) or shrinks (negative) the mask where the input reaches a "
                     "level, by exact euclidean distance measured across the texture's edges; or, as a "
                     "falloff, ramps from the edge out to (or in to) that distance.",
                     OutputChannels::Gray)
        .length("distance", 0.02f, -0.5f, 0.5f, "how far the mask grows, or shrinks when negative")
        .ui(-0.1f, 0.1f)
        .choice(
            "mode", Mask, {"mask", "falloff"},
            "mask: the grown or shrunk mask with a one-pixel soft edge; falloff: 1 on the mask "
            "fading to 0 at the distance outside it (or 0 at the edge rising to 1 at the distance inside)")
        .number("level", 0.5f, 0.0f, 1.0f, "gray level from which the input counts as inside the mask")
        .map("input", 0.0f, "the mask")
        .scratchImages(1);
}

// One line of the squared distance transform (Felzenszwalb and Huttenlocher):
// out[p] = min over q of f[q] + (step * (p - q))^2, over the line repeated
// three times so that the nearest point may lie across the wrap.
void distanceLine(const float* f, float* out, int n, float step, std::vector<int>& at,
                  std::vector<double>& from) {
    const int m = 3 * n;
    at.resize(static_cast<size_t>(m));
    from.resize(static_cast<size_t>(m) + 1);
    const double step2 = double(step) * step;
    auto value = [&](int q) { return f[wrapIndex(q, n)]; };
    // Where the parabolas of q and r (q < r) cross, in pixels; in double, as q * q reaches 10^8.
    auto crossing = [&](int q, int r) {
        return ((value(r) + step2 * double(r) * r) - (value(q) + step2 * double(q) * q)) /
               (2.0 * step2 * (r - q));
    };
    int k = -1;
    for (int q = -n; q < 2 * n; ++q) {
        if (value(q) >= kFar)
            continue;
        double s = -INFINITY;
        while (k >= 0 && (s = crossing(at[static_cast<size_t>(k)], q)) <= from[static_cast<size_t>(k)])
            --k;
        ++k;
        at[static_cast<size_t>(k)] = q;
        from[static_cast<size_t>(k)] = k == 0 ? -INFINITY : s;
        from[static_cast<size_t>(k) + 1] = INFINITY;
    }
    if (k < 0) {
        std::fill(out, out + n, kFar);
        return;
    }
    int j = 0;
    for (int p = 0; p < n; ++p) {
        while (from[static_cast<size_t>(j) + 1] < p)
            ++j;
        const float d = step * float(p - at[static_cast<size_t>(j)]);
        out[p] = value(at[static_cast<size_t>(j)]) + d * d;
    }
}

// Squared distance, in pixels along u, from each pixel to the nearest pixel
// where seed is true, on the torus. Columns first, then rows.
void squaredDistances(const NodeRun& run, const std::vector<char>& seed, Image& out) {
    const int width = run.width, height = run.height;
    const float stepV = static_cast<float>(width) / static_cast<float>(height);
    run.parallel->run(width, [&](int x0, int x1) {
        std::vector<float> column(static_cast<size_t>(height)), result(column.size());
        std::vector<double> from;
        std::vector<int> at;
        for (int x = x0; x < x1; ++x) {
            for (int y = 0; y < height; ++y)
                column[static_cast<size_t>(y)] = seed[static_cast<size_t>(y) * width + x] ? 0.0f : kFar;
            distanceLine(column.data(), result.data(), height, stepV, at, from);
            for (int y = 0; y < height; ++y)
                out.row(0, y)[x] = result[static_cast<size_t>(y)];
        }
    });
    run.parallel->run(height, [&](int y0, int y1) {
        std::vector<float> row(static_cast<size_t>(width));
        std::vector<double> from;
        std::vector<int> at;
        for (int y = y0; y < y1; ++y) {
            std::copy_n(out.row(0, y), width, row.begin());
            distanceLine(row.data(), out.row(0, y), width, 1.0f, at, from);
        }
    });
}

// The distance is measured between pixel centres; a pixel's edge lies half a
// pixel from its centre, so a mask grown by d pixels covers centres up to
// d + 0.5 from the nearest masked pixel's edge, with a one-pixel ramp.
void evaluate(const NodeRun& run, Image& out) {
    const int width = run.width, height = run.height;
    const float reach = run.number("distance") * static_cast<float>(width);
    const bool grow = reach >= 0.0f;
    const bool falloff = run.choice("mode") == Falloff;
    const float level = run.number("level");
    std::vector<char> inside(static_cast<size_t>(width) * height);
    run.parallel->run(height, [&](int y0, int y1) {
        std::vector<float> row(static_cast<size_t>(width));
        for (int y = y0; y < y1; ++y) {
            luminanceRow(run.input(0), y, row.data());
            for (int x = 0; x < width; ++x)
                inside[static_cast<size_t>(y) * width + x] = row[static_cast<size_t>(x)] >= level;
        }
    });
    // Growing measures from the mask outwards, shrinking from the outside inwards.
    std::vector<char> seed(inside);
    if (!grow)
        for (char& s : seed)
            s = !s;
    squaredDistances(run, seed, out);

    const float d = std::fabs(reach);
    generateRows(run, out, [&](int, float* row) {
        for (int x = 0; x < width; ++x) {
            const float dist = row[x] >= kFar ? kFar : std::sqrt(row[x]);
            const float edge = dist - 0.5f; // to the edge of the nearest seed pixel
            float v;
            if (falloff)
                v = d > 0.0f ? clamp01(1.0f - edge / d) : (dist == 0.0f ? 1.0f : 0.0f);
            else
                v = clamp01(d + 1.0f - dist);
            row[x] = grow ? v : 1.0f - v;
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
