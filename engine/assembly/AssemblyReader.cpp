#include "engine/assembly/AssemblyFormat.h"
#include "engine/assembly/AssemblyIO.h"
#include "engine/assembly/AssemblyValidation.h"
#include "engine/assembly/ByteSource.h"
#include "platform/engine/EngineTypes.h"

#include <new>

namespace kvengine {
namespace {

class Parser {
public:
    Parser(const char* data, size_t size) : in_(data, size) {}

    int status() const { return status_; }

    bool header(Assembly& out, uint32_t& graphCount) {
        for (char expected : format::kMagic)
            if (static_cast<char>(in_.u8()) != expected)
                return fail(SubstanceStatus_InvalidData);
        const uint32_t version = in_.u32();
        out.uid = in_.u32();
        graphCount = in_.u32();
        if (!in_.ok())
            return fail(SubstanceStatus_InvalidData);
        if (version != kAssemblyFormatVersion)
            return fail(SubstanceStatus_BadVersion);
        return count(graphCount, AssemblyLimits::maxGraphs, format::kMinGraphBytes);
    }

    bool graph(Graph& out) {
        if (!string(out.url))
            return false;
        uint32_t n = in_.u32();
        if (!count(n, AssemblyLimits::maxInputsPerGraph, format::kMinInputBytes))
            return false;
        out.inputs.resize(n);
        for (GraphInput& input : out.inputs)
            if (!graphInput(input))
                return false;

        n = in_.u32();
        if (!count(n, AssemblyLimits::maxOutputsPerGraph, format::kMinOutputBytes))
            return false;
        out.outputs.resize(n);
        for (GraphOutput& output : out.outputs) {
            output.uid = in_.u32();
            if (!string(output.identifier))
                return false;
            output.format = in_.i32();
            output.mipmaps = in_.u32();
            output.channel = in_.u32();
            output.node = in_.u32();
        }

        n = in_.u32();
        if (!count(n, AssemblyLimits::maxNodesPerGraph, format::kMinNodeBytes))
            return false;
        out.nodes.resize(n);
        for (Node& node : out.nodes)
            if (!readNode(node))
                return false;
        return checked();
    }

    bool atEnd() { return in_.remaining() == 0 || fail(SubstanceStatus_InvalidData); }

private:
    bool graphInput(GraphInput& input) {
        input.uid = in_.u32();
        if (!string(input.identifier))
            return false;
        const uint32_t type = in_.u32();
        value(input.defaultValue);
        if (!checked())
            return false;
        if (!isValidInputType(type))
            return fail(SubstanceStatus_InvalidData);
        input.type = static_cast<InputType>(type);
        return true;
    }

    bool readNode(Node& node) {
        if (!string(node.op))
            return false;
        node.graphInput = in_.u32();
        uint32_t n = in_.u32();
        if (!count(n, AssemblyLimits::maxImageInputsPerNode, format::kImageInputBytes))
            return false;
        node.imageInputs.resize(n);
        for (int32_t& source : node.imageInputs)
            source = in_.i32();
        n = in_.u32();
        if (!count(n, AssemblyLimits::maxParamsPerNode, format::kMinExpressionBytes))
            return false;
        node.params.resize(n);
        for (Expression& param : node.params)
            if (!expression(param))
                return false;
        return checked();
    }

    bool expression(Expression& out) {
        const uint32_t n = in_.u32();
        if (!count(n, AssemblyLimits::maxInstructionsPerExpression, format::kMinInstructionBytes))
            return false;
        out.code.resize(n);
        for (Instruction& instruction : out.code) {
            const uint8_t op = in_.u8();
            if (!checked())
                return false;
            if (op >= kOpCount)
                return fail(SubstanceStatus_InvalidData);
            instruction.op = static_cast<Op>(op);
            if (instruction.op == Op::Constant)
                value(instruction.value);
            else if (instruction.op == Op::Input || instruction.op == Op::Component)
                instruction.index = in_.u32();
        }
        return checked();
    }

    void value(Value4& out) {
        for (int32_t& slot : out.i)
            slot = in_.i32();
    }

    bool string(std::string& out) {
        return in_.string(out, AssemblyLimits::maxStringLength) || fail(SubstanceStatus_InvalidData);
    }

    // A record count: first within its published limit, then small enough
    // for the remaining bytes, so nothing is reserved on a lying count.
    bool count(uint32_t n, uint32_t limit, size_t minBytes) {
        if (!checked())
            return false;
        if (n > limit)
            return fail(SubstanceStatus_LimitExceeded);
        return in_.canHold(n, minBytes) || fail(SubstanceStatus_InvalidData);
    }

    bool checked() { return in_.ok() || fail(SubstanceStatus_InvalidData); }

    bool fail(int status) {
        if (status_ == SubstanceStatus_Ok)
            status_ = status;
        in_.fail();
        return false;
    }

    ByteSource in_;
    int status_ = SubstanceStatus_Ok;
};

int parse(const char* data, size_t size, Assembly& out) {
    Parser parser(data, size);
    Assembly assembly;
    uint32_t graphCount = 0;
    if (!parser.header(assembly, graphCount))
        return parser.status();
    assembly.graphs.resize(graphCount);
    for (Graph& graph : assembly.graphs) {
        if (!parser.graph(graph))
            return parser.status();
        if (int status = validateGraph(graph))
            return status;
    }
    if (!parser.atEnd())
        return parser.status();
    out = std::move(assembly);
    return SubstanceStatus_Ok;
}

} // namespace

int readAssembly(const char* data, size_t size, Assembly& out) {
    if (data == nullptr && size != 0)
        return SubstanceStatus_InvalidArgument;
    if (size > AssemblyLimits::maxAssemblyBytes)
        return SubstanceStatus_LimitExceeded;
    try {
        return parse(data, size, out);
    } catch (const std::bad_alloc&) {
        return SubstanceStatus_OutOfMemory;
    }
}

} // namespace kvengine
