// The linker through its C interface, driven the way the library drives it:
// package pushes with callbacks, stacks with connections, selections and
// fusions, format overrides, and every failure as a status.
#include "LinkerPushes.h"
#include "TestAssemblies.h"

#include "engine/assembly/AssemblyIO.h"
#include "engine/package/Package.h"
#include "platform/engine/LinkerInterface.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>

using namespace kvengine;
using kvtest::descriptionFor;
using kvtest::package;
using kvtest::passThrough;

namespace {

struct Received {
    std::vector<std::string> descriptions;
    std::vector<std::vector<char>> assemblies;
    std::vector<unsigned> uids;
    std::vector<SubstanceLinkerHandle*> handles;
};
Received received;

void onDescription(SubstanceLinkerHandle* handle, unsigned uid, const char* xml) {
    received.handles.push_back(handle);
    received.uids.push_back(uid);
    received.descriptions.emplace_back(xml);
}

void onAssembly(SubstanceLinkerHandle* handle, unsigned uid, const char* data, size_t size) {
    received.handles.push_back(handle);
    received.uids.push_back(uid);
    received.assemblies.emplace_back(data, data + size);
}

class LinkerApi : public ::testing::Test {
protected:
    void SetUp() override {
        received = Received{};
        ASSERT_EQ(substanceLinkerContextInit(&context_, SubstanceApiVersion, SubstanceCpuEngineId), 0);
        ASSERT_EQ(substanceLinkerContextSetCallback(context_, SubstanceLinkerCallback_XmlDescription,
                                                    reinterpret_cast<SubstanceCallback>(&onDescription)),
                  0);
        ASSERT_EQ(substanceLinkerContextSetCallback(context_, SubstanceLinkerCallback_Assembly,
                                                    reinterpret_cast<SubstanceCallback>(&onAssembly)),
                  0);
        ASSERT_EQ(substanceLinkerHandleInit(&handle_, context_), 0);
    }
    void TearDown() override {
        EXPECT_EQ(substanceLinkerHandleRelease(handle_), 0);
        EXPECT_EQ(substanceLinkerContextRelease(context_), 0);
    }

    int push(const std::vector<char>& bytes) {
        return substanceLinkerHandlePushAssemblyMemory(handle_, bytes.data(), bytes.size());
    }

    // Links and reads the result back; the linked assembly holds one graph.
    Graph link() {
        const char* data = nullptr;
        size_t size = 0;
        EXPECT_EQ(substanceLinkerHandleLink(handle_, &data, &size), 0);
        Assembly linked;
        EXPECT_EQ(readAssembly(data, size, linked), 0);
        EXPECT_EQ(linked.graphs.size(), 1u);
        return linked.graphs.empty() ? Graph{} : linked.graphs[0];
    }

    int linkStatus() {
        const char* data = nullptr;
        size_t size = 0;
        return substanceLinkerHandleLink(handle_, &data, &size);
    }

    // A package stack as the library builds one: base pushed under top.
    void pushStack() {
        ASSERT_EQ(push(package(11, kvtest::baseGraph(0))), 0);
        ASSERT_EQ(push(package(22, kvtest::topGraph(0))), 0);
    }

    SubstanceLinkerContext* context_ = nullptr;
    SubstanceLinkerHandle* handle_ = nullptr;
};

// Lookups that fail the test (by exception) when the UID is missing.
const GraphInput& inputByUid(const Graph& graph, uint32_t uid) {
    for (const GraphInput& input : graph.inputs)
        if (input.uid == uid)
            return input;
    throw std::runtime_error("no input " + std::to_string(uid));
}

bool hasOutput(const Graph& graph, uint32_t uid) {
    for (const GraphOutput& output : graph.outputs)
        if (output.uid == uid)
            return true;
    return false;
}

const GraphOutput& outputByUid(const Graph& graph, uint32_t uid) {
    for (const GraphOutput& output : graph.outputs)
        if (output.uid == uid)
            return output;
    throw std::runtime_error("no output " + std::to_string(uid));
}

} // namespace

