#include "engine/nodes/NodeKinds.h"
#include "engine/nodes/Sampling.h"

#include <algorithm>
#include <vector>

namespace kvengine::kinds {

namespace {

// 0 below level, 1 above, with a linear ramp of the given softness centred on level.
void evaluate(const NodeRun& run, Image& out) {
    Image grey;
    const Image& in = inputOrGrey(run, 0, grey);
    const float level = run.scalar(0);
    const float softness = std::max(run.scalar(1), 1e-6f);
    const float start = level - softness * 0.5f;
    const float invSoftness = 1.0f / softness;
    run.parallel->run(run.height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            float* dst = out.row(0, y);
            luminanceRow(in, y, dst);
            for (int x = 0; x < run.width; ++x)
                dst[x] = clamp01((dst[x] - start) * invSoftness);
        }
    });
}

} // namespace

const NodeKind& threshold() {
    static const NodeKind kind{
        {"threshold",
         "Black and white cut of the gray level (luminance of a colour input); gray.",
         {{"level", 1, makeValue(0.5f), "gray level of the cut"},
          {"softness", 1, makeValue(0.0f), "width of the ramp around the cut, 0 for a hard edge"}},
         {"input"},
         false},
        alwaysGray,
        evaluate};
    return kind;
}

} // namespace kvengine::kinds
