// Conversion between the engine's float images and the texel layouts of the
// engine's texel formats (engine/formats/TexelFormat.h).
//
// Writing: a gray image is broadcast to R, G and B with alpha 1; a colour
// image written to an L format is reduced to Rec. 709 luminance. Values are
// clamped to [0, 1] for the integer formats and written as they stand for the
// float ones. The sRGB flag (32) on RGBA8 only marks the texels: the engine's
// values are already display-encoded, so the bytes are the same as for RGBA8.
#pragma once

#include "engine/formats/TexelFormat.h"
#include "engine/nodes/Image.h"
#include "engine/nodes/Parallel.h"
#include "engine/status/Status.h"

namespace kvengine {

// Levels of a chain from width x height down to 1 x 1, limited by requested (0: no limit).
int mipLevelCount(int width, int height, unsigned requested);

// Fills buffer (textureBytes large) with `levels` levels of image: level 0 as
// it is, every further level a 2x2 box filter of the one before.
void writeTexture(const Image& image, const TexelFormat& format, int levels, void* buffer,
                  const Parallel& parallel);

// Reads the full-size level of a texture into a float image: one channel for
// the L formats, four otherwise. Sides beyond the render limit are refused
// before anything is allocated.
Status readTexture(const SubstanceTexture& texture, Image& out);

} // namespace kvengine
