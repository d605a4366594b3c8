// The package container: a ZIP file holding description.xml and the compiled
// assembly (assembly.bin). Anyone can list it with `unzip -l`.
#pragma once

#include "engine/status/Status.h"

#include <cstddef>
#include <string>
#include <vector>

namespace kvengine {

struct PackageContents {
    std::string description; // description.xml, UTF-8
    std::vector<char> assembly;
};

// Published limits of the container.
struct PackageLimits {
    static constexpr size_t maxPackageBytes = 256u << 20;    // the whole file
    static constexpr size_t maxDescriptionBytes = 16u << 20; // description.xml inflated
    static constexpr size_t maxAssemblyBytes = 64u << 20;    // assembly.bin inflated
    static constexpr size_t maxEntries = 64;
};

// True when the bytes start like a ZIP container, whatever follows.
bool looksLikePackage(const char* data, size_t size);

// Reads a package defensively: entry names checked, inflated sizes counted
// while inflating (declared sizes are never trusted). A failure's reason
// begins with "package: "; `out` is filled only on success.
Status readPackage(const char* data, size_t size, PackageContents& out);

// Builds a package in memory. Throws std::runtime_error on failure.
std::vector<char> writePackage(const PackageContents& contents);

} // namespace kvengine
