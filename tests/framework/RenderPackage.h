// The package the renderer tests render. Its assembly lists inputs and
// outputs out of uid order, so that no engine index equals a position in uid
// order, and its description has one input that the assembly lacks.
#pragma once

#include "framework/description/PackageDesc.h"

#include <memory>

namespace kvtest {

// The package's asmuid and the uids of its one graph.
enum : unsigned int {
    kRenderAsmUid = 5001,
    kSizeUid = 10,  // "$outputsize", a system input (Integer2)
    kRoughUid = 20, // Float, alters output 1
    kTintUid = 30,  // Float3, alters outputs 2 and 3
    kGhostUid = 40, // Float, described but not in the assembly
};

// Engine indices of the linked assembly, by uid.
unsigned int engineInputIndex(unsigned int uid);
unsigned int engineOutputIndex(unsigned int uid);

// Loads the package (which registers it with the process-wide renderer).
std::unique_ptr<SubstanceAir::PackageDesc> loadRenderPackage();

} // namespace kvtest
