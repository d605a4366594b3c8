#include "engine/nodes/GaussianBlur.h"

#include "engine/nodes/Sampling.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kvengine {

namespace {

constexpr int kPasses = 3; // three box passes approximate a gaussian
constexpr int kStrip = 64; // columns per vertical work item

// Box filter of half-width h over n samples spaced by stride, wrapping.
// A running sum keeps the cost independent of the radius.
void boxPass(const float* src, float* dst, int n, size_t stride, int h) {
    const double scale = 1.0 / (2.0 * h + 1.0);
    double sum = 0.0;
    for (int k = -h; k <= h; ++k)
        sum += src[static_cast<size_t>(wrapIndex(k, n)) * stride];
    for (int i = 0; i < n; ++i) {
        dst[static_cast<size_t>(i) * stride] = static_cast<float>(sum * scale);
        sum += src[static_cast<size_t>(wrapIndex(i + h + 1, n)) * stride] -
               src[static_cast<size_t>(wrapIndex(i - h, n)) * stride];
    }
}

// The same over a strip of `columns` adjacent columns at once, so the inner loop runs along rows.
void boxPassColumns(const float* src, float* dst, int rows, int columns, int h) {
    const double scale = 1.0 / (2.0 * h + 1.0);
    double sum[kStrip] = {};
    for (int k = -h; k <= h; ++k) {
        const float* row = src + static_cast<size_t>(wrapIndex(k, rows)) * kStrip;
        for (int c = 0; c < columns; ++c)
            sum[c] += row[c];
    }
    for (int i = 0; i < rows; ++i) {
        float* out = dst + static_cast<size_t>(i) * kStrip;
        const float* add = src + static_cast<size_t>(wrapIndex(i + h + 1, rows)) * kStrip;
        const float* remove = src + static_cast<size_t>(wrapIndex(i - h, rows)) * kStrip;
        for (int c = 0; c < columns; ++c) {
            out[c] = static_cast<float>(sum[c] * scale);
            sum[c] += static_cast<double>(add[c]) - remove[c];
        }
    }
}

int halfWidth(float radius, int side) {
    const int h = static_cast<int>(std::lround(radius * side / kPasses));
    return std::clamp(h, 0, (side - 1) / 2);
}

} // namespace

void gaussianBlur(const Image& in, Image& out, float radius, const Parallel& parallel) {
    const int width = out.width(), height = out.height();
    const int hx = halfWidth(radius, width);
    const int hy = halfWidth(radius, height);
    Image across(width, height, out.channels());

    parallel.run(height, [&](int y0, int y1) {
        std::vector<float> a(static_cast<size_t>(width)), b(a.size());
        for (int c = 0; c < out.channels(); ++c)
            for (int y = y0; y < y1; ++y) {
                std::copy(in.row(c, y), in.row(c, y) + width, a.begin());
                for (int pass = 0; pass < kPasses; ++pass) {
                    boxPass(a.data(), b.data(), width, 1, hx);
                    a.swap(b);
                }
                std::copy(a.begin(), a.end(), across.row(c, y));
            }
    });

    const int strips = (width + kStrip - 1) / kStrip;
    parallel.run(strips, [&](int s0, int s1) {
        std::vector<float> a(static_cast<size_t>(height) * kStrip), b(a.size());
        for (int c = 0; c < out.channels(); ++c)
            for (int s = s0; s < s1; ++s) {
                const int x0 = s * kStrip;
                const int columns = std::min(kStrip, width - x0);
                for (int y = 0; y < height; ++y)
                    std::copy(across.row(c, y) + x0, across.row(c, y) + x0 + columns,
                              a.begin() + static_cast<ptrdiff_t>(y) * kStrip);
                for (int pass = 0; pass < kPasses; ++pass) {
                    boxPassColumns(a.data(), b.data(), height, columns, hy);
                    a.swap(b);
                }
                for (int y = 0; y < height; ++y)
                    std::copy(a.begin() + static_cast<ptrdiff_t>(y) * kStrip,
                              a.begin() + static_cast<ptrdiff_t>(y) * kStrip + columns, out.row(c, y) + x0);
            }
    });
}

} // namespace kvengine
