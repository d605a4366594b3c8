#include "tools/kvs/ImageWriter.h"

#include "tools/kvs/FileOutput.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace kvs {

namespace {

uint32_t quantise(float value, uint32_t maximum) {
    if (!(value > 0.0f)) // NaN too
        return 0;
    return static_cast<uint32_t>(std::lround(std::min(value, 1.0f) * static_cast<float>(maximum)));
}

struct PngWriteState {
    std::vector<unsigned char> bytes;
};

void appendBytes(png_structp png, png_bytep data, png_size_t size) {
    auto* state = static_cast<PngWriteState*>(png_get_io_ptr(png));
    state->bytes.insert(state->bytes.end(), data, data + size);
}

void flushNothing(png_structp) {}

} // namespace

bool writePng(const std::string& path, const FloatImage& image, int bitDepth, std::string& error) {
    const int colourTypes[] = {0, PNG_COLOR_TYPE_GRAY, 0, PNG_COLOR_TYPE_RGB, PNG_COLOR_TYPE_RGB_ALPHA};
    const size_t bytesPerSample = bitDepth == 16 ? 2 : 1;
    const size_t rowBytes =
        static_cast<size_t>(image.width) * static_cast<size_t>(image.channels) * bytesPerSample;
    std::vector<unsigned char> pixels(rowBytes * static_cast<size_t>(image.height));
    for (size_t i = 0; i < image.texels.size(); ++i) {
        if (bitDepth == 16) {
            uint32_t v = quantise(image.texels[i], 65535);
            pixels[2 * i] = static_cast<unsigned char>(v >> 8); // PNG samples are big-endian
            pixels[2 * i + 1] = static_cast<unsigned char>(v & 0xff);
        } else {
            pixels[i] = static_cast<unsigned char>(quantise(image.texels[i], 255));
        }
    }

    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info) {
        png_destroy_write_struct(&png, nullptr);
        error = path + ": cannot create a PNG writer";
        return false;
    }
    PngWriteState state;
    std::vector<png_bytep> rows(static_cast<size_t>(image.height));
    for (size_t y = 0; y < rows.size(); ++y)
        rows[y] = pixels.data() + y * rowBytes;
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        error = path + ": PNG encoding failed";
        return false;
    }
    png_set_write_fn(png, &state, appendBytes, flushNothing);
    png_set_IHDR(png, info, static_cast<png_uint_32>(image.width), static_cast<png_uint_32>(image.height),
                 bitDepth, colourTypes[image.channels], PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_set_rows(png, info, rows.data());
    png_write_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    png_destroy_write_struct(&png, &info);
    return writeFileAtomically(path, state.bytes.data(), state.bytes.size(), error);
}

bool writePfm(const std::string& path, const FloatImage& image, std::string& error) {
    const int channels = image.channels == 1 ? 1 : 3;
    std::string header = std::string(channels == 1 ? "Pf" : "PF") + "\n" + std::to_string(image.width) + " " +
                         std::to_string(image.height) + "\n-1.0\n"; // negative scale: little-endian
    std::vector<char> bytes(header.begin(), header.end());
    const size_t width = static_cast<size_t>(image.width);
    const size_t sourceChannels = static_cast<size_t>(image.channels);
    // PFM stores rows bottom to top.
    for (size_t y = static_cast<size_t>(image.height); y-- > 0;) {
        for (size_t x = 0; x < width; ++x) {
            const float* texel = &image.texels[(y * width + x) * sourceChannels];
            for (int c = 0; c < channels; ++c) {
                uint32_t bits;
                std::memcpy(&bits, &texel[c], 4);
                for (int shift = 0; shift < 32; shift += 8)
                    bytes.push_back(static_cast<char>((bits >> shift) & 0xff));
            }
        }
    }
    return writeFileAtomically(path, bytes.data(), bytes.size(), error);
}

} // namespace kvs