TEST(LinkerContext, ChecksVersionKindsAndPointers) {
    SubstanceLinkerContext* context = reinterpret_cast<SubstanceLinkerContext*>(1);
    EXPECT_EQ(substanceLinkerContextInit(&context, 0x10000, SubstanceCpuEngineId),
              SubstanceStatus_BadVersion);
    EXPECT_EQ(context, nullptr);
    EXPECT_EQ(substanceLinkerContextInit(&context, SubstanceApiVersion, 18), SubstanceStatus_BadVersion);
    EXPECT_EQ(substanceLinkerContextInit(nullptr, SubstanceApiVersion, SubstanceCpuEngineId),
              SubstanceStatus_InvalidArgument);
    ASSERT_EQ(substanceLinkerContextInit(&context, SubstanceApiVersion, SubstanceCpuEngineId), 0);

    const auto callback = reinterpret_cast<SubstanceCallback>(&onAssembly);
    EXPECT_EQ(substanceLinkerContextSetCallback(context, 1, callback), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceLinkerContextSetCallback(context, 4, callback), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceLinkerContextSetCallback(context, 3, nullptr), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceLinkerContextSetCallback(nullptr, 3, callback), SubstanceStatus_InvalidArgument);

    SubstanceLinkerHandle* handle = nullptr;
    EXPECT_EQ(substanceLinkerHandleInit(&handle, nullptr), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceLinkerHandleInit(nullptr, context), SubstanceStatus_InvalidArgument);
    ASSERT_EQ(substanceLinkerHandleInit(&handle, context), 0);
    EXPECT_EQ(substanceLinkerContextRelease(context), SubstanceStatus_InvalidState); // handle still alive

    const char* data = nullptr;
    size_t size = 0;
    EXPECT_EQ(substanceLinkerHandleLink(handle, &data, &size),
              SubstanceStatus_InvalidState); // nothing pushed
    EXPECT_EQ(substanceLinkerHandleLink(handle, nullptr, &size), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceLinkerHandleLink(nullptr, &data, &size), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceLinkerHandlePushAssemblyMemory(handle, nullptr, 10), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceLinkerHandlePushAssemblyMemory(nullptr, "x", 1), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceLinkerHandleSetOutputFormat(nullptr, 1, 0, 0), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceLinkerConnectOutputToInput(nullptr, 1, 2), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceLinkerHandleSelectOutputs(nullptr, 0, 1), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceLinkerFuseInputs(nullptr, 1, 2), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceLinkerHandleRelease(nullptr), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceLinkerContextRelease(nullptr), SubstanceStatus_InvalidArgument);

    EXPECT_EQ(substanceLinkerHandleRelease(handle), 0);
    EXPECT_EQ(substanceLinkerContextRelease(context), 0);
}

TEST_F(LinkerApi, PackagePushDeliversDescriptionThenAssembly) {
    PackageContents contents;
    contents.description = descriptionFor(11);
    contents.assembly = writeAssembly(kvtest::singleGraphAssembly(11, kvtest::baseGraph(0)));
    ASSERT_EQ(push(writePackage(contents)), 0);

    ASSERT_EQ(received.descriptions.size(), 1u);
    EXPECT_EQ(received.descriptions[0], contents.description);
    ASSERT_EQ(received.assemblies.size(), 1u);
    EXPECT_EQ(received.assemblies[0], contents.assembly);
    EXPECT_EQ(received.uids, (std::vector<unsigned>{11, 11}));
    EXPECT_EQ(received.handles, (std::vector<SubstanceLinkerHandle*>{handle_, handle_}));

    // A bare assembly only reaches the assembly callback.
    ASSERT_EQ(push(contents.assembly), 0);
    EXPECT_EQ(received.descriptions.size(), 1u);
    EXPECT_EQ(received.assemblies.size(), 2u);
}

