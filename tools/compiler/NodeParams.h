// Compiles one node parameter against its kind's table (engine/nodes): a
// number must lie in the parameter's hard range (whole for whole-number kinds,
// 0 or 1 for flags), an enumeration also takes its labels, and an expression
// over graph inputs is compiled as it stands, its value left for the engine
// to clamp at render time. Faults are one line naming the range or labels.
#pragma once

#include "tools/compiler/PackageSource.h"
#include "tools/compiler/SourcePlace.h"

#include "engine/assembly/Assembly.h"
#include "engine/nodes/NodeCatalog.h"

#include <cstdint>
#include <set>

namespace kvcompiler {

// reads receives the indices of the graph inputs the parameter reads.
kvengine::Expression compileNodeParam(const ParamSource& param, const kvengine::ParamSpec& declared,
                                      const kvengine::Graph& graph, std::set<uint32_t>& reads,
                                      const SourcePlace& place);

} // namespace kvcompiler
