#include "engine/nodes/NodeKinds.h"
#include "engine/nodes/Sampling.h"

#include <cmath>

namespace kvengine::kinds {

namespace {

// Scales, rotates about the centre and offsets the input, sampling it with
// wrap-around; whole-number scales keep the result tileable.
void evaluate(const NodeRun& run, Image& out) {
    Image grey;
    const Image& in = inputOrGrey(run, 0, grey);
    const float offsetU = run.param(0).f[0], offsetV = run.param(0).f[1];
    const float angle = run.scalar(1) * 6.2831853f;
    const float scaleU = run.param(2).f[0], scaleV = run.param(2).f[1];
    const float cosA = std::cos(angle), sinA = std::sin(angle);
    const int width = run.width, height = run.height;

    run.parallel->run(height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            const float py = (static_cast<float>(y) + 0.5f) / static_cast<float>(height) - 0.5f - offsetV;
            for (int c = 0; c < out.channels(); ++c) {
                const float* plane = in.plane(c);
                float* dst = out.row(c, y);
                for (int x = 0; x < width; ++x) {
                    const float px =
                        (static_cast<float>(x) + 0.5f) / static_cast<float>(width) - 0.5f - offsetU;
                    // Inverse transform: rotate back, then undo the scale.
                    const float u = (cosA * px + sinA * py) * scaleU + 0.5f;
                    const float v = (-sinA * px + cosA * py) * scaleV + 0.5f;
                    dst[x] = sampleWrapped(plane, width, height, u, v);
                }
            }
        }
    });
}

} // namespace

const NodeKind& transform2d() {
    static const NodeKind kind{
        {"transform2d",
         "Offset, rotation about the centre and scale (as repetitions), wrapping at the edges.",
         {{"offset", 2, makeValue(0.0f, 0.0f), "shift in texture units"},
          {"rotation", 1, makeValue(0.0f), "angle in turns"},
          {"scale", 2, makeValue(1.0f, 1.0f), "repetitions along u and v; whole numbers keep it tileable"}},
         {"input"},
         false},
        firstInput,
        evaluate};
    return kind;
}

} // namespace kvengine::kinds
