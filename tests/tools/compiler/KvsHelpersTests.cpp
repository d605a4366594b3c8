// The render command's conversions: engine textures to float texels, and
// value texts to input values.
#include "tools/kvs/InputValueText.h"
#include "tools/kvs/TextureConversion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

namespace {

SubstanceTexture texture(void* buffer, uint16_t width, uint16_t height, int format) {
    SubstanceTexture t{};
    t.buffer = buffer;
    t.level0Width = width;
    t.level0Height = height;
    t.pixelFormat = static_cast<uint8_t>(format);
    t.mipmapCount = 1;
    return t;
}

TEST(TextureConversion, ReadsEachLayoutAndDropsPadding) {
    std::vector<uint8_t> rgbx = {255, 0, 51, 7, 0, 255, 102, 9}; // two texels, the fourth byte is padding
    kvs::FloatImage image;
    std::string error;
    ASSERT_TRUE(kvs::textureToImage(texture(rgbx.data(), 2, 1, SubstancePixelFormat_RGBx8), image, error));
    EXPECT_EQ(image.channels, 3);
    EXPECT_EQ(image.texels, (std::vector<float>{1.0f, 0.0f, 0.2f, 0.0f, 1.0f, 0.4f}));

    std::vector<uint16_t> l16 = {0, 65535, 32768, 1};
    ASSERT_TRUE(kvs::textureToImage(texture(l16.data(), 2, 2, SubstancePixelFormat_L16), image, error));
    EXPECT_EQ(image.channels, 1);
    EXPECT_FLOAT_EQ(image.texels[1], 1.0f);
    EXPECT_NEAR(image.texels[2], 0.5f, 1e-4f);

    // Half floats: 1.0, -2.0, 0.5, the smallest subnormal, then infinity.
    std::vector<uint16_t> half = {0x3c00, 0xc000, 0x3800, 0x0001, 0x7c00, 0, 0, 0};
    ASSERT_TRUE(kvs::textureToImage(texture(half.data(), 2, 1, SubstancePixelFormat_RGBA16F), image, error));
    EXPECT_EQ(image.texels[0], 1.0f);
    EXPECT_EQ(image.texels[1], -2.0f);
    EXPECT_EQ(image.texels[2], 0.5f);
    EXPECT_EQ(image.texels[3], 5.9604645e-8f);
    EXPECT_TRUE(std::isinf(image.texels[4]));

    // The sRGB flag on 8-bit RGBA keeps the layout.
    std::vector<uint8_t> rgba = {10, 20, 30, 40};
    ASSERT_TRUE(kvs::textureToImage(
        texture(rgba.data(), 1, 1, SubstancePixelFormat_RGBA8 | SubstancePixelFormat_Flag), image, error));
    EXPECT_EQ(image.channels, 4);
}

TEST(TextureConversion, RejectsUnknownFormatsAndEmptyTextures) {
    std::vector<uint8_t> bytes(16);
    kvs::FloatImage image;
    std::string error;
    EXPECT_FALSE(kvs::textureToImage(texture(bytes.data(), 1, 1, 2), image, error));
    EXPECT_EQ(error, "unknown pixel format 2");
    EXPECT_FALSE(kvs::textureToImage(texture(nullptr, 1, 1, 0), image, error));
    EXPECT_FALSE(kvs::textureToImage(texture(bytes.data(), 0, 1, 0), image, error));
}

TEST(InputValueText, ParsesWholeComponentsOfTheInputType) {
    kvs::InputValue value;
    std::string error;
    ASSERT_TRUE(kvs::parseInputValue("0.5,-1,2e1", SubstanceInputType_Float3, value, error));
    EXPECT_EQ(value.value.f[2], 20.0f);
    ASSERT_TRUE(kvs::parseInputValue("10,-3", SubstanceInputType_Integer2, value, error));
    EXPECT_EQ(value.value.i[1], -3);
    EXPECT_EQ(value.type, unsigned(SubstanceInputType_Integer2));

    for (const char* bad : {"1,2", "1,2,3,4", "1, 2,3", "1,,3", "a,b,c", " 1,2,3", "1,2,3x"}) {
        EXPECT_FALSE(kvs::parseInputValue(bad, SubstanceInputType_Float3, value, error)) << bad;
        EXPECT_FALSE(error.empty());
    }
    EXPECT_FALSE(kvs::parseInputValue("1.5", SubstanceInputType_Integer, value, error));
    EXPECT_FALSE(kvs::parseInputValue("99999999999", SubstanceInputType_Integer, value, error));
    EXPECT_FALSE(kvs::parseInputValue("1e39", SubstanceInputType_Float, value, error));
    EXPECT_FALSE(kvs::parseInputValue("1", SubstanceInputType_Image, value, error));
}

} // namespace
