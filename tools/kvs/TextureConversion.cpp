#include "tools/kvs/TextureConversion.h"

#include "tools/kvs/Cli.h"

#include "engine/formats/TextureDecoder.h"

#include <cstdint>
#include <cstring>

namespace kvs {

kvimage::FloatImage textureLevelImage(const SubstanceTexture& texture, int level) {
    kvengine::TextureLevel layout;
    if (kvengine::Status status = kvengine::recordLevel(texture, level, layout); !status.ok()) {
        throw Failure(status.reason());
    }
    kvimage::FloatImage image;
    image.width = layout.width;
    image.height = layout.height;
    image.channels = kvengine::decodedChannelCount(*layout.format, kvengine::DecodedChannels::Own);
    image.texels.resize(static_cast<size_t>(image.width) * static_cast<size_t>(image.height) *
                        static_cast<size_t>(image.channels));
    kvengine::DecodeTarget target;
    for (int c = 0; c < image.channels; ++c) {
        target.channel[c] = image.texels.data() + c;
    }
    target.step = static_cast<size_t>(image.channels);
    if (kvengine::Status status =
            kvengine::decodeTextureLevel(texture, level, kvengine::DecodedChannels::Own, target);
        !status.ok()) {
        throw Failure(status.reason());
    }
    return image;
}

namespace {

// Texels of `inChannels` samples each, into the display image's 1 or 4
// bytes; byteOf(i) is sample i of the level as a byte.
template <typename ByteOf>
void spread(int inChannels, bool opaque, ByteOf byteOf, DisplayImage& out) {
    const size_t texels = out.bytes.size() / static_cast<size_t>(out.channels);
    const size_t step = static_cast<size_t>(inChannels);
    unsigned char* to = out.bytes.data();
    if (out.channels == 1) {
        for (size_t t = 0; t < texels; ++t) {
            to[t] = byteOf(t * step);
        }
        return;
    }
    const bool alpha = inChannels == 4 && !opaque;
    for (size_t t = 0, in = 0; t < texels; ++t, in += step, to += 4) {
        to[0] = byteOf(in);
        to[1] = byteOf(in + 1);
        to[2] = byteOf(in + 2);
        to[3] = alpha ? byteOf(in + 3) : 255;
    }
}

} // namespace

DisplayImage textureDisplayImage(const SubstanceTexture& texture) {
    kvengine::TextureLevel layout;
    if (kvengine::Status status = kvengine::recordLevel(texture, 0, layout); !status.ok()) {
        throw Failure(status.reason());
    }
    const kvengine::TexelFormat& format = *layout.format;
    DisplayImage out;
    out.width = layout.width;
    out.height = layout.height;
    out.channels = format.channels == 1 ? 1 : 4;
    out.bytes.resize(static_cast<size_t>(out.width) * static_cast<size_t>(out.height) *
                     static_cast<size_t>(out.channels));
    const auto* stored = static_cast<const unsigned char*>(texture.buffer) + layout.offset;
    if (format.isFloat) {
        const kvimage::FloatImage image = textureImage(texture);
        spread(
            image.channels, false,
            [&](size_t i) {
                const float v = image.texels[i];
                return static_cast<unsigned char>(v > 0 ? (v < 1 ? v * 255 + 0.5f : 255) : 0);
            },
            out);
    } else if (format.channelBytes == 1) {
        spread(
            format.channels, format.alphaForcedOne, [stored](size_t i) { return stored[i]; }, out);
    } else {
        spread(
            format.channels, format.alphaForcedOne,
            [stored](size_t i) {
                uint16_t v; // the buffer promises no alignment beyond bytes
                std::memcpy(&v, stored + 2 * i, sizeof v);
                return static_cast<unsigned char>((v * 255u + 32767u) / 65535u);
            },
            out);
    }
    return out;
}

bool borrowPngRows(const SubstanceTexture& texture, int level, int bitDepth, kvimage::PngImage& out) {
    kvengine::TextureLevel layout;
    if (!kvengine::recordLevel(texture, level, layout).ok() || layout.format->isFloat ||
        8 * layout.format->channelBytes != bitDepth) {
        return false;
    }
    out = kvimage::PngImage{};
    out.width = layout.width;
    out.height = layout.height;
    out.channels = layout.format->alphaForcedOne ? 3 : layout.format->channels;
    out.bitDepth = bitDepth;
    out.dropsFourth = layout.format->alphaForcedOne;
    out.hostByteOrder = true;
    const size_t rowBytes = static_cast<size_t>(layout.width) * layout.format->texelBytes();
    const auto* first = static_cast<const unsigned char*>(texture.buffer) + layout.offset;
    out.rows.resize(static_cast<size_t>(layout.height));
    for (size_t y = 0; y < out.rows.size(); ++y) {
        out.rows[y] = first + y * rowBytes;
    }
    return true;
}

std::string pixelFormatName(int code) {
    const kvengine::TexelFormat* format = kvengine::findTexelFormat(code);
    if (format == nullptr) {
        return "format " + std::to_string(code);
    }
    const std::string depth = !format->isFloat            ? std::to_string(8 * format->channelBytes) + "-bit"
                              : format->channelBytes == 2 ? "half-float"
                                                          : "float";
    const char* layout = format->channels == 1    ? "gray"
                         : format->channels == 3  ? "RGB"
                         : format->alphaForcedOne ? "RGBx"
                                                  : "RGBA";
    return depth + " " + layout + ((code & SubstancePixelFormat_Flag) != 0 ? " (sRGB)" : "");
}

bool isFloatFormat(int code) {
    const kvengine::TexelFormat* format = kvengine::findTexelFormat(code);
    return format != nullptr && format->isFloat;
}

bool isSixteenBitFormat(int code) {
    const kvengine::TexelFormat* format = kvengine::findTexelFormat(code);
    return format != nullptr && !format->isFloat && format->channelBytes == 2;
}

} // namespace kvs
