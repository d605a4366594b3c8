// The host image library: images counted through kv::TempReferenceCount.
// ilImage is the interface, ilSIDImage an image of known size and pixel
// layout, ilSPMemoryImg one whose pixels live in memory.
#pragma once

#include "platform/base/Reference.h"

#include <cstddef>
#include <memory>

// Size of an image: x by y pixels, z layers, channels per pixel.
struct ilSize {
    int x = 0;
    int y = 0;
    int z = 0;
    int channels = 0;
    ilSize() = default;
    ilSize(int x_, int y_, int z_, int channels_) : x(x_), y(y_), z(z_), channels(channels_) {}
};

// Type of one channel value.
enum ilType {
    ilUChar = 2,  // unsigned 8-bit
    ilUShort = 3, // unsigned 16-bit
    ilFloat = 4   // 32-bit float
};

// Arrangement of the channels in memory.
enum ilOrder {
    ilInterleaved = 1 // the channels of a pixel follow each other
};

class ilImage : public kv::TempReferenceCount {
public:
    // Copies a box of pixels into the image: nx by ny by nz pixels from
    // (x, y, z) on, read from data in the image's type, order and channel
    // count, rows and layers tightly packed. Returns false, changing nothing,
    // when the box does not lie inside the image or data is null.
    virtual bool setTile(int x, int y, int z, int nx, int ny, int nz, const void* data) = 0;
};

class ilSIDImage : public ilImage {
public:
    const ilSize& getSize() const { return m_size; }
    ilType getType() const { return m_type; }
    ilOrder getOrder() const { return m_order; }
    // Bytes per channel value of the type.
    static std::size_t bytesPerValue(ilType type);

protected:
    ilSIDImage(const ilSize& size, ilType type, ilOrder order) : m_size(size), m_type(type), m_order(order) {}

    ilSize m_size;
    ilType m_type;
    ilOrder m_order;
};

// An image held in memory.
class ilSPMemoryImg : public ilSIDImage {
public:
    // Largest pixel buffer an image allocates, in bytes.
    static constexpr std::size_t kMaxBytes = std::size_t(1) << 30;

    // An image of the given size, type and order. With clear set the pixels
    // start at zero; otherwise their values are unspecified until written.
    // Sizes below 1, more than 4 channels, an unknown type or order, or a
    // buffer above kMaxBytes give an empty image: size 0 and no pixels.
    ilSPMemoryImg(const ilSize& size, ilType type, ilOrder order, bool clear);

    bool setTile(int x, int y, int z, int nx, int ny, int nz, const void* data) override;

    // The pixels, rows then layers, tightly packed; null for an empty image.
    const unsigned char* getData() const { return m_pixels.get(); }
    unsigned char* getData() { return m_pixels.get(); }
    std::size_t getDataSize() const { return m_byteCount; }

private:
    std::unique_ptr<unsigned char[]> m_pixels;
    std::size_t m_byteCount = 0;
};
