// Assemblies the engine's format, package and linker tests share, plus
// field-by-field equality so a round trip can be checked without the engine.
#pragma once

#include "AssemblyBuilder.h"

#include "engine/assembly/Assembly.h"

#include <string>
#include <vector>

namespace kvtest {

// A "base" graph: inputs $outputsize (Integer2), tint (Float3); nodes
// color.uniform (tint) -> blend <- color.uniform; outputs basecolor and mask.
kvengine::Graph baseGraph(uint32_t uidSalt);
// A "top" graph: inputs $outputsize, source (Image), amount (Float); nodes
// input.image(source) and blend(input, uniform, amount); output "Output".
kvengine::Graph topGraph(uint32_t uidSalt);

kvengine::Assembly singleGraphAssembly(uint32_t assemblyUid, const kvengine::Graph& graph);

std::string describe(const kvengine::Assembly& assembly);
bool sameAssembly(const kvengine::Assembly& a, const kvengine::Assembly& b);

} // namespace kvtest
