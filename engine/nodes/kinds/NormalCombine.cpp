// normal.combine: lays a detail normal map over a base one.
#include "engine/nodes/KindTable.h"
#include "engine/nodes/NodeKind.h"

#include <cmath>

namespace kvengine {

namespace {

enum Mode { Reoriented, Whiteout };

struct Normal {
    float x, y, z;
};

NodeKindInfo table() {
    return KindTable("normal.combine",
                     "Combines a detail normal map with a base one (both tangent space, +Y up): "
                     "reoriented bends the detail along the base surface, whiteout adds the slopes. "
                     "A flat detail leaves the base unchanged.",
                     OutputChannels::Colour)
        .choice("mode", Reoriented, {"reoriented", "whiteout"}, "how the two combine")
        .number("strength", 1.0f, 0.0f, 4.0f, "scales the detail's slopes")
        .colourMap("base", "the base normal map")
        .colourMap("detail", "the normal map laid over it");
}

Normal normalised(Normal n) {
    const float length = std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z);
    if (!(length > 1e-6f))
        return {0.0f, 0.0f, 1.0f}; // a zero vector (such as an unconnected input) reads as flat
    return {n.x / length, n.y / length, n.z / length};
}

// Reoriented: the detail rotated by the rotation that takes +Z to the base.
Normal reoriented(Normal b, Normal d) {
    const Normal t{b.x, b.y, b.z + 1.0f};
    const Normal u{-d.x, -d.y, d.z};
    const float k = (t.x * u.x + t.y * u.y + t.z * u.z) / t.z;
    return normalised({t.x * k - u.x, t.y * k - u.y, t.z * k - u.z});
}

Normal whiteout(Normal b, Normal d) {
    return normalised({b.x + d.x, b.y + d.y, b.z * d.z});
}

void evaluate(const NodeRun& run, Image& out) {
    const Image& base = run.input(0);
    const Image& detail = run.input(1);
    const bool whiteoutMode = run.choice("mode") == Whiteout;
    const float strength = run.number("strength");
    const int width = run.width;
    run.parallel->run(run.height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            const size_t offset = static_cast<size_t>(y) * width;
            const float *bx = base.colourPlane(0) + offset, *by = base.colourPlane(1) + offset,
                        *bz = base.colourPlane(2) + offset;
            const float *dx = detail.colourPlane(0) + offset, *dy = detail.colourPlane(1) + offset,
                        *dz = detail.colourPlane(2) + offset;
            float *ox = out.row(0, y), *oy = out.row(1, y), *oz = out.row(2, y);
            for (int x = 0; x < width; ++x) {
                // Base and detail lean back towards +Z where they point below the surface.
                const Normal b = normalised({2 * bx[x] - 1, 2 * by[x] - 1, std::fabs(2 * bz[x] - 1)});
                Normal d = normalised({2 * dx[x] - 1, 2 * dy[x] - 1, std::fabs(2 * dz[x] - 1)});
                d = normalised({d.x * strength, d.y * strength, d.z});
                const Normal n = whiteoutMode ? whiteout(b, d) : reoriented(b, d);
                ox[x] = 0.5f + 0.5f * n.x;
                oy[x] = 0.5f + 0.5f * n.y;
                oz[x] = 0.5f + 0.5f * n.z;
            }
            std::fill(out.row(3, y), out.row(3, y) + width, 1.0f);
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
