// The few records of the ZIP format a package uses: local file headers,
// central directory entries and the end record, little-endian throughout.
// Neither ZIP64 nor encryption: a package is far below 4 GiB and open.
// Internal to engine/package.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kvengine {
namespace zip {

constexpr uint32_t kLocalHeaderSignature = 0x04034b50;
constexpr uint32_t kCentralHeaderSignature = 0x02014b50;
constexpr uint32_t kEndSignature = 0x06054b50;

constexpr size_t kLocalHeaderBytes = 30;
constexpr size_t kCentralHeaderBytes = 46;
constexpr size_t kEndBytes = 22;
constexpr size_t kLargestComment = 0xffff;

constexpr uint16_t kStored = 0;
constexpr uint16_t kDeflated = 8;

constexpr uint16_t kEncryptedFlags = 0x0001 | 0x0040; // traditional or strong encryption

// The entries of a package: description.xml and the compiled assembly.
constexpr const char* kDescriptionEntry = "description.xml";
constexpr const char* kAssemblyEntry = "assembly.bin";

inline uint16_t read16(const unsigned char* p) {
    return static_cast<uint16_t>(p[0] | p[1] << 8);
}
inline uint32_t read32(const unsigned char* p) {
    return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
           static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}

} // namespace zip
} // namespace kvengine
