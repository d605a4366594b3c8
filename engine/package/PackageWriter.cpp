#include "engine/package/Package.h"
#include "engine/package/ZipHandles.h"

#include <stdexcept>
#include <string>

namespace kvengine {
namespace {

// 1 January 2000, 00:00 in MS-DOS form: fixed so that building the same
// sources twice gives the same bytes, in any time zone.
constexpr zip_uint16_t kFixedDosTime = 0;
constexpr zip_uint16_t kFixedDosDate = (20 << 9) | (1 << 5) | 1;
constexpr zip_uint32_t kRegularFileMode = 0100644u << 16;

[[noreturn]] void fail(const std::string& what, zip_t* archive = nullptr) {
    std::string message = "cannot write package: " + what;
    if (archive != nullptr)
        message += std::string(": ") + zip_strerror(archive);
    throw std::runtime_error(message);
}

void addEntry(zip_t* archive, const char* name, const void* data, size_t size) {
    zip_error_t error;
    zip_error_init(&error);
    ZipSource source(zip_source_buffer_create(data, size, 0, &error));
    zip_error_fini(&error);
    if (!source)
        fail(name);
    const zip_int64_t index = zip_file_add(archive, name, source.get(), ZIP_FL_ENC_UTF_8);
    if (index < 0)
        fail(name, archive);
    source.release(); // added: the archive owns it
    const auto entry = static_cast<zip_uint64_t>(index);
    if (zip_set_file_compression(archive, entry, ZIP_CM_DEFLATE, 9) != 0 ||
        zip_file_set_dostime(archive, entry, kFixedDosTime, kFixedDosDate, 0) != 0 ||
        zip_file_set_external_attributes(archive, entry, 0, ZIP_OPSYS_UNIX, kRegularFileMode) != 0)
        fail(name, archive);
}

std::vector<char> contentsOf(zip_source_t* source) {
    if (zip_source_open(source) != 0)
        fail("reopening the archive");
    std::vector<char> bytes;
    char chunk[64 * 1024];
    zip_int64_t got = 0;
    while ((got = zip_source_read(source, chunk, sizeof chunk)) > 0)
        bytes.insert(bytes.end(), chunk, chunk + got);
    zip_source_close(source);
    if (got < 0)
        fail("reading the archive back");
    return bytes;
}

} // namespace

std::vector<char> writePackage(const PackageContents& contents) {
    if (contents.description.size() > PackageLimits::maxDescriptionBytes ||
        contents.assembly.size() > PackageLimits::maxAssemblyBytes)
        fail("an entry exceeds the package limits");

    zip_error_t error;
    zip_error_init(&error);
    ZipSource buffer(zip_source_buffer_create(nullptr, 0, 0, &error));
    zip_error_fini(&error);
    if (!buffer)
        fail("out of memory");
    zip_error_init(&error);
    zip_t* archive = zip_open_from_source(buffer.get(), ZIP_TRUNCATE, &error);
    zip_error_fini(&error);
    if (archive == nullptr)
        fail("creating the archive");
    zip_source_keep(buffer.get()); // keep the bytes alive past zip_close
    try {
        addEntry(archive, kDescriptionEntry, contents.description.data(), contents.description.size());
        addEntry(archive, kAssemblyEntry, contents.assembly.data(), contents.assembly.size());
    } catch (...) {
        zip_discard(archive);
        throw;
    }
    if (zip_close(archive) != 0) {
        const std::string reason = zip_strerror(archive);
        zip_discard(archive);
        fail(reason);
    }
    return contentsOf(buffer.get());
}

} // namespace kvengine