TEST_F(LinkerApi, MalformedPushesFailAndAddNothing) {
    const std::vector<char> good = package(11, kvtest::baseGraph(0));
    EXPECT_EQ(push({'g', 'a', 'r', 'b', 'a', 'g', 'e'}), SubstanceStatus_InvalidData);
    EXPECT_NE(push(std::vector<char>(good.begin(), good.begin() + good.size() / 2)), 0);
    PackageContents contents;
    contents.description = descriptionFor(1);
    contents.assembly = writeAssembly(kvtest::singleGraphAssembly(1, kvtest::baseGraph(0)));
    contents.assembly.pop_back();
    EXPECT_EQ(push(writePackage(contents)), SubstanceStatus_InvalidData);
    EXPECT_EQ(push(contents.assembly), SubstanceStatus_InvalidData);
    EXPECT_TRUE(received.assemblies.empty());
    EXPECT_TRUE(received.descriptions.empty());
    EXPECT_EQ(linkStatus(), SubstanceStatus_InvalidState);
}

TEST_F(LinkerApi, SinglePackageLinksToItsOwnGraphWithoutUnusedNodes) {
    Graph base = kvtest::baseGraph(0);
    base.nodes.push_back(base.nodes[0]); // needed by no output
    ASSERT_EQ(push(package(11, base)), 0);
    const Graph linked = link();
    base.nodes.pop_back();
    EXPECT_EQ(kvtest::describe(kvtest::singleGraphAssembly(11, linked)),
              kvtest::describe(kvtest::singleGraphAssembly(11, base)));
}

TEST_F(LinkerApi, StackRewiresConnectionFusionAndSelection) {
    pushStack();
    ASSERT_EQ(substanceLinkerConnectOutputToInput(handle_, 301, 200), 0);
    ASSERT_EQ(substanceLinkerHandleSelectOutputs(handle_, SubstanceLinkerSelect_Drop, 201), 0);
    ASSERT_EQ(substanceLinkerFuseInputs(handle_, 100, 300), 0);
    const Graph linked = link();

    // Inputs: the fed image input and the fused $outputsize are gone.
    std::vector<uint32_t> inputUids;
    for (const GraphInput& input : linked.inputs)
        inputUids.push_back(input.uid);
    EXPECT_EQ(inputUids, (std::vector<uint32_t>{100, 101, 302}));
    ASSERT_EQ(linked.outputs.size(), 2u);
    EXPECT_FALSE(hasOutput(linked, 201));

    // The top blend reads the base blend where it read its image input.
    const Node& topBlend = linked.nodes[outputByUid(linked, 400).node];
    ASSERT_EQ(topBlend.imageInputs.size(), 2u);
    const uint32_t baseNode = outputByUid(linked, 200).node;
    EXPECT_EQ(topBlend.imageInputs[1], static_cast<int32_t>(baseNode));
    EXPECT_EQ(linked.nodes[baseNode].op, "blend");
    for (const Node& node : linked.nodes)
        EXPECT_NE(node.op, "input.image");

    // Its expression read top inputs 2 (amount) and 0 ($outputsize, fused).
    const std::vector<Instruction>& code = topBlend.params[1].code;
    EXPECT_EQ(code[0].index, 2u);
    EXPECT_EQ(code[1].index, 0u);
    // Base expressions still read the base inputs.
    EXPECT_EQ(linked.nodes[0].params[0].code[0].index, 1u);
}

TEST_F(LinkerApi, ExpressionsReadingAConnectedImageInputReadItsDefault) {
    Graph top = kvtest::topGraph(0);
    top.inputs[1].defaultValue.f = {0.25f, 0.5f, 0.75f, 1.0f};
    top.nodes[2].params[1].code = {kvtest::readInput(1)};
    ASSERT_EQ(push(package(11, kvtest::baseGraph(0))), 0);
    ASSERT_EQ(push(package(22, top)), 0);
    ASSERT_EQ(substanceLinkerConnectOutputToInput(handle_, 301, 200), 0);
    const Graph linked = link();
    const Instruction& read = linked.nodes[outputByUid(linked, 400).node].params[1].code.at(0);
    EXPECT_EQ(read.op, Op::Constant);
    EXPECT_EQ(read.value.f[2], 0.75f);
}

