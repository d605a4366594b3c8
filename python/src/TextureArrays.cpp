// Engine textures to array pixels: 8 and 16-bit formats keep their integers,
// half floats widen to 32-bit floats, padding channels are dropped.
#include "python/src/PyMaterial.h"

#include "engine/formats/HalfFloat.h"
#include "engine/formats/TextureDecoder.h"
#include "platform/engine/EngineTypes.h"

#include <cstdint>
#include <cstring>

namespace kvpy {

namespace {

// A texel format as Python sees it: its own channels (padding dropped), as
// integers of the stored width or as 32-bit floats.
struct Layout {
    const kvengine::TexelFormat* format;
    int channels;
    PixelShape::Element element;
};

Layout layoutOrThrow(int code) {
    const kvengine::TexelFormat* format = kvengine::findTexelFormat(code);
    if (format == nullptr) {
        throw PackageError("unknown pixel format " + std::to_string(code));
    }
    const PixelShape::Element element = format->isFloat             ? PixelShape::Element::Float32
                                        : format->channelBytes == 1 ? PixelShape::Element::UInt8
                                                                    : PixelShape::Element::UInt16;
    return {format, kvengine::decodedChannelCount(*format, kvengine::DecodedChannels::Own), element};
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
    const int bytes = layout.format->channelBytes;
    const bool widen = layout.format->isFloat && bytes == 2;
    if (layout.format->channels == layout.channels && !widen) {
        std::memcpy(out, source, shape.byteCount()); // the level is the array: rows are tightly packed
        return;
    }
    const size_t texels = static_cast<size_t>(shape.width) * static_cast<size_t>(shape.height);
    const size_t kept = static_cast<size_t>(layout.channels * bytes);
    const size_t inStride = layout.format->texelBytes();
    for (size_t t = 0; t < texels; ++t) {
        const unsigned char* in = source + t * inStride;
        if (!widen) {
            std::memcpy(out + t * kept, in, kept); // padding channel dropped
            continue;
        }
        for (int c = 0; c < layout.channels; ++c) {
            std::uint16_t half;
            std::memcpy(&half, in + c * 2, 2);
            const float value = kvengine::halfToFloat(half);
            std::memcpy(out + (t * static_cast<size_t>(layout.channels) + static_cast<size_t>(c)) * 4, &value,
                        4);
        }
    }
}

} // namespace kvpy
