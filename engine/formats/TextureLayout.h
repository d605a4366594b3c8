// Where the levels of a texture lie in its buffer: level 0 first, every
// further level half the size of the one before (rounded down, at least 1),
// rows tightly packed, no padding between levels (platform/engine/EngineTypes.h).
#pragma once

#include "engine/formats/TexelFormat.h"
#include "engine/status/Status.h"

#include <cstddef>

namespace kvengine {

struct TextureLevel {
    const TexelFormat* format = nullptr;
    int width = 0;
    int height = 0;
    size_t offset = 0; // bytes from the start of the buffer
    size_t bytes = 0;
};

// Levels of a full chain from width x height down to 1 x 1.
int fullMipChain(int width, int height);

// Level `level` (0 or more) of a texture whose level 0 is width x height.
TextureLevel textureLevel(const TexelFormat& format, int width, int height, int level);

// Bytes of the first `levels` levels.
size_t textureBytes(const TexelFormat& format, int width, int height, int levels);

// Level `level` of a texture record, checked against the record: a known
// format, a buffer, non-zero sides and a level below its mip-map count. The
// reason names what is wrong ("texture: level 3 is not one of the 2 levels of the record").
Status recordLevel(const SubstanceTexture& texture, int level, TextureLevel& out);

} // namespace kvengine
