#include "engine/package/EntryName.h"
#include "engine/package/Package.h"
#include "engine/package/ZipHandles.h"
#include "platform/engine/EngineTypes.h"

#include <cstring>
#include <new>
#include <set>
#include <string>

namespace kvengine {
namespace {

// Inflates one entry, counting the bytes as they come: the declared size is
// never used, so a lying header cannot make us allocate or read more.
template <typename Buffer>
int inflateEntry(zip_t* archive, zip_uint64_t index, size_t cap, Buffer& out) {
    ZipFile file(zip_fopen_index(archive, index, 0));
    if (!file)
        return SubstanceStatus_InvalidData; // encrypted, unknown method, bad header
    char chunk[64 * 1024];
    out.clear();
    for (;;) {
        const zip_int64_t got = zip_fread(file.get(), chunk, sizeof chunk);
        if (got < 0)
            return SubstanceStatus_InvalidData; // corrupt stream or CRC mismatch
        if (got == 0)
            return SubstanceStatus_Ok;
        if (static_cast<size_t>(got) > cap - out.size())
            return SubstanceStatus_LimitExceeded;
        out.insert(out.end(), chunk, chunk + got);
    }
}

int locateEntries(zip_t* archive, zip_uint64_t& description, zip_uint64_t& assembly) {
    const zip_int64_t count = zip_get_num_entries(archive, 0);
    if (count < 0)
        return SubstanceStatus_InvalidData;
    if (static_cast<zip_uint64_t>(count) > PackageLimits::maxEntries)
        return SubstanceStatus_LimitExceeded;
    bool haveDescription = false;
    bool haveAssembly = false;
    std::set<std::string> seen;
    for (zip_uint64_t index = 0; index < static_cast<zip_uint64_t>(count); ++index) {
        const char* raw = zip_get_name(archive, index, ZIP_FL_ENC_RAW);
        if (raw == nullptr)
            return SubstanceStatus_InvalidData;
        const std::string name(raw);
        if (!isSafeEntryName(name) || !seen.insert(name).second)
            return SubstanceStatus_InvalidData;
        if (name == kDescriptionEntry) {
            description = index;
            haveDescription = true;
        } else if (name == kAssemblyEntry) {
            assembly = index;
            haveAssembly = true;
        }
    }
    return haveDescription && haveAssembly ? SubstanceStatus_Ok : SubstanceStatus_InvalidData;
}

int unpack(const char* data, size_t size, PackageContents& out) {
    zip_error_t error;
    zip_error_init(&error);
    ZipSource source(zip_source_buffer_create(data, size, 0, &error));
    zip_error_fini(&error);
    if (!source)
        return SubstanceStatus_OutOfMemory;
    zip_error_init(&error);
    ZipArchive archive(zip_open_from_source(source.get(), ZIP_RDONLY | ZIP_CHECKCONS, &error));
    zip_error_fini(&error);
    if (!archive)
        return SubstanceStatus_InvalidData;
    source.release(); // the archive owns its source from now on

    zip_uint64_t descriptionIndex = 0;
    zip_uint64_t assemblyIndex = 0;
    if (int status = locateEntries(archive.get(), descriptionIndex, assemblyIndex))
        return status;
    PackageContents contents;
    if (int status = inflateEntry(archive.get(), descriptionIndex, PackageLimits::maxDescriptionBytes,
                                  contents.description))
        return status;
    if (contents.description.find('\0') != std::string::npos)
        return SubstanceStatus_InvalidData; // it is handed on as NUL-terminated text
    if (int status =
            inflateEntry(archive.get(), assemblyIndex, PackageLimits::maxAssemblyBytes, contents.assembly))
        return status;
    out = std::move(contents);
    return SubstanceStatus_Ok;
}

} // namespace

bool looksLikePackage(const char* data, size_t size) {
    return data != nullptr && size >= 4 && std::memcmp(data, "PK\x03\x04", 4) == 0;
}

int readPackage(const char* data, size_t size, PackageContents& out) {
    if (data == nullptr && size != 0)
        return SubstanceStatus_InvalidArgument;
    if (size == 0)
        return SubstanceStatus_InvalidData;
    if (size > PackageLimits::maxPackageBytes)
        return SubstanceStatus_LimitExceeded;
    try {
        return unpack(data, size, out);
    } catch (const std::bad_alloc&) {
        return SubstanceStatus_OutOfMemory;
    }
}

} // namespace kvengine
