// Pushes the input twice into a linker handle, stacks the two copies the way
// a package stack does (every image input of the second fed by the first's
// outputs, $-inputs fused), links, and checks that the result reads back.
#include "engine/assembly/AssemblyIO.h"
#include "platform/engine/LinkerInterface.h"

#include <cstdlib>

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
    SubstanceLinkerContext* context = nullptr;
    SubstanceLinkerHandle* handle = nullptr;
    if (substanceLinkerContextInit(&context, SubstanceApiVersion, SubstanceCpuEngineId) != 0 ||
        substanceLinkerHandleInit(&handle, context) != 0)
        std::abort();
    if (substanceLinkerHandlePushAssemblyMemory(handle, bytes, size) == 0 &&
        substanceLinkerHandlePushAssemblyMemory(handle, bytes, size) == 0) {
        kvengine::Assembly pushed;
        if (kvengine::readAssembly(bytes, size, pushed) == 0 && !pushed.graphs.empty())
            stackCopies(handle, pushed.graphs.back());
        const char* linked = nullptr;
        size_t linkedSize = 0;
        kvengine::Assembly result;
        if (substanceLinkerHandleLink(handle, &linked, &linkedSize) == 0 &&
            kvengine::readAssembly(linked, linkedSize, result) != 0)
            std::abort(); // the linker wrote something its own reader refuses
    }
    substanceLinkerHandleRelease(handle);
    substanceLinkerContextRelease(context);
    return 0;
}
