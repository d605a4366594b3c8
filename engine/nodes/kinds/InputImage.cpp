// input.image: the image graph input the node names.
#include "engine/nodes/KindTable.h"
#include "engine/nodes/NodeKind.h"
#include "engine/nodes/Sampling.h"

#include <algorithm>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("input.image",
                     "Reads the image graph input named by the node; an unset "
                     "input reads as opaque mid grey (0.5, 0.5, 0.5, 1).",
                     OutputChannels::GraphImage);
}

// The pushed image, resampled (bilinear, wrapping) when its size differs
// from the render's. Unset, it reads as opaque mid grey.
void evaluate(const NodeRun& run, Image& out) {
    const Image* image = run.graphImage;
    const int width = run.width, height = run.height;
    run.parallel->run(height, [&](int y0, int y1) {
        for (int c = 0; c < out.channels(); ++c)
            for (int y = y0; y < y1; ++y) {
                float* dst = out.row(c, y);
                if (!image) {
                    std::fill(dst, dst + width, 0.5f);
                } else if (image->width() == width && image->height() == height) {
                    std::copy(image->row(c, y), image->row(c, y) + width, dst);
                } else {
                    const float v = (static_cast<float>(y) + 0.5f) / static_cast<float>(height);
                    for (int x = 0; x < width; ++x)
                        dst[x] = sampleWrapped(image->plane(c), image->width(), image->height(),
                                               (static_cast<float>(x) + 0.5f) / static_cast<float>(width), v);
                }
            }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
