// The texture decoder over every texel format: stored samples come back as
// the floats they encode, padding and missing alpha read as 1, gray spreads
// to RGB on request, levels are found at their offsets, and records that do
// not hold what they claim are refused with a reason.
#include "engine/formats/TextureDecoder.h"
#include "engine/formats/HalfFloat.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

using namespace kvengine;

namespace {

// The float each stored sample encodes: texel t, channel c.
float intended(size_t t, int c) {
    return static_cast<float>((t * 4 + static_cast<size_t>(c)) % 6) * 0.2f;
}

// `texels` texels of `format` holding intended(), written sample by sample.
std::vector<unsigned char> encode(const TexelFormat& format, size_t texels) {
    std::vector<unsigned char> bytes(texels * format.texelBytes());
    for (size_t t = 0; t < texels; ++t)
        for (int c = 0; c < format.channels; ++c) {
            unsigned char* at =
                bytes.data() + t * format.texelBytes() + static_cast<size_t>(c * format.channelBytes);
            const float v = intended(t, c);
            if (format.isFloat && format.channelBytes == 4) {
                std::memcpy(at, &v, 4);
            } else if (format.isFloat) {
                const uint16_t h = floatToHalf(v);
                std::memcpy(at, &h, 2);
            } else if (format.channelBytes == 2) {
                const auto q = static_cast<uint16_t>(v * 65535.0f + 0.5f);
                std::memcpy(at, &q, 2);
            } else {
                *at = static_cast<unsigned char>(v * 255.0f + 0.5f);
            }
        }
    return bytes;
}

// What decoded channel c of texel t must read.
float expected(const TexelFormat& format, DecodedChannels channels, size_t t, int c) {
    if (c == 3 && (format.channels < 4 || format.alphaForcedOne))
        return 1.0f;
    if (format.channels == 1 && channels == DecodedChannels::Rgba)
        return intended(t, 0);
    return intended(t, c);
}

SubstanceTexture record(const void* buffer, int width, int height, int format, int levels = 1) {
    SubstanceTexture texture{};
    texture.buffer = const_cast<void*>(buffer);
    texture.level0Width = static_cast<uint16_t>(width);
    texture.level0Height = static_cast<uint16_t>(height);
    texture.pixelFormat = static_cast<uint8_t>(format);
    texture.mipmapCount = static_cast<uint8_t>(levels);
    return texture;
}

TEST(TextureDecoder, EveryFormatDecodesInterleavedAndPlanar) {
    const int width = 3, height = 2;
    const size_t texels = width * height;
    for (const TexelFormat& format : kTexelFormats) {
        const std::vector<unsigned char> bytes = encode(format, texels);
        const SubstanceTexture texture = record(bytes.data(), width, height, format.code);
        for (DecodedChannels channels : {DecodedChannels::Own, DecodedChannels::Rgba}) {
            const int count = decodedChannelCount(format, channels);
            EXPECT_EQ(count, channels == DecodedChannels::Rgba ? 4
                             : format.alphaForcedOne           ? 3
                                                               : format.channels)
                << format.name;
            std::vector<float> interleaved(texels * static_cast<size_t>(count), -9.0f);
            std::vector<float> planar(interleaved.size(), -9.0f);
            DecodeTarget mixed, planes;
            mixed.step = static_cast<size_t>(count);
            for (int c = 0; c < count; ++c) {
                mixed.channel[c] = interleaved.data() + c;
                planes.channel[c] = planar.data() + static_cast<size_t>(c) * texels;
            }
            ASSERT_TRUE(decodeTextureLevel(texture, 0, channels, mixed).ok()) << format.name;
            ASSERT_TRUE(decodeTextureLevel(texture, 0, channels, planes).ok()) << format.name;
            const float tolerance = format.isFloat && format.channelBytes == 2 ? 1e-3f : 1e-6f;
            for (size_t t = 0; t < texels; ++t)
                for (int c = 0; c < count; ++c) {
                    const float want = expected(format, channels, t, c);
                    EXPECT_NEAR(interleaved[t * static_cast<size_t>(count) + static_cast<size_t>(c)], want,
                                tolerance)
                        << format.name << " texel " << t << " channel " << c;
                    EXPECT_NEAR(planar[static_cast<size_t>(c) * texels + t], want, tolerance)
                        << format.name << " texel " << t << " channel " << c;
                }
        }
    }
}

TEST(TextureDecoder, LevelsAreReadAtTheirOffsets) {
    // 4 x 2 L8, then 2 x 1, then 1 x 1: 8 + 2 + 1 bytes.
    const std::vector<unsigned char> bytes = {0, 0, 0, 0, 0, 0, 0, 0, 51, 102, 255};
    const SubstanceTexture texture = record(bytes.data(), 4, 2, SubstancePixelFormat_L8, 3);
    float level1[2] = {-1, -1};
    DecodeTarget target;
    target.channel[0] = level1;
    ASSERT_TRUE(decodeTextureLevel(texture, 1, DecodedChannels::Own, target).ok());
    EXPECT_FLOAT_EQ(level1[0], 0.2f);
    EXPECT_FLOAT_EQ(level1[1], 0.4f);
    float level2 = -1;
    target.channel[0] = &level2;
    ASSERT_TRUE(decodeTextureLevel(texture, 2, DecodedChannels::Own, target).ok());
    EXPECT_FLOAT_EQ(level2, 1.0f);
}

TEST(TextureDecoder, RecordsThatHoldNothingAreRefusedWithAReason) {
    const unsigned char texel[4] = {1, 2, 3, 4};
    struct Case {
        SubstanceTexture texture;
        int level;
        const char* reason;
    };
    const Case cases[] = {
        {record(texel, 1, 1, 2), 0, "texture: pixel format 2 is not a texel format"},
        {record(texel, 1, 1, 64), 0, "texture: pixel format 64 is not a texel format"},
        {record(nullptr, 1, 1, SubstancePixelFormat_RGBA8), 0, "texture: the record has no buffer"},
        {record(texel, 0, 1, SubstancePixelFormat_RGBA8), 0,
         "texture: level 0 is 0 x 1 texels, an empty image"},
        {record(texel, 1, 1, SubstancePixelFormat_RGBA8), 1, "texture: level 1 is not one of the 1 levels"},
        {record(texel, 1, 1, SubstancePixelFormat_RGBA8, 2), 2,
         "texture: level 2 is not one of the 2 levels"},
        {record(texel, 1, 1, SubstancePixelFormat_RGBA8), -1, "texture: level -1 is not one of the 1 levels"},
    };
    for (const Case& c : cases) {
        float out[4] = {-9, -9, -9, -9};
        DecodeTarget target;
        for (int channel = 0; channel < 4; ++channel)
            target.channel[channel] = &out[channel];
        const Status status = decodeTextureLevel(c.texture, c.level, DecodedChannels::Rgba, target);
        EXPECT_EQ(status, SubstanceStatus_InvalidArgument) << c.reason;
        EXPECT_NE(status.reason().find(c.reason), std::string::npos) << status;
        for (float value : out)
            EXPECT_EQ(value, -9.0f) << "written before the record was checked: " << c.reason;
        TextureLevel level;
        EXPECT_EQ(recordLevel(c.texture, c.level, level).reason(), status.reason());
    }
}

} // namespace
