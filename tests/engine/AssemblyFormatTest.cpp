// Round trips and rejection of malformed assemblies.
#include "TestAssemblies.h"

#include "engine/assembly/AssemblyIO.h"
#include "platform/engine/EngineTypes.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

using namespace kvengine;
using kvtest::constant;
using kvtest::op;
using kvtest::readInput;

namespace {

Assembly twoGraphAssembly() {
    Assembly assembly;
    assembly.uid = 0xDEADBEEF;
    assembly.graphs.push_back(kvtest::baseGraph(0));
    assembly.graphs.push_back(kvtest::topGraph(0));
    assembly.graphs[1].outputs[0].format = SubstancePixelFormat_RGBA16F;
    assembly.graphs[1].outputs[0].mipmaps = 0;
    assembly.graphs[1].outputs[0].channel = 7;
    return assembly;
}

Status readBack(const Assembly& assembly) {
    const std::vector<char> bytes = writeAssembly(assembly);
    Assembly out;
    return readAssembly(bytes.data(), bytes.size(), out);
}

void putU32(std::vector<char>& bytes, size_t offset, uint32_t v) {
    for (int b = 0; b < 4; ++b)
        bytes[offset + b] = static_cast<char>(v >> (8 * b));
}

} // namespace

TEST(AssemblyFormat, RoundTripKeepsEveryField) {
    const Assembly original = twoGraphAssembly();
    const std::vector<char> bytes = writeAssembly(original);
    ASSERT_TRUE(looksLikeAssembly(bytes.data(), bytes.size()));
    Assembly back;
    ASSERT_EQ(readAssembly(bytes.data(), bytes.size(), back), SubstanceStatus_Ok);
    EXPECT_EQ(kvtest::describe(back), kvtest::describe(original));
    EXPECT_EQ(writeAssembly(back), bytes); // the encoding is canonical
}

TEST(AssemblyFormat, EmptyAssemblyAndEmptyExpressionsAreValid) {
    Assembly empty;
    EXPECT_EQ(readBack(empty), SubstanceStatus_Ok);
    Assembly assembly = twoGraphAssembly();
    assembly.graphs[0].nodes[0].params.assign(3, Expression{});
    EXPECT_EQ(readBack(assembly), SubstanceStatus_Ok);
}

TEST(AssemblyFormat, HeaderIsLittleEndianWithMagicAndVersion) {
    Assembly assembly;
    assembly.uid = 0x01020304;
    const std::vector<char> bytes = writeAssembly(assembly);
    ASSERT_EQ(bytes.size(), 16u);
    EXPECT_EQ(std::memcmp(bytes.data(), "KVAS", 4), 0);
    EXPECT_EQ(bytes[4], 1);
    EXPECT_EQ(bytes[8], 4);
    EXPECT_EQ(bytes[11], 1);
}

TEST(AssemblyFormat, RejectsOtherVersionsAndMagic) {
    std::vector<char> bytes = writeAssembly(twoGraphAssembly());
    Assembly out;
    std::vector<char> version = bytes;
    putU32(version, 4, 2);
    EXPECT_EQ(readAssembly(version.data(), version.size(), out), SubstanceStatus_BadVersion);
    bytes[0] = 'X';
    EXPECT_FALSE(looksLikeAssembly(bytes.data(), bytes.size()));
    EXPECT_EQ(readAssembly(bytes.data(), bytes.size(), out), SubstanceStatus_InvalidData);
    EXPECT_EQ(readAssembly(nullptr, 0, out), SubstanceStatus_InvalidData);
    EXPECT_EQ(readAssembly(nullptr, 5, out), SubstanceStatus_InvalidArgument);
}

TEST(AssemblyFormat, EveryTruncationAndTrailingByteIsRejected) {
    const std::vector<char> bytes = writeAssembly(twoGraphAssembly());
    for (size_t size = 0; size < bytes.size(); ++size) {
        Assembly out;
        out.uid = 77;
        const Status status = readAssembly(bytes.data(), size, out);
        EXPECT_NE(status, SubstanceStatus_Ok) << "size " << size;
        EXPECT_EQ(status.reason().rfind("assembly: ", 0), 0u) << status;
        EXPECT_EQ(out.uid, 77u) << "output touched on failure";
    }
    std::vector<char> longer = bytes;
    longer.push_back(0);
    Assembly out;
    EXPECT_EQ(readAssembly(longer.data(), longer.size(), out), SubstanceStatus_InvalidData);
}

TEST(AssemblyFormat, FlippedBytesNeverCrash) {
    const std::vector<char> bytes = writeAssembly(twoGraphAssembly());
    for (size_t offset = 0; offset < bytes.size(); ++offset) {
        for (unsigned char pattern : {0xFFu, 0x80u, 0x01u}) {
            std::vector<char> damaged = bytes;
            damaged[offset] = static_cast<char>(damaged[offset] ^ pattern);
            Assembly out;
            const Status status = readAssembly(damaged.data(), damaged.size(), out);
            if (status == SubstanceStatus_Ok) { // a flipped value byte may still be a valid assembly
                EXPECT_EQ(writeAssembly(out), damaged);
            } else { // and every refusal says why
                EXPECT_EQ(status.reason().rfind("assembly: ", 0), 0u) << status << " at offset " << offset;
            }
        }
    }
}

