// Every kind of refusal of the engine's C interface, from assemblies the
// evaluator cannot run to renders past the limits: the status and a reason
// naming the place.
#include "AssemblyBuilder.h"
#include "FailureCases.h"
#include "TestAssemblies.h"

#include "engine/assembly/AssemblyIO.h"

#include <gtest/gtest.h>

#include <vector>

using namespace kvengine;
using kvtest::EngineScene;
using kvtest::FailureCase;

namespace {

std::vector<char> assemblyOf(const Graph& graph) {
    return writeAssembly(kvtest::singleGraphAssembly(11, graph));
}

// The base graph (inputs $outputsize, tint; outputs basecolor, mask) with one change.
std::vector<char> baseWith(const std::function<void(Graph&)>& edit) {
    Graph graph = kvtest::baseGraph(0);
    edit(graph);
    return assemblyOf(graph);
}

int loading(const std::vector<char>& assembly) {
    SubstanceContext* context = nullptr;
    EXPECT_EQ(substanceContextInit(&context, nullptr), 0);
    SubstanceHandle* handle = nullptr;
    const int status = substanceHandleInit(&handle, context, assembly.data(), assembly.size(), nullptr);
    if (handle)
        substanceHandleRelease(handle);
    substanceContextRelease(context);
    return status;
}

// `call` on a handle loaded with the base graph, or with `assembly`.
int onBase(const std::function<int(EngineScene&)>& call) {
    EngineScene scene(assemblyOf(kvtest::baseGraph(0)));
    return call(scene);
}

int onTop(const std::function<int(EngineScene&)>& call) {
    EngineScene scene(assemblyOf(kvtest::topGraph(0)));
    return call(scene);
}

// Pushes an image of the given record to the top graph's "source" input (index 1).
int pushingImage(uint16_t width, int format) {
    return onTop([&](EngineScene& scene) {
        std::vector<unsigned char> texels(width);
        SubstanceTextureInput image{};
        image.texture.buffer = texels.data();
        image.texture.level0Width = width;
        image.texture.level0Height = 1;
        image.texture.pixelFormat = static_cast<uint8_t>(format);
        return substanceHandlePushSetInput(scene.handle, 0, 1, SubstanceInputType_Image, &image, 0);
    });
}

int rendering(const std::vector<char>& assembly, const std::function<void(EngineScene&)>& setup = {}) {
    EngineScene scene(assembly);
    if (setup)
        setup(scene);
    const unsigned first = 0;
    EXPECT_EQ(substanceHandlePushOutputs(scene.handle, 0, &first, 1, 0), 0);
    return substanceHandleStart(scene.handle, SubstanceStart_Synchronous);
}

// 8192 x 8192 through 300 nodes: past the pixel work (or memory) a render may take.
Graph longChain() {
    Graph graph = kvtest::baseGraph(0);
    graph.url = "pkg://chain";
    graph.inputs[0].defaultValue.i = {13, 13, 0, 0};
    for (int32_t n = 2; n < 300; ++n) {
        graph.nodes.emplace_back();
        graph.nodes.back().op = "invert";
        graph.nodes.back().imageInputs = {n};
    }
    graph.outputs[0].node = static_cast<uint32_t>(graph.nodes.size() - 1);
    return graph;
}

TEST(EngineFailures, EachFaultNamesItsPlace) {
    std::vector<char> truncated = baseWith([](Graph& g) {
        g.nodes.emplace_back(); // last in the bytes: a node whose one parameter is a constant
        g.nodes.back().op = "color.uniform";
        g.nodes.back().params = {Expression{{kvtest::constant(1)}}};
    });
    truncated.pop_back();
    Assembly crowded;
    for (int g = 0; g < 5; ++g) {
        crowded.graphs.emplace_back();
        crowded.graphs.back().nodes.resize(AssemblyLimits::maxNodesPerGraph);
        for (Node& node : crowded.graphs.back().nodes)
            node.op = "color.uniform";
    }

    const std::vector<FailureCase> cases = {
        {"truncated assembly", [&] { return loading(truncated); }, SubstanceStatus_InvalidData,
         "assembly: graph 'pkg://base' node 3 ('color.uniform') parameter 0 instruction 0: the bytes end at "
         "offset " +
             std::to_string(truncated.size()) + ", inside the record"},
        {"no context",
         [] {
             SubstanceHandle* handle = nullptr;
             return substanceHandleInit(&handle, nullptr, "KVAS", 4, nullptr);
         },
         SubstanceStatus_InvalidArgument, "engine: substanceHandleInit: null context"},
        {"unknown node kind",
         [] { return loading(baseWith([](Graph& g) { g.nodes[0].op = "noise.nonexistent"; })); },
         SubstanceStatus_InvalidData,
         "engine: graph 'pkg://base' node 0 ('noise.nonexistent'): no node kind has this name"},
        {"names from the assembly quoted as printable text",
         [] { return loading(baseWith([](Graph& g) { g.nodes[0].op = "no\nkind\x1b[2J"; })); },
         SubstanceStatus_InvalidData, "node 0 ('no\\x0akind\\x1b[2J'): no node kind has this name"},
        {"more parameters than the kind",
         [] {
             return loading(
                 baseWith([](Graph& g) { g.nodes[2].params.resize(AssemblyLimits::maxParamsPerNode); }));
         },
         SubstanceStatus_InvalidData,
         "engine: graph 'pkg://base' node 2 ('blend'): 64 parameters, the kind takes "},
        {"image node reading a number input",
         [] {
             Graph top = kvtest::topGraph(0);
             top.nodes[0].graphInput = 2;
             return loading(assemblyOf(top));
         },
         SubstanceStatus_InvalidData,
         "engine: graph 'pkg://top' node 0 ('input.image'): reads graph input 2 ('amount'), a float input"},
        {"output format outside the table",
         [] { return loading(baseWith([](Graph& g) { g.outputs[0].format = 3; })); },
         SubstanceStatus_InvalidData,
         "engine: graph 'pkg://base' output 0 ('basecolor'): pixel format 3 is not one of the engine's texel "
         "formats"},
        {"nodes past the engine's limit", [&] { return loading(writeAssembly(crowded)); },
         SubstanceStatus_LimitExceeded, "engine: all graphs: 20480 nodes exceed the limit of 16384"},
        {"input index past the inputs",
         [] {
             return onBase([](EngineScene& s) {
                 const float value = 1.0f;
                 return substanceHandlePushSetInput(s.handle, 0, 9, SubstanceInputType_Float, &value, 0);
             });
         },
         SubstanceStatus_InvalidArgument, "engine: set input: index 9, past the 2 inputs of the handle"},
        {"value of another type",
         [] {
             return onBase([](EngineScene& s) {
                 const float value = 1.0f;
                 return substanceHandlePushSetInput(s.handle, 0, 1, SubstanceInputType_Float, &value, 0);
             });
         },
         SubstanceStatus_Incompatible, "engine: input 1 ('tint'): a float value for a float3 input"},
        {"no value",
         [] {
             return onBase([](EngineScene& s) {
                 return substanceHandlePushSetInput(s.handle, 0, 1, SubstanceInputType_Float3, nullptr, 0);
             });
         },
         SubstanceStatus_InvalidArgument, "engine: input 1 ('tint'): no value (null pointer)"},
        {"image side too big", [] { return pushingImage(8193, SubstancePixelFormat_L8); },
         SubstanceStatus_LimitExceeded,
         "engine: input 1 ('source'): texture: 8193 x 1 texels, past the limit of 8192 per side"},
        {"image in no texel format", [] { return pushingImage(4, 2); }, SubstanceStatus_InvalidArgument,
         "engine: input 1 ('source'): texture: pixel format 2 is not a texel format"},
        {"unknown push flags",
         [] {
             return onBase([](EngineScene& s) {
                 const float value[3] = {1, 1, 1};
                 return substanceHandlePushSetInput(s.handle, 1, 1, SubstanceInputType_Float3, value, 0);
             });
         },
         SubstanceStatus_InvalidArgument, "engine: substanceHandlePushSetInput: unknown flags 0x1"},
        {"output of an unknown UID",
         [] {
             return onBase([](EngineScene& s) {
                 const unsigned uid = 999;
                 return substanceHandlePushOutputs(s.handle, SubstancePush_OutputsByUid, &uid, 1, 0);
             });
         },
         SubstanceStatus_UnknownUid, "engine: queue outputs: no output has UID 999"},
        {"output index past the outputs",
         [] {
             return onBase([](EngineScene& s) {
                 const unsigned index = 7;
                 return substanceHandlePushOutputs(s.handle, 0, &index, 1, 0);
             });
         },
         SubstanceStatus_InvalidArgument, "engine: queue outputs: index 7, past the 2 outputs of the handle"},
        {"texture side too big",
         [] {
             return rendering(assemblyOf(kvtest::baseGraph(0)), [](EngineScene& s) {
                 const int size[2] = {14, 9};
                 EXPECT_EQ(substanceHandlePushSetInput(s.handle, 0, 0, SubstanceInputType_Integer2, size, 0),
                           0);
             });
         },
         SubstanceStatus_LimitExceeded,
         "engine: graph 'pkg://base': output side 16384 exceeds the limit of 8192 texels"},
        {"render past the work or memory limit", [] { return rendering(assemblyOf(longChain())); },
         SubstanceStatus_LimitExceeded, "engine: graph 'pkg://chain': the render "},
        {"unknown start mode",
         [] { return onBase([](EngineScene& s) { return substanceHandleStart(s.handle, 1); }); },
         SubstanceStatus_InvalidArgument, "engine: substanceHandleStart: mode 1 is not 0 (synchronous)"},
        {"outputs past the handle's",
         [] {
             return onBase([](EngineScene& s) {
                 SubstanceTexture textures[5];
                 return substanceHandleGetOutputs(s.handle, 0, 1, 5, textures);
             });
         },
         SubstanceStatus_InvalidArgument,
         "engine: substanceHandleGetOutputs: outputs 1 to 6, past the 2 outputs"},
        {"description index past the inputs",
         [] {
             return onBase([](EngineScene& s) {
                 SubstanceInputDesc desc;
                 return substanceHandleGetInputDesc(s.handle, 5, &desc);
             });
         },
         SubstanceStatus_InvalidArgument,
         "engine: substanceHandleGetInputDesc: input index 5, past the 2 inputs"},
        {"freeing a foreign buffer",
         [] {
             return onBase([](EngineScene& s) {
                 int foreign = 0;
                 return substanceContextMemoryFree(s.context, &foreign);
             });
         },
         SubstanceStatus_InvalidArgument,
         "engine: substanceContextMemoryFree: the buffer is not one this context"},
        {"context released before its handle",
         [] { return onBase([](EngineScene& s) { return substanceContextRelease(s.context); }); },
         SubstanceStatus_InvalidState, "engine: substanceContextRelease: the context still holds 1 handle"},
        {"unknown callback kind",
         [] {
             return onBase([](EngineScene& s) {
                 return substanceContextSetCallback(s.context, 3,
                                                    reinterpret_cast<SubstanceCallback>(&loading));
             });
         },
         SubstanceStatus_InvalidArgument, "engine: substanceContextSetCallback: callback kind 3 is not 2"},
    };
    kvtest::expectEachFaultNamesItsPlace(cases);
}

} // namespace
