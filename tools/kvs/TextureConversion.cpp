#include "tools/kvs/TextureConversion.h"

#include <cmath>
#include <cstdint>
#include <cstring>

namespace kvs {

namespace {

enum class Sample { Byte, Short, Half, Float };

struct Layout {
    int stored;   // channels in the buffer
    int channels; // channels of the image (padding dropped)
    Sample sample;
};

bool layoutOf(int format, Layout& layout) {
    switch (format & ~SubstancePixelFormat_Flag) {
    case SubstancePixelFormat_RGBA8:
        layout = {4, 4, Sample::Byte};
        return true;
    case SubstancePixelFormat_RGBx8:
        layout = {4, 3, Sample::Byte};
        return true;
    case SubstancePixelFormat_RGB8:
        layout = {3, 3, Sample::Byte};
        return true;
    case SubstancePixelFormat_L8:
        layout = {1, 1, Sample::Byte};
        return true;
    case SubstancePixelFormat_RGBA16:
        layout = {4, 4, Sample::Short};
        return true;
    case SubstancePixelFormat_RGBx16:
        layout = {4, 3, Sample::Short};
        return true;
    case SubstancePixelFormat_RGB16:
        layout = {3, 3, Sample::Short};
        return true;
    case SubstancePixelFormat_L16:
        layout = {1, 1, Sample::Short};
        return true;
    case SubstancePixelFormat_RGBA32F:
        layout = {4, 4, Sample::Float};
        return true;
    case SubstancePixelFormat_RGBA16F:
        layout = {4, 4, Sample::Half};
        return true;
    case SubstancePixelFormat_RGB16F:
        layout = {3, 3, Sample::Half};
        return true;
    case SubstancePixelFormat_L16F:
        layout = {1, 1, Sample::Half};
        return true;
    case SubstancePixelFormat_L32F:
        layout = {1, 1, Sample::Float};
        return true;
    default:
        return false;
    }
}

float halfToFloat(uint16_t half) {
    const int exponent = (half >> 10) & 0x1f;
    const int mantissa = half & 0x3ff;
    float magnitude;
    if (exponent == 0)
        magnitude = std::ldexp(static_cast<float>(mantissa), -24);
    else if (exponent == 31)
        magnitude = mantissa ? NAN : INFINITY;
    else
        magnitude = std::ldexp(static_cast<float>(mantissa + 1024), exponent - 25);
    return (half & 0x8000) ? -magnitude : magnitude;
}

float readSample(const unsigned char* at, Sample sample) {
    switch (sample) {
    case Sample::Byte:
        return static_cast<float>(*at) / 255.0f;
    case Sample::Short: {
        uint16_t v;
        std::memcpy(&v, at, 2);
        return static_cast<float>(v) / 65535.0f;
    }
    case Sample::Half: {
        uint16_t v;
        std::memcpy(&v, at, 2);
        return halfToFloat(v);
    }
    case Sample::Float: {
        float v;
        std::memcpy(&v, at, 4);
        return v;
    }
    }
    return 0.0f;
}

size_t sampleBytes(Sample sample) {
    return sample == Sample::Byte ? 1 : sample == Sample::Float ? 4 : 2;
}

} // namespace

bool textureToImage(const SubstanceTexture& texture, FloatImage& image, std::string& error) {
    Layout layout;
    if (!layoutOf(texture.pixelFormat, layout)) {
        error = "unknown pixel format " + std::to_string(texture.pixelFormat);
        return false;
    }
    if (!texture.buffer || texture.level0Width == 0 || texture.level0Height == 0) {
        error = "the engine returned an empty texture";
        return false;
    }
    image.width = texture.level0Width;
    image.height = texture.level0Height;
    image.channels = layout.channels;
    const size_t count = static_cast<size_t>(image.width) * static_cast<size_t>(image.height);
    const size_t bytes = sampleBytes(layout.sample);
    const size_t texelBytes = bytes * static_cast<size_t>(layout.stored);
    const auto* source = static_cast<const unsigned char*>(texture.buffer);
    image.texels.resize(count * static_cast<size_t>(layout.channels));
    float* out = image.texels.data();
    for (size_t i = 0; i < count; ++i)
        for (int c = 0; c < layout.channels; ++c)
            *out++ = readSample(source + i * texelBytes + static_cast<size_t>(c) * bytes, layout.sample);
    return true;
}

std::string pixelFormatName(int format) {
    Layout layout;
    if (!layoutOf(format, layout))
        return "format " + std::to_string(format);
    const char* depth = layout.sample == Sample::Byte    ? "8-bit"
                        : layout.sample == Sample::Short ? "16-bit"
                        : layout.sample == Sample::Half  ? "half-float"
                                                         : "float";
    const char* channels = layout.channels == 1 ? "gray" : layout.channels == 3 ? "RGB" : "RGBA";
    return std::string(depth) + " " + channels;
}

} // namespace kvs
