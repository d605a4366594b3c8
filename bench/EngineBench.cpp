// Engine throughput through the C interface, reported as megapixels per
// second of output texels: the stone tiles material (the built sample package
// when present, else its in-memory equivalent) and one 8-octave fBm node.
#include "StoneTilesAssembly.h"

#include "engine/assembly/AssemblyIO.h"
#include "engine/nodes/NodeCatalog.h"
#include "platform/engine/EngineInterface.h"
#include "platform/engine/LinkerSession.h"

#include <benchmark/benchmark.h>

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

void freeOnCompletion(SubstanceHandle* handle, unsigned int index, size_t) {
    SubstanceTexture texture{};
    SubstanceContext* context = nullptr;
    substanceHandleGetOutputs(handle, 0, index, 1, &texture);
    substanceHandleGetParentContext(handle, &context);
    if (texture.buffer)
        substanceContextMemoryFree(context, texture.buffer);
}

// The sample package linked into an assembly, or empty when it was not built.
std::vector<char> linkedSample() {
    std::ifstream file(KV_BINARY_DIR "/samples/stone_tiles.mpk", std::ios::binary);
    if (!file)
        return {};
    const std::vector<char> package{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    kv::LinkerSession session;
    std::vector<char> linked;
    if (session.status() != 0 || session.push(package) != 0 || session.link(linked) != 0)
        linked.clear();
    return linked;
}

const std::vector<char>& stoneTiles(bool& fromSample) {
    static bool sample = false;
    static const std::vector<char> bytes = [] {
        std::vector<char> linked = linkedSample();
        sample = !linked.empty();
        return sample ? linked : kvengine::writeAssembly(kvbench::stoneTilesAssembly());
    }();
    fromSample = sample;
    return bytes;
}

std::vector<char> fbmAssembly() {
    using namespace kvengine;
    Graph graph;
    GraphInput size;
    size.uid = 1;
    size.identifier = "$outputsize";
    size.type = InputType::Integer2;
    graph.inputs.push_back(size);
    Node node;
    node.op = "noise.fbm";
    const NodeKindInfo& kind = *findNodeKind("noise.fbm");
    node.params.resize(kind.params.size());
    Instruction octaves;
    octaves.value.f = {8, 8, 8, 8};
    node.params[static_cast<size_t>(findParam(kind, "octaves"))].code = {octaves};
    graph.nodes.push_back(node);
    GraphOutput output;
    output.uid = 2;
    output.identifier = "noise";
    output.format = SubstancePixelFormat_L8;
    output.mipmaps = 1;
    graph.outputs.push_back(output);
    Assembly assembly;
    assembly.uid = 3;
    assembly.graphs.push_back(graph);
    return writeAssembly(assembly);
}

// Pushes the input named identifier, when the handle has it; returns whether it did.
bool pushInput(SubstanceHandle* handle, const std::string& identifier, unsigned type, const void* value) {
    SubstanceDataDesc desc{};
    substanceHandleGetDesc(handle, &desc);
    for (unsigned i = 0; i < desc.inputsCount; ++i) {
        SubstanceInputDesc input{};
        substanceHandleGetInputDesc(handle, i, &input);
        if (identifier == input.identifier)
            return substanceHandlePushSetInput(handle, 0, i, type, value, 0) == 0;
    }
    return false;
}

// Queues every output of the handle for the next start.
void queueEveryOutput(SubstanceHandle* handle) {
    SubstanceDataDesc desc{};
    substanceHandleGetDesc(handle, &desc);
    std::vector<unsigned> outputs(desc.outputsCount);
    for (unsigned i = 0; i < desc.outputsCount; ++i)
        outputs[i] = i;
    substanceHandlePushOutputs(handle, 0, outputs.data(), desc.outputsCount, 0);
}

// Sets the resolution to 2^log2 on both sides and queues every output.
void queueAllOutputs(SubstanceHandle* handle, int log2) {
    const int size[2] = {log2, log2};
    pushInput(handle, "$outputsize", SubstanceInputType_Integer2, size);
    queueEveryOutput(handle);
}

// Renders every output of the assembly at 2^log2 squared; a fresh handle per
// iteration so that no result comes from the engine's cache.
void renderAll(benchmark::State& state, const std::vector<char>& assembly) {
    const int log2 = static_cast<int>(state.range(0));
    SubstanceContext* context = nullptr;
    if (substanceContextInit(&context, nullptr) != 0 ||
        substanceContextSetCallback(context, SubstanceCallback_OutputCompleted,
                                    reinterpret_cast<SubstanceCallback>(&freeOnCompletion)) != 0) {
        state.SkipWithError("no engine context");
        return;
    }
    for (auto _ : state) {
        state.PauseTiming();
        SubstanceHandle* handle = nullptr;
        if (substanceHandleInit(&handle, context, assembly.data(), assembly.size(), nullptr) != 0) {
            state.SkipWithError("assembly rejected");
            break;
        }
        queueAllOutputs(handle, log2);
        state.ResumeTiming();
        const int status = substanceHandleStart(handle, SubstanceStart_Synchronous);
        state.PauseTiming();
        substanceHandleRelease(handle);
        state.ResumeTiming();
        if (status != 0) {
            state.SkipWithError("render failed");
            break;
        }
    }
    substanceContextRelease(context);
    const double pixels = static_cast<double>(1 << log2) * static_cast<double>(1 << log2);
    state.counters["MPix/s"] = benchmark::Counter(pixels * 1e-6 * static_cast<double>(state.iterations()),
                                                  benchmark::Counter::kIsRate);
}

void StoneTiles(benchmark::State& state) {
    bool fromSample = false;
    const std::vector<char>& assembly = stoneTiles(fromSample);
    state.SetLabel(fromSample ? "sample package" : "in-memory equivalent");
    renderAll(state, assembly);
}
BENCHMARK(StoneTiles)->Arg(10)->Arg(11)->Unit(benchmark::kMillisecond)->UseRealTime();

// Tweaking one input of a loaded material: only the nodes downstream of it
// are computed again, the rest comes from the engine's cache.
void StoneTilesTweak(benchmark::State& state) {
    bool fromSample = false;
    const std::vector<char>& assembly = stoneTiles(fromSample);
    const int log2 = static_cast<int>(state.range(0));
    SubstanceContext* context = nullptr;
    SubstanceHandle* handle = nullptr;
    substanceContextInit(&context, nullptr);
    substanceContextSetCallback(context, SubstanceCallback_OutputCompleted,
                                reinterpret_cast<SubstanceCallback>(&freeOnCompletion));
    if (substanceHandleInit(&handle, context, assembly.data(), assembly.size(), nullptr) != 0) {
        state.SkipWithError("assembly rejected");
        substanceContextRelease(context);
        return;
    }
    queueAllOutputs(handle, log2);
    substanceHandleStart(handle, SubstanceStart_Synchronous); // fills the cache
    float roughness = 0.5f;
    for (auto _ : state) {
        roughness = roughness == 0.5f ? 0.6f : 0.5f;
        if (!pushInput(handle, "roughness", SubstanceInputType_Float, &roughness)) {
            state.SkipWithError("no roughness input");
            break;
        }
        queueEveryOutput(handle);
        substanceHandleStart(handle, SubstanceStart_Synchronous);
    }
    substanceHandleRelease(handle);
    substanceContextRelease(context);
    state.SetLabel(fromSample ? "sample package" : "in-memory equivalent");
    const double pixels = static_cast<double>(1 << log2) * static_cast<double>(1 << log2);
    state.counters["MPix/s"] = benchmark::Counter(pixels * 1e-6 * static_cast<double>(state.iterations()),
                                                  benchmark::Counter::kIsRate);
}
BENCHMARK(StoneTilesTweak)->Arg(10)->Unit(benchmark::kMillisecond)->UseRealTime();

void Fbm8Octaves(benchmark::State& state) {
    static const std::vector<char> assembly = fbmAssembly();
    renderAll(state, assembly);
}
BENCHMARK(Fbm8Octaves)->Arg(11)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
