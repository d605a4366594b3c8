// blur: gaussian-like blur wrapping at the edges.
#include "engine/nodes/GaussianBlur.h"
#include "engine/nodes/KindTable.h"
#include "engine/nodes/NodeKind.h"

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("blur", "Gaussian-like blur (three box passes) wrapping at the edges.",
                     OutputChannels::WidestSource)
        .length("radius", 0.01f, 0.0f, 0.5f, "reach of the blur")
        .ui(0.0f, 0.1f)
        .source("input", "the image to blur")
        .scratchImages(1);
}

void evaluate(const NodeRun& run, Image& out) {
    gaussianBlur(run.input(0), out, run.number("radius"), *run.parallel);
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
