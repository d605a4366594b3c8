// color.uniform: one colour over the whole texture.
#include "engine/nodes/KindTable.h"
#include "engine/nodes/NodeKind.h"

#include <algorithm>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("color.uniform", "One colour over the whole texture.", OutputChannels::Colour)
        .colour("color", {0.5f, 0.5f, 0.5f, 1.0f}, "the colour, with alpha");
}

void evaluate(const NodeRun& run, Image& out) {
    const std::array<float, 4> colour = run.vector("color");
    run.parallel->run(run.height, [&](int y0, int y1) {
        for (int c = 0; c < 4; ++c)
            for (int y = y0; y < y1; ++y)
                std::fill(out.row(c, y), out.row(c, y) + run.width, colour[static_cast<size_t>(c)]);
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
