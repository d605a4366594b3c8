#include "platform/image/Image.h"

#include <cstdint>
#include <cstring>
#include <initializer_list>

std::size_t ilSIDImage::bytesPerValue(ilType type) {
    switch (type) {
    case ilUChar:
        return 1;
    case ilUShort:
        return 2;
    case ilFloat:
        return 4;
    }
    return 0;
}

namespace {

// Byte count of the image, or 0 when the layout is not supported.
std::size_t byteCountOf(const ilSize& size, ilType type, ilOrder order) {
    const std::size_t valueBytes = ilSIDImage::bytesPerValue(type);
    if (valueBytes == 0 || order != ilInterleaved)
        return 0;
    if (size.x < 1 || size.y < 1 || size.z < 1 || size.channels < 1 || size.channels > 4)
        return 0;
    std::uint64_t bytes = valueBytes * std::uint64_t(size.channels);
    for (const int extent : {size.x, size.y, size.z}) {
        bytes *= std::uint64_t(extent);
        if (bytes > ilSPMemoryImg::kMaxBytes)
            return 0;
    }
    return static_cast<std::size_t>(bytes);
}

} // namespace

ilSPMemoryImg::ilSPMemoryImg(const ilSize& size, ilType type, ilOrder order, bool clear)
    : ilSIDImage(size, type, order), m_byteCount(byteCountOf(size, type, order)) {
    if (m_byteCount == 0) {
        m_size = ilSize(0, 0, 0, 0);
        return;
    }
    m_pixels.reset(clear ? new unsigned char[m_byteCount]() : new unsigned char[m_byteCount]);
}

bool ilSPMemoryImg::setTile(int x, int y, int z, int nx, int ny, int nz, const void* data) {
    if (!data || !m_pixels || x < 0 || y < 0 || z < 0 || nx < 1 || ny < 1 || nz < 1)
        return false;
    if (nx > m_size.x - x || ny > m_size.y - y || nz > m_size.z - z)
        return false;
    const std::size_t pixelBytes = bytesPerValue(m_type) * std::size_t(m_size.channels);
    const std::size_t rowBytes = pixelBytes * std::size_t(nx);
    const auto* source = static_cast<const unsigned char*>(data);
    for (int layer = 0; layer < nz; ++layer) {
        for (int row = 0; row < ny; ++row) {
            const std::size_t target =
                ((std::size_t(z + layer) * std::size_t(m_size.y) + std::size_t(y + row)) *
                     std::size_t(m_size.x) +
                 std::size_t(x)) *
                pixelBytes;
            std::memcpy(m_pixels.get() + target, source, rowBytes);
            source += rowBytes;
        }
    }
    return true;
}
