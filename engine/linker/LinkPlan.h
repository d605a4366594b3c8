// Everything pushed into a linker handle and every request made on it, with
// UIDs already resolved to (graph, index) positions. Internal to the linker.
#pragma once

#include "engine/assembly/Assembly.h"
#include "engine/status/Status.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace kvengine {

// Position of an input or output: pushed graph index, then index within it.
using EntityRef = std::pair<uint32_t, uint32_t>;

struct LinkPlan {
    std::vector<Graph> graphs;                // in push order, format overrides applied
    std::vector<uint32_t> assemblyUids;       // UID of each pushed assembly, in push order
    std::vector<std::vector<bool>> dropped;   // per graph, per output: left out of the result
    std::map<EntityRef, EntityRef> connected; // image input -> the output that feeds it
    std::map<EntityRef, EntityRef> fusedInto; // fused input -> the input kept in its place
};

// "input 7 ('tint') of graph 'pkg://x'", with the UID, for failure reasons.
std::string describeInput(const LinkPlan& plan, EntityRef ref);
std::string describeOutput(const LinkPlan& plan, EntityRef ref);

// Merges the plan into one graph (see docs/linker.md); `out` is filled only
// on success. A failure's reason begins with "linker: ".
Status mergePlan(const LinkPlan& plan, Assembly& out);

} // namespace kvengine