TEST(AssemblyFormat, HugeCountsAreRefusedBeforeAllocating) {
    std::vector<char> bytes = writeAssembly(Assembly{});
    Assembly out;
    putU32(bytes, 12, 0xFFFFFFFF);
    EXPECT_EQ(readAssembly(bytes.data(), bytes.size(), out), SubstanceStatus_LimitExceeded);
    putU32(bytes, 12, AssemblyLimits::maxGraphs); // within the limit but no bytes behind it
    EXPECT_EQ(readAssembly(bytes.data(), bytes.size(), out), SubstanceStatus_InvalidData);

    Assembly one;
    one.graphs.emplace_back();
    bytes = writeAssembly(one);
    putU32(bytes, 20, 1000); // input count of graph 0, after the empty url
    EXPECT_EQ(readAssembly(bytes.data(), bytes.size(), out), SubstanceStatus_InvalidData);
    putU32(bytes, 20, AssemblyLimits::maxInputsPerGraph + 1);
    EXPECT_EQ(readAssembly(bytes.data(), bytes.size(), out), SubstanceStatus_LimitExceeded);
    putU32(bytes, 20, 0);
    putU32(bytes, 16, 0x7FFFFFFF); // url length
    EXPECT_EQ(readAssembly(bytes.data(), bytes.size(), out), SubstanceStatus_InvalidData);
}

TEST(AssemblyFormat, WriterRefusesWhatTheReaderWouldReject) {
    Assembly assembly = twoGraphAssembly();
    assembly.graphs[0].url.assign(AssemblyLimits::maxStringLength + 1, 'x');
    EXPECT_THROW(writeAssembly(assembly), std::invalid_argument);
    assembly = twoGraphAssembly();
    assembly.graphs[0].nodes[0].imageInputs.assign(AssemblyLimits::maxImageInputsPerNode + 1, -1);
    EXPECT_THROW(writeAssembly(assembly), std::invalid_argument);
    assembly = twoGraphAssembly();
    assembly.graphs.resize(AssemblyLimits::maxGraphs + 1);
    EXPECT_THROW(writeAssembly(assembly), std::invalid_argument);
}

TEST(AssemblyFormat, BadIndicesAndEnumsAreRejected) {
    Assembly assembly = twoGraphAssembly();
    assembly.graphs[0].outputs[0].node = 3;
    EXPECT_EQ(readBack(assembly), SubstanceStatus_InvalidData);

    assembly = twoGraphAssembly();
    assembly.graphs[0].nodes[2].imageInputs[1] = 3;
    EXPECT_EQ(readBack(assembly), SubstanceStatus_InvalidData);
    assembly.graphs[0].nodes[2].imageInputs[1] = -2;
    EXPECT_EQ(readBack(assembly), SubstanceStatus_InvalidData);
    assembly.graphs[0].nodes[2].imageInputs[1] = -1; // an unconnected slot
    EXPECT_EQ(readBack(assembly), SubstanceStatus_Ok);

    assembly = twoGraphAssembly();
    assembly.graphs[1].nodes[0].graphInput = 3; // input.image past the inputs
    EXPECT_EQ(readBack(assembly), SubstanceStatus_InvalidData);

    assembly = twoGraphAssembly();
    assembly.graphs[0].inputs[1].type = static_cast<InputType>(6);
    EXPECT_EQ(readBack(assembly), SubstanceStatus_InvalidData);

    assembly = twoGraphAssembly();
    assembly.graphs[0].nodes[1].params[0].code[0].op = static_cast<Op>(kOpCount);
    EXPECT_EQ(readBack(assembly), SubstanceStatus_InvalidData);
}

TEST(AssemblyFormat, ExpressionsMustBalanceTheStack) {
    auto withParam = [](std::vector<Instruction> code) {
        Assembly assembly = twoGraphAssembly();
        assembly.graphs[0].nodes[0].params[0].code = std::move(code);
        return readBack(assembly);
    };
    EXPECT_EQ(withParam({readInput(2)}), SubstanceStatus_InvalidData); // graph 0 has two inputs
    EXPECT_EQ(withParam({op(Op::Add)}), SubstanceStatus_InvalidData);
    EXPECT_EQ(withParam({constant(1), constant(2)}), SubstanceStatus_InvalidData);
    EXPECT_EQ(withParam({constant(1), constant(2), op(Op::Mix)}), SubstanceStatus_InvalidData);
    EXPECT_EQ(withParam({constant(1), op(Op::Component, 4)}), SubstanceStatus_InvalidData);
    EXPECT_EQ(withParam({constant(1), constant(2), constant(3), op(Op::Mix), op(Op::Sine)}),
              SubstanceStatus_Ok);

    std::vector<Instruction> deep(AssemblyLimits::maxExpressionStack, constant(1));
    deep.insert(deep.end(), AssemblyLimits::maxExpressionStack - 1, op(Op::Add));
    EXPECT_EQ(withParam(deep), SubstanceStatus_Ok);
    deep.insert(deep.begin(), constant(1));
    deep.push_back(op(Op::Add));
    EXPECT_EQ(withParam(deep), SubstanceStatus_LimitExceeded);
}

TEST(AssemblyFormat, NodeCyclesAreRejected) {
    Assembly assembly = twoGraphAssembly();
    assembly.graphs[0].nodes[0].imageInputs = {0};
    EXPECT_EQ(readBack(assembly), SubstanceStatus_Cycle);

    assembly = twoGraphAssembly();
    assembly.graphs[0].nodes[0].imageInputs = {2}; // 0 <- 2 <- 0
    EXPECT_EQ(readBack(assembly), SubstanceStatus_Cycle);

    // A long chain is fine and does not recurse.
    Graph chain;
    chain.nodes.resize(AssemblyLimits::maxNodesPerGraph);
    for (size_t n = 1; n < chain.nodes.size(); ++n)
        chain.nodes[n].imageInputs = {static_cast<int32_t>(n - 1)};
    EXPECT_EQ(readBack(kvtest::singleGraphAssembly(1, chain)), SubstanceStatus_Ok);
}
