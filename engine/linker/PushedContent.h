// What a push hands the linker, checked before anything is kept: a package
// (description and assembly) or a bare assembly.
#pragma once

#include "engine/assembly/Assembly.h"
#include "engine/status/Status.h"

#include <cstddef>
#include <string>
#include <vector>

namespace kvengine {

struct PushedContent {
    bool fromPackage = false;
    std::string description;            // package only
    std::vector<char> unpacked;         // package only: the assembly bytes it held
    const char* assemblyData = nullptr; // the assembly bytes, in `unpacked` or the caller's buffer
    size_t assemblySize = 0;
    Assembly assembly; // parsed and validated
};

// On failure `out` is unspecified and the reason is the package reader's or
// the assembly reader's. `data` must outlive `out` when it is a bare assembly.
Status unpackPushed(const char* data, size_t size, PushedContent& out);

} // namespace kvengine
