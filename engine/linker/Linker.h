// The linker of one handle: collects pushed assemblies and requests, resolves
// UIDs as they arrive and produces the linked assembly. Every call returns a
// SubstanceStatus; a failing call changes nothing. Rules in docs/linker.md.
#pragma once

#include "engine/assembly/Assembly.h"
#include "engine/linker/LinkPlan.h"

#include <cstdint>
#include <vector>

namespace kvengine {

class Linker {
public:
    int push(Assembly assembly);
    int setOutputFormat(uint32_t outputUid, int32_t format, uint32_t mipmaps);
    int connect(uint32_t inputUid, uint32_t outputUid);
    int select(uint32_t selectionCode, uint32_t outputUid);
    int fuse(uint32_t keptUid, uint32_t fusedUid);
    // Serialised linked assembly, replacing `bytes` only on success.
    int link(std::vector<char>& bytes) const;

private:
    // Graph indices in push order, or last pushed first.
    std::vector<uint32_t> pushOrder(bool backwards) const;
    // Where the output feeding an input of graph `inputGraph` is looked up.
    std::vector<uint32_t> sourceOrder(uint32_t inputGraph) const;
    bool findInput(uint32_t uid, const std::vector<uint32_t>& order, EntityRef& found) const;
    bool findOutput(uint32_t uid, const std::vector<uint32_t>& order, EntityRef& found) const;
    const GraphInput& input(EntityRef ref) const { return plan_.graphs[ref.first].inputs[ref.second]; }
    bool keepsOthers(EntityRef ref) const;

    LinkPlan plan_;
};

} // namespace kvengine
