// Decodes one level of a texture record, in any texel format, into floats:
// unsigned normalised channels scaled to [0, 1], float channels as stored.
#pragma once

#include "engine/formats/TextureLayout.h"

#include <cstddef>

namespace kvengine {

// The channels a decoded texel holds.
enum class DecodedChannels {
    Own,  // the format's colour channels: 1 (L), 3 (RGB, RGBx) or 4 (RGBA)
    Rgba, // always 4: L repeated into R, G and B; alpha 1 where the format has none or forces it
};

inline int decodedChannelCount(const TexelFormat& format, DecodedChannels channels) {
    if (channels == DecodedChannels::Rgba)
        return 4;
    return format.alphaForcedOne ? 3 : format.channels;
}

// Where decoded samples go: channel c of texel i (row after row, from the top
// left) lands at channel[c][i * step], for each c below decodedChannelCount.
// Interleaved: channel[c] = base + c, step = channel count. Planar: one
// pointer per plane, step 1.
struct DecodeTarget {
    float* channel[4] = {nullptr, nullptr, nullptr, nullptr};
    size_t step = 1;
};

// Decodes level `level` of the record into target, which must hold the
// level's texels (recordLevel gives its size). The record is checked first,
// as recordLevel does; nothing is written when it fails.
Status decodeTextureLevel(const SubstanceTexture& texture, int level, DecodedChannels channels,
                          const DecodeTarget& target);

} // namespace kvengine
