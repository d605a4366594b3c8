// How failure reasons name the parts of a graph, the same in every engine
// part: "graph 'pkg://x'", "node 3 ('blend')", "input 2 ('tint')",
// "output 1 ('basecolor')".
#pragma once

#include "engine/assembly/Assembly.h"

#include <cstddef>
#include <string>

namespace kvengine {

std::string graphPlace(const Graph& graph);
std::string nodePlace(const Graph& graph, size_t node);
std::string inputPlace(const Graph& graph, size_t input);
std::string outputPlace(const Graph& graph, size_t output);

// "5 nodes", "1 input": a count with its noun, for limits and ranges.
std::string counted(size_t count, const char* noun);

} // namespace kvengine
