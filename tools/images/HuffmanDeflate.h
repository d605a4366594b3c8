// A zlib stream of Huffman-coded literals only: no string matching, each
// block coded by its own byte counts. Filtered image rows are mostly small
// residuals that matching finds little in, so this gives files about the
// size of a fast matching compressor's at a fraction of its time.
#pragma once

#include <cstddef>
#include <vector>

namespace kvimage {

// The most bytes writeHuffmanZlib writes for `size` bytes of data.
size_t huffmanZlibBound(size_t size);

// Writes the zlib stream (header, deflate blocks, Adler-32) of `size` bytes
// at `data` to `out`, which has room for huffmanZlibBound(size) bytes;
// returns the bytes written. Throws std::bad_alloc when out of memory.
size_t writeHuffmanZlib(const unsigned char* data, size_t size, unsigned char* out);

} // namespace kvimage
