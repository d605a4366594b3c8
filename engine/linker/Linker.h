// The linker of one handle: collects pushed assemblies and requests, resolves
// UIDs as they arrive and produces the linked assembly. A failing call changes
// nothing; its reason begins with "linker: " and names the request and the
// UIDs involved. Rules in docs/linker.md.
#pragma once

#include "engine/assembly/Assembly.h"
#include "engine/linker/LinkPlan.h"
#include "engine/status/Status.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kvengine {

class Linker {
public:
    Status push(Assembly assembly);
    Status setOutputFormat(uint32_t outputUid, int32_t format, uint32_t mipmaps);
    Status connect(uint32_t inputUid, uint32_t outputUid);
    Status select(uint32_t selectionCode, uint32_t outputUid);
    Status fuse(uint32_t keptUid, uint32_t fusedUid);
    // Serialised linked assembly, replacing `bytes` only on success.
    Status link(std::vector<char>& bytes) const;

private:
    // Graph indices in push order, or last pushed first.
    std::vector<uint32_t> pushOrder(bool backwards) const;
    // Where the output feeding an input of graph `inputGraph` is looked up.
    std::vector<uint32_t> sourceOrder(uint32_t inputGraph) const;
    bool findInput(uint32_t uid, const std::vector<uint32_t>& order, EntityRef& found) const;
    bool findOutput(uint32_t uid, const std::vector<uint32_t>& order, EntityRef& found) const;
    const GraphInput& input(EntityRef ref) const { return plan_.graphs[ref.first].inputs[ref.second]; }
    std::string describeInput(EntityRef ref) const { return kvengine::describeInput(plan_, ref); }
    std::string describeOutput(EntityRef ref) const { return kvengine::describeOutput(plan_, ref); }
    bool keepsOthers(EntityRef ref) const;

    LinkPlan plan_;
};

} // namespace kvengine
