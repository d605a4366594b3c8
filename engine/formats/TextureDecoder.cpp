#include "engine/formats/TextureDecoder.h"

#include "engine/formats/HalfFloat.h"

#include <cstdint>
#include <cstring>

namespace kvengine {
namespace {

// The stored channel an output channel reads, or -1 for a constant 1.
int sourceChannel(const TexelFormat& format, DecodedChannels channels, int c) {
    const bool alphaStored = format.channels == 4 && !format.alphaForcedOne;
    if (c == 3)
        return alphaStored ? 3 : -1;
    if (format.channels == 1)
        return channels == DecodedChannels::Rgba ? 0 : c;
    return c;
}

// One channel of every texel: a loop per storage kind, so the kind is decided once.
void decodeChannel(const TexelFormat& format, const unsigned char* source, size_t texels, float* out,
                   size_t step) {
    const size_t stride = format.texelBytes();
    if (format.isFloat && format.channelBytes == 4) {
        for (size_t i = 0; i < texels; ++i, source += stride)
            std::memcpy(&out[i * step], source, 4);
    } else if (format.channelBytes == 2) {
        for (size_t i = 0; i < texels; ++i, source += stride) {
            uint16_t v;
            std::memcpy(&v, source, 2);
            out[i * step] = format.isFloat ? halfToFloat(v) : static_cast<float>(v) / 65535.0f;
        }
    } else {
        for (size_t i = 0; i < texels; ++i, source += stride)
            out[i * step] = static_cast<float>(*source) / 255.0f;
    }
}

} // namespace

Status decodeTextureLevel(const SubstanceTexture& texture, int level, DecodedChannels channels,
                          const DecodeTarget& target) {
    TextureLevel at;
    if (Status status = recordLevel(texture, level, at); !status.ok())
        return status;
    const TexelFormat& format = *at.format;
    const auto* bytes = static_cast<const unsigned char*>(texture.buffer) + at.offset;
    const size_t texels = static_cast<size_t>(at.width) * static_cast<size_t>(at.height);
    for (int c = 0; c < decodedChannelCount(format, channels); ++c) {
        float* out = target.channel[c];
        const int source = sourceChannel(format, channels, c);
        if (source < 0) {
            for (size_t i = 0; i < texels; ++i)
                out[i * target.step] = 1.0f;
        } else {
            decodeChannel(format, bytes + static_cast<size_t>(source * format.channelBytes), texels, out,
                          target.step);
        }
    }
    return {};
}

} // namespace kvengine
