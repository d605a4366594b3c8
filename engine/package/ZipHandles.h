// Owning wrappers of libzip handles so every early return releases them.
// Internal to engine/package.
#pragma once

#include <zip.h>

#include <memory>

namespace kvengine {

struct ZipArchiveCloser {
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
struct ZipFileCloser {
    void operator()(zip_file_t* file) const { zip_fclose(file); }
};
struct ZipSourceFreer {
    void operator()(zip_source_t* source) const { zip_source_free(source); }
};

using ZipArchive = std::unique_ptr<zip_t, ZipArchiveCloser>;
using ZipFile = std::unique_ptr<zip_file_t, ZipFileCloser>;
using ZipSource = std::unique_ptr<zip_source_t, ZipSourceFreer>;

// The two entries every package holds.
constexpr const char* kDescriptionEntry = "description.xml";
constexpr const char* kAssemblyEntry = "assembly.bin";

} // namespace kvengine
