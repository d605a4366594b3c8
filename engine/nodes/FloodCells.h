// The image flood.fill writes and the flood.* kinds read: per pixel, the
// bounding box of the enclosed cell it belongs to, as RGBA = (centre u,
// centre v, width, height) in texture units; all 0 on the separating lines.
// Boxes of cells that cross an edge are measured across it, so a centre is
// wrapped into [0, 1) and a width is at most 1.
#pragma once

#include "engine/nodes/Image.h"
#include "engine/nodes/Random.h"

#include <cmath>
#include <cstdint>

namespace kvengine {

// Reads a cell image; any image that is not RGBA (a gray one, or an
// unconnected input) holds no cells.
class CellRows {
public:
    explicit CellRows(const Image& cells) : cells_(cells) {}

    struct Cell {
        float u, v, width, height;
        bool inside() const { return width > 0.0f && height > 0.0f; }
        // Offset from the box's centre to (pu, pv), across the wrap.
        float offsetU(float pu) const { return wrapped(pu - u); }
        float offsetV(float pv) const { return wrapped(pv - v); }
    };

    Cell at(int x, int y) const {
        if (cells_.channels() != 4)
            return {0.0f, 0.0f, 0.0f, 0.0f};
        const size_t i =
            static_cast<size_t>(y) * static_cast<size_t>(cells_.width()) + static_cast<size_t>(x);
        return {cells_.plane(0)[i], cells_.plane(1)[i], cells_.plane(2)[i], cells_.plane(3)[i]};
    }

    // A random number per cell, the same at every pixel of it: a hash of its
    // box, measured in half pixels so float noise cannot split a cell.
    uint32_t identity(const Cell& cell, uint32_t seed) const {
        const float w = static_cast<float>(cells_.width()), h = static_cast<float>(cells_.height());
        return hash3(hash3(seed, quantise(cell.u * w), quantise(cell.v * h)), quantise(cell.width * w),
                     quantise(cell.height * h));
    }

private:
    static float wrapped(float d) { return d - std::round(d); }
    static uint32_t quantise(float pixels) {
        return static_cast<uint32_t>(static_cast<int32_t>(std::lround(2.0f * pixels)));
    }

    const Image& cells_;
};

} // namespace kvengine
