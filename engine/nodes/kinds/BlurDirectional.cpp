// blur.directional: a straight motion blur along one direction.
#include "engine/nodes/KindTable.h"
#include "engine/nodes/LineBlur.h"
#include "engine/nodes/NodeKind.h"

#include <algorithm>
#include <cmath>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("blur.directional", "Motion blur along one direction, centred on each pixel, wrapping.",
                     OutputChannels::WidestSource)
        .length("length", 0.02f, 0.0f, 0.5f, "length of the streak")
        .ui(0.0f, 0.1f)
        .angle("angle", 0.0f, "direction, 0 along +u")
        .source("input", "the image to blur")
        .scratchImages(1);
}

void evaluate(const NodeRun& run, Image& out) {
    const float length = run.number("length");
    const float angle = run.number("angle") * 6.2831853f;
    const float du = std::cos(angle) * length, dv = std::sin(angle) * length;
    LineBlurShape shape;
    shape.maxLength = length;
    lineBlur(
        run.input(0), out, shape,
        [&](int, float* u, float* v) {
            std::fill(u, u + run.width, du);
            std::fill(v, v + run.width, dv);
        },
        *run.parallel);
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
