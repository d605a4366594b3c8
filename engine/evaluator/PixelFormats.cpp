#include "engine/evaluator/PixelFormats.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace kvengine {

namespace {

constexpr int kMaxTextureSide = 8192; // as for rendered textures

struct Layout {
    int channels;    // stored channels: 1, 3 or 4
    int bytes;       // per channel: 1, 2 or 4
    bool isFloat;    // 16- or 32-bit float
    bool opaqueFill; // the RGBx formats: alpha written as 1
};

bool layoutOf(int format, Layout& layout) {
    switch (format) {
    case SubstancePixelFormat_RGBA8:
    case SubstancePixelFormat_RGBA8 | SubstancePixelFormat_Flag:
        layout = {4, 1, false, false};
        return true;
    case SubstancePixelFormat_RGBx8:
        layout = {4, 1, false, true};
        return true;
    case SubstancePixelFormat_RGB8:
        layout = {3, 1, false, false};
        return true;
    case SubstancePixelFormat_L8:
        layout = {1, 1, false, false};
        return true;
    case SubstancePixelFormat_RGBA16:
        layout = {4, 2, false, false};
        return true;
    case SubstancePixelFormat_RGBx16:
        layout = {4, 2, false, true};
        return true;
    case SubstancePixelFormat_RGB16:
        layout = {3, 2, false, false};
        return true;
    case SubstancePixelFormat_L16:
        layout = {1, 2, false, false};
        return true;
    case SubstancePixelFormat_RGBA32F:
        layout = {4, 4, true, false};
        return true;
    case SubstancePixelFormat_RGBA16F:
        layout = {4, 2, true, false};
        return true;
    case SubstancePixelFormat_RGB16F:
        layout = {3, 2, true, false};
        return true;
    case SubstancePixelFormat_L16F:
        layout = {1, 2, true, false};
        return true;
    case SubstancePixelFormat_L32F:
        layout = {1, 4, true, false};
        return true;
    default:
        return false;
    }
}

Layout layoutOf(int format) {
    Layout layout{4, 1, false, false};
    layoutOf(format, layout);
    return layout;
}

// IEEE half from float, rounding to nearest even; overflow gives infinity, NaN stays NaN.
uint16_t floatToHalf(float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    const uint32_t sign = (bits >> 16) & 0x8000u;
    const uint32_t magnitude = bits & 0x7fffffffu;
    if (magnitude >= 0x7f800000u) // infinity or NaN
        return static_cast<uint16_t>(sign | 0x7c00u | (magnitude > 0x7f800000u ? 0x200u : 0u));
    if (magnitude >= 0x477ff000u) // rounds beyond the largest half
        return static_cast<uint16_t>(sign | 0x7c00u);
    if (magnitude < 0x38800000u) { // subnormal half or zero
        if (magnitude < 0x33000000u)
            return static_cast<uint16_t>(sign);
        const uint32_t mantissa = (magnitude & 0x7fffffu) | 0x800000u;
        const int shift = 126 - static_cast<int>(magnitude >> 23);
        uint32_t half = mantissa >> shift;
        const uint32_t rest = mantissa & ((1u << shift) - 1u);
        const uint32_t halfway = 1u << (shift - 1);
        if (rest > halfway || (rest == halfway && (half & 1u)))
            ++half;
        return static_cast<uint16_t>(sign | half);
    }
    uint32_t half = ((magnitude - 0x38000000u) >> 13);
    const uint32_t rest = magnitude & 0x1fffu;
    if (rest > 0x1000u || (rest == 0x1000u && (half & 1u)))
        ++half;
    return static_cast<uint16_t>(sign | half);
}

float halfToFloat(uint16_t half) {
    const uint32_t sign = static_cast<uint32_t>(half & 0x8000u) << 16;
    const uint32_t exponent = (half >> 10) & 0x1fu;
    const uint32_t mantissa = half & 0x3ffu;
    uint32_t bits;
    if (exponent == 0) {
        const float value = std::ldexp(static_cast<float>(mantissa), -24);
        return sign ? -value : value;
    }
    if (exponent == 31)
        bits = sign | 0x7f800000u | (mantissa << 13);
    else
        bits = sign | ((exponent + 112u) << 23) | (mantissa << 13);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

inline float unit(float v) {
    return v > 0.0f ? (v < 1.0f ? v : 1.0f) : 0.0f;
} // NaN gives 0

// Writes one row of texels from up to four float rows (null alpha: opaque).
void writeRow(const Layout& layout, const float* const rgba[4], int width, unsigned char* out) {
    const size_t texel = static_cast<size_t>(layout.channels) * static_cast<size_t>(layout.bytes);
    for (int c = 0; c < layout.channels; ++c) {
        const float* src = rgba[c];
        const bool one = src == nullptr || (c == 3 && layout.opaqueFill);
        unsigned char* dst = out + static_cast<size_t>(c) * static_cast<size_t>(layout.bytes);
        for (int x = 0; x < width; ++x, dst += texel) {
            const float v = one ? 1.0f : src[x];
            if (layout.isFloat && layout.bytes == 4) {
                std::memcpy(dst, &v, 4);
            } else if (layout.isFloat) {
                const uint16_t h = floatToHalf(v);
                std::memcpy(dst, &h, 2);
            } else if (layout.bytes == 2) {
                const uint16_t q = static_cast<uint16_t>(unit(v) * 65535.0f + 0.5f);
                std::memcpy(dst, &q, 2);
            } else {
                *dst = static_cast<unsigned char>(unit(v) * 255.0f + 0.5f);
            }
        }
    }
}

void writeLevel(const Image& image, const Layout& layout, unsigned char* buffer, const Parallel& parallel) {
    const int width = image.width();
    const size_t rowBytes = static_cast<size_t>(width) * static_cast<size_t>(layout.channels * layout.bytes);
    parallel.run(image.height(), [&](int y0, int y1) {
        std::vector<float> luma;
        for (int y = y0; y < y1; ++y) {
            const float* rows[4] = {nullptr, nullptr, nullptr, nullptr};
            if (layout.channels == 1 && image.channels() == 4) {
                luma.resize(static_cast<size_t>(width));
                const float *r = image.row(0, y), *g = image.row(1, y), *b = image.row(2, y);
                for (int x = 0; x < width; ++x)
                    luma[static_cast<size_t>(x)] = 0.2126f * r[x] + 0.7152f * g[x] + 0.0722f * b[x];
                rows[0] = luma.data();
            } else {
                for (int c = 0; c < 4; ++c) {
                    const float* plane = image.colourPlane(c);
                    rows[c] = plane ? plane + static_cast<size_t>(y) * static_cast<size_t>(width) : nullptr;
                }
            }
            writeRow(layout, rows, width, buffer + rowBytes * static_cast<size_t>(y));
        }
    });
}

Image halve(const Image& in, const Parallel& parallel) {
    const int width = std::max(1, in.width() / 2);
    const int height = std::max(1, in.height() / 2);
    Image out(width, height, in.channels());
    const int stepX = in.width() > 1 ? 1 : 0;
    const int stepY = in.height() > 1 ? 1 : 0;
    const float weight = 1.0f / static_cast<float>((1 + stepX) * (1 + stepY));
    parallel.run(height, [&](int y0, int y1) {
        for (int c = 0; c < in.channels(); ++c)
            for (int y = y0; y < y1; ++y) {
                const float* top = in.row(c, std::min(2 * y, in.height() - 1));
                const float* bottom = in.row(c, (2 * y + stepY) % in.height());
                float* dst = out.row(c, y);
                for (int x = 0; x < width; ++x) {
                    const int x0 = std::min(2 * x, in.width() - 1);
                    const int x1 = (2 * x + stepX) % in.width();
                    float sum = top[x0];
                    if (stepX)
                        sum += top[x1];
                    if (stepY)
                        sum += stepX ? bottom[x0] + bottom[x1] : bottom[x0];
                    dst[x] = sum * weight;
                }
            }
    });
    return out;
}

} // namespace

bool isTextureFormat(int format) {
    Layout layout{};
    return layoutOf(format, layout);
}

size_t texelBytes(int format) {
    const Layout layout = layoutOf(format);
    return static_cast<size_t>(layout.channels) * static_cast<size_t>(layout.bytes);
}

bool isLuminanceFormat(int format) {
    return layoutOf(format).channels == 1;
}

int mipLevelCount(int width, int height, unsigned requested) {
    int levels = 1;
    for (int w = width, h = height; w > 1 || h > 1; w = std::max(1, w / 2), h = std::max(1, h / 2))
        ++levels;
    return requested == 0 ? levels : std::min(levels, static_cast<int>(std::min(requested, 255u)));
}

size_t textureBytes(int format, int width, int height, int levels) {
    size_t total = 0;
    for (int level = 0; level < levels; ++level) {
        total += static_cast<size_t>(width) * static_cast<size_t>(height) * texelBytes(format);
        width = std::max(1, width / 2);
        height = std::max(1, height / 2);
    }
    return total;
}

void writeTexture(const Image& image, int format, int levels, void* buffer, const Parallel& parallel) {
    const Layout layout = layoutOf(format);
    auto* out = static_cast<unsigned char*>(buffer);
    writeLevel(image, layout, out, parallel);
    out += textureBytes(format, image.width(), image.height(), 1);
    Image level;
    const Image* previous = &image;
    for (int i = 1; i < levels; ++i) {
        level = halve(*previous, parallel);
        writeLevel(level, layout, out, parallel);
        out += textureBytes(format, level.width(), level.height(), 1);
        previous = &level;
    }
}

int readTexture(const SubstanceTexture& texture, Image& out) {
    Layout layout{};
    if (!texture.buffer || texture.level0Width == 0 || texture.level0Height == 0 ||
        !layoutOf(texture.pixelFormat, layout))
        return SubstanceStatus_InvalidArgument;
    if (texture.level0Width > kMaxTextureSide || texture.level0Height > kMaxTextureSide)
        return SubstanceStatus_LimitExceeded;
    const int width = texture.level0Width, height = texture.level0Height;
    out = Image(width, height, layout.channels == 1 ? 1 : 4);
    const auto* src = static_cast<const unsigned char*>(texture.buffer);
    const size_t texel = static_cast<size_t>(layout.channels * layout.bytes);
    for (int c = 0; c < out.channels(); ++c) {
        float* dst = out.plane(c);
        const bool opaque = c >= layout.channels || (c == 3 && layout.opaqueFill);
        const unsigned char* p = src + static_cast<size_t>(c) * static_cast<size_t>(layout.bytes);
        for (size_t i = 0; i < out.planeSize(); ++i, p += texel) {
            if (opaque) {
                dst[i] = 1.0f;
            } else if (layout.isFloat && layout.bytes == 4) {
                std::memcpy(&dst[i], p, 4);
            } else if (layout.bytes == 2) {
                uint16_t v;
                std::memcpy(&v, p, 2);
                dst[i] = layout.isFloat ? halfToFloat(v) : static_cast<float>(v) / 65535.0f;
            } else {
                dst[i] = static_cast<float>(*p) / 255.0f;
            }
        }
    }
    return SubstanceStatus_Ok;
}

} // namespace kvengine
