#include "engine/nodes/NodeKinds.h"

#include <algorithm>

namespace kvengine::kinds {

namespace {

void evaluate(const NodeRun& run, Image& out) {
    const Value4& colour = run.param(0);
    run.parallel->run(run.height, [&](int y0, int y1) {
        for (int c = 0; c < 4; ++c)
            for (int y = y0; y < y1; ++y)
                std::fill(out.row(c, y), out.row(c, y) + run.width, colour.f[c]);
    });
}

} // namespace

const NodeKind& colorUniform() {
    static const NodeKind kind{{"color.uniform",
                                "One colour over the whole texture.",
                                {{"color", 4, makeValue(0.5f, 0.5f, 0.5f, 1.0f), "RGBA colour"}},
                                {},
                                false},
                               alwaysColour,
                               evaluate};
    return kind;
}

} // namespace kvengine::kinds
