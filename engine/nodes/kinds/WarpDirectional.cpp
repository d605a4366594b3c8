#include "engine/nodes/NodeKinds.h"
#include "engine/nodes/Sampling.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kvengine::kinds {

namespace {

// Each pixel reads the input displaced along `angle` by intensity times the
// gray level of the intensity map, in texture units, wrapping.
void evaluate(const NodeRun& run, Image& out) {
    Image grey;
    const Image& in = inputOrGrey(run, 0, grey);
    const Image* map = run.inputs.size() > 1 ? run.inputs[1] : nullptr;
    const float intensity = run.scalar(0);
    const float angle = run.scalar(1) * 6.2831853f;
    const float dirU = std::cos(angle) * intensity;
    const float dirV = std::sin(angle) * intensity;
    const int width = run.width, height = run.height;

    run.parallel->run(height, [&](int y0, int y1) {
        std::vector<float> amount(static_cast<size_t>(width), 0.0f);
        for (int y = y0; y < y1; ++y) {
            if (map)
                luminanceRow(*map, y, amount.data());
            const float v = (static_cast<float>(y) + 0.5f) / static_cast<float>(height);
            for (int c = 0; c < out.channels(); ++c) {
                const float* plane = in.plane(c);
                float* dst = out.row(c, y);
                for (int x = 0; x < width; ++x) {
                    const float u = (static_cast<float>(x) + 0.5f) / static_cast<float>(width);
                    dst[x] = sampleWrapped(plane, width, height, u - dirU * amount[x], v - dirV * amount[x]);
                }
            }
        }
    });
}

} // namespace

const NodeKind& warpDirectional() {
    static const NodeKind kind{
        {"warp.directional",
         "Displaces the input along one direction by the gray level of an intensity map.",
         {{"intensity", 1, makeValue(0.1f), "displacement at level 1, as a fraction of the texture side"},
          {"angle", 1, makeValue(0.0f), "direction in turns, 0 along +u"}},
         {"input", "intensity"},
         false},
        firstInput,
        evaluate};
    return kind;
}

} // namespace kvengine::kinds
