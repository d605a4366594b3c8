// The engine's published texel formats: the one table of pixel-format codes
// (SubstancePixelFormat), their names in package sources and their layouts.
// The linker checks format overrides against it, the evaluator writes and
// reads texels by it, the package compiler takes format names from it.
//
// Every format stores its channels in R, G, B, A order, each channel an
// unsigned normalised integer (1 or 2 bytes) or an IEEE float (2 or 4 bytes).
// The x formats store an alpha channel that always reads 1. Code 32 is RGBA8
// with the flag bit that marks sRGB-encoded texels: the same bytes.
#pragma once

#include "platform/engine/EngineTypes.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kvengine {

struct TexelFormat {
    int code;            // SubstancePixelFormat, the flag included
    const char* name;    // in package sources: "rgba8", "l16f", ...
    int channels;        // stored per texel: 1 (L), 3 (RGB) or 4 (RGBA, RGBx)
    int channelBytes;    // 1, 2 or 4
    bool isFloat;        // half (2 bytes) or single (4 bytes) IEEE floats
    bool alphaForcedOne; // the x formats: alpha stored, always opaque

    constexpr size_t texelBytes() const { return static_cast<size_t>(channels * channelBytes); }
};

inline constexpr TexelFormat kTexelFormats[] = {
    {SubstancePixelFormat_RGBA8, "rgba8", 4, 1, false, false},
    {SubstancePixelFormat_RGBA8 | SubstancePixelFormat_Flag, "srgba8", 4, 1, false, false},
    {SubstancePixelFormat_RGBx8, "rgbx8", 4, 1, false, true},
    {SubstancePixelFormat_RGB8, "rgb8", 3, 1, false, false},
    {SubstancePixelFormat_L8, "l8", 1, 1, false, false},
    {SubstancePixelFormat_RGBA16, "rgba16", 4, 2, false, false},
    {SubstancePixelFormat_RGBx16, "rgbx16", 4, 2, false, true},
    {SubstancePixelFormat_RGB16, "rgb16", 3, 2, false, false},
    {SubstancePixelFormat_L16, "l16", 1, 2, false, false},
    {SubstancePixelFormat_RGBA32F, "rgba32f", 4, 4, true, false},
    {SubstancePixelFormat_RGBA16F, "rgba16f", 4, 2, true, false},
    {SubstancePixelFormat_RGB16F, "rgb16f", 3, 2, true, false},
    {SubstancePixelFormat_L16F, "l16f", 1, 2, true, false},
    {SubstancePixelFormat_L32F, "l32f", 1, 4, true, false},
};

// The format of a code; null for codes outside the table.
constexpr const TexelFormat* findTexelFormat(int code) {
    for (const TexelFormat& format : kTexelFormats)
        if (format.code == code)
            return &format;
    return nullptr;
}

// The format of a code already checked against the table; throws
// std::invalid_argument for any other.
inline const TexelFormat& texelFormat(int code) {
    if (const TexelFormat* format = findTexelFormat(code))
        return *format;
    throw std::invalid_argument("pixel format " + std::to_string(code) +
                                " is not one of the engine's texel formats");
}

// The format of a source name; null for unknown names.
constexpr const TexelFormat* findTexelFormatNamed(std::string_view name) {
    for (const TexelFormat& format : kTexelFormats)
        if (name == format.name)
            return &format;
    return nullptr;
}

} // namespace kvengine
