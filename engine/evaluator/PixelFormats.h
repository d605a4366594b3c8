// Conversion between the engine's float images and the texel layouts of the
// C interface's pixel formats.
//
// Writing: a gray image is broadcast to R, G and B with alpha 1; a colour
// image written to an L format is reduced to Rec. 709 luminance. Values are
// clamped to [0, 1] for the integer formats and written as they stand for the
// float ones. The sRGB flag (32) on RGBA8 only marks the texels: the engine's
// values are already display-encoded, so the bytes are the same as for RGBA8.
#pragma once

#include "engine/nodes/Image.h"
#include "engine/nodes/Parallel.h"
#include "platform/engine/EngineTypes.h"

#include <cstddef>

namespace kvengine {

bool isTextureFormat(int format);
// Bytes of one texel (format must be known).
size_t texelBytes(int format);
// Texels of a level 0 stored in one channel (the L formats) rather than four.
bool isLuminanceFormat(int format);

// Levels of a chain from width x height down to 1 x 1, limited by requested (0: no limit).
int mipLevelCount(int width, int height, unsigned requested);
// Total bytes of a chain of `levels` levels.
size_t textureBytes(int format, int width, int height, int levels);

// Fills buffer (textureBytes large) with `levels` levels of image: level 0 as
// it is, every further level a 2x2 box filter of the one before.
void writeTexture(const Image& image, int format, int levels, void* buffer, const Parallel& parallel);

// Reads the full-size level of a texture into a float image: one channel for
// the L formats, four otherwise. Returns a SubstanceStatus.
int readTexture(const SubstanceTexture& texture, Image& out);

} // namespace kvengine
