#include "engine/package/EntryName.h"
#include "engine/package/Package.h"
#include "engine/package/ZipFormat.h"

#include <libdeflate.h>

#include <cstring>
#include <memory>
#include <new>
#include <set>
#include <string>

namespace kvengine {
namespace {

// DEFLATE turns at most 258 bytes into about 2 bits, so no honest entry
// declares more than this many bytes per compressed byte: a header that does
// is refused before anything is allocated for it.
constexpr uint64_t kLargestInflationRatio = 1032;

Status invalid(const std::string& what) {
    return {SubstanceStatus_InvalidData, what};
}

std::string quoted(const std::string& name) {
    return "'" + name + "'";
}

// One entry as the central directory lists it.
struct Entry {
    std::string name;
    uint16_t flags = 0;
    uint16_t method = 0;
    uint32_t crc = 0;
    uint32_t compressedBytes = 0;
    uint32_t inflatedBytes = 0;
    uint32_t localHeader = 0;
};

class Archive {
public:
    Archive(const char* data, size_t size)
        : bytes_(reinterpret_cast<const unsigned char*>(data)), size_(size) {}

    // Finds the end record and reads the central directory into `entries`.
    Status readDirectory(std::vector<Entry>& entries) {
        size_t end = 0;
        if (!findEnd(end))
            return invalid("not a readable ZIP container: no end of central directory record");
        const unsigned char* record = bytes_ + end;
        const uint16_t disk = zip::read16(record + 4), directoryDisk = zip::read16(record + 6);
        const uint16_t entriesHere = zip::read16(record + 8), count = zip::read16(record + 10);
        const uint32_t directoryBytes = zip::read32(record + 12), directoryStart = zip::read32(record + 16);
        if (count == 0xffff || directoryBytes == 0xffffffff || directoryStart == 0xffffffff)
            return invalid("a ZIP64 container, which packages never need");
        if (disk != 0 || directoryDisk != 0 || entriesHere != count)
            return invalid("a ZIP container split over several files");
        if (count > PackageLimits::maxEntries)
            return {SubstanceStatus_LimitExceeded, std::to_string(count) + " entries exceed the limit of " +
                                                       std::to_string(PackageLimits::maxEntries)};
        if (directoryStart > end || directoryBytes > end - directoryStart)
            return invalid("the central directory lies outside the container");
        directoryEnd_ = directoryStart;
        size_t at = directoryStart;
        const size_t directoryEnd = size_t(directoryStart) + directoryBytes;
        for (uint16_t index = 0; index < count; ++index) {
            if (directoryEnd - at < zip::kCentralHeaderBytes ||
                zip::read32(bytes_ + at) != zip::kCentralHeaderSignature)
                return invalid("central directory entry " + std::to_string(index) + " is damaged");
            const unsigned char* header = bytes_ + at;
            Entry entry;
            entry.flags = zip::read16(header + 8);
            entry.method = zip::read16(header + 10);
            entry.crc = zip::read32(header + 16);
            entry.compressedBytes = zip::read32(header + 20);
            entry.inflatedBytes = zip::read32(header + 24);
            const size_t nameBytes = zip::read16(header + 28);
            const size_t variable = nameBytes + zip::read16(header + 30) + zip::read16(header + 32);
            entry.localHeader = zip::read32(header + 42);
            if (directoryEnd - at - zip::kCentralHeaderBytes < variable)
                return invalid("central directory entry " + std::to_string(index) + " is damaged");
            entry.name.assign(reinterpret_cast<const char*>(header + zip::kCentralHeaderBytes), nameBytes);
            entries.push_back(std::move(entry));
            at += zip::kCentralHeaderBytes + variable;
        }
        return {};
    }

    // Inflates one entry into `out` (at most `cap` bytes), checking its
    // local header against the directory and its bytes against the CRC.
    template <typename Buffer>
    Status inflate(const Entry& entry, size_t cap, Buffer& out) const {
        const std::string name = quoted(entry.name);
        if (entry.flags & zip::kEncryptedFlags)
            return invalid("entry " + name + " is encrypted");
        if (entry.method != zip::kStored && entry.method != zip::kDeflated)
            return invalid("entry " + name + " uses compression method " + std::to_string(entry.method));
        if (entry.inflatedBytes > cap)
            return {SubstanceStatus_LimitExceeded,
                    "entry " + name + " inflates past the limit of " + std::to_string(cap) + " bytes"};
        const unsigned char* data = nullptr;
        if (Status status = locateData(entry, data); !status.ok())
            return status;
        if (entry.method == zip::kStored
                ? entry.inflatedBytes != entry.compressedBytes
                : entry.inflatedBytes > uint64_t(entry.compressedBytes) * kLargestInflationRatio)
            return invalid("entry " + name + " declares " + std::to_string(entry.inflatedBytes) +
                           " bytes from " + std::to_string(entry.compressedBytes));

        out.resize(entry.inflatedBytes);
        unsigned char* to = reinterpret_cast<unsigned char*>(out.data());
        if (entry.method == zip::kStored) {
            if (entry.inflatedBytes != 0)
                std::memcpy(to, data, entry.inflatedBytes);
        } else {
            std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> inflater(
                libdeflate_alloc_decompressor(), libdeflate_free_decompressor);
            if (!inflater)
                throw std::bad_alloc();
            size_t inflated = 0;
            // The declared size is the room: data that would inflate past it fails here.
            const libdeflate_result result = libdeflate_deflate_decompress(
                inflater.get(), data, entry.compressedBytes, to, entry.inflatedBytes, &inflated);
            if (result == LIBDEFLATE_INSUFFICIENT_SPACE)
                return invalid("entry " + name + " inflates past its declared " +
                               std::to_string(entry.inflatedBytes) + " bytes");
            if (result != LIBDEFLATE_SUCCESS)
                return invalid("entry " + name + " is corrupt: its DEFLATE stream is damaged");
            if (inflated != entry.inflatedBytes)
                return invalid("entry " + name + " inflates to " + std::to_string(inflated) +
                               " bytes, not the declared " + std::to_string(entry.inflatedBytes));
        }
        if (libdeflate_crc32(0, to, entry.inflatedBytes) != entry.crc)
            return invalid("entry " + name + " is corrupt: its CRC does not match");
        return {};
    }

private:
    // The end record: the last one whose comment reaches the end of the bytes.
    bool findEnd(size_t& end) const {
        if (size_ < zip::kEndBytes)
            return false;
        const size_t last = size_ - zip::kEndBytes;
        const size_t first = last > zip::kLargestComment ? last - zip::kLargestComment : 0;
        for (size_t at = last + 1; at-- > first;) {
            if (zip::read32(bytes_ + at) == zip::kEndSignature &&
                at + zip::kEndBytes + zip::read16(bytes_ + at + 20) == size_) {
                end = at;
                return true;
            }
        }
        return false;
    }

