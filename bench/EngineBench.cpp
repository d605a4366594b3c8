// Engine throughput through the C interface, reported as megapixels per
// second of output texels: the stone tiles material, compiled from its
// package source, and one 8-octave fBm node.
#include "AssemblyBuilder.h"

#include "engine/assembly/AssemblyIO.h"
#include "platform/engine/EngineInterface.h"
#include "platform/engine/LinkerSession.h"
#include "tools/compiler/CompileError.h"
#include "tools/compiler/PackageCompiler.h"

#include <benchmark/benchmark.h>

#include <functional>
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

// The stone tiles sample, compiled from samples/stone_tiles.json and linked
// once; empty, with the reason in error, when either step fails.
const std::vector<char>& stoneTiles(std::string& error) {
    static std::string failure;
    static const std::vector<char> assembly = [] {
        std::vector<char> linked;
        try {
            const auto package = kvcompiler::compilePackageFile(KV_SOURCE_DIR "/samples/stone_tiles.json");
            kv::LinkerSession session;
            if (session.status() != 0 || session.push(package.bytes) != 0 || session.link(linked) != 0) {
                linked.clear();
                failure = "the linker refused samples/stone_tiles.json";
            }
        } catch (const kvcompiler::CompileError& e) {
            failure = e.what();
        }
        return linked;
    }();
    error = failure;
    return assembly;
}

// Runs body with the sample's assembly, or skips the benchmark with the reason it could not be made.
template <typename Body>
void withStoneTiles(benchmark::State& state, Body&& body) {
    std::string error;
    const std::vector<char>& assembly = stoneTiles(error);
    if (assembly.empty()) {
        state.SkipWithError(error.c_str());
        return;
    }
    body(assembly);
}

std::vector<char> fbmAssembly() {
    kvtest::GraphBuilder b("pkg://bench/fbm", 1);
    b.addInput("$outputsize", kvengine::InputType::Integer2);
    b.addInput("$randomseed", kvengine::InputType::Integer);
    b.addOutput("noise", b.addNode("noise.fbm", {{"octaves", kvtest::constantExpr(8)}}),
                SubstancePixelFormat_L8);
    return kvengine::writeAssembly(b.assembly(3));
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
    withStoneTiles(state, [&](const std::vector<char>& assembly) { renderAll(state, assembly); });
}
BENCHMARK(StoneTiles)->Arg(10)->Arg(11)->Unit(benchmark::kMillisecond)->UseRealTime();

// Renders every output of a loaded material once to fill the caches, then
// again after each `change` (false: a failure, the benchmark stops).
void renderAgain(benchmark::State& state, const std::vector<char>& assembly,
                 const std::function<bool(SubstanceHandle*)>& change) {
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
    for (auto _ : state) {
        if (!change(handle)) {
            state.SkipWithError("the change was refused");
            break;
        }
        queueEveryOutput(handle);
        substanceHandleStart(handle, SubstanceStart_Synchronous);
    }
    substanceHandleRelease(handle);
    substanceContextRelease(context);
    const double pixels = static_cast<double>(1 << log2) * static_cast<double>(1 << log2);
    state.counters["MPix/s"] = benchmark::Counter(pixels * 1e-6 * static_cast<double>(state.iterations()),
                                                  benchmark::Counter::kIsRate);
}

// Tweaking one input of a loaded material: only the nodes downstream of it
// are computed again, the rest comes from the engine's cache.
void StoneTilesTweak(benchmark::State& state) {
    float roughness = 0.5f;
    withStoneTiles(state, [&](const std::vector<char>& assembly) {
        renderAgain(state, assembly, [&](SubstanceHandle* handle) {
            roughness = roughness == 0.5f ? 0.6f : 0.5f;
            return pushInput(handle, "roughness", SubstanceInputType_Float, &roughness);
        });
    });
}
BENCHMARK(StoneTilesTweak)->Arg(10)->Unit(benchmark::kMillisecond)->UseRealTime();

// Asking again with nothing changed: every output is a kept texture.
void StoneTilesUnchanged(benchmark::State& state) {
    withStoneTiles(state, [&](const std::vector<char>& assembly) {
        renderAgain(state, assembly, [](SubstanceHandle*) { return true; });
    });
}
BENCHMARK(StoneTilesUnchanged)->Arg(10)->Arg(11)->Unit(benchmark::kMillisecond)->UseRealTime();

// A new seed on a live handle: every node that reads it computed again, to
// set beside a fresh handle's render of the same.
void newSeedEachTime(benchmark::State& state, const std::vector<char>& assembly) {
    int seed = 0;
    renderAgain(state, assembly, [&](SubstanceHandle* handle) {
        ++seed;
        return pushInput(handle, "$randomseed", SubstanceInputType_Integer, &seed);
    });
}

void Fbm8Octaves(benchmark::State& state) {
    static const std::vector<char> assembly = fbmAssembly();
    renderAll(state, assembly);
}
BENCHMARK(Fbm8Octaves)->Arg(11)->Unit(benchmark::kMillisecond)->UseRealTime();

void Fbm8OctavesNewSeed(benchmark::State& state) {
    static const std::vector<char> assembly = fbmAssembly();
    newSeedEachTime(state, assembly);
}
BENCHMARK(Fbm8OctavesNewSeed)->Arg(11)->Unit(benchmark::kMillisecond)->UseRealTime();

void StoneTilesNewSeed(benchmark::State& state) {
    withStoneTiles(state, [&](const std::vector<char>& assembly) { newSeedEachTime(state, assembly); });
}
BENCHMARK(StoneTilesNewSeed)->Arg(10)->Arg(11)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
