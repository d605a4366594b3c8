// The viewer's 8-bit images of every texel format: the channels where the
// page expects them, alpha only where the format keeps one, and each sample
// rounded as decoding to floats and rounding would.
#include "tools/kvs/TextureConversion.h"

#include "engine/formats/TextureLayout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

// Half floats of 0, 1, 0.5, -1, 2, NaN and about 0.2, and the same as singles.
const uint16_t kHalves[] = {0x0000, 0x3C00, 0x3800, 0xBC00, 0x4000, 0x7E00, 0x3266};
const float kSingles[] = {0.0f, 1.0f, 0.5f, -1.0f, 2.0f, NAN, 0.2f};

int roundedByte(double v) {
    return std::isnan(v) ? 0 : static_cast<int>(std::lround(std::clamp(v, 0.0, 1.0) * 255.0));
}

TEST(DisplayImage, EveryFormatBecomesGrayOrRgbaBytes) {
    for (const kvengine::TexelFormat& format : kvengine::kTexelFormats) {
        SCOPED_TRACE(format.name);
        const int width = 5, height = 3;
        const size_t samples = static_cast<size_t>(width * height * format.channels);
        std::vector<unsigned char> texels(kvengine::textureBytes(format, width, height, 1));
        for (size_t i = 0; i < samples; ++i) {
            if (format.isFloat && format.channelBytes == 2) {
                std::memcpy(&texels[i * 2], &kHalves[i % 7], 2);
            } else if (format.isFloat) {
                std::memcpy(&texels[i * 4], &kSingles[i % 7], 4);
            } else {
                for (int b = 0; b < format.channelBytes; ++b)
                    texels[i * format.channelBytes + b] = static_cast<unsigned char>((i * 2 + b) * 37 + 11);
            }
        }
        SubstanceTexture texture{};
        texture.buffer = texels.data();
        texture.level0Width = width;
        texture.level0Height = height;
        texture.pixelFormat = static_cast<uint8_t>(format.code);
        texture.mipmapCount = 1;

        const kvs::DisplayImage shown = kvs::textureDisplayImage(texture);
        ASSERT_EQ(shown.width, width);
        ASSERT_EQ(shown.height, height);
        ASSERT_EQ(shown.channels, format.channels == 1 ? 1 : 4);
        ASSERT_EQ(shown.bytes.size(), static_cast<size_t>(width * height * shown.channels));

        const kvimage::FloatImage decoded = kvs::textureImage(texture);
        const auto expected = [&](size_t texel, int channel) {
            const size_t i = texel * static_cast<size_t>(format.channels) + static_cast<size_t>(channel);
            if (format.isFloat)
                return roundedByte(decoded.texels[texel * static_cast<size_t>(decoded.channels) +
                                                  static_cast<size_t>(channel)]);
            if (format.channelBytes == 1)
                return static_cast<int>(texels[i]);
            uint16_t word;
            std::memcpy(&word, &texels[i * 2], 2);
            return roundedByte(word / 65535.0);
        };
        for (size_t t = 0; t < static_cast<size_t>(width * height); ++t) {
            if (shown.channels == 1) {
                EXPECT_EQ(shown.bytes[t], expected(t, 0)) << "texel " << t;
                continue;
            }
            for (int c = 0; c < 3; ++c)
                EXPECT_EQ(shown.bytes[t * 4 + c], expected(t, c)) << "texel " << t << " channel " << c;
            const bool keepsAlpha = format.channels == 4 && !format.alphaForcedOne;
            EXPECT_EQ(shown.bytes[t * 4 + 3], keepsAlpha ? expected(t, 3) : 255) << "texel " << t;
        }
    }
}

TEST(DisplayImage, ADamagedTextureIsAFailure) {
    SubstanceTexture texture{};
    texture.level0Width = 4;
    texture.level0Height = 4;
    texture.pixelFormat = 0xEE;
    texture.mipmapCount = 1;
    EXPECT_THROW(kvs::textureDisplayImage(texture), std::exception);
}

} // namespace
