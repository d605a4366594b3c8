#include "tools/kvs/ImageWriter.h"

#include "tools/kvs/FileOutput.h"

#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfOutputFile.h>
#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace kvs {

namespace {

// Clamped to 0..1 and rounded to the nearest step; NaN gives 0.
template <uint32_t Maximum>
uint32_t quantise(float value) {
    if (!(value > 0.0f))
        return 0;
    return static_cast<uint32_t>(std::min(value, 1.0f) * static_cast<float>(Maximum) + 0.5f);
}

struct PngWriteState {
    std::vector<unsigned char> bytes;
};

void appendBytes(png_structp png, png_bytep data, png_size_t size) {
    auto* state = static_cast<PngWriteState*>(png_get_io_ptr(png));
    state->bytes.insert(state->bytes.end(), data, data + size);
}

void flushNothing(png_structp) {}

bool isLittleEndianHost() {
    const uint16_t one = 1;
    unsigned char first = 0;
    std::memcpy(&first, &one, 1);
    return first == 1;
}

} // namespace

PngImage quantisedPng(const FloatImage& image, int bitDepth) {
    PngImage png;
    png.width = image.width;
    png.height = image.height;
    png.channels = image.channels;
    png.bitDepth = bitDepth;
    const size_t bytesPerSample = bitDepth == 16 ? 2 : 1;
    const size_t rowBytes =
        static_cast<size_t>(image.width) * static_cast<size_t>(image.channels) * bytesPerSample;
    png.samples.resize(rowBytes * static_cast<size_t>(image.height));
    std::vector<unsigned char>& samples = png.samples;
    if (bitDepth == 16) {
        for (size_t i = 0; i < image.texels.size(); ++i) {
            const uint32_t v = quantise<65535>(image.texels[i]);
            samples[2 * i] = static_cast<unsigned char>(v >> 8); // PNG samples are big-endian
            samples[2 * i + 1] = static_cast<unsigned char>(v & 0xff);
        }
    } else {
        for (size_t i = 0; i < image.texels.size(); ++i)
            samples[i] = static_cast<unsigned char>(quantise<255>(image.texels[i]));
    }
    png.rows.resize(static_cast<size_t>(image.height));
    for (size_t y = 0; y < png.rows.size(); ++y)
        png.rows[y] = samples.data() + y * rowBytes;
    return png;
}

bool writePng(const std::string& path, const PngImage& image, std::string& error) {
    const int colourTypes[] = {0, PNG_COLOR_TYPE_GRAY, 0, PNG_COLOR_TYPE_RGB, PNG_COLOR_TYPE_RGB_ALPHA};
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info) {
        png_destroy_write_struct(&png, nullptr);
        error = path + ": cannot create a PNG writer";
        return false;
    }
    PngWriteState state;
    // Room for the filtered rows as they stand, which compressed data rarely
    // exceeds: the file grows without being moved again and again.
    const size_t rowBytes = static_cast<size_t>(image.width) * static_cast<size_t>(image.channels) *
                            static_cast<size_t>(image.bitDepth / 8);
    state.bytes.reserve(static_cast<size_t>(image.height) * (rowBytes + 1) + 1024);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        error = path + ": PNG encoding failed";
        return false;
    }
    png_set_write_fn(png, &state, appendBytes, flushNothing);
    png_set_IHDR(png, info, static_cast<png_uint_32>(image.width), static_cast<png_uint_32>(image.height),
                 image.bitDepth, colourTypes[image.channels], PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    // Textures are written often, so speed comes first: one filter instead of
    // trying every filter per row, and run-length matching, which after the
    // Paeth filter compresses textures about as well as full matching (both
    // smooth and noisy ones) at a fraction of the time.
    png_set_compression_level(png, 2);
    png_set_compression_strategy(png, Z_RLE);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_PAETH);
    // The rows are only read, whatever libpng's prototype says.
    png_set_rows(png, info, const_cast<png_bytepp>(image.rows.data()));
    int transforms = PNG_TRANSFORM_IDENTITY;
    if (image.dropsFourth)
        transforms |= PNG_TRANSFORM_STRIP_FILLER_AFTER;
    if (image.hostByteOrder && image.bitDepth == 16 && isLittleEndianHost())
        transforms |= PNG_TRANSFORM_SWAP_ENDIAN;
    png_write_png(png, info, transforms, nullptr);
    png_destroy_write_struct(&png, &info);
    return writeFileAtomically(path, state.bytes.data(), state.bytes.size(), error);
}

bool writeExr(const std::string& path, const FloatImage& image, std::string& error) {
    static const char* const gray[] = {"Y"};
    static const char* const colour[] = {"R", "G", "B", "A"};
    const char* const* names = image.channels == 1 ? gray : colour;
    const std::string temporary = path + ".tmp";
    try {
        Imf::Header header(image.width, image.height);
        header.compression() = Imf::ZIP_COMPRESSION;
        Imf::FrameBuffer frame;
        const size_t texelBytes = sizeof(float) * static_cast<size_t>(image.channels);
        for (int c = 0; c < image.channels; ++c) {
            header.channels().insert(names[c], Imf::Channel(Imf::FLOAT));
            // The frame buffer only reads through this pointer.
            char* base = reinterpret_cast<char*>(const_cast<float*>(image.texels.data() + c));
            frame.insert(names[c], Imf::Slice(Imf::FLOAT, base, texelBytes,
                                              texelBytes * static_cast<size_t>(image.width)));
        }
        Imf::OutputFile file(temporary.c_str(), header);
        file.setFrameBuffer(frame);
        file.writePixels(image.height);
    } catch (const std::exception& e) {
        std::remove(temporary.c_str());
        error = path + ": cannot write (" + e.what() + ")";
        return false;
    }
    if (std::rename(temporary.c_str(), path.c_str()) != 0) {
        std::remove(temporary.c_str());
        error = path + ": cannot write (" + std::strerror(errno) + ")";
        return false;
    }
    return true;
}

} // namespace kvs
