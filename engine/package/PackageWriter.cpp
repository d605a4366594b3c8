#include "engine/package/Package.h"
#include "engine/package/ZipFormat.h"

#include <libdeflate.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace kvengine {
namespace {

// 1 January 2000, 00:00 in MS-DOS form: fixed so that building the same
// sources twice gives the same bytes, in any time zone.
constexpr uint16_t kFixedDosTime = 0;
constexpr uint16_t kFixedDosDate = (20 << 9) | (1 << 5) | 1;
constexpr uint32_t kRegularFileMode = 0100644u << 16;
constexpr uint16_t kMadeOnUnix = 3 << 8;
constexpr uint16_t kVersion = 20; // 2.0: DEFLATE, folders
// Packages are written once and read many times: the smallest output.
constexpr int kCompressionLevel = 12;

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error("cannot write package: " + what);
}

void put16(std::vector<char>& out, uint16_t value) {
    out.push_back(static_cast<char>(value & 0xff));
    out.push_back(static_cast<char>(value >> 8));
}
void put32(std::vector<char>& out, uint32_t value) {
    put16(out, static_cast<uint16_t>(value & 0xffff));
    put16(out, static_cast<uint16_t>(value >> 16));
}

struct Written {
    std::string name;
    uint16_t method;
    uint32_t crc, compressedBytes, inflatedBytes, localHeader;
};

// The fields local and central headers share, from "version needed" on.
void putCommonFields(std::vector<char>& out, const Written& entry) {
    put16(out, kVersion);
    put16(out, 0); // flags
    put16(out, entry.method);
    put16(out, kFixedDosTime);
    put16(out, kFixedDosDate);
    put32(out, entry.crc);
    put32(out, entry.compressedBytes);
    put32(out, entry.inflatedBytes);
    put16(out, static_cast<uint16_t>(entry.name.size()));
    put16(out, 0); // extra field
}

// Appends a local header and the entry's data, deflated unless that would
// not make it smaller.
Written addEntry(std::vector<char>& out, const char* name, const void* data, size_t size) {
    Written entry{name,
                  zip::kStored,
                  libdeflate_crc32(0, data, size),
                  0,
                  static_cast<uint32_t>(size),
                  static_cast<uint32_t>(out.size())};
    std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> deflater(
        libdeflate_alloc_compressor(kCompressionLevel), libdeflate_free_compressor);
    if (!deflater)
        fail("out of memory");
    std::vector<char> deflated(libdeflate_deflate_compress_bound(deflater.get(), size));
    const size_t deflatedBytes =
        libdeflate_deflate_compress(deflater.get(), data, size, deflated.data(), deflated.size());
    const bool stored = deflatedBytes == 0 || deflatedBytes >= size;
    if (!stored)
        entry.method = zip::kDeflated;
    entry.compressedBytes = static_cast<uint32_t>(stored ? size : deflatedBytes);

    put32(out, zip::kLocalHeaderSignature);
    putCommonFields(out, entry);
    out.insert(out.end(), entry.name.begin(), entry.name.end());
    const char* bytes = stored ? static_cast<const char*>(data) : deflated.data();
    out.insert(out.end(), bytes, bytes + entry.compressedBytes);
    return entry;
}

} // namespace

std::vector<char> writePackage(const PackageContents& contents) {
    if (contents.description.size() > PackageLimits::maxDescriptionBytes ||
        contents.assembly.size() > PackageLimits::maxAssemblyBytes)
        fail("an entry exceeds the package limits");
    std::vector<char> out;
    const Written entries[] = {
        addEntry(out, zip::kDescriptionEntry, contents.description.data(), contents.description.size()),
        addEntry(out, zip::kAssemblyEntry, contents.assembly.data(), contents.assembly.size())};
    const auto directoryStart = static_cast<uint32_t>(out.size());
    for (const Written& entry : entries) {
        put32(out, zip::kCentralHeaderSignature);
        put16(out, kMadeOnUnix | kVersion);
        putCommonFields(out, entry);
        put16(out, 0); // comment
        put16(out, 0); // disk
        put16(out, 0); // internal attributes
        put32(out, kRegularFileMode);
        put32(out, entry.localHeader);
        out.insert(out.end(), entry.name.begin(), entry.name.end());
    }
    const auto directoryBytes = static_cast<uint32_t>(out.size() - directoryStart);
    put32(out, zip::kEndSignature);
    put16(out, 0); // this disk
    put16(out, 0); // the directory's disk
    put16(out, 2); // entries here
    put16(out, 2); // entries in all
    put32(out, directoryBytes);
    put32(out, directoryStart);
    put16(out, 0); // comment
    return out;
}

} // namespace kvengine
