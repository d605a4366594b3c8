#include "tools/images/FileOutput.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace kvimage {

bool writeFileAtomically(const std::string& path, const void* data, size_t size, std::string& error) {
    std::string temporary = path + ".tmp";
    std::FILE* file = std::fopen(temporary.c_str(), "wb");
    if (!file) {
        error = path + ": cannot write (" + std::strerror(errno) + ")";
        return false;
    }
    bool written = std::fwrite(data, 1, size, file) == size;
    written = std::fclose(file) == 0 && written;
    if (!written || std::rename(temporary.c_str(), path.c_str()) != 0) {
        error = path + ": cannot write (" + std::strerror(errno) + ")";
        std::remove(temporary.c_str());
        return false;
    }
    return true;
}

bool readWholeFile(const std::string& path, size_t maxBytes, std::vector<char>& data, std::string& error) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) {
        error = path + ": cannot open (" + std::strerror(errno) + ")";
        return false;
    }
    data.clear();
    char buffer[65536];
    size_t got;
    while ((got = std::fread(buffer, 1, sizeof buffer, file)) > 0) {
        if (data.size() + got > maxBytes) {
            std::fclose(file);
            error = path + ": larger than " + std::to_string(maxBytes >> 20) + " MiB";
            return false;
        }
        data.insert(data.end(), buffer, buffer + got);
    }
    bool failed = std::ferror(file) != 0;
    std::fclose(file);
    if (failed) {
        error = path + ": read error";
        return false;
    }
    return true;
}

} // namespace kvimage
