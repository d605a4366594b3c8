// Reads the full-size level of an engine texture into float texels,
// whatever its pixel format.
#pragma once

#include "tools/kvs/ImageWriter.h"

#include "platform/engine/EngineTypes.h"

#include <string>

namespace kvs {

// False with a one-line `error` for an unknown format or an empty buffer.
bool textureToImage(const SubstanceTexture& texture, FloatImage& image, std::string& error);

// "8-bit RGBA", "16-bit gray", "half-float RGB", ...
std::string pixelFormatName(int format);

} // namespace kvs
