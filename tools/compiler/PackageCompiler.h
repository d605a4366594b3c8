// The package compiler: a JSON package source (docs/package-source.md) in,
// a package (description.xml + assembly in a ZIP container) out.
#pragma once

#include "engine/assembly/Assembly.h"

#include <string>
#include <vector>

namespace kvcompiler {

struct CompiledPackage {
    std::string description;     // description.xml
    kvengine::Assembly assembly; // what assembly.bin holds
    std::vector<char> bytes;     // the package file
};

// sourceName names the source in messages. Throws CompileError with a
// one-line message naming the file, graph and entity at fault.
CompiledPackage compilePackageSource(const std::string& jsonText, const std::string& sourceName);

// Reads the file and compiles it; errors as above.
CompiledPackage compilePackageFile(const std::string& path);

} // namespace kvcompiler
