// Pixel access shared by the node kinds: wrapped indices, bilinear sampling
// over a torus and luminance.
#pragma once

#include "engine/nodes/Image.h"

#include <cmath>

namespace kvengine {

// i wrapped into [0, n), n > 0. Indices rarely stray more than one period,
// and those need no division.
inline int wrapIndex(int i, int n) {
    if (static_cast<unsigned>(i) < static_cast<unsigned>(n))
        return i;
    if (i < 0 && i >= -n)
        return i + n;
    if (i >= n && i - n < n)
        return i - n;
    int r = i % n;
    return r < 0 ? r + n : r;
}

// std::floor, inline for the coordinates kernels meet (below 2^23 in size,
// where a float holds every whole number): built for the baseline CPU,
// std::floor is a library call costing more than the arithmetic around it.
inline float floorOf(float v) {
    if (!(std::fabs(v) < 8388608.0f))
        return std::floor(v);
    const float whole = static_cast<float>(static_cast<int>(v)); // toward zero
    return whole > v ? whole - 1.0f : (whole == v ? v : whole);  // v itself keeps a zero's sign
}

inline float clamp01(float v) {
    return v < 0.0f ? 0.0f : (v > 1.0f ? 1.0f : v);
}

// Rec. 709 weights, used wherever a colour image is read as gray.
constexpr float kLumaR = 0.2126f;
constexpr float kLumaG = 0.7152f;
constexpr float kLumaB = 0.0722f;

// Row y of the image read as gray (a gray image is copied, a colour one reduced to luminance).
void luminanceRow(const Image& image, int y, float* out);

// Where a bilinear sample at (u, v) in texture units reads, wrapping on both
// axes: two row offsets, two columns and the fractions between them. Kernels
// that sample several planes at one place find it once.
struct BilinearTap {
    size_t row0 = 0, row1 = 0;
    int x0 = 0, x1 = 0;
    float tx = 0.0f, ty = 0.0f;
};
BilinearTap bilinearTap(int width, int height, float u, float v);

inline float sampleTap(const float* plane, const BilinearTap& tap) {
    const float* r0 = plane + tap.row0;
    const float* r1 = plane + tap.row1;
    const float top = r0[tap.x0] + (r0[tap.x1] - r0[tap.x0]) * tap.tx;
    const float bottom = r1[tap.x0] + (r1[tap.x1] - r1[tap.x0]) * tap.tx;
    return top + (bottom - top) * tap.ty;
}

// Bilinear sample of one plane at (u, v) in texture units, wrapping on both axes.
inline float sampleWrapped(const float* plane, int width, int height, float u, float v) {
    return sampleTap(plane, bilinearTap(width, height, u, v));
}

} // namespace kvengine
