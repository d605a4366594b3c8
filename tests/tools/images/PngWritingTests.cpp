// Integer textures go to the PNG encoder as the engine stored them; the file
// must be the one that decoding to floats and rounding back would write.
#include "tools/images/ImageWriter.h"
#include "tools/kvs/TextureConversion.h"

#include "engine/formats/TextureLayout.h"

#include <gtest/gtest.h>
#include <png.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::string fileBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

// The samples of a PNG file as libpng decodes them (big-endian for 16 bits),
// with its size, depth and channel count; empty when libpng rejects it.
struct Decoded {
    int width = 0, height = 0, depth = 0, channels = 0;
    std::vector<unsigned char> samples;
};

Decoded readPng(std::FILE* file) {
    Decoded out;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_read_struct(&png, &info, nullptr);
        return Decoded{};
    }
    png_init_io(png, file);
    png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    out.width = static_cast<int>(png_get_image_width(png, info));
    out.height = static_cast<int>(png_get_image_height(png, info));
    out.depth = png_get_bit_depth(png, info);
    out.channels = png_get_channels(png, info);
    const size_t rowBytes = png_get_rowbytes(png, info);
    png_bytepp rows = png_get_rows(png, info);
    for (int y = 0; y < out.height; ++y)
        out.samples.insert(out.samples.end(), rows[y], rows[y] + rowBytes);
    png_destroy_read_struct(&png, &info, nullptr);
    return out;
}

Decoded decode(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr)
        return Decoded{};
    Decoded out = readPng(file);
    std::fclose(file);
    return out;
}

TEST(PngWriting, EveryLayoutDecodesToTheSamplesGiven) {
    const std::string path = testing::TempDir() + "/layout.png";
    std::mt19937 random(7);
    const struct { int width, height; } sizes[] = {{1, 1}, {2, 1}, {1, 5}, {7, 3}, {300, 201}};
    for (const auto& size : sizes) {
        for (int channels : {1, 3, 4}) {
            for (int depth : {8, 16}) {
                for (bool dropsFourth : {false, true}) {
                    for (bool hostOrder : {false, true}) {
                        if ((dropsFourth && channels != 3) || (hostOrder && depth != 16))
                            continue;
                        SCOPED_TRACE(std::to_string(size.width) + "x" + std::to_string(size.height) + " " +
                                     std::to_string(channels) + " channels, " + std::to_string(depth) +
                                     " bits" + (dropsFourth ? ", fourth dropped" : "") +
                                     (hostOrder ? ", host order" : ""));
                        const size_t sampleBytes = static_cast<size_t>(depth / 8);
                        const size_t stored = static_cast<size_t>(channels + (dropsFourth ? 1 : 0));
                        const size_t texels =
                            static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
                        // Half smooth, half noise: both paths of the filter and the compressor.
                        std::vector<uint16_t> values(texels * stored);
                        for (size_t i = 0; i < values.size(); ++i)
                            values[i] =
                                i % 2 ? static_cast<uint16_t>(random()) : static_cast<uint16_t>(i * 97);
                        kvimage::PngImage image;
                        image.width = size.width;
                        image.height = size.height;
                        image.channels = channels;
                        image.bitDepth = depth;
                        image.dropsFourth = dropsFourth;
                        image.hostByteOrder = hostOrder;
                        image.samples.resize(values.size() * sampleBytes);
                        std::vector<unsigned char> expected;
                        for (size_t i = 0; i < values.size(); ++i) {
                            const uint16_t v = depth == 8 ? values[i] & 0xff : values[i];
                            if (depth == 8) {
                                image.samples[i] = static_cast<unsigned char>(v);
                            } else if (hostOrder) {
                                std::memcpy(&image.samples[2 * i], &v, 2);
                            } else {
                                image.samples[2 * i] = static_cast<unsigned char>(v >> 8);
                                image.samples[2 * i + 1] = static_cast<unsigned char>(v);
                            }
                            if (dropsFourth && i % stored == 3)
                                continue;
                            if (depth == 16)
                                expected.push_back(static_cast<unsigned char>(v >> 8));
                            expected.push_back(static_cast<unsigned char>(v));
                        }
                        const size_t rowBytes = static_cast<size_t>(size.width) * stored * sampleBytes;
                        for (int y = 0; y < size.height; ++y)
                            image.rows.push_back(image.samples.data() + static_cast<size_t>(y) * rowBytes);
                        std::string error;
                        ASSERT_TRUE(kvimage::writePng(path, image, error)) << error;
                        const Decoded decoded = decode(path);
                        EXPECT_EQ(decoded.width, size.width);
                        EXPECT_EQ(decoded.height, size.height);
                        EXPECT_EQ(decoded.depth, depth);
                        EXPECT_EQ(decoded.channels, channels);
                        EXPECT_TRUE(decoded.samples == expected);
                    }
                }
            }
        }
    }
}

TEST(PngWriting, RefusesWhatPngCannotHoldWithOneLine) {
    kvimage::PngImage empty;
    empty.channels = 4;
    std::string error;
    const std::string path = testing::TempDir() + "/refused.png";
    EXPECT_FALSE(kvimage::writePng(path, empty, error));
    EXPECT_NE(error.find("refused.png"), std::string::npos) << error;
    EXPECT_EQ(error.find('\n'), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(PngWriting, BorrowedRowsWriteTheFileThatRoundingWouldForEveryIntegerFormat) {
    const std::string dir = testing::TempDir();
    for (const kvengine::TexelFormat& format : kvengine::kTexelFormats) {
        if (format.isFloat)
            continue;
        // Odd sides and two levels, so that rows, padding and level offsets all count.
        const int width = 5, height = 3, levels = 2;
        std::vector<unsigned char> texels(kvengine::textureBytes(format, width, height, levels));
        for (size_t i = 0; i < texels.size(); ++i)
            texels[i] = static_cast<unsigned char>(i * 37 + 11);
        SubstanceTexture texture{};
        texture.buffer = texels.data();
        texture.level0Width = width;
        texture.level0Height = height;
        texture.pixelFormat = static_cast<uint8_t>(format.code);
        texture.mipmapCount = levels;
        const int depth = 8 * format.channelBytes;
        for (int level = 0; level < levels; ++level) {
            SCOPED_TRACE(std::string(format.name) + " level " + std::to_string(level));
            kvimage::PngImage borrowed;
            ASSERT_TRUE(kvs::borrowPngRows(texture, level, depth, borrowed));
            std::string error;
            const std::string direct = dir + "/direct.png", rounded = dir + "/rounded.png";
            ASSERT_TRUE(kvimage::writePng(direct, borrowed, error)) << error;
            ASSERT_TRUE(kvimage::writePng(
                rounded, kvimage::quantisedPng(kvs::textureLevelImage(texture, level), depth), error))
                << error;
            EXPECT_EQ(fileBytes(direct), fileBytes(rounded));
        }
        kvimage::PngImage other;
        EXPECT_FALSE(kvs::borrowPngRows(texture, 0, depth == 8 ? 16 : 8, other))
            << "another depth is rounded";
    }
}

} // namespace
