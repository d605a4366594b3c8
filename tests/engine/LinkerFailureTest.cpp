// Every kind of refusal of the linker's C interface, from bad package bytes to
// links that outgrow the limits: the status and a reason naming the place.
#include "AssemblyBuilder.h"
#include "FailureCases.h"
#include "LinkerPushes.h"
#include "TestAssemblies.h"
#include "ZipBuilder.h"

#include "engine/assembly/AssemblyIO.h"
#include "platform/engine/LinkerSession.h"

#include <gtest/gtest.h>

using namespace kvengine;
using kvtest::FailureCase;

namespace {

// The base graph's assembly (uid 11) with one change.
std::vector<char> baseWith(const std::function<void(Graph&)>& edit) {
    Graph graph = kvtest::baseGraph(0);
    edit(graph);
    return writeAssembly(kvtest::singleGraphAssembly(11, graph));
}

void putU32(std::vector<char>& bytes, size_t offset, uint32_t v) {
    for (int b = 0; b < 4; ++b)
        bytes[offset + b] = static_cast<char>(v >> (8 * b));
}

int pushing(const std::vector<char>& bytes) {
    kv::LinkerSession session;
    return session.push(bytes);
}

// A fresh handle holding the base (uids 100.., 200..) and top (300.., 400..)
// packages; `request` is the failing call.
int onStack(const std::function<int(SubstanceLinkerHandle*)>& request) {
    kv::LinkerSession session;
    EXPECT_EQ(session.push(kvtest::package(11, kvtest::baseGraph(0))), 0);
    EXPECT_EQ(session.push(kvtest::package(22, kvtest::topGraph(0))), 0);
    return request(session.handle());
}

int linking(const std::vector<std::vector<char>>& pushes,
            const std::function<void(SubstanceLinkerHandle*)>& requests = {}) {
    kv::LinkerSession session;
    for (const std::vector<char>& bytes : pushes)
        EXPECT_EQ(session.push(bytes), 0);
    if (requests)
        requests(session.handle());
    std::vector<char> linked;
    return session.link(linked);
}

// A chain of 4096 nodes that its one output needs, the most one graph holds.
std::vector<char> longChain(uint32_t uid) {
    Graph graph;
    graph.url = "pkg://chain";
    graph.nodes.resize(AssemblyLimits::maxNodesPerGraph);
    for (size_t n = 0; n < graph.nodes.size(); ++n) {
        graph.nodes[n].op = "invert";
        if (n > 0)
            graph.nodes[n].imageInputs = {static_cast<int32_t>(n - 1)};
    }
    graph.outputs.resize(1);
    graph.outputs[0].uid = uid;
    graph.outputs[0].identifier = "end";
    graph.outputs[0].node = AssemblyLimits::maxNodesPerGraph - 1;
    return writeAssembly(kvtest::singleGraphAssembly(uid, graph));
}

TEST(LinkerFailures, EachFaultNamesItsPlace) {
    std::vector<char> truncated = writeAssembly(kvtest::singleGraphAssembly(11, kvtest::baseGraph(0)));
    truncated.resize(40); // the two inputs of the graph need more
    std::vector<char> version = writeAssembly(Assembly{});
    putU32(version, 4, 2);
    std::vector<char> graphs = writeAssembly(Assembly{});
    putU32(graphs, 12, 65);
    Assembly empty;
    empty.graphs.emplace_back();
    std::vector<char> lyingCount = writeAssembly(empty);
    putU32(lyingCount, 20, 1000); // inputs of graph 0, after its empty URL
    Assembly full;
    full.graphs.resize(AssemblyLimits::maxGraphs);

    const std::vector<FailureCase> cases = {
        {"bare bytes",
         [] {
             return pushing({'h', 'e', 'l', 'l', 'o'});
         },
         SubstanceStatus_InvalidData,
         "linker: push: the 5 bytes begin neither like a package (ZIP) nor like an assembly"},
        {"bad package bytes",
         [] {
             return pushing({'P', 'K', 3, 4, 'x', 'y', 'z'});
         },
         SubstanceStatus_InvalidData, "package: not a readable ZIP container: "},
        {"package without assembly",
         [] {
             return pushing(kvtest::buildZip({{"description.xml", "<a/>"}}));
         },
         SubstanceStatus_InvalidData, "package: no entry 'assembly.bin'"},
        {"entry outside the package",
         [] {
             return pushing(kvtest::buildZip({{"../evil", "x"}, {"description.xml", "<a/>"}}));
         },
         SubstanceStatus_InvalidData, "package: entry 0 is named '../evil', not a relative path"},
        {"description with a zero byte",
         [] {
             return pushing(
                 kvtest::buildZip({{"description.xml", std::string("a\0b", 3)}, {"assembly.bin", "KVAS"}}));
         },
         SubstanceStatus_InvalidData, "package: entry 'description.xml' holds a zero byte at offset 1"},
        {"package with a cut assembly",
         [] {
             return pushing(kvtest::buildZip({{"description.xml", "<a/>"}, {"assembly.bin", "KVAS"}}));
         },
         SubstanceStatus_InvalidData, "assembly: the header: the bytes end at offset 4"},
        {"truncated assembly", [&] { return pushing(truncated); }, SubstanceStatus_InvalidData,
         "assembly: graph 'pkg://base': 2 inputs cannot fit in the 6 bytes after offset 34"},
        {"other format version", [&] { return pushing(version); }, SubstanceStatus_BadVersion,
         "assembly: the header: format version 2, this engine reads version 1"},
        {"too many graphs", [&] { return pushing(graphs); }, SubstanceStatus_LimitExceeded,
         "assembly: the header: 65 graphs exceed the limit of 64"},
        {"count the bytes cannot hold", [&] { return pushing(lyingCount); }, SubstanceStatus_InvalidData,
         "assembly: graph '': 1000 inputs cannot fit in the 8 bytes after offset 24"},
        {"image input past the nodes",
         [] { return pushing(baseWith([](Graph& g) {
                  g.nodes[2].imageInputs = {0, 9};
              })); },
         SubstanceStatus_InvalidData,
         "assembly: graph 'pkg://base' node 2 ('blend'): image input 1 names node 9, past the 3 nodes of the "
         "graph"},
        {"expression reading a missing input",
         [] {
             return pushing(
                 baseWith([](Graph& g) { g.nodes[0].params = {Expression{{kvtest::readInput(5)}}}; }));
         },
         SubstanceStatus_InvalidData,
         "node 0 ('color.uniform'): parameter 0 instruction 0 reads input 5, past the 2 inputs of the graph"},
        {"cycle inside a graph",
         [] { return pushing(baseWith([](Graph& g) { g.nodes[0].imageInputs = {2}; })); },
         SubstanceStatus_Cycle,
         "assembly: graph 'pkg://base' node 2 ('blend'): the node is on a cycle of image inputs"},
        // What the engine would refuse to load is refused at the link, with the engine's reason.
        {"a node kind the engine does not know",
         [] { return linking({baseWith([](Graph& g) { g.nodes[0].op = "no.such.kind"; })}); },
         SubstanceStatus_InvalidData,
         "linker: linked graph 'pkg://base' node 0 ('no.such.kind'): no node kind has this name"},
        {"more image inputs than the kind takes",
         [] { return linking({baseWith([](Graph& g) { g.nodes[1].imageInputs = {0}; })}); },
         SubstanceStatus_InvalidData,
         "linker: linked graph 'pkg://base' node 1 ('color.uniform'): 1 image input, the kind takes 0"},
        {"pushed graphs past the limit",
         [&] {
             kv::LinkerSession session;
             EXPECT_EQ(session.push(writeAssembly(full)), 0);
             return session.push(kvtest::package(11, kvtest::baseGraph(0)));
         },
         SubstanceStatus_LimitExceeded, "linker: push: 1 more graph after 64 would exceed the limit of 64"},
        {"connection to an unknown input",
         [] { return onStack([](auto* h) { return substanceLinkerConnectOutputToInput(h, 999, 400); }); },
         SubstanceStatus_UnknownUid, "linker: connection to input 999: no pushed graph has this input"},
        {"connection of an unknown output",
         [] { return onStack([](auto* h) { return substanceLinkerConnectOutputToInput(h, 301, 999); }); },
         SubstanceStatus_UnknownUid,
         "linker: connection of output 999 to input 301: no pushed graph has this output"},
        {"connection to a number input",
         [] { return onStack([](auto* h) { return substanceLinkerConnectOutputToInput(h, 302, 200); }); },
         SubstanceStatus_Incompatible,
         "linker: connection to input 302 ('amount') of graph 'pkg://top': a float input cannot take an "
         "image"},
        {"connection to a fused input",
         [] {
             kv::LinkerSession session;
             EXPECT_EQ(session.push(kvtest::package(1, kvtest::topGraph(0))), 0);
             EXPECT_EQ(session.push(kvtest::package(2, kvtest::topGraph(10))), 0);
             EXPECT_EQ(substanceLinkerFuseInputs(session.handle(), 301, 311), 0);
             return substanceLinkerConnectOutputToInput(session.handle(), 311, 400);
         },
         SubstanceStatus_InvalidState,
         "input 311 ('source') of graph 'pkg://top': the input is fused into input 301"},
        {"selection of an unknown output",
         [] { return onStack([](auto* h) { return substanceLinkerHandleSelectOutputs(h, 0, 999); }); },
         SubstanceStatus_UnknownUid, "linker: selection of output 999: no pushed graph has this output"},
        {"unknown selection code",
         [] { return onStack([](auto* h) { return substanceLinkerHandleSelectOutputs(h, 5, 200); }); },
         SubstanceStatus_InvalidArgument,
         "linker: selection of output 200: code 5 is neither 0 (drop) nor 1 (keep)"},
        {"fusion into an unknown input",
         [] { return onStack([](auto* h) { return substanceLinkerFuseInputs(h, 999, 300); }); },
         SubstanceStatus_UnknownUid,
         "linker: fusion of input 300 into input 999: no pushed graph has input 999"},
        {"fusion of different types",
         [] { return onStack([](auto* h) { return substanceLinkerFuseInputs(h, 101, 302); }); },
         SubstanceStatus_Incompatible,
         "input 302 ('amount') of graph 'pkg://top' is a float input, input 101 ('tint') of graph "
         "'pkg://base' a "
         "float3 one"},
        {"fusion of an input with itself",
         [] { return onStack([](auto* h) { return substanceLinkerFuseInputs(h, 300, 300); }); },
         SubstanceStatus_InvalidArgument,
         "fusion of input 300 into input 300: both are input 300 ('$outputsize')"},
        {"fusion into a fused input",
         [] {
             return onStack([](auto* h) {
                 EXPECT_EQ(substanceLinkerFuseInputs(h, 100, 300), 0);
                 return substanceLinkerFuseInputs(h, 300, 100);
             });
         },
         SubstanceStatus_InvalidState,
         "input 300 is itself fused into input 100 ('$outputsize') of graph 'pkg://base'"},
        {"format of an unknown output",
         [] { return onStack([](auto* h) { return substanceLinkerHandleSetOutputFormat(h, 999, 0, 0); }); },
         SubstanceStatus_UnknownUid, "linker: output format of output 999: no pushed graph has this output"},
        {"format outside the table",
         [] { return onStack([](auto* h) { return substanceLinkerHandleSetOutputFormat(h, 200, 3, 0); }); },
         SubstanceStatus_InvalidArgument,
         "output 200 ('basecolor') of graph 'pkg://base': pixel format 3 is not one of the engine's texel "
         "formats"},
        {"link of nothing", [] { return linking({}); }, SubstanceStatus_InvalidState,
         "linker: link: nothing has been pushed"},
        {"cycle through connections",
         [] {
             return linking({kvtest::package(1, kvtest::passThrough(10, 20)),
                             kvtest::package(2, kvtest::passThrough(11, 21))},
                            [](SubstanceLinkerHandle* h) {
                                EXPECT_EQ(substanceLinkerConnectOutputToInput(h, 10, 21), 0);
                                EXPECT_EQ(substanceLinkerConnectOutputToInput(h, 11, 20), 0);
                            });
         },
         SubstanceStatus_Cycle,
         "linker: connection to input 10 ('in') of graph 'pkg://pass': the output feeding it"},
        {"linked graph past the node limit",
         [] {
             return linking({longChain(1), longChain(2)});
         },
         SubstanceStatus_LimitExceeded,
         "graph 'pkg://chain|pkg://chain': 8192 nodes exceed the limit of 4096"},
        {"other interface version",
         [] {
             SubstanceLinkerContext* context = nullptr;
             return substanceLinkerContextInit(&context, SubstanceApiVersion + 1, SubstanceCpuEngineId);
         },
         SubstanceStatus_BadVersion, "linker: substanceLinkerContextInit: interface version 65538"},
        {"unknown callback kind",
         [] {
             kv::LinkerSession session;
             return substanceLinkerContextSetCallback(session.context(), 7,
                                                      reinterpret_cast<SubstanceCallback>(&pushing));
         },
         SubstanceStatus_InvalidArgument, "callback kind 7 is neither 2 (description) nor 3 (assembly)"},
        {"context released before its handle",
         [] {
             kv::LinkerSession session;
             return substanceLinkerContextRelease(session.context());
         },
         SubstanceStatus_InvalidState,
         "linker: substanceLinkerContextRelease: the context still holds 1 handle"},
        {"push into no handle", [] { return substanceLinkerHandlePushAssemblyMemory(nullptr, "KVAS", 4); },
         SubstanceStatus_InvalidArgument, "linker: substanceLinkerHandlePushAssemblyMemory: null handle"},
    };
    kvtest::expectEachFaultNamesItsPlace(cases);
}

} // namespace
