#include "tools/images/PngEncoder.h"

#include "tools/images/HuffmanDeflate.h"
#include "tools/images/ImageWriter.h"

#include <libdeflate.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace kvimage {

namespace {

// Chunks hold at most 2^31 - 1 bytes.
constexpr size_t kLargestChunk = 0x7fffffff;

void putBigEndian32(std::vector<unsigned char>& out, uint32_t value) {
    const unsigned char bytes[4] = {
        static_cast<unsigned char>(value >> 24), static_cast<unsigned char>(value >> 16),
        static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value)};
    out.insert(out.end(), bytes, bytes + 4);
}

void putChunk(std::vector<unsigned char>& out, const char (&type)[5], const unsigned char* data,
              size_t size) {
    putBigEndian32(out, static_cast<uint32_t>(size));
    const size_t start = out.size();
    out.insert(out.end(), type, type + 4);
    out.insert(out.end(), data, data + size);
    putBigEndian32(out, libdeflate_crc32(0, out.data() + start, size + 4));
}

bool isLittleEndianHost() {
    const uint16_t one = 1;
    unsigned char first = 0;
    std::memcpy(&first, &one, 1);
    return first == 1;
}

// One row's samples as the file stores them: a texel's unwritten fourth
// sample dropped, 16-bit samples big-endian. The row itself when it already
// is; `scratch` (a row's bytes) otherwise.
const unsigned char* packedRow(const PngImage& image, const unsigned char* row, unsigned char* scratch) {
    const size_t sampleBytes = static_cast<size_t>(image.bitDepth / 8);
    const size_t texelBytes = sampleBytes * static_cast<size_t>(image.channels);
    const bool swap = image.bitDepth == 16 && image.hostByteOrder && isLittleEndianHost();
    const size_t width = static_cast<size_t>(image.width);
    if (!image.dropsFourth) {
        if (!swap)
            return row;
        for (size_t i = 0; i < width * texelBytes; i += 2) {
            scratch[i] = row[i + 1];
            scratch[i + 1] = row[i];
        }
        return scratch;
    }
    const size_t stride = texelBytes + sampleBytes;
    for (size_t x = 0; x < width; ++x) {
        const unsigned char* in = row + x * stride;
        unsigned char* to = scratch + x * texelBytes;
        if (swap) {
            for (size_t s = 0; s < texelBytes; s += 2) {
                to[s] = in[s + 1];
                to[s + 1] = in[s];
            }
        } else {
            std::memcpy(to, in, texelBytes);
        }
    }
    return scratch;
}

// Paeth: each byte minus the one of its left, upper and upper-left
// neighbours nearest to left + upper - upper-left. Encoding reads only
// unfiltered bytes, so the loop vectorises; 16-bit lanes hold the distances
// (at most 510) in twice as many lanes as ints would.
void paethRow(const unsigned char* row, const unsigned char* above, size_t rowBytes, size_t texelBytes,
              unsigned char* out) {
    const size_t head = std::min(texelBytes, rowBytes);
    for (size_t i = 0; i < head; ++i)
        out[i] = static_cast<unsigned char>(row[i] - above[i]);
    const unsigned char* left = row;
    const unsigned char* upperLeft = above;
    row += head;
    above += head;
    out += head;
    const size_t count = rowBytes - head;
    for (size_t i = 0; i < count; ++i) {
        const int16_t a = left[i], b = above[i], c = upperLeft[i];
        const int16_t pa = static_cast<int16_t>(std::abs(b - c));
        const int16_t pb = static_cast<int16_t>(std::abs(a - c));
        const int16_t pc = static_cast<int16_t>(std::abs(a + b - 2 * c));
        const int16_t nearer = pb <= pc ? b : c;
        const int16_t predicted = pa <= pb && pa <= pc ? a : nearer;
        out[i] = static_cast<unsigned char>(row[i] - predicted);
    }
}

// The first row has nothing above: Paeth there is the left neighbour (Sub).
void subRow(const unsigned char* row, size_t rowBytes, size_t texelBytes, unsigned char* out) {
    const size_t head = std::min(texelBytes, rowBytes);
    std::memcpy(out, row, head);
    for (size_t i = head; i < rowBytes; ++i)
        out[i] = static_cast<unsigned char>(row[i] - row[i - texelBytes]);
}

} // namespace

std::vector<unsigned char> encodePng(const PngImage& image) {
    if (image.width < 1 || image.height < 1 || (image.bitDepth != 8 && image.bitDepth != 16) ||
        image.channels < 1 || image.channels > 4 || image.rows.size() != static_cast<size_t>(image.height))
        throw std::invalid_argument("not an image PNG can hold");
    static const unsigned char kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    // By channel count: gray, gray and alpha, RGB, RGBA.
    static const unsigned char kColourTypes[5] = {0, 0, 4, 2, 6};
    const size_t texelBytes = static_cast<size_t>(image.channels) * static_cast<size_t>(image.bitDepth / 8);
    const size_t rowBytes = static_cast<size_t>(image.width) * texelBytes;
    const size_t height = static_cast<size_t>(image.height);

    // Each row: its filter type, then the filtered bytes. Every byte is
    // written before it is read, so none is initialised first.
    const size_t filteredBytes = height * (rowBytes + 1);
    const std::unique_ptr<unsigned char[]> filtered(new unsigned char[filteredBytes]);
    const std::unique_ptr<unsigned char[]> scratch(new unsigned char[2 * rowBytes]);
    const unsigned char* above = nullptr;
    for (size_t y = 0; y < height; ++y) {
        const unsigned char* row = packedRow(image, image.rows[y], scratch.get() + (y & 1) * rowBytes);
        unsigned char* out = filtered.get() + y * (rowBytes + 1);
        if (above == nullptr) {
            out[0] = 1; // Sub
            subRow(row, rowBytes, texelBytes, out + 1);
        } else {
            out[0] = 4; // Paeth
            paethRow(row, above, rowBytes, texelBytes, out + 1);
        }
        above = row;
    }
    // Not initialised either: only the bytes written are touched.
    const std::unique_ptr<unsigned char[]> compressed(new unsigned char[huffmanZlibBound(filteredBytes)]);
    const size_t compressedBytes = writeHuffmanZlib(filtered.get(), filteredBytes, compressed.get());

    std::vector<unsigned char> file;
    file.reserve(compressedBytes + compressedBytes / kLargestChunk * 12 + 64);
    file.insert(file.end(), kSignature, kSignature + 8);
    std::vector<unsigned char> header;
    putBigEndian32(header, static_cast<uint32_t>(image.width));
    putBigEndian32(header, static_cast<uint32_t>(image.height));
    const unsigned char rest[5] = {static_cast<unsigned char>(image.bitDepth), kColourTypes[image.channels],
                                   0, 0, 0};
    header.insert(header.end(), rest, rest + 5);
    putChunk(file, "IHDR", header.data(), header.size());
    for (size_t offset = 0; offset < compressedBytes; offset += kLargestChunk)
        putChunk(file, "IDAT", compressed.get() + offset, std::min(kLargestChunk, compressedBytes - offset));
    putChunk(file, "IEND", nullptr, 0);
    return file;
}

} // namespace kvimage
