// invert: 1 - value.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("invert", "1 - value on the colour channels; alpha passes through.",
                     OutputChannels::WidestSource)
        .source("input", "the image to invert");
}

void evaluate(const NodeRun& run, Image& out) {
    pointFilter(run, out, [](float v) { return 1.0f - v; });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
