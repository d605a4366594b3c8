// Writes rendered textures as PNG (8 or 16 bits per channel) or OpenEXR
// (32-bit float channels, lossless ZIP compression), each through a
// temporary file so that a failure never leaves half a file.
#pragma once

#include <string>
#include <vector>

namespace kvs {

// Texels as floats, rows top to bottom, channels interleaved.
struct FloatImage {
    int width = 0;
    int height = 0;
    int channels = 0; // 1 gray, 3 RGB, 4 RGBA
    std::vector<float> texels;
};

// bitDepth 8 or 16; values are clamped to 0..1. On failure fills a one-line `error`.
bool writePng(const std::string& path, const FloatImage& image, int bitDepth, std::string& error);

// Gray images get one channel Y, colour images R, G, B and A when present.
bool writeExr(const std::string& path, const FloatImage& image, std::string& error);

} // namespace kvs
