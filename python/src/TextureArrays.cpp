// Engine textures to array pixels: 8 and 16-bit formats keep their integers,
// half floats widen to 32-bit floats, padding channels are dropped.
#include "python/src/PyMaterial.h"

#include "platform/engine/EngineTypes.h"

#include <cmath>
#include <cstdint>
#include <cstring>

namespace kvpy {

namespace {

struct Layout {
    int stored;   // channels in the buffer
    int channels; // channels handed to Python
    int bytes;    // bytes of one stored channel
    Pixels::Element element;
};

bool layoutOf(int format, Layout& layout) {
    using E = Pixels::Element;
    switch (format == SubstancePixelFormat_Flag ? 0 : format & ~SubstancePixelFormat_Flag) {
    case SubstancePixelFormat_RGBA8:
        layout = {4, 4, 1, E::UInt8};
        return true;
    case SubstancePixelFormat_RGBx8:
        layout = {4, 3, 1, E::UInt8};
        return true;
    case SubstancePixelFormat_RGB8:
        layout = {3, 3, 1, E::UInt8};
        return true;
    case SubstancePixelFormat_L8:
        layout = {1, 1, 1, E::UInt8};
        return true;
    case SubstancePixelFormat_RGBA16:
        layout = {4, 4, 2, E::UInt16};
        return true;
    case SubstancePixelFormat_RGBx16:
        layout = {4, 3, 2, E::UInt16};
        return true;
    case SubstancePixelFormat_RGB16:
        layout = {3, 3, 2, E::UInt16};
        return true;
    case SubstancePixelFormat_L16:
        layout = {1, 1, 2, E::UInt16};
        return true;
    case SubstancePixelFormat_RGBA32F:
        layout = {4, 4, 4, E::Float32};
        return true;
    case SubstancePixelFormat_RGBA16F:
        layout = {4, 4, 2, E::Float32};
        return true;
    case SubstancePixelFormat_RGB16F:
        layout = {3, 3, 2, E::Float32};
        return true;
    case SubstancePixelFormat_L16F:
        layout = {1, 1, 2, E::Float32};
        return true;
    case SubstancePixelFormat_L32F:
        layout = {1, 1, 4, E::Float32};
        return true;
    default:
        return false;
    }
}

float halfToFloat(std::uint16_t half) {
    const int exponent = (half >> 10) & 0x1f;
    const int mantissa = half & 0x3ff;
    const float sign = (half & 0x8000) != 0 ? -1.0f : 1.0f;
    if (exponent == 0) {
        return sign * std::ldexp(static_cast<float>(mantissa), -24);
    }
    if (exponent == 31) {
        return mantissa == 0 ? sign * INFINITY : NAN;
    }
    return sign * std::ldexp(static_cast<float>(mantissa + 1024), exponent - 25);
}

} // namespace

Pixels pixelsOf(const SubstanceTexture& texture) {
    Layout layout;
    if (!layoutOf(texture.pixelFormat, layout)) {
        throw PackageError("unknown pixel format " + std::to_string(texture.pixelFormat));
    }
    Pixels pixels;
    pixels.element = layout.element;
    pixels.width = texture.level0Width;
    pixels.height = texture.level0Height;
    pixels.channels = layout.channels;
    const int elementBytes = layout.element == Pixels::Element::Float32 ? 4 : layout.bytes;
    const size_t texels = static_cast<size_t>(pixels.width) * static_cast<size_t>(pixels.height);
    pixels.bytes.resize(texels * static_cast<size_t>(layout.channels * elementBytes));
    const auto* source = static_cast<const unsigned char*>(texture.buffer);
    if (source == nullptr && texels != 0) {
        throw PackageError("the engine returned a texture without texels");
    }
    const bool widen = layout.element == Pixels::Element::Float32 && layout.bytes == 2;
    for (size_t t = 0; t < texels; ++t) {
        const unsigned char* in = source + t * static_cast<size_t>(layout.stored * layout.bytes);
        unsigned char* out = pixels.bytes.data() + t * static_cast<size_t>(layout.channels * elementBytes);
        if (!widen) {
            std::memcpy(out, in, static_cast<size_t>(layout.channels * layout.bytes));
            continue;
        }
        for (int c = 0; c < layout.channels; ++c) {
            std::uint16_t half;
            std::memcpy(&half, in + c * 2, 2);
            const float value = halfToFloat(half);
            std::memcpy(out + c * 4, &value, 4);
        }
    }
    return pixels;
}

} // namespace kvpy
