// Pushes the input twice into a linker handle, stacks the two copies the way
// a package stack does (every image input of the second fed by the first's
// outputs, $-inputs fused), links, and checks that the result reads back.
#include "engine/assembly/AssemblyIO.h"
#include "platform/engine/LinkerSession.h"

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
        if (session.link(linked) == 0 && kvengine::readAssembly(linked.data(), linked.size(), result) != 0)
            std::abort(); // the linker wrote something its own reader refuses
    }
    return 0;
}
