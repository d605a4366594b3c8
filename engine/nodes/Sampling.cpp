#include "engine/nodes/Sampling.h"

#include <algorithm>

namespace kvengine {

namespace {

// Index in [0, n) of a whole-numbered coordinate. Plain int arithmetic in the
// usual range; far-out coordinates are reduced in float first so that the
// conversion cannot overflow.
int wrapCoordinate(float f, int n) {
    constexpr float kIntRange = 1.0e9f;
    if (f > -kIntRange && f < kIntRange)
        return wrapIndex(static_cast<int>(f), n);
    return wrapIndex(static_cast<int>(std::fmod(f, static_cast<float>(n))), n);
}

} // namespace

void luminanceRow(const Image& image, int y, float* out) {
    const int width = image.width();
    if (image.channels() == 1) {
        std::copy(image.row(0, y), image.row(0, y) + width, out);
        return;
    }
    const float* r = image.row(0, y);
    const float* g = image.row(1, y);
    const float* b = image.row(2, y);
    for (int x = 0; x < width; ++x)
        out[x] = kLumaR * r[x] + kLumaG * g[x] + kLumaB * b[x];
}

BilinearTap bilinearTap(int width, int height, float u, float v) {
    float px = u * static_cast<float>(width) - 0.5f;
    float py = v * static_cast<float>(height) - 0.5f;
    if (!std::isfinite(px) || !std::isfinite(py))
        px = py = 0.0f;
    const float fx0 = floorOf(px);
    const float fy0 = floorOf(py);
    const float tx = px - fx0;
    const float ty = py - fy0;
    const int x0 = wrapCoordinate(fx0, width);
    const int y0 = wrapCoordinate(fy0, height);
    const int y1 = y0 + 1 == height ? 0 : y0 + 1;
    BilinearTap tap;
    tap.row0 = static_cast<size_t>(y0) * static_cast<size_t>(width);
    tap.row1 = static_cast<size_t>(y1) * static_cast<size_t>(width);
    tap.x0 = x0;
    tap.x1 = x0 + 1 == width ? 0 : x0 + 1;
    tap.tx = tx;
    tap.ty = ty;
    return tap;
}

} // namespace kvengine
