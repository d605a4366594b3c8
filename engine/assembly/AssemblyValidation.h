// Semantic checks of a parsed graph: every index in range, expressions that
// leave exactly one value within the stack limit, no cycles between nodes.
// Internal to engine/assembly.
#pragma once

#include "engine/assembly/Assembly.h"

namespace kvengine {

// Returns a SubstanceStatus (0 when the graph is sound).
int validateGraph(const Graph& graph);

} // namespace kvengine
