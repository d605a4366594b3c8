#include "tools/images/HuffmanDeflate.h"

#include <libdeflate.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <queue>
#include <utility>

namespace kvimage {

namespace {

// Each block gets codes of its own counts; large enough that the ~140 bytes
// of its header do not matter.
constexpr size_t kBlockBytes = size_t(1) << 20;
constexpr int kMaxCodeBits = 15;
constexpr int kEndOfBlock = 256;
constexpr int kLiterals = 257; // the byte values and the end of the block
// The code lengths themselves are sent with a fixed code: 4 bits for each of
// the lengths 0 to 15, none for the repeat symbols 16 to 18.
constexpr int kLengthCodeBits = 4;
constexpr unsigned char kLengthCodeOrder[19] = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                11, 4,  12, 3, 13, 2, 14, 1, 15};
// Header bits and room for the last flush, per block.
constexpr size_t kBlockOverheadBytes = 160;

// Bits are written least significant first, 32 at a time; `out` must have
// room for every byte written plus 8.
class BitWriter {
public:
    explicit BitWriter(unsigned char* out) : mOut(out) {}

    // Up to 32 bits when fewer than 32 are waiting.
    void put(uint32_t bits, int count) {
        mBuffer |= uint64_t(bits) << mCount;
        mCount += count;
        if (mCount >= 32)
            flush32();
    }
    // Up to 62 bits in all, without a flush in between.
    void putUnflushed(uint32_t bits, int count) {
        mBuffer |= uint64_t(bits) << mCount;
        mCount += count;
    }
    void flush32() {
        if (mCount < 32)
            return;
        const uint32_t word = static_cast<uint32_t>(mBuffer);
        const unsigned char bytes[4] = {
            static_cast<unsigned char>(word), static_cast<unsigned char>(word >> 8),
            static_cast<unsigned char>(word >> 16), static_cast<unsigned char>(word >> 24)};
        std::memcpy(mOut, bytes, 4);
        mOut += 4;
        mBuffer >>= 32;
        mCount -= 32;
    }
    // Writes what is waiting, padded to a whole byte; the end of the output.
    unsigned char* finish() {
        flush32();
        while (mCount > 0) {
            *mOut++ = static_cast<unsigned char>(mBuffer);
            mBuffer >>= 8;
            mCount -= 8;
        }
        return mOut;
    }

private:
    unsigned char* mOut;
    uint64_t mBuffer = 0;
    int mCount = 0;
};

// Huffman code lengths of the counts (0 for a count of 0), at most
// kMaxCodeBits: counts that make a deeper tree are halved until they don't.
void codeLengths(std::vector<uint64_t> counts, unsigned char* lengths) {
    const int symbols = static_cast<int>(counts.size());
    for (;;) {
        using Entry = std::pair<uint64_t, int>; // weight, node
        std::priority_queue<Entry, std::vector<Entry>, std::greater<Entry>> queue;
        std::vector<int> parent(2 * static_cast<size_t>(symbols), -1);
        for (int s = 0; s < symbols; ++s)
            if (counts[s] != 0)
                queue.emplace(counts[s], s);
        int next = symbols;
        while (queue.size() > 1) {
            const Entry a = queue.top();
            queue.pop();
            const Entry b = queue.top();
            queue.pop();
            parent[a.second] = parent[b.second] = next;
            queue.emplace(a.first + b.first, next++);
        }
        // Parents are made after their children: depths follow from the root down.
        std::vector<int> depth(static_cast<size_t>(next), 0);
        for (int node = next - 2; node >= 0; --node)
            if (parent[node] >= 0)
                depth[node] = depth[parent[node]] + 1;
        int deepest = 0;
        for (int s = 0; s < symbols; ++s) {
            // A lone symbol still needs one bit.
            lengths[s] = counts[s] == 0 ? 0 : static_cast<unsigned char>(std::max(depth[s], 1));
            deepest = std::max<int>(deepest, lengths[s]);
        }
        if (deepest <= kMaxCodeBits)
            return;
        for (uint64_t& count : counts)
            if (count != 0)
                count = (count + 1) / 2;
    }
}

uint32_t reversed(uint32_t code, int bits) {
    uint32_t out = 0;
    for (int i = 0; i < bits; ++i, code >>= 1)
        out = (out << 1) | (code & 1);
    return out;
}

// Canonical codes of the lengths, bit-reversed for least-significant-first
// writing, packed as code | length << 16.
void canonicalCodes(const unsigned char* lengths, int symbols, uint32_t* codes) {
    int perLength[kMaxCodeBits + 1] = {};
    for (int s = 0; s < symbols; ++s)
        ++perLength[lengths[s]];
    perLength[0] = 0;
    uint32_t next[kMaxCodeBits + 1] = {};
    uint32_t code = 0;
    for (int bits = 1; bits <= kMaxCodeBits; ++bits) {
        code = (code + static_cast<uint32_t>(perLength[bits - 1])) << 1;
        next[bits] = code;
    }
    for (int s = 0; s < symbols; ++s) {
        const int bits = lengths[s];
        codes[s] = bits == 0 ? 0 : reversed(next[bits]++, bits) | uint32_t(bits) << 16;
    }
}

void writeBlock(const unsigned char* data, size_t size, bool last, BitWriter& bits) {
    // Four tables, so that runs of one byte value do not wait on one counter.
    uint32_t tables[4][256] = {};
    size_t i = 0;
    for (; i + 4 <= size; i += 4) {
        ++tables[0][data[i]];
        ++tables[1][data[i + 1]];
        ++tables[2][data[i + 2]];
        ++tables[3][data[i + 3]];
    }
    for (; i < size; ++i)
        ++tables[0][data[i]];
    std::vector<uint64_t> counts(kLiterals, 0);
    for (int b = 0; b < 256; ++b)
        counts[b] = uint64_t(tables[0][b]) + tables[1][b] + tables[2][b] + tables[3][b];
    counts[kEndOfBlock] = 1;
    unsigned char lengths[kLiterals];
    codeLengths(std::move(counts), lengths);
    uint32_t codes[kLiterals];
    canonicalCodes(lengths, kLiterals, codes);

    bits.put(last ? 1 : 0, 1);
    bits.put(2, 2);  // dynamic Huffman codes
    bits.put(0, 5);  // 257 literal and length codes
    bits.put(1, 5);  // 2 distance codes, never used: two of one bit keep the code complete
    bits.put(15, 4); // all 19 code length code lengths follow
    for (const unsigned char symbol : kLengthCodeOrder)
        bits.put(symbol < 16 ? kLengthCodeBits : 0, 3);
    // With every length code 4 bits long, the canonical code of length L is L.
    for (int s = 0; s < kLiterals; ++s)
        bits.put(reversed(lengths[s], kLengthCodeBits), kLengthCodeBits);
    for (int d = 0; d < 2; ++d)
        bits.put(reversed(1, kLengthCodeBits), kLengthCodeBits);

    // Two codes of at most 15 bits fit beside the fewer than 32 waiting.
    i = 0;
    for (; i + 2 <= size; i += 2) {
        const uint32_t a = codes[data[i]], b = codes[data[i + 1]];
        bits.putUnflushed(a & 0xffff, static_cast<int>(a >> 16));
        bits.putUnflushed(b & 0xffff, static_cast<int>(b >> 16));
        bits.flush32();
    }
    for (; i < size; ++i)
        bits.put(codes[data[i]] & 0xffff, static_cast<int>(codes[data[i]] >> 16));
    bits.put(codes[kEndOfBlock] & 0xffff, static_cast<int>(codes[kEndOfBlock] >> 16));
}

void putBigEndian32(unsigned char* out, uint32_t value) {
    out[0] = static_cast<unsigned char>(value >> 24);
    out[1] = static_cast<unsigned char>(value >> 16);
    out[2] = static_cast<unsigned char>(value >> 8);
    out[3] = static_cast<unsigned char>(value);
}

} // namespace

size_t huffmanZlibBound(size_t size) {
    const size_t blocks = std::max<size_t>(1, (size + kBlockBytes - 1) / kBlockBytes);
    // Header, at most 15 bits a byte, the blocks' own bits, Adler-32.
    return 2 + size / 8 * 15 + 15 + blocks * kBlockOverheadBytes + 4;
}

size_t writeHuffmanZlib(const unsigned char* data, size_t size, unsigned char* out) {
    out[0] = 0x78; // deflate, 32 KiB window
    out[1] = 0x01; // fastest compression; the pair is a multiple of 31
    BitWriter bits(out + 2);
    if (size == 0) {
        bits.put(1, 1);
        bits.put(1, 2); // fixed codes, in which the end of the block is seven zero bits
        bits.put(0, 7);
    }
    for (size_t offset = 0; offset < size; offset += kBlockBytes) {
        const size_t length = std::min(kBlockBytes, size - offset);
        writeBlock(data + offset, length, offset + length == size, bits);
    }
    unsigned char* end = bits.finish();
    putBigEndian32(end, libdeflate_adler32(1, data, size));
    return static_cast<size_t>(end + 4 - out);
}

} // namespace kvimage