TEST_F(LinkerApi, FormatOverrideReachesTheLinkedOutput) {
    pushStack();
    EXPECT_EQ(substanceLinkerHandleSetOutputFormat(handle_, 400, SubstancePixelFormat_RGBA16F, 3), 0);
    EXPECT_EQ(substanceLinkerHandleSetOutputFormat(handle_, 201, 32, 0), 0);
    EXPECT_EQ(substanceLinkerHandleSetOutputFormat(handle_, 999, 0, 0), SubstanceStatus_UnknownUid);
    EXPECT_EQ(substanceLinkerHandleSetOutputFormat(handle_, 400, 2, 0), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceLinkerHandleSetOutputFormat(handle_, 400, 36, 0), SubstanceStatus_InvalidArgument);
    const Graph linked = link();
    EXPECT_EQ(outputByUid(linked, 400).format, SubstancePixelFormat_RGBA16F);
    EXPECT_EQ(outputByUid(linked, 400).mipmaps, 3u);
    EXPECT_EQ(outputByUid(linked, 201).format, 32);
    EXPECT_EQ(outputByUid(linked, 200).format, 0);
}

TEST_F(LinkerApi, RequestsWithUnknownUidsOrWrongTypesFail) {
    pushStack();
    EXPECT_EQ(substanceLinkerConnectOutputToInput(handle_, 999, 200), SubstanceStatus_UnknownUid);
    EXPECT_EQ(substanceLinkerConnectOutputToInput(handle_, 301, 999), SubstanceStatus_UnknownUid);
    EXPECT_EQ(substanceLinkerConnectOutputToInput(handle_, 302, 200), SubstanceStatus_Incompatible);
    EXPECT_EQ(substanceLinkerHandleSelectOutputs(handle_, 2, 200), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceLinkerHandleSelectOutputs(handle_, 0, 999), SubstanceStatus_UnknownUid);
    EXPECT_EQ(substanceLinkerFuseInputs(handle_, 100, 302), SubstanceStatus_Incompatible);
    EXPECT_EQ(substanceLinkerFuseInputs(handle_, 100, 999), SubstanceStatus_UnknownUid);
    EXPECT_EQ(substanceLinkerFuseInputs(handle_, 100, 100), SubstanceStatus_InvalidArgument);

    // Failed requests left nothing behind: the link is the plain merge.
    const Graph linked = link();
    EXPECT_EQ(linked.inputs.size(), 5u);
    EXPECT_EQ(linked.outputs.size(), 3u);
}

TEST_F(LinkerApi, FusionsDoNotChain) {
    pushStack();
    ASSERT_EQ(push(package(33, kvtest::topGraph(2000))), 0);
    ASSERT_EQ(substanceLinkerFuseInputs(handle_, 100, 300), 0);
    EXPECT_EQ(substanceLinkerFuseInputs(handle_, 300, 2300), SubstanceStatus_InvalidState); // 300 is gone
    EXPECT_EQ(substanceLinkerFuseInputs(handle_, 2300, 100), SubstanceStatus_InvalidState); // 100 keeps 300
    EXPECT_EQ(substanceLinkerFuseInputs(handle_, 101, 300), SubstanceStatus_Incompatible);
    ASSERT_EQ(substanceLinkerConnectOutputToInput(handle_, 2301, 400), 0);
    EXPECT_EQ(substanceLinkerFuseInputs(handle_, 301, 2301), SubstanceStatus_InvalidState); // 2301 is fed
    ASSERT_EQ(substanceLinkerFuseInputs(handle_, 100, 2300), 0); // one input may keep several
    std::set<uint32_t> uids;
    for (const GraphInput& input : link().inputs)
        uids.insert(input.uid);
    EXPECT_EQ(uids, (std::set<uint32_t>{100, 101, 301, 302, 2302}));
}

TEST_F(LinkerApi, ConnectionsThatLoopAreCycles) {
    ASSERT_EQ(push(package(1, kvtest::topGraph(0))), 0);
    ASSERT_EQ(push(package(2, kvtest::topGraph(1000))), 0);
    ASSERT_EQ(substanceLinkerConnectOutputToInput(handle_, 1301, 400), 0);
    ASSERT_EQ(substanceLinkerConnectOutputToInput(handle_, 301, 1400), 0);
    EXPECT_EQ(linkStatus(), SubstanceStatus_Cycle);
}

