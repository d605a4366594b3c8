// The texel format table, the half-float conversions and the level layout of
// textures: lookups that agree, conversions that round trip, offsets that
// follow the documented chain.
#include "engine/formats/TexelFormat.h"
#include "engine/formats/HalfFloat.h"
#include "engine/formats/TextureLayout.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>

using namespace kvengine;

namespace {

TEST(TexelFormats, CodesAndNamesFindTheirOwnEntry) {
    std::set<int> codes;
    std::set<std::string> names;
    for (const TexelFormat& format : kTexelFormats) {
        EXPECT_TRUE(codes.insert(format.code).second) << format.name;
        EXPECT_TRUE(names.insert(format.name).second) << format.name;
        EXPECT_EQ(findTexelFormat(format.code), &format);
        EXPECT_EQ(findTexelFormatNamed(format.name), &format);
        EXPECT_EQ(&texelFormat(format.code), &format);
        EXPECT_TRUE(format.channels == 1 || format.channels == 3 || format.channels == 4) << format.name;
        // Only 16- and 32-bit floats and 8- and 16-bit integers exist.
        EXPECT_TRUE(format.isFloat ? format.channelBytes != 1 : format.channelBytes != 4) << format.name;
        EXPECT_TRUE(!format.alphaForcedOne || format.channels == 4) << format.name;
    }
    EXPECT_EQ(findTexelFormatNamed("rgb10"), nullptr);
    EXPECT_THROW(texelFormat(2), std::invalid_argument);
}

TEST(TexelFormats, TheFlagMarksOnlyRgba8) {
    // Every code of a byte is known or unknown; the flag (32) is known on 8-bit RGBA alone.
    for (int code = 0; code < 256; ++code) {
        const TexelFormat* format = findTexelFormat(code);
        if (code & SubstancePixelFormat_Flag) {
            EXPECT_EQ(format != nullptr, code == (SubstancePixelFormat_RGBA8 | SubstancePixelFormat_Flag))
                << code;
        }
    }
    const TexelFormat& plain = texelFormat(SubstancePixelFormat_RGBA8);
    const TexelFormat& flagged = texelFormat(SubstancePixelFormat_RGBA8 | SubstancePixelFormat_Flag);
    EXPECT_EQ(flagged.texelBytes(), plain.texelBytes());
    EXPECT_EQ(flagged.isFloat, plain.isFloat);
}

// A half's value from its fields, the textbook way.
float halfValue(uint16_t half) {
    const int exponent = (half >> 10) & 0x1f;
    const int mantissa = half & 0x3ff;
    const float magnitude = exponent == 0    ? std::ldexp(static_cast<float>(mantissa), -24)
                            : exponent == 31 ? (mantissa ? NAN : INFINITY)
                                             : std::ldexp(static_cast<float>(mantissa + 1024), exponent - 25);
    return (half & 0x8000) ? -magnitude : magnitude;
}

TEST(HalfFloats, EveryHalfConvertsExactlyAndBack) {
    for (uint32_t bits = 0; bits <= 0xffff; ++bits) {
        const auto half = static_cast<uint16_t>(bits);
        const float value = halfToFloat(half);
        if (std::isnan(halfValue(half))) {
            EXPECT_TRUE(std::isnan(value)) << bits;
            EXPECT_EQ(floatToHalf(value) & 0x7c00, 0x7c00) << bits; // NaN stays NaN
            EXPECT_NE(floatToHalf(value) & 0x3ff, 0) << bits;
            continue;
        }
        EXPECT_EQ(value, halfValue(half)) << bits;
        EXPECT_EQ(std::signbit(value), (half & 0x8000) != 0) << bits;
        EXPECT_EQ(floatToHalf(value), half) << bits;
    }
}

TEST(HalfFloats, RoundToNearestEven) {
    struct Case {
        float value;
        uint16_t half;
    };
    const Case cases[] = {
        {65504.0f, 0x7bff},              // largest half
        {65520.0f, 0x7c00},              // halfway to the next: rounds to infinity
        {1.0f + 1.0f / 2048, 0x3c00},    // halfway between 1 and its successor: to even
        {1.0f + 3.0f / 2048, 0x3c02},    // halfway, odd below: up
        {std::ldexp(1.5f, -24), 0x0002}, // halfway between subnormals 1 and 2: to even, up
        {std::ldexp(2.5f, -24), 0x0002}, // halfway between subnormals 2 and 3: to even, down
        {1e-9f, 0x0000},                 // below half the smallest subnormal
        {-1e30f, 0xfc00},
    };
    for (const Case& c : cases)
        EXPECT_EQ(floatToHalf(c.value), c.half) << c.value;
}

TEST(TextureLayout, LevelsFollowEachOtherDownToOneTexel) {
    EXPECT_EQ(fullMipChain(64, 16), 7);
    EXPECT_EQ(fullMipChain(5, 3), 3);
    EXPECT_EQ(fullMipChain(1, 1), 1);
    const TexelFormat& rgb16 = texelFormat(SubstancePixelFormat_RGB16);
    struct Case {
        int level, width, height;
        size_t offset;
    };
    // 5 x 3, then 2 x 1, 1 x 1, and 1 x 1 again for a record that claims more levels.
    const Case cases[] = {{0, 5, 3, 0}, {1, 2, 1, 90}, {2, 1, 1, 102}, {3, 1, 1, 108}};
    for (const Case& c : cases) {
        const TextureLevel level = textureLevel(rgb16, 5, 3, c.level);
        EXPECT_EQ(level.width, c.width) << c.level;
        EXPECT_EQ(level.height, c.height) << c.level;
        EXPECT_EQ(level.offset, c.offset) << c.level;
        EXPECT_EQ(level.bytes, size_t(c.width * c.height) * 6) << c.level;
        EXPECT_EQ(level.format, &rgb16);
    }
    EXPECT_EQ(textureBytes(rgb16, 5, 3, 3), 108u);
    EXPECT_EQ(textureBytes(rgb16, 5, 3, 0), 0u);
    EXPECT_EQ(textureBytes(texelFormat(SubstancePixelFormat_RGBA8), 64, 16, 7),
              4u * (64 * 16 + 32 * 8 + 16 * 4 + 8 * 2 + 4 * 1 + 2 * 1 + 1 * 1));
}

} // namespace
