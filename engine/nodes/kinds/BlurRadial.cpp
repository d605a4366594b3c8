// blur.radial: spin or zoom blur around a centre.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"
#include "engine/nodes/LineBlur.h"

#include <cmath>

namespace kvengine {

namespace {

enum Mode { Spin, Zoom };

constexpr float kTwoPi = 6.2831853f;
// The farthest a point lies from the centre in the tileable measure below.
const float kMaxReach = std::sqrt(2.0f) / kTwoPi;

NodeKindInfo table() {
    return KindTable("blur.radial",
                     "Spin (along circles) or zoom (along rays) blur around a centre. On a tiling texture "
                     "the offset from the centre is measured as sin(2 pi d) / 2 pi per axis, so the blur "
                     "fades out halfway round and the result still tiles.",
                     OutputChannels::WidestSource)
        .choice("mode", Spin, {"spin", "zoom"}, "blur along circles or along rays")
        .number("amount", 0.05f, 0.0f, 1.0f, "spin: arc in turns; zoom: streak as a fraction of the distance")
        .ui(0.0f, 0.25f)
        .position("center", {0.5f, 0.5f}, "centre of the blur")
        .source("input", "the image to blur")
        .scratchImages(1);
}

void evaluate(const NodeRun& run, Image& out) {
    const bool spin = run.choice("mode") == Spin;
    const float amount = run.number("amount");
    const std::array<float, 4> centre = run.vector("center");
    // An arc of `amount` turns at reach r is 2 pi r amount long.
    const float scale = spin ? amount * kTwoPi : amount;
    LineBlurShape shape;
    shape.maxLength = scale * kMaxReach;
    lineBlur(
        run.input(0), out, shape,
        [&](int y, float* du, float* dv) {
            const float ry = std::sin(kTwoPi * (pixelCentre(y, run.height) - centre[1])) / kTwoPi;
            for (int x = 0; x < run.width; ++x) {
                const float rx = std::sin(kTwoPi * (pixelCentre(x, run.width) - centre[0])) / kTwoPi;
                du[x] = (spin ? -ry : rx) * scale;
                dv[x] = (spin ? rx : ry) * scale;
            }
        },
        *run.parallel);
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
