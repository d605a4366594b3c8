#include "engine/nodes/GaussianBlur.h"

#include "engine/nodes/BoxStrip.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kvengine {

namespace {

constexpr int kPasses = 3;             // three box passes approximate a gaussian
constexpr int kLanes = kBoxStripLanes; // rows or columns blurred together
constexpr int kBlock = 64;             // samples per block of a transposing copy, to stay in cache

int halfWidth(float radius, int side) {
    const int h = static_cast<int>(std::lround(radius * side / kPasses));
    return std::clamp(h, 0, (side - 1) / 2);
}

// A strip buffer pair: the passes ping-pong between them and end in `a`.
struct Strip {
    std::vector<float> a, b;
    explicit Strip(int samples) : a(static_cast<size_t>(samples) * kLanes), b(a.size()) {}

    float* at(int sample, int lane) { return a.data() + static_cast<size_t>(sample) * kLanes + lane; }
    void blur(int samples, int h) {
        for (int pass = 0; pass < kPasses; ++pass) {
            boxFilterStrip(a.data(), b.data(), samples, h);
            a.swap(b);
        }
    }
};

// Visits the samples (x, r) of `rows` rows in blocks that stay in cache
// while a row is copied into a strip's lanes, or back.
template <typename Copy>
void forEachInRowBlock(int width, int rows, Copy copy) {
    for (int x0 = 0; x0 < width; x0 += kBlock) {
        const int x1 = std::min(width, x0 + kBlock);
        for (int r = 0; r < rows; ++r)
            for (int x = x0; x < x1; ++x)
                copy(x, r);
    }
}

} // namespace

void gaussianBlur(const Image& in, Image& out, float radius, const Parallel& parallel) {
    const int width = out.width(), height = out.height();
    const int hx = halfWidth(radius, width);
    const int hy = halfWidth(radius, height);
    Image across(width, height, out.channels());

    // Across: kLanes rows at a time, transposed so that the running sums run down the lanes.
    parallel.run((height + kLanes - 1) / kLanes, [&](int g0, int g1) {
        Strip strip(width);
        for (int c = 0; c < out.channels(); ++c)
            for (int g = g0; g < g1; ++g) {
                const int r0 = g * kLanes, rows = std::min(kLanes, height - r0);
                const float* src = in.row(c, r0);
                float* dst = across.row(c, r0);
                forEachInRowBlock(width, rows, [&](int x, int r) {
                    *strip.at(x, r) = src[static_cast<size_t>(r) * width + x];
                });
                strip.blur(width, hx);
                forEachInRowBlock(width, rows, [&](int x, int r) {
                    dst[static_cast<size_t>(r) * width + x] = *strip.at(x, r);
                });
            }
    });

    // Down: kLanes adjacent columns at a time, copied as they lie.
    parallel.run((width + kLanes - 1) / kLanes, [&](int s0, int s1) {
        Strip strip(height);
        for (int c = 0; c < out.channels(); ++c)
            for (int s = s0; s < s1; ++s) {
                const int x0 = s * kLanes, columns = std::min(kLanes, width - x0);
                for (int y = 0; y < height; ++y)
                    std::copy_n(across.row(c, y) + x0, columns, strip.at(y, 0));
                strip.blur(height, hy);
                for (int y = 0; y < height; ++y)
                    std::copy_n(strip.at(y, 0), columns, out.row(c, y) + x0);
            }
    });
}

} // namespace kvengine
