// shape.gradient: a height profile: cone, pyramid or bell.
#include "engine/nodes/KindTable.h"
#include "engine/nodes/Shapes.h"

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("shape.gradient",
                     "A height profile, 1 at the centre falling to 0 at the edge: a cone, a pyramid (square) "
                     "or a bell (smooth top and foot), wrapping across the edges.",
                     OutputChannels::Gray)
        .position("center", {0.5f, 0.5f}, "centre of the shape")
        .length("size", 0.5f, 0.01f, 1.0f, "diameter (the pyramid's side)")
        .choice("profile", 0, {"cone", "pyramid", "bell"},
                "linear round fall, linear square fall, or a smooth round fall")
        .angle("rotation", 0.0f, "turn of the shape");
}

void evaluate(const NodeRun& run, Image& out) {
    Shape shape;
    shape.kind = static_cast<ShapeKind>(static_cast<int>(ShapeKind::Cone) + run.choice("profile"));
    generateShape(run, out, shape);
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
