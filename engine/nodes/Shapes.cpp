#include "engine/nodes/Shapes.h"

#include "engine/nodes/KernelShapes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace kvengine {

namespace {

constexpr float kPi = 3.14159265f;

// Signed distances (negative inside) turned into levels; the loop per shape
// keeps the switch out of the pixel loop.
template <typename Distance>
void solidRow(float softness, const float* x, const float* y, float* out, int n, Distance&& distance) {
    if (softness > 0.0f) {
        const float scale = 1.0f / softness;
        for (int i = 0; i < n; ++i)
            out[i] = clamp01(-distance(x[i], y[i]) * scale);
    } else {
        for (int i = 0; i < n; ++i)
            out[i] = distance(x[i], y[i]) < 0.0f ? 1.0f : 0.0f;
    }
}

template <typename Profile>
void profileRow(const float* x, const float* y, float* out, int n, Profile&& profile) {
    for (int i = 0; i < n; ++i)
        out[i] = profile(x[i], y[i]);
}

// The angle folded into one of n equal sectors, centred on 0.
inline float sectorAngle(float x, float y, float sector) {
    const float a = std::atan2(y, x);
    return a - sector * std::round(a / sector);
}

} // namespace

void shapeRow(const Shape& shape, const float* x, const float* y, float* out, int n) {
    const float soft = shape.softness;
    switch (shape.kind) {
    case ShapeKind::Disc:
        solidRow(soft, x, y, out, n, [](float px, float py) { return std::sqrt(px * px + py * py) - 1.0f; });
        break;
    case ShapeKind::Square:
        solidRow(soft, x, y, out, n,
                 [](float px, float py) { return std::max(std::fabs(px), std::fabs(py)) - 1.0f; });
        break;
    case ShapeKind::Polygon: {
        // Corners on the unit circle; the distance is measured along the apothem.
        const float sector = 2.0f * kPi / static_cast<float>(shape.sides);
        const float apothem = std::cos(0.5f * sector);
        solidRow(soft, x, y, out, n, [&](float px, float py) {
            return (std::sqrt(px * px + py * py) * std::cos(sectorAngle(px, py, sector)) - apothem) / apothem;
        });
        break;
    }
    case ShapeKind::Star: {
        // Folded into half a point, the edge runs from the tip (1, 0) to the
        // inner corner; the distance is to that edge's line.
        const float sector = 2.0f * kPi / static_cast<float>(shape.sides);
        const float bx = shape.inner * std::cos(0.5f * sector), by = shape.inner * std::sin(0.5f * sector);
        const float ex = bx - 1.0f, ey = by, invLength = 1.0f / std::sqrt(ex * ex + ey * ey);
        solidRow(soft, x, y, out, n, [&](float px, float py) {
            const float r = std::sqrt(px * px + py * py);
            const float a = std::fabs(sectorAngle(px, py, sector));
            const float qx = r * std::cos(a) - 1.0f, qy = r * std::sin(a);
            return (qx * ey - qy * ex) * invLength;
        });
        break;
    }
    case ShapeKind::Ring: {
        const float half = 0.5f * shape.inner, middle = 1.0f - half;
        solidRow(soft, x, y, out, n, [&](float px, float py) {
            return (std::fabs(std::sqrt(px * px + py * py) - middle) - half) / std::max(half, 1e-3f);
        });
        break;
    }
    case ShapeKind::Cone:
        profileRow(x, y, out, n,
                   [](float px, float py) { return clamp01(1.0f - std::sqrt(px * px + py * py)); });
        break;
    case ShapeKind::Pyramid:
        profileRow(x, y, out, n,
                   [](float px, float py) { return clamp01(1.0f - std::max(std::fabs(px), std::fabs(py))); });
        break;
    case ShapeKind::Bell:
        profileRow(x, y, out, n, [](float px, float py) {
            const float r = std::min(std::sqrt(px * px + py * py), 1.0f);
            return 0.5f + 0.5f * std::cos(kPi * r);
        });
        break;
    }
}

void generateShape(const NodeRun& run, Image& out, const Shape& shape) {
    const std::array<float, 4> centre = run.vector("center");
    const float rotation = findParam(*run.kind, "rotation") >= 0 ? run.number("rotation") : 0.0f;
    const float angle = 2.0f * kPi * rotation;
    const float invRadius = 2.0f / run.number("size");
    const float c = std::cos(angle) * invRadius, s = std::sin(angle) * invRadius;
    run.parallel->run(run.height, [&](int y0, int y1) {
        std::vector<float> du(static_cast<size_t>(run.width)), lx(du.size()), ly(du.size());
        for (int x = 0; x < run.width; ++x) {
            const float d = pixelCentre(x, run.width) - centre[0];
            du[static_cast<size_t>(x)] = d - std::round(d);
        }
        for (int y = y0; y < y1; ++y) {
            float dv = pixelCentre(y, run.height) - centre[1];
            dv -= std::round(dv);
            for (size_t x = 0; x < du.size(); ++x) {
                lx[x] = du[x] * c + dv * s;
                ly[x] = dv * c - du[x] * s;
            }
            shapeRow(shape, lx.data(), ly.data(), out.row(0, y), run.width);
        }
    });
}

} // namespace kvengine
