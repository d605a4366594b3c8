// shape.star: a star.
#include "engine/nodes/KindTable.h"
#include "engine/nodes/Shapes.h"

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("shape.star",
                     "A star with its tips on a circle: 1 inside, 0 outside, wrapping across the edges.",
                     OutputChannels::Gray)
        .position("center", {0.5f, 0.5f}, "centre of the shape")
        .length("size", 0.5f, 0.01f, 1.0f, "diameter of the circle through the tips")
        .integer("points", 5, 2, 64, "number of tips")
        .ui(3, 16)
        .number("inner", 0.4f, 0.05f, 1.0f, "radius of the inner corners as a fraction of the tips' radius")
        .number("softness", 0.0f, 0.0f, 1.0f,
                "width of the fall from 1 to 0 at the edge, as a fraction of the radius")
        .angle("rotation", 0.0f, "turn of the shape");
}

void evaluate(const NodeRun& run, Image& out) {
    Shape shape;
    shape.kind = ShapeKind::Star;
    shape.sides = run.integer("points");
    shape.inner = run.number("inner");
    shape.softness = run.number("softness");
    generateShape(run, out, shape);
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
