#include "engine/linker/Linker.h"

#include "engine/assembly/AssemblyIO.h"
#include "engine/formats/TexelFormat.h"
#include "platform/engine/LinkerInterface.h"

#include <stdexcept>

namespace kvengine {

int Linker::push(Assembly assembly) {
    if (assembly.graphs.size() > AssemblyLimits::maxGraphs - plan_.graphs.size())
        return SubstanceStatus_LimitExceeded;
    const size_t graphsBefore = plan_.graphs.size();
    const size_t pushesBefore = plan_.assemblyUids.size();
    try {
        plan_.assemblyUids.push_back(assembly.uid);
        for (Graph& graph : assembly.graphs) {
            plan_.dropped.emplace_back(graph.outputs.size(), false);
            plan_.graphs.push_back(std::move(graph));
        }
    } catch (...) { // leave the plan as it was
        plan_.graphs.resize(graphsBefore);
        plan_.dropped.resize(graphsBefore);
        plan_.assemblyUids.resize(pushesBefore);
        throw;
    }
    return SubstanceStatus_Ok;
}

int Linker::setOutputFormat(uint32_t outputUid, int32_t format, uint32_t mipmaps) {
    EntityRef ref;
    if (!findOutput(outputUid, pushOrder(true), ref))
        return SubstanceStatus_UnknownUid;
    if (!findTexelFormat(format))
        return SubstanceStatus_InvalidArgument;
    GraphOutput& output = plan_.graphs[ref.first].outputs[ref.second];
    output.format = format;
    output.mipmaps = mipmaps;
    return SubstanceStatus_Ok;
}

int Linker::connect(uint32_t inputUid, uint32_t outputUid) {
    EntityRef in;
    EntityRef out;
    if (!findInput(inputUid, pushOrder(true), in) || !findOutput(outputUid, sourceOrder(in.first), out))
        return SubstanceStatus_UnknownUid;
    if (input(in).type != InputType::Image)
        return SubstanceStatus_Incompatible;
    if (plan_.fusedInto.count(in) != 0)
        return SubstanceStatus_InvalidState; // its value already comes from another input
    plan_.connected[in] = out;               // a later connection of the same input replaces the earlier one
    return SubstanceStatus_Ok;
}

int Linker::select(uint32_t selectionCode, uint32_t outputUid) {
    if (selectionCode != SubstanceLinkerSelect_Drop && selectionCode != SubstanceLinkerSelect_Keep)
        return SubstanceStatus_InvalidArgument;
    EntityRef ref;
    if (!findOutput(outputUid, pushOrder(false), ref))
        return SubstanceStatus_UnknownUid;
    plan_.dropped[ref.first][ref.second] = selectionCode == SubstanceLinkerSelect_Drop;
    return SubstanceStatus_Ok;
}

int Linker::fuse(uint32_t keptUid, uint32_t fusedUid) {
    EntityRef kept;
    EntityRef fused;
    if (!findInput(keptUid, pushOrder(false), kept) || !findInput(fusedUid, pushOrder(true), fused))
        return SubstanceStatus_UnknownUid;
    if (kept == fused)
        return SubstanceStatus_InvalidArgument;
    if (input(kept).type != input(fused).type)
        return SubstanceStatus_Incompatible;
    // No chains: the kept input must stay, the fused one must be free.
    if (plan_.fusedInto.count(kept) != 0 || plan_.fusedInto.count(fused) != 0 ||
        plan_.connected.count(fused) != 0 || keepsOthers(fused))
        return SubstanceStatus_InvalidState;
    plan_.fusedInto[fused] = kept;
    return SubstanceStatus_Ok;
}

int Linker::link(std::vector<char>& bytes) const {
    if (plan_.graphs.empty())
        return SubstanceStatus_InvalidState;
    Assembly linked;
    if (int status = mergePlan(plan_, linked))
        return status;
    try {
        bytes = writeAssembly(linked);
    } catch (const std::invalid_argument&) {
        return SubstanceStatus_LimitExceeded; // the merged graph outgrew one graph's limits
    }
    return SubstanceStatus_Ok;
}

bool Linker::keepsOthers(EntityRef ref) const {
    for (const auto& fusion : plan_.fusedInto)
        if (fusion.second == ref)
            return true;
    return false;
}

namespace {

template <typename Entity>
bool findIn(const std::vector<Entity>& entities, uint32_t uid, uint32_t& index) {
    for (size_t e = 0; e < entities.size(); ++e)
        if (entities[e].uid == uid) {
            index = static_cast<uint32_t>(e);
            return true;
        }
    return false;
}

} // namespace

std::vector<uint32_t> Linker::pushOrder(bool backwards) const {
    const auto count = static_cast<uint32_t>(plan_.graphs.size());
    std::vector<uint32_t> order;
    for (uint32_t g = 0; g < count; ++g)
        order.push_back(backwards ? count - 1 - g : g);
    return order;
}

std::vector<uint32_t> Linker::sourceOrder(uint32_t inputGraph) const {
    // Nearest earlier graph first (the usual bottom of a stack), then later
    // graphs, and the input's own graph last.
    std::vector<uint32_t> order;
    for (uint32_t g = inputGraph; g-- > 0;)
        order.push_back(g);
    for (uint32_t g = inputGraph + 1; g < plan_.graphs.size(); ++g)
        order.push_back(g);
    order.push_back(inputGraph);
    return order;
}

bool Linker::findInput(uint32_t uid, const std::vector<uint32_t>& order, EntityRef& found) const {
    for (uint32_t g : order)
        if (findIn(plan_.graphs[g].inputs, uid, found.second)) {
            found.first = g;
            return true;
        }
    return false;
}

bool Linker::findOutput(uint32_t uid, const std::vector<uint32_t>& order, EntityRef& found) const {
    for (uint32_t g : order)
        if (findIn(plan_.graphs[g].outputs, uid, found.second)) {
            found.first = g;
            return true;
        }
    return false;
}

} // namespace kvengine
