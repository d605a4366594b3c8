// The library keeps its own bytes-per-texel table (framework/render/InputImage.cpp:
// it may not include engine internals). This cross-check holds it to the
// engine's texel format table: the same codes, the same texel sizes.
#include "framework/render/InputImage.h"

#include "engine/formats/TexelFormat.h"

#include <gtest/gtest.h>

#include <vector>

using namespace SubstanceAir;

namespace {

bool accepts(int format, size_t texelBytes) {
    return static_cast<bool>(InputImage::create(3, 2, format, std::vector<unsigned char>(6 * texelBytes)));
}

TEST(TexelFormatAgreement, InputImagesTakeTheEngineFormatsWithTheirSizes) {
    for (int code = 0; code < 256; ++code) {
        const kvengine::TexelFormat* format = kvengine::findTexelFormat(code);
        if (!format) {
            for (size_t bytes = 1; bytes <= 16; ++bytes)
                EXPECT_FALSE(accepts(code, bytes)) << "format " << code << " is not the engine's";
            continue;
        }
        EXPECT_TRUE(accepts(code, format->texelBytes())) << format->name;
        EXPECT_FALSE(accepts(code, format->texelBytes() + 1)) << format->name;
    }
}

} // namespace
