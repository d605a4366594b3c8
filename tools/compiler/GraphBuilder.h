// Turns one checked graph source into an assembly graph: node kinds and
// parameters against the node catalogue, expressions compiled, image links
// resolved and checked for cycles, and which outputs each input alters.
#pragma once

#include "tools/compiler/PackageSource.h"
#include "tools/compiler/SourcePlace.h"
#include "tools/compiler/UidAllocator.h"

#include "engine/assembly/Assembly.h"

#include <vector>

namespace kvcompiler {

struct BuiltGraph {
    kvengine::Graph graph;                          // inputs and outputs in source order, with UIDs
    std::vector<std::vector<uint32_t>> alteredUids; // per input: the output UIDs it alters, ascending
};

// The source's inputs must already include the system inputs and be checked.
BuiltGraph buildGraph(const GraphSource& source, UidAllocator& uids, const SourcePlace& place);

} // namespace kvcompiler
