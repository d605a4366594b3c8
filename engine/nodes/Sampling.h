// Pixel access shared by the node kinds: wrapped indices, bilinear sampling
// over a torus and luminance.
#pragma once

#include "engine/nodes/Image.h"

#include <cmath>

namespace kvengine {

inline int wrapIndex(int i, int n) {
    int r = i % n;
    return r < 0 ? r + n : r;
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

// Bilinear sample of one plane at (u, v) in texture units, wrapping on both axes.
float sampleWrapped(const float* plane, int width, int height, float u, float v);

} // namespace kvengine
