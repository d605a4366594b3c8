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
    PixelShape::Element element;
};

bool layoutOf(int format, Layout& layout) {
    using E = PixelShape::Element;
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

Layout layoutOrThrow(int format) {
    Layout layout;
    if (!layoutOf(format, layout)) {
        throw PackageError("unknown pixel format " + std::to_string(format));
    }
    return layout;
}

} // namespace

size_t PixelShape::byteCount() const {
    return static_cast<size_t>(width) * static_cast<size_t>(height) * static_cast<size_t>(channels) *
           (element == Element::UInt8    ? 1
            : element == Element::UInt16 ? 2
                                         : 4);
}

PixelShape shapeOf(const SubstanceTexture& texture) {
    const Layout layout = layoutOrThrow(texture.pixelFormat);
    if (texture.buffer == nullptr && texture.level0Width != 0 && texture.level0Height != 0) {
        throw PackageError("the engine returned a texture without texels");
    }
    return {layout.element, texture.level0Width, texture.level0Height, layout.channels};
}

void copyPixels(const SubstanceTexture& texture, void* destination) {
    const Layout layout = layoutOrThrow(texture.pixelFormat);
    const PixelShape shape = shapeOf(texture);
    const auto* source = static_cast<const unsigned char*>(texture.buffer);
    auto* out = static_cast<unsigned char*>(destination);
    const bool widen = layout.element == PixelShape::Element::Float32 && layout.bytes == 2;
    if (layout.stored == layout.channels && !widen) {
        std::memcpy(out, source, shape.byteCount()); // the level is the array: rows are tightly packed
        return;
    }
    const size_t texels = static_cast<size_t>(shape.width) * static_cast<size_t>(shape.height);
    const size_t kept = static_cast<size_t>(layout.channels * layout.bytes);
    const size_t inStride = static_cast<size_t>(layout.stored * layout.bytes);
    for (size_t t = 0; t < texels; ++t) {
        const unsigned char* in = source + t * inStride;
        if (!widen) {
            std::memcpy(out + t * kept, in, kept); // padding channel dropped
            continue;
        }
        for (int c = 0; c < layout.channels; ++c) {
            std::uint16_t half;
            std::memcpy(&half, in + c * 2, 2);
            const float value = halfToFloat(half);
            std::memcpy(out + (t * static_cast<size_t>(layout.channels) + static_cast<size_t>(c)) * 4, &value,
                        4);
        }
    }
}

} // namespace kvpy
