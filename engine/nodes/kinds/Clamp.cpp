// clamp: limits values to a range.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

#include <algorithm>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("clamp", "Limits the colour channels to a range; alpha passes through.",
                     OutputChannels::WidestSource)
        .number("low", 0.0f, 0.0f, 1.0f, "smallest value kept")
        .number("high", 1.0f, 0.0f, 1.0f, "largest value kept")
        .source("input", "the image to limit");
}

// Limits given the wrong way round are swapped rather than collapsing to a constant.
void evaluate(const NodeRun& run, Image& out) {
    const float low = std::min(run.number("low"), run.number("high"));
    const float high = std::max(run.number("low"), run.number("high"));
    pointFilter(run, out, [=](float v) { return std::clamp(v, low, high); });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