TEST_F(LinkerApi, PassThroughChainsResolveAndLoopsAreCycles) {
    pushStack();
    ASSERT_EQ(push(package(3, passThrough(500, 600))), 0);
    ASSERT_EQ(substanceLinkerConnectOutputToInput(handle_, 500, 200), 0);
    ASSERT_EQ(substanceLinkerConnectOutputToInput(handle_, 301, 600), 0);
    const Graph linked = link();
    const Node& topBlend = linked.nodes[outputByUid(linked, 400).node];
    EXPECT_EQ(topBlend.imageInputs[1], static_cast<int32_t>(outputByUid(linked, 200).node));
    EXPECT_EQ(outputByUid(linked, 600).node, outputByUid(linked, 200).node);

    ASSERT_EQ(push(package(4, passThrough(700, 800))), 0);
    ASSERT_EQ(substanceLinkerConnectOutputToInput(handle_, 700, 600), 0);
    ASSERT_EQ(substanceLinkerConnectOutputToInput(handle_, 500, 800), 0); // 500 <- 800 <- 700 <- 600 <- 500
    EXPECT_EQ(linkStatus(), SubstanceStatus_Cycle);
}

TEST_F(LinkerApi, SamePackageTwiceGetsUniqueUidsDeterministically) {
    const std::vector<char> top = package(22, kvtest::topGraph(0));
    ASSERT_EQ(push(top), 0);
    ASSERT_EQ(push(top), 0);
    ASSERT_EQ(substanceLinkerConnectOutputToInput(handle_, 301, 400), 0); // second copy fed by the first
    ASSERT_EQ(substanceLinkerFuseInputs(handle_, 300, 300), 0);           // first copy kept
    ASSERT_EQ(substanceLinkerHandleSetOutputFormat(handle_, 400, SubstancePixelFormat_L8, 1), 0); // second

    const char* data = nullptr;
    size_t size = 0;
    ASSERT_EQ(substanceLinkerHandleLink(handle_, &data, &size), 0);
    const std::vector<char> first(data, data + size);
    ASSERT_EQ(substanceLinkerHandleLink(handle_, &data, &size), 0);
    EXPECT_EQ(std::vector<char>(data, data + size), first);

    const Graph linked = link();
    std::set<uint32_t> inputUids;
    for (const GraphInput& input : linked.inputs) {
        EXPECT_NE(input.uid, 0u);
        inputUids.insert(input.uid);
    }
    // First copy: $outputsize, source, amount; second copy: amount only.
    EXPECT_EQ(linked.inputs.size(), 4u);
    EXPECT_EQ(inputUids.size(), linked.inputs.size());
    EXPECT_EQ(linked.inputs.back().uid, 302u); // the last pushed copy keeps its UID
    EXPECT_EQ(inputByUid(linked, 301).type, InputType::Image);

    ASSERT_EQ(linked.outputs.size(), 2u);
    EXPECT_NE(linked.outputs[0].uid, linked.outputs[1].uid);
    EXPECT_EQ(linked.outputs[1].uid, 400u);
    EXPECT_EQ(linked.outputs[1].format, SubstancePixelFormat_L8);
    const Node& secondBlend = linked.nodes[linked.outputs[1].node];
    EXPECT_EQ(secondBlend.imageInputs[1], static_cast<int32_t>(linked.outputs[0].node));
}

TEST_F(LinkerApi, PushesBeyondTheGraphLimitFail) {
    const std::vector<char> bare = writeAssembly(kvtest::singleGraphAssembly(5, kvtest::baseGraph(0)));
    for (uint32_t k = 0; k < AssemblyLimits::maxGraphs; ++k)
        ASSERT_EQ(push(bare), 0);
    EXPECT_EQ(push(bare), SubstanceStatus_LimitExceeded);
    EXPECT_EQ(received.assemblies.size(), AssemblyLimits::maxGraphs); // the refused push delivered nothing
}
