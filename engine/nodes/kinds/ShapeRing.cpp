// shape.ring: a ring.
#include "engine/nodes/KindTable.h"
#include "engine/nodes/Shapes.h"

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("shape.ring", "A ring: 1 on the band, 0 elsewhere, wrapping across the edges.",
                     OutputChannels::Gray)
        .position("center", {0.5f, 0.5f}, "centre of the shape")
        .length("size", 0.5f, 0.01f, 1.0f, "outer diameter")
        .number("thickness", 0.25f, 0.0f, 1.0f, "width of the band as a fraction of the outer radius")
        .number("softness", 0.0f, 0.0f, 1.0f,
                "width of the fall from 1 to 0 at both edges, as a fraction of half the band");
}

void evaluate(const NodeRun& run, Image& out) {
    Shape shape;
    shape.kind = ShapeKind::Ring;
    shape.inner = run.number("thickness");
    shape.softness = run.number("softness");
    generateShape(run, out, shape);
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
