// Builds arbitrary ZIP archives in memory for the package tests, including
// ones the package writer would never produce.
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

} // namespace kvtest
