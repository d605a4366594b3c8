// Writes rendered textures as PNG (8 or 16 bits per channel) or OpenEXR
// (32-bit float channels, lossless ZIP compression), each through a
// temporary file so that a failure never leaves half a file.
#pragma once

#include <string>
#include <vector>

namespace kvimage {

// Texels as floats, rows top to bottom, channels interleaved.
struct FloatImage {
    int width = 0;
    int height = 0;
    int channels = 0; // 1 gray, 3 RGB, 4 RGBA
    std::vector<float> texels;
};

// Rows of PNG samples ready to encode, either borrowed (from a texture that
// already holds them) or owned.
struct PngImage {
    int width = 0;
    int height = 0;
    int channels = 0;           // written: 1 gray, 2 gray and alpha, 3 RGB, 4 RGBA
    int bitDepth = 8;           // 8 or 16
    bool dropsFourth = false;   // each texel of the rows holds a fourth sample that is not written
    bool hostByteOrder = false; // 16-bit samples in the machine's order, not big-endian
    std::vector<const unsigned char*> rows;
    std::vector<unsigned char> samples; // the rows' storage when owned
};

// The image clamped to 0..1 and rounded to bitDepth (8 or 16) bits.
PngImage quantisedPng(const FloatImage& image, int bitDepth);

// On failure fills a one-line `error`.
bool writePng(const std::string& path, const PngImage& image, std::string& error);

// Gray images get one channel Y, colour images R, G, B and A when present.
bool writeExr(const std::string& path, const FloatImage& image, std::string& error);

} // namespace kvimage
