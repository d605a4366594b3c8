#include "engine/formats/TextureLayout.h"

#include <algorithm>
#include <string>

namespace kvengine {

int fullMipChain(int width, int height) {
    int levels = 1;
    for (; width > 1 || height > 1; ++levels) {
        width = std::max(1, width / 2);
        height = std::max(1, height / 2);
    }
    return levels;
}

TextureLevel textureLevel(const TexelFormat& format, int width, int height, int level) {
    TextureLevel at;
    at.format = &format;
    for (int l = 0;; ++l) {
        at.width = width;
        at.height = height;
        at.bytes = static_cast<size_t>(width) * static_cast<size_t>(height) * format.texelBytes();
        if (l == level)
            return at;
        at.offset += at.bytes;
        width = std::max(1, width / 2);
        height = std::max(1, height / 2);
    }
}

size_t textureBytes(const TexelFormat& format, int width, int height, int levels) {
    if (levels <= 0)
        return 0;
    const TextureLevel last = textureLevel(format, width, height, levels - 1);
    return last.offset + last.bytes;
}

Status recordLevel(const SubstanceTexture& texture, int level, TextureLevel& out) {
    const TexelFormat* format = findTexelFormat(texture.pixelFormat);
    if (!format)
        return {SubstanceStatus_InvalidArgument,
                "texture: pixel format " + std::to_string(texture.pixelFormat) + " is not a texel format"};
    if (!texture.buffer)
        return {SubstanceStatus_InvalidArgument, "texture: the record has no buffer"};
    if (texture.level0Width == 0 || texture.level0Height == 0)
        return {SubstanceStatus_InvalidArgument,
                "texture: level 0 is " + std::to_string(texture.level0Width) + " x " +
                    std::to_string(texture.level0Height) + " texels, an empty image"};
    // A record that claims no levels still holds its level 0.
    const int levels = std::max<int>(1, texture.mipmapCount);
    if (level < 0 || level >= levels)
        return {SubstanceStatus_InvalidArgument, "texture: level " + std::to_string(level) +
                                                     " is not one of the " + std::to_string(levels) +
                                                     " levels of the record"};
    out = textureLevel(*format, texture.level0Width, texture.level0Height, level);
    return {};
}

} // namespace kvengine
