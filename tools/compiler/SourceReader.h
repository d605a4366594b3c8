// Reads the JSON package source into PackageSource records, checking its
// shape: required and unknown keys, value kinds, component counts, whole
// numbers for integer inputs.
#pragma once

#include "tools/compiler/PackageSource.h"

#include <string>

namespace kvcompiler {

// Largest source text accepted; real sources are a few kilobytes.
constexpr size_t kMaxSourceBytes = 4u << 20;

// fileName only names the source in messages. Throws CompileError.
PackageSource readPackageSource(const std::string& jsonText, const std::string& fileName);

} // namespace kvcompiler
