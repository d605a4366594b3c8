#include "tools/kvs/TextureConversion.h"

#include "tools/kvs/Cli.h"

#include "engine/formats/TextureDecoder.h"

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
