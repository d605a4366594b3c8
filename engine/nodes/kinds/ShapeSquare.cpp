// shape.square: a square.
#include "engine/nodes/KindTable.h"
#include "engine/nodes/Shapes.h"

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("shape.square", "A square: 1 inside, 0 outside, wrapping across the edges.",
                     OutputChannels::Gray)
        .position("center", {0.5f, 0.5f}, "centre of the shape")
        .length("size", 0.5f, 0.01f, 1.0f, "side")
        .number("softness", 0.0f, 0.0f, 1.0f,
                "width of the fall from 1 to 0 at the edge, as a fraction of the radius")
        .angle("rotation", 0.0f, "turn of the shape");
}

void evaluate(const NodeRun& run, Image& out) {
    Shape shape;
    shape.kind = ShapeKind::Square;
    shape.softness = run.number("softness");
    generateShape(run, out, shape);
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
