// PNG encoding for textures written many times a second: rows filtered with
// Paeth (vectorised, since encoding predicts from unfiltered samples) and
// compressed whole by libdeflate at its fastest level. libpng filters byte
// by byte and compresses through zlib, which took twice as long and made a
// batch item's files cost more than its render.
#pragma once

#include <cstddef>
#include <vector>

namespace kvimage {

struct PngImage;

// The whole PNG file of `image`. Throws std::invalid_argument for a size,
// depth or channel count PNG cannot hold, std::bad_alloc when out of memory.
std::vector<unsigned char> encodePng(const PngImage& image);

} // namespace kvimage
