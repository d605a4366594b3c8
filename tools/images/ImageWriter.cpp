#include "tools/images/ImageWriter.h"

#include "tools/images/FileOutput.h"
#include "tools/images/PngEncoder.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace kvimage {

namespace {

// Clamped to 0..1 and rounded to the nearest step; NaN gives 0.
template <uint32_t Maximum>
uint32_t quantise(float value) {
    if (!(value > 0.0f))
        return 0;
    return static_cast<uint32_t>(std::min(value, 1.0f) * static_cast<float>(Maximum) + 0.5f);
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
    std::vector<unsigned char> file;
    try {
        file = encodePng(image);
    } catch (const std::bad_alloc&) {
        error = path + ": out of memory while encoding the PNG";
        return false;
    } catch (const std::exception& e) {
        error = path + ": cannot encode the PNG: " + e.what();
        return false;
    }
    return writeFileAtomically(path, file.data(), file.size(), error);
}

} // namespace kvimage
