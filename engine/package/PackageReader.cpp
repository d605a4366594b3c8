#include "engine/package/EntryName.h"
#include "engine/package/Package.h"
#include "engine/package/ZipHandles.h"

#include <cstring>
#include <new>
#include <set>
#include <string>

namespace kvengine {
namespace {

Status invalid(const std::string& what) {
    return {SubstanceStatus_InvalidData, what};
}

std::string quoted(const std::string& name) {
    return "'" + name + "'";
}

// Inflates one entry, counting the bytes as they come: the declared size is
// never used, so a lying header cannot make us allocate or read more.
template <typename Buffer>
Status inflateEntry(zip_t* archive, zip_uint64_t index, const char* entry, size_t cap, Buffer& out) {
    const std::string name = quoted(entry);
    ZipFile file(zip_fopen_index(archive, index, 0));
    if (!file) // encrypted, unknown method, bad header
        return invalid("entry " + name + " cannot be opened: " + zip_strerror(archive));
    char chunk[64 * 1024];
    out.clear();
    for (;;) {
        const zip_int64_t got = zip_fread(file.get(), chunk, sizeof chunk);
        if (got < 0) // corrupt stream or CRC mismatch
            return invalid("entry " + name + " is corrupt after " + std::to_string(out.size()) +
                           " bytes: " + zip_file_strerror(file.get()));
        if (got == 0)
            return {};
        if (static_cast<size_t>(got) > cap - out.size())
            return {SubstanceStatus_LimitExceeded,
                    "entry " + name + " inflates past the limit of " + std::to_string(cap) + " bytes"};
        out.insert(out.end(), chunk, chunk + got);
    }
}

Status locateEntries(zip_t* archive, zip_uint64_t& description, zip_uint64_t& assembly) {
    const zip_int64_t count = zip_get_num_entries(archive, 0);
    if (count < 0)
        return invalid("the entries cannot be counted");
    if (static_cast<zip_uint64_t>(count) > PackageLimits::maxEntries)
        return {SubstanceStatus_LimitExceeded, std::to_string(count) + " entries exceed the limit of " +
                                                   std::to_string(PackageLimits::maxEntries)};
    bool haveDescription = false;
    bool haveAssembly = false;
    std::set<std::string> seen;
    for (zip_uint64_t index = 0; index < static_cast<zip_uint64_t>(count); ++index) {
        const char* raw = zip_get_name(archive, index, ZIP_FL_ENC_RAW);
        if (raw == nullptr)
            return invalid("entry " + std::to_string(index) + " has no readable name");
        const std::string name(raw);
        if (!isSafeEntryName(name))
            return invalid("entry " + std::to_string(index) + " is named " + quoted(name) +
                           ", not a relative path inside the package");
        if (!seen.insert(name).second)
            return invalid("entry " + quoted(name) + " appears twice");
        if (name == kDescriptionEntry) {
            description = index;
            haveDescription = true;
        } else if (name == kAssemblyEntry) {
            assembly = index;
            haveAssembly = true;
        }
    }
    if (!haveDescription)
        return invalid(std::string("no entry ") + quoted(kDescriptionEntry));
    if (!haveAssembly)
        return invalid(std::string("no entry ") + quoted(kAssemblyEntry));
    return {};
}

Status unpack(const char* data, size_t size, PackageContents& out) {
    zip_error_t error;
    zip_error_init(&error);
    ZipSource source(zip_source_buffer_create(data, size, 0, &error));
    zip_error_fini(&error);
    if (!source)
        return {SubstanceStatus_OutOfMemory, "no memory to open the container"};
    zip_error_init(&error);
    ZipArchive archive(zip_open_from_source(source.get(), ZIP_RDONLY | ZIP_CHECKCONS, &error));
    if (!archive) {
        const std::string why = zip_error_strerror(&error);
        zip_error_fini(&error);
        return invalid("not a readable ZIP container: " + why);
    }
    zip_error_fini(&error);
    source.release(); // the archive owns its source from now on

    zip_uint64_t descriptionIndex = 0;
    zip_uint64_t assemblyIndex = 0;
    if (Status status = locateEntries(archive.get(), descriptionIndex, assemblyIndex); !status.ok())
        return status;
    PackageContents contents;
    if (Status status = inflateEntry(archive.get(), descriptionIndex, kDescriptionEntry,
                                     PackageLimits::maxDescriptionBytes, contents.description);
        !status.ok())
        return status;
    const size_t zero = contents.description.find('\0');
    if (zero != std::string::npos) // it is handed on as NUL-terminated text
        return invalid(std::string("entry ") + quoted(kDescriptionEntry) + " holds a zero byte at offset " +
                       std::to_string(zero));
    if (Status status =
            inflateEntry(archive.get(), assemblyIndex, kAssemblyEntry, PackageLimits::maxAssemblyBytes,
                         contents.assembly);
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
