// PNG encoding for textures written many times a second: rows filtered with
// Paeth (vectorised, since encoding predicts from unfiltered samples), then
// Huffman-coded without string matching (HuffmanDeflate.h). libpng with
// zlib took four times as long, libdeflate's fastest level twice as long,
// and both made a batch item's files cost more than its render.
#pragma once

#include <cstddef>
#include <vector>

namespace kvimage {

struct PngImage;

// The whole PNG file of `image`. Throws std::invalid_argument for a size,
// depth or channel count PNG cannot hold, std::bad_alloc when out of memory.
std::vector<unsigned char> encodePng(const PngImage& image);

} // namespace kvimage
