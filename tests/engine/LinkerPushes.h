// What the linker tests push: packages of one graph, and a graph that hands
// its image input straight to its output (for stacks and cycles).
#pragma once

#include "engine/assembly/Assembly.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kvtest {

// The description a package of assembly `assemblyUid` carries: no graphs.
std::string descriptionFor(uint32_t assemblyUid);
std::vector<char> package(uint32_t assemblyUid, const kvengine::Graph& graph);

// "pkg://pass": image input inputUid ("in") read by one node that output outputUid ("out") shows.
kvengine::Graph passThrough(uint32_t inputUid, uint32_t outputUid);

} // namespace kvtest
