#include "framework/render/InputImage.h"

namespace SubstanceAir {

namespace {

// Bytes per texel of each pixel format; 0 for unknown ones.
size_t bytesPerTexel(int pixelFormat) {
    switch (pixelFormat & ~SubstancePixelFormat_Flag) {
    case SubstancePixelFormat_RGBA8:
    case SubstancePixelFormat_RGBx8:
    case SubstancePixelFormat_L32F:
        return 4;
    case SubstancePixelFormat_RGB8:
        return 3;
    case SubstancePixelFormat_L8:
        return 1;
    case SubstancePixelFormat_RGBA16:
    case SubstancePixelFormat_RGBx16:
    case SubstancePixelFormat_RGBA16F:
        return 8;
    case SubstancePixelFormat_RGB16:
    case SubstancePixelFormat_RGB16F:
        return 6;
    case SubstancePixelFormat_L16:
    case SubstancePixelFormat_L16F:
        return 2;
    case SubstancePixelFormat_RGBA32F:
        return 16;
    default:
        return 0;
    }
}

} // namespace

boost::shared_ptr<InputImage> InputImage::create(unsigned int width, unsigned int height, int pixelFormat,
                                                 std::vector<unsigned char> pixels) {
    const size_t texelBytes = bytesPerTexel(pixelFormat);
    const bool flagOnlyOnRgba8 =
        (pixelFormat & SubstancePixelFormat_Flag) == 0 || (pixelFormat & ~SubstancePixelFormat_Flag) == 0;
    if (texelBytes == 0 || !flagOnlyOnRgba8 || width == 0 || height == 0 || width > 0xFFFF ||
        height > 0xFFFF || pixels.size() != size_t(width) * height * texelBytes) {
        return boost::shared_ptr<InputImage>();
    }
    return boost::shared_ptr<InputImage>(new InputImage(width, height, pixelFormat, std::move(pixels)));
}

InputImage::InputImage(unsigned int width, unsigned int height, int pixelFormat,
                       std::vector<unsigned char> pixels)
    : mPixels(std::move(pixels)), mTextureInput() {
    SubstanceTexture& texture = mTextureInput.texture;
    texture.buffer = mPixels.data();
    texture.level0Width = static_cast<uint16_t>(width);
    texture.level0Height = static_cast<uint16_t>(height);
    texture.pixelFormat = static_cast<uint8_t>(pixelFormat);
    texture.channelsOrder = SubstanceChannelOrder_RGBA;
    texture.mipmapCount = 1;
}

} // namespace SubstanceAir
