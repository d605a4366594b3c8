// Integer textures go to the PNG encoder as the engine stored them; the file
// must be the one that decoding to floats and rounding back would write.
#include "tools/kvs/ImageWriter.h"
#include "tools/kvs/TextureConversion.h"

#include "engine/formats/TextureLayout.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
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
            kvs::PngImage borrowed;
            ASSERT_TRUE(kvs::borrowPngRows(texture, level, depth, borrowed));
            std::string error;
            const std::string direct = dir + "/direct.png", rounded = dir + "/rounded.png";
            ASSERT_TRUE(kvs::writePng(direct, borrowed, error)) << error;
            ASSERT_TRUE(kvs::writePng(
                rounded, kvs::quantisedPng(kvs::textureLevelImage(texture, level), depth), error))
                << error;
            EXPECT_EQ(fileBytes(direct), fileBytes(rounded));
        }
        kvs::PngImage other;
        EXPECT_FALSE(kvs::borrowPngRows(texture, 0, depth == 8 ? 16 : 8, other))
            << "another depth is rounded";
    }
}

} // namespace
