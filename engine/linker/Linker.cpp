#include "engine/linker/Linker.h"

#include "engine/assembly/AssemblyIO.h"
#include "engine/assembly/AssemblyPlaces.h"
#include "engine/evaluator/Acceptance.h"
#include "engine/formats/TexelFormat.h"
#include "platform/engine/LinkerInterface.h"

#include <stdexcept>
#include <string>

namespace kvengine {

namespace {

// `missing` is what no pushed graph has: "this input", "input 7".
Status unknown(const std::string& request, const std::string& missing) {
    return {SubstanceStatus_UnknownUid, "linker: " + request + ": no pushed graph has " + missing};
}

} // namespace

Status Linker::push(Assembly assembly) {
    if (assembly.graphs.size() > AssemblyLimits::maxGraphs - plan_.graphs.size())
        return {SubstanceStatus_LimitExceeded,
                "linker: push: " + counted(assembly.graphs.size(), "more graph") + " after " +
                    std::to_string(plan_.graphs.size()) + " would exceed the limit of " +
                    std::to_string(AssemblyLimits::maxGraphs) + " pushed graphs"};
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
    return {};
}

Status Linker::setOutputFormat(uint32_t outputUid, int32_t format, uint32_t mipmaps) {
    EntityRef ref;
    if (!findOutput(outputUid, pushOrder(true), ref))
        return unknown("output format of output " + std::to_string(outputUid), "this output");
    if (!findTexelFormat(format))
        return {SubstanceStatus_InvalidArgument, "linker: output format of " + describeOutput(ref) +
                                                     ": pixel format " + std::to_string(format) +
                                                     " is not one of the engine's texel formats"};
    GraphOutput& output = plan_.graphs[ref.first].outputs[ref.second];
    output.format = format;
    output.mipmaps = mipmaps;
    return {};
}

Status Linker::connect(uint32_t inputUid, uint32_t outputUid) {
    EntityRef in;
    EntityRef out;
    if (!findInput(inputUid, pushOrder(true), in))
        return unknown("connection to input " + std::to_string(inputUid), "this input");
    if (!findOutput(outputUid, sourceOrder(in.first), out))
        return unknown("connection of output " + std::to_string(outputUid) + " to input " +
                           std::to_string(inputUid),
                       "this output");
    if (input(in).type != InputType::Image)
        return {SubstanceStatus_Incompatible, "linker: connection to " + describeInput(in) + ": a " +
                                                  inputTypeName(input(in).type) +
                                                  " input cannot take an image; only image inputs connect"};
    const auto fused = plan_.fusedInto.find(in);
    if (fused != plan_.fusedInto.end()) // its value already comes from another input
        return {SubstanceStatus_InvalidState, "linker: connection to " + describeInput(in) +
                                                  ": the input is fused into " +
                                                  describeInput(fused->second)};
    plan_.connected[in] = out; // a later connection of the same input replaces the earlier one
    return {};
}

Status Linker::select(uint32_t selectionCode, uint32_t outputUid) {
    if (selectionCode != SubstanceLinkerSelect_Drop && selectionCode != SubstanceLinkerSelect_Keep)
        return {SubstanceStatus_InvalidArgument, "linker: selection of output " + std::to_string(outputUid) +
                                                     ": code " + std::to_string(selectionCode) +
                                                     " is neither 0 (drop) nor 1 (keep)"};
    EntityRef ref;
    if (!findOutput(outputUid, pushOrder(false), ref))
        return unknown("selection of output " + std::to_string(outputUid), "this output");
    plan_.dropped[ref.first][ref.second] = selectionCode == SubstanceLinkerSelect_Drop;
    return {};
}

Status Linker::fuse(uint32_t keptUid, uint32_t fusedUid) {
    const std::string request =
        "fusion of input " + std::to_string(fusedUid) + " into input " + std::to_string(keptUid);
    EntityRef kept;
    EntityRef fused;
    if (!findInput(keptUid, pushOrder(false), kept))
        return unknown(request, "input " + std::to_string(keptUid));
    if (!findInput(fusedUid, pushOrder(true), fused))
        return unknown(request, "input " + std::to_string(fusedUid));
    if (kept == fused)
        return {SubstanceStatus_InvalidArgument, "linker: " + request + ": both are " + describeInput(kept)};
    if (input(kept).type != input(fused).type)
        return {SubstanceStatus_Incompatible, "linker: " + request + ": " + describeInput(fused) + " is a " +
                                                  inputTypeName(input(fused).type) + " input, " +
                                                  describeInput(kept) + " a " +
                                                  inputTypeName(input(kept).type) + " one"};
    // No chains: the kept input must stay, the fused one must be free.
    std::string why;
    if (plan_.fusedInto.count(kept) != 0)
        why = "input " + std::to_string(keptUid) + " is itself fused into " +
              describeInput(plan_.fusedInto.at(kept));
    else if (plan_.fusedInto.count(fused) != 0)
        why = "input " + std::to_string(fusedUid) + " is already fused into " +
              describeInput(plan_.fusedInto.at(fused));
    else if (plan_.connected.count(fused) != 0)
        why = "input " + std::to_string(fusedUid) + " is fed by a connection";
    else if (keepsOthers(fused))
        why = "other inputs are fused into input " + std::to_string(fusedUid);
    if (!why.empty())
        return {SubstanceStatus_InvalidState, "linker: " + request + ": " + why};
    plan_.fusedInto[fused] = kept;
    return {};
}

Status Linker::link(std::vector<char>& bytes) const {
    if (plan_.graphs.empty())
        return {SubstanceStatus_InvalidState, "linker: link: nothing has been pushed"};
    Assembly linked;
    if (Status status = mergePlan(plan_, linked); !status.ok())
        return status;
    // Refuse here what the engine would refuse to load, with its reason.
    if (Status status = checkRunnable(linked); !status.ok())
        return std::move(status).within("linker: linked ");
    try {
        bytes = writeAssembly(linked);
    } catch (const std::invalid_argument& error) {
        return {SubstanceStatus_LimitExceeded,
                std::string("linker: link: the linked graph outgrows one graph's limits (") + error.what() +
                    ")"};
    }
    return {};
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
