// curve: a smooth tone curve through up to four points.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace kvengine {

namespace {

constexpr int kMaxPoints = 4;
constexpr int kTableSize = 1024; // the curve is tabulated, then read linearly

NodeKindInfo table() {
    return KindTable("curve",
                     "Tone curve: a smooth monotone spline through up to four points (input, output), "
                     "flat beyond the first and last; on the colour channels, alpha passes through.",
                     OutputChannels::WidestSource)
        .integer("points", 3, 2, kMaxPoints, "how many of the points below the curve passes through")
        .vector("inputs", {0.0f, 0.5f, 1.0f, 1.0f}, 0.0f, 1.0f, "input level of each point")
        .vector("outputs", {0.0f, 0.5f, 1.0f, 1.0f}, 0.0f, 1.0f, "output level of each point")
        .source("input", "the image to remap");
}

struct Point {
    float x, y;
};

// The points sorted by input; of points closer than a table step the last given wins.
std::vector<Point> sortedPoints(const NodeRun& run) {
    const std::array<float, 4> xs = run.vector("inputs"), ys = run.vector("outputs");
    std::vector<Point> given;
    for (int i = 0; i < run.integer("points"); ++i)
        given.push_back({xs[static_cast<size_t>(i)], ys[static_cast<size_t>(i)]});
    std::stable_sort(given.begin(), given.end(), [](Point a, Point b) { return a.x < b.x; });
    std::vector<Point> points;
    for (const Point& p : given) {
        if (!points.empty() && p.x - points.back().x < 1.0f / kTableSize)
            points.back() = p;
        else
            points.push_back(p);
    }
    return points;
}

// Fritsch-Carlson tangents: a cubic Hermite spline that never overshoots
// between points, so a rising curve stays rising.
std::vector<float> tangents(const std::vector<Point>& p) {
    const size_t n = p.size();
    std::vector<float> slope(n - 1), m(n);
    for (size_t i = 0; i + 1 < n; ++i)
        slope[i] = (p[i + 1].y - p[i].y) / (p[i + 1].x - p[i].x);
    m[0] = slope[0];
    m[n - 1] = slope[n - 2];
    for (size_t i = 1; i + 1 < n; ++i)
        m[i] = slope[i - 1] * slope[i] <= 0.0f ? 0.0f : 0.5f * (slope[i - 1] + slope[i]);
    for (size_t i = 0; i + 1 < n; ++i) {
        if (slope[i] == 0.0f) {
            m[i] = m[i + 1] = 0.0f;
            continue;
        }
        const float a = m[i] / slope[i], b = m[i + 1] / slope[i];
        const float r = a * a + b * b;
        if (r > 9.0f) {
            const float t = 3.0f / std::sqrt(r);
            m[i] = t * a * slope[i];
            m[i + 1] = t * b * slope[i];
        }
    }
    return m;
}

std::vector<float> tabulate(const std::vector<Point>& p) {
    std::vector<float> values(kTableSize + 1);
    if (p.size() == 1) {
        std::fill(values.begin(), values.end(), p[0].y);
        return values;
    }
    const std::vector<float> m = tangents(p);
    size_t segment = 0;
    for (int i = 0; i <= kTableSize; ++i) {
        const float x = static_cast<float>(i) / kTableSize;
        if (x <= p.front().x || x >= p.back().x) {
            values[static_cast<size_t>(i)] = x <= p.front().x ? p.front().y : p.back().y;
            continue;
        }
        while (x > p[segment + 1].x)
            ++segment;
        const float h = p[segment + 1].x - p[segment].x;
        const float t = (x - p[segment].x) / h;
        const float t2 = t * t, t3 = t2 * t;
        values[static_cast<size_t>(i)] =
            clamp01((2 * t3 - 3 * t2 + 1) * p[segment].y + (t3 - 2 * t2 + t) * h * m[segment] +
                    (-2 * t3 + 3 * t2) * p[segment + 1].y + (t3 - t2) * h * m[segment + 1]);
    }
    return values;
}

void evaluate(const NodeRun& run, Image& out) {
    const std::vector<float> values = tabulate(sortedPoints(run));
    pointFilter(run, out, [&](float v) {
        // Written so that NaN reads as 0 rather than as an index.
        const float at = (v > 0.0f ? std::min(v, 1.0f) : 0.0f) * kTableSize;
        const int i = std::min(static_cast<int>(at), kTableSize - 1);
        const float t = at - static_cast<float>(i);
        return values[static_cast<size_t>(i)] +
               (values[static_cast<size_t>(i) + 1] - values[static_cast<size_t>(i)]) * t;
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
