// Pushes the input (a package or a bare assembly) twice into a linker
// handle, stacks the two copies the way a package stack does (every image
// input of the second fed by the first's outputs, $-inputs fused), links, and
// checks that the result reads back and that the engine loads what the
// linker accepted: the two must agree on what is valid.
#include "engine/api/FailureReason.h"
#include "engine/assembly/AssemblyIO.h"
#include "platform/engine/EngineInterface.h"
#include "platform/engine/LinkerSession.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

void stackCopies(SubstanceLinkerHandle* handle, const kvengine::Graph& graph) {
    for (const kvengine::GraphInput& input : graph.inputs) {
        if (input.type == kvengine::InputType::Image && !graph.outputs.empty())
            substanceLinkerConnectOutputToInput(handle, input.uid,
                                                graph.outputs[input.uid % graph.outputs.size()].uid);
        else if (!input.identifier.empty() && input.identifier[0] == '$')
            substanceLinkerFuseInputs(handle, input.uid, input.uid);
    }
    for (size_t o = 0; o + 1 < graph.outputs.size(); o += 2)
        substanceLinkerHandleSelectOutputs(handle, 0, graph.outputs[o].uid);
}

void checkEngineLoads(const std::vector<char>& linked) {
    static SubstanceContext* context = [] {
        SubstanceContext* made = nullptr;
        if (substanceContextInit(&made, nullptr) != 0)
            std::abort();
        return made;
    }();
    const SubstanceHardResources resources = {1, 0, 0};
    SubstanceHandle* handle = nullptr;
    if (substanceHandleInit(&handle, context, linked.data(), linked.size(), &resources) != 0) {
        std::fprintf(stderr, "the linker accepted what the engine refuses: %s\n",
                     kvengine::lastFailure().c_str());
        std::abort();
    }
    substanceHandleRelease(handle);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const char* bytes = reinterpret_cast<const char*>(data);
    kv::LinkerSession session;
    if (session.status() != 0)
        std::abort();
    if (session.push(bytes, size) == 0 && session.push(bytes, size) == 0) {
        kvengine::Assembly pushed;
        if (kvengine::readAssembly(bytes, size, pushed) == 0 && !pushed.graphs.empty())
            stackCopies(session.handle(), pushed.graphs.back());
        std::vector<char> linked;
        kvengine::Assembly result;
        if (session.link(linked) != 0)
            return 0;
        if (kvengine::readAssembly(linked.data(), linked.size(), result) != 0)
            std::abort(); // the linker wrote something its own reader refuses
        checkEngineLoads(linked);
    }
    return 0;
}
