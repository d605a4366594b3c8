// Builds and reads ZIP archives in memory with libzip for the package tests,
// including archives the package writer would never produce: the package
// reader and writer meet another implementation's files.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace kvtest {

struct ZipEntry {
    std::string name;
    std::string content;
    bool stored = false; // no compression, so content bytes appear verbatim
};

std::vector<char> buildZip(const std::vector<ZipEntry>& entries);

// Every entry of an archive, in order, as libzip reads it; throws when it cannot.
std::vector<ZipEntry> readZip(const std::vector<char>& bytes);

} // namespace kvtest
