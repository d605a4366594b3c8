#include "engine/nodes/LineBlur.h"

#include "engine/nodes/KernelShapes.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kvengine {

namespace {

constexpr int kTaps = 4;      // taps per pass: 4 needs the fewest samples for a given reach
constexpr int kMaxPasses = 7; // 4^7 taps cover the longest segment at the largest size

// Passes needed for taps no further apart than a pixel.
int passesFor(float lengthInPixels) {
    int passes = 0;
    for (float taps = 1.0f; taps < lengthInPixels && passes < kMaxPasses; taps *= kTaps)
        ++passes;
    return passes;
}

float reduceStart(LineReduce reduce) {
    if (reduce == LineReduce::Minimum)
        return INFINITY;
    return reduce == LineReduce::Maximum ? -INFINITY : 0.0f;
}

// One pass: each pixel combines kTaps samples of `from` spaced by `spacing`
// times its segment, centred on the segment's point `shift`. The places are
// found once per pixel and read in every channel.
void pass(const Image& from, Image& to, float spacing, float shift, const LineBlurShape& shape,
          const LineSegments& segments, const Parallel& parallel) {
    const int width = to.width(), height = to.height(), channels = to.channels();
    parallel.run(height, [&](int y0, int y1) {
        std::vector<float> du(static_cast<size_t>(width)), dv(du.size());
        BilinearTap taps[kTaps];
        for (int y = y0; y < y1; ++y) {
            segments(y, du.data(), dv.data());
            const float v0 = pixelCentre(y, height);
            for (int x = 0; x < width; ++x) {
                const float u0 = pixelCentre(x, width);
                for (int i = 0; i < kTaps; ++i) {
                    const float f = shift + (static_cast<float>(i) - 0.5f * (kTaps - 1)) * spacing;
                    taps[i] = bilinearTap(width, height, u0 + f * du[static_cast<size_t>(x)],
                                          v0 + f * dv[static_cast<size_t>(x)]);
                }
                for (int c = 0; c < channels; ++c) {
                    const float* plane = from.plane(c);
                    float result = reduceStart(shape.reduce);
                    for (const BilinearTap& tap : taps) {
                        const float s = sampleTap(plane, tap);
                        if (shape.reduce == LineReduce::Minimum)
                            result = std::min(result, s);
                        else if (shape.reduce == LineReduce::Maximum)
                            result = std::max(result, s);
                        else
                            result += s;
                    }
                    to.row(c, y)[x] = shape.reduce == LineReduce::Average ? result * (1.0f / kTaps) : result;
                }
            }
        }
    });
}

} // namespace

void lineBlur(const Image& in, Image& out, const LineBlurShape& shape, const LineSegments& segments,
              const Parallel& parallel) {
    const int side = std::max(out.width(), out.height());
    const int passes = passesFor(shape.maxLength * static_cast<float>(side));
    if (passes == 0) {
        std::copy(in.plane(0), in.plane(0) + in.planeSize() * static_cast<size_t>(in.channels()),
                  out.plane(0));
        return;
    }
    Image scratch(out.width(), out.height(), out.channels());
    // The passes alternate between out and scratch so that the last one writes out.
    const float total = std::pow(static_cast<float>(kTaps), static_cast<float>(passes));
    const Image* from = &in;
    float spacing = 1.0f / total;
    for (int p = 0; p < passes; ++p) {
        Image& to = (passes - 1 - p) % 2 == 0 ? out : scratch;
        const float shift = p == 0 && shape.oneSided ? 0.5f : 0.0f;
        pass(*from, to, spacing, shift, shape, segments, parallel);
        from = &to;
        spacing *= kTaps;
    }
}

} // namespace kvengine
