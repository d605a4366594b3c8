// Built-in shapes drawn by the shape kinds and scattered by pattern.scatter.
// A shape is measured in units of its radius: it lies inside the unit disc
// (the square, inside [-1, 1]^2), so a caller can bound where it draws.
#pragma once

#include "engine/nodes/NodeKind.h"

#include <cstdint>

namespace kvengine {

enum class ShapeKind : uint8_t { Disc, Square, Polygon, Star, Ring, Cone, Pyramid, Bell };

struct Shape {
    ShapeKind kind = ShapeKind::Disc;
    int sides = 6;         // Polygon: sides; Star: points
    float inner = 0.5f;    // Star: inner radius; Ring: thickness (both fractions of the radius)
    float softness = 0.0f; // width of the edge's fall from 1 to 0, inward, as a fraction of the radius
};

// out[i] = the shape's level at (x[i], y[i]), 0 to 1: 1 inside the solid
// shapes, falling over the softness to 0 at their edge; the profile of the
// Cone, Pyramid and Bell, which ignore the softness.
void shapeRow(const Shape& shape, const float* x, const float* y, float* out, int n);

// Fills the gray output with one shape placed by the kind's "center" and
// "size" (diameter) and, when the table has one, "rotation"; measured across
// the texture's wrap so that it tiles.
void generateShape(const NodeRun& run, Image& out, const Shape& shape);

} // namespace kvengine
