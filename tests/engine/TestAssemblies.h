// Hand-built assemblies and packages for the engine tests, plus field-by-field
// equality so a round trip can be checked without the engine.
#pragma once

#include "engine/assembly/Assembly.h"

#include <string>
#include <vector>

namespace kvtest {

kvengine::Instruction constant(float x, float y = 0, float z = 0, float w = 0);
kvengine::Instruction readInput(uint32_t index);
kvengine::Instruction op(kvengine::Op code, uint32_t index = 0);

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
