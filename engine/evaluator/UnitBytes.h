// Float rows to 8-bit texels, the hot end of most renders: every output of a
// material is usually 8-bit. Vectorised across texels and dispatched at run
// time; every target gives the bytes of the scalar rule: a value clamped to
// [0, 1] (NaN as 0), times 255, plus one half, truncated.
#pragma once

#include <cstdint>

namespace kvengine {

// The scalar rule.
inline uint8_t unitByte(float v) {
    const float positive = v > 0.0f ? v : 0.0f;
    return static_cast<uint8_t>((positive < 1.0f ? positive : 1.0f) * 255.0f + 0.5f);
}

// RGBA texels from four rows; a null alpha row writes 255.
void unitBytesRgba(const float* const rgba[4], int width, uint8_t* out);

// One byte per texel from one row.
void unitBytesGray(const float* row, int width, uint8_t* out);

} // namespace kvengine
