#include "ZipBuilder.h"

#include <zip.h>

#include <stdexcept>

namespace kvtest {

std::vector<char> buildZip(const std::vector<ZipEntry>& entries) {
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* buffer = zip_source_buffer_create(nullptr, 0, 0, &error);
    zip_t* archive = zip_open_from_source(buffer, ZIP_TRUNCATE, &error);
    zip_error_fini(&error);
    if (archive == nullptr)
        throw std::runtime_error("zip_open_from_source");
    zip_source_keep(buffer);
    for (const ZipEntry& entry : entries) {
        zip_source_t* data = zip_source_buffer(archive, entry.content.data(), entry.content.size(), 0);
        // libzip refuses duplicate names; tests make them by patching the archive bytes.
        const zip_int64_t index = zip_file_add(archive, entry.name.c_str(), data, 0);
        if (index < 0)
            throw std::runtime_error(zip_strerror(archive));
        zip_set_file_compression(archive, static_cast<zip_uint64_t>(index),
                                 entry.stored ? ZIP_CM_STORE : ZIP_CM_DEFLATE, 0);
    }
    if (zip_close(archive) != 0)
        throw std::runtime_error("zip_close");
    zip_source_open(buffer);
    std::vector<char> bytes;
    char chunk[65536];
    zip_int64_t got = 0;
    while ((got = zip_source_read(buffer, chunk, sizeof chunk)) > 0)
        bytes.insert(bytes.end(), chunk, chunk + got);
    zip_source_close(buffer);
    zip_source_free(buffer);
    return bytes;
}

std::vector<ZipEntry> readZip(const std::vector<char>& bytes) {
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* source = zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error);
    zip_t* archive = source ? zip_open_from_source(source, ZIP_RDONLY | ZIP_CHECKCONS, &error) : nullptr;
    zip_error_fini(&error);
    if (archive == nullptr) {
        zip_source_free(source);
        throw std::runtime_error("libzip cannot open the archive");
    }
    std::vector<ZipEntry> entries;
    for (zip_int64_t i = 0; i < zip_get_num_entries(archive, 0); ++i) {
        zip_stat_t stat;
        zip_file_t* file = zip_fopen_index(archive, static_cast<zip_uint64_t>(i), 0);
        if (file == nullptr || zip_stat_index(archive, static_cast<zip_uint64_t>(i), 0, &stat) != 0) {
            zip_discard(archive);
            throw std::runtime_error("libzip cannot read an entry");
        }
        std::string content(stat.size, '\0');
        const zip_int64_t got = zip_fread(file, content.data(), content.size());
        zip_fclose(file);
        if (got != static_cast<zip_int64_t>(content.size())) {
            zip_discard(archive);
            throw std::runtime_error("libzip read a short entry");
        }
        entries.push_back({stat.name, content, stat.comp_method == ZIP_CM_STORE});
    }
    zip_discard(archive);
    return entries;
}

} // namespace kvtest
