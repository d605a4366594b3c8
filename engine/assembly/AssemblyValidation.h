// Semantic checks of a parsed graph: every index in range, expressions that
// leave exactly one value within the stack limit, no cycles between nodes.
// Internal to engine/assembly.
#pragma once

#include "engine/assembly/Assembly.h"
#include "engine/status/Status.h"

namespace kvengine {

// Ok when the graph is sound; otherwise the reason names the graph and the
// record ("graph 'pkg://x' node 3 ('blend'): ..."), and the caller puts its
// own layer in front.
Status validateGraph(const Graph& graph);

} // namespace kvengine