    // The entry's compressed bytes, after a local header that agrees with
    // the directory, all before the central directory.
    Status locateData(const Entry& entry, const unsigned char*& data) const {
        const std::string name = quoted(entry.name);
        const size_t at = entry.localHeader;
        if (at > directoryEnd_ || directoryEnd_ - at < zip::kLocalHeaderBytes ||
            zip::read32(bytes_ + at) != zip::kLocalHeaderSignature)
            return invalid("entry " + name + " has no local header where the directory says");
        const unsigned char* header = bytes_ + at;
        const size_t nameBytes = zip::read16(header + 26);
        const size_t dataStart = at + zip::kLocalHeaderBytes + nameBytes + zip::read16(header + 28);
        if (dataStart > directoryEnd_ || entry.compressedBytes > directoryEnd_ - dataStart)
            return invalid("entry " + name + " runs past the end of its data");
        if (zip::read16(header + 8) != entry.method || nameBytes != entry.name.size() ||
            std::memcmp(header + zip::kLocalHeaderBytes, entry.name.data(), nameBytes) != 0)
            return invalid("entry " + name + " has a local header that contradicts the directory");
        data = bytes_ + dataStart;
        return {};
    }

    const unsigned char* bytes_;
    size_t size_;
    size_t directoryEnd_ = 0; // where the entries' data must end: the central directory's start
};

Status locateEntries(const std::vector<Entry>& entries, const Entry*& description, const Entry*& assembly) {
    std::set<std::string> seen;
    for (size_t index = 0; index < entries.size(); ++index) {
        const std::string& name = entries[index].name;
        if (name.find('\0') != std::string::npos || !isSafeEntryName(name))
            return invalid("entry " + std::to_string(index) + " is named " + quoted(name) +
                           ", not a relative path inside the package");
        if (!seen.insert(name).second)
            return invalid("entry " + quoted(name) + " appears twice");
        if (name == zip::kDescriptionEntry)
            description = &entries[index];
        else if (name == zip::kAssemblyEntry)
            assembly = &entries[index];
    }
    if (description == nullptr)
        return invalid(std::string("no entry ") + quoted(zip::kDescriptionEntry));
    if (assembly == nullptr)
        return invalid(std::string("no entry ") + quoted(zip::kAssemblyEntry));
    return {};
}

Status unpack(const char* data, size_t size, PackageContents& out) {
    Archive archive(data, size);
    std::vector<Entry> entries;
    if (Status status = archive.readDirectory(entries); !status.ok())
        return status;
    const Entry* description = nullptr;
    const Entry* assembly = nullptr;
    if (Status status = locateEntries(entries, description, assembly); !status.ok())
        return status;
    PackageContents contents;
    if (Status status =
            archive.inflate(*description, PackageLimits::maxDescriptionBytes, contents.description);
        !status.ok())
        return status;
    const size_t zero = contents.description.find('\0');
    if (zero != std::string::npos) // it is handed on as NUL-terminated text
        return invalid(std::string("entry ") + quoted(zip::kDescriptionEntry) +
                       " holds a zero byte at offset " + std::to_string(zero));
    if (Status status = archive.inflate(*assembly, PackageLimits::maxAssemblyBytes, contents.assembly);
        !status.ok())
        return status;
    out = std::move(contents);
    return {};
}

} // namespace

bool looksLikePackage(const char* data, size_t size) {
    return data != nullptr && size >= 4 && std::memcmp(data, "PK\x03\x04", 4) == 0;
}

Status readPackage(const char* data, size_t size, PackageContents& out) {
    if (data == nullptr && size != 0)
        return {SubstanceStatus_InvalidArgument,
                "package: no bytes behind a size of " + std::to_string(size)};
    if (size == 0)
        return invalid("package: no bytes");
    if (size > PackageLimits::maxPackageBytes)
        return {SubstanceStatus_LimitExceeded, "package: " + std::to_string(size) +
                                                   " bytes exceed the limit of " +
                                                   std::to_string(PackageLimits::maxPackageBytes)};
    try {
        return unpack(data, size, out).within("package: ");
    } catch (const std::bad_alloc&) {
        return {SubstanceStatus_OutOfMemory, "package: out of memory while unpacking"};
    }
}

} // namespace kvengine
