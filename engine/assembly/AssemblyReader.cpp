#include "engine/assembly/AssemblyFormat.h"
#include "engine/assembly/AssemblyIO.h"
#include "engine/assembly/AssemblyPlaces.h"
#include "engine/assembly/AssemblyValidation.h"
#include "engine/assembly/ByteSource.h"

#include <new>
#include <string>

namespace kvengine {
namespace {

// The record being read, named in failure reasons only when one happens.
struct ReadPlace {
    bool header = true;
    size_t graphIndex = 0;
    const Graph* graph = nullptr; // once its URL is read
    const char* record = nullptr; // "input", "output", "node"
    size_t index = 0;
    const std::string* name = nullptr; // the record's identifier or kind, once read
    int param = -1;
    int instruction = -1;

    std::string describe() const {
        if (header)
            return "the header";
        std::string text = graph ? graphPlace(*graph) : "graph " + std::to_string(graphIndex);
        if (record) {
            text += std::string(" ") + record + " " + std::to_string(index);
            if (name)
                text += " ('" + *name + "')";
        }
        if (param >= 0)
            text += " parameter " + std::to_string(param);
        if (instruction >= 0)
            text += " instruction " + std::to_string(instruction);
        return text;
    }
};

class Parser {
public:
    Parser(const char* data, size_t size) : in_(data, size), size_(size) {}

    const Status& status() const { return status_; }

    bool header(Assembly& out, uint32_t& graphCount) {
        for (char expected : format::kMagic)
            if (static_cast<char>(in_.u8()) != expected)
                return in_.ok() ? fail(SubstanceStatus_InvalidData,
                                       "the header: the bytes do not begin with the magic 'KVAS'")
                                : truncated();
        const uint32_t version = in_.u32();
        out.uid = in_.u32();
        graphCount = in_.u32();
        if (!in_.ok())
            return truncated();
        if (version != kAssemblyFormatVersion)
            return fail(SubstanceStatus_BadVersion, "the header: format version " + std::to_string(version) +
                                                        ", this engine reads version " +
                                                        std::to_string(kAssemblyFormatVersion));
        return count(graphCount, AssemblyLimits::maxGraphs, format::kMinGraphBytes, "graph");
    }

    bool graph(size_t index, Graph& out) {
        place_ = ReadPlace{};
        place_.header = false;
        place_.graphIndex = index;
        if (!string(out.url, "its URL"))
            return false;
        place_.graph = &out;
        uint32_t n = in_.u32();
        if (!count(n, AssemblyLimits::maxInputsPerGraph, format::kMinInputBytes, "input"))
            return false;
        out.inputs.resize(n);
        for (size_t i = 0; i < out.inputs.size(); ++i)
            if (!graphInput(i, out.inputs[i]))
                return false;

        enter(nullptr, 0);
        n = in_.u32();
        if (!count(n, AssemblyLimits::maxOutputsPerGraph, format::kMinOutputBytes, "output"))
            return false;
        out.outputs.resize(n);
        for (size_t o = 0; o < out.outputs.size(); ++o)
            if (!graphOutput(o, out.outputs[o]))
                return false;

        enter(nullptr, 0);
        n = in_.u32();
        if (!count(n, AssemblyLimits::maxNodesPerGraph, format::kMinNodeBytes, "node"))
            return false;
        out.nodes.resize(n);
        for (size_t k = 0; k < out.nodes.size(); ++k)
            if (!readNode(k, out.nodes[k]))
                return false;
        return true;
    }

    bool atEnd() {
        if (in_.remaining() == 0)
            return true;
        return fail(SubstanceStatus_InvalidData, std::to_string(in_.remaining()) +
                                                     " bytes follow the last graph, from offset " +
                                                     std::to_string(in_.offset()));
    }

private:
    void enter(const char* record, size_t index) {
        place_.record = record;
        place_.index = index;
        place_.name = nullptr;
        place_.param = -1;
        place_.instruction = -1;
    }

    bool graphInput(size_t index, GraphInput& input) {
        enter("input", index);
        input.uid = in_.u32();
        if (!string(input.identifier, "its identifier"))
            return false;
        place_.name = &input.identifier;
        const uint32_t type = in_.u32();
        value(input.defaultValue);
        if (!in_.ok())
            return truncated();
        if (!isValidInputType(type))
            return fail(SubstanceStatus_InvalidData,
                        place_.describe() + ": unknown type code " + std::to_string(type));
        input.type = static_cast<InputType>(type);
        return true;
    }

    bool graphOutput(size_t index, GraphOutput& output) {
        enter("output", index);
        output.uid = in_.u32();
        if (!string(output.identifier, "its identifier"))
            return false;
        place_.name = &output.identifier;
        output.format = in_.i32();
        output.mipmaps = in_.u32();
        output.channel = in_.u32();
        output.node = in_.u32();
        return in_.ok() || truncated();
    }

    bool readNode(size_t index, Node& node) {
        enter("node", index);
        if (!string(node.op, "its kind"))
            return false;
        place_.name = &node.op;
        node.graphInput = in_.u32();
        uint32_t n = in_.u32();
        if (!count(n, AssemblyLimits::maxImageInputsPerNode, format::kImageInputBytes, "image input"))
            return false;
        node.imageInputs.resize(n);
        for (int32_t& source : node.imageInputs)
            source = in_.i32();
        n = in_.u32();
        if (!count(n, AssemblyLimits::maxParamsPerNode, format::kMinExpressionBytes, "parameter"))
            return false;
        node.params.resize(n);
        for (size_t p = 0; p < node.params.size(); ++p) {
            place_.param = static_cast<int>(p);
            if (!expression(node.params[p]))
                return false;
        }
        return true;
    }

    bool expression(Expression& out) {
        place_.instruction = -1;
        const uint32_t n = in_.u32();
        if (!count(n, AssemblyLimits::maxInstructionsPerExpression, format::kMinInstructionBytes,
                   "instruction"))
            return false;
        out.code.resize(n);
        for (size_t k = 0; k < out.code.size(); ++k) {
            Instruction& instruction = out.code[k];
            place_.instruction = static_cast<int>(k);
            const uint8_t op = in_.u8();
            if (!in_.ok())
                return truncated();
            if (op >= kOpCount)
                return fail(SubstanceStatus_InvalidData, place_.describe() + ": unknown opcode " +
                                                             std::to_string(op) + " at offset " +
                                                             std::to_string(in_.offset() - 1));
            instruction.op = static_cast<Op>(op);
            if (instruction.op == Op::Constant)
                value(instruction.value);
            else if (instruction.op == Op::Input || instruction.op == Op::Component)
                instruction.index = in_.u32();
            if (!in_.ok())
                return truncated();
        }
        place_.instruction = -1;
        return true;
    }

    void value(Value4& out) {
        for (int32_t& slot : out.i)
            slot = in_.i32();
    }

    bool string(std::string& out, const char* what) {
        const size_t at = in_.offset();
        const uint32_t length = in_.u32();
        if (!in_.ok())
            return truncated();
        if (length > AssemblyLimits::maxStringLength)
            return fail(SubstanceStatus_InvalidData,
                        place_.describe() + ": " + what + " at offset " + std::to_string(at) + " is " +
                            std::to_string(length) + " bytes long, past the limit of " +
                            std::to_string(AssemblyLimits::maxStringLength));
        if (!in_.text(out, length))
            return fail(SubstanceStatus_InvalidData,
                        place_.describe() + ": " + what + " at offset " + std::to_string(at) + " is " +
                            std::to_string(length) + " bytes long, past the end");
        return true;
    }

    // A record count: first within its published limit, then small enough
    // for the remaining bytes, so nothing is reserved on a lying count.
    bool count(uint32_t n, uint32_t limit, size_t minBytes, const char* noun) {
        if (!in_.ok())
            return truncated();
        if (n > limit)
            return fail(SubstanceStatus_LimitExceeded, place_.describe() + ": " + counted(n, noun) +
                                                           " exceed the limit of " + std::to_string(limit));
        if (in_.canHold(n, minBytes))
            return true;
        return fail(SubstanceStatus_InvalidData, place_.describe() + ": " + counted(n, noun) +
                                                     " cannot fit in the " + std::to_string(in_.remaining()) +
                                                     " bytes after offset " + std::to_string(in_.offset()));
    }

    bool truncated() {
        return fail(SubstanceStatus_InvalidData, place_.describe() + ": the bytes end at offset " +
                                                     std::to_string(size_) + ", inside the record");
    }

    bool fail(SubstanceStatus code, std::string reason) {
        if (status_.ok())
            status_ = Status(code, std::move(reason));
        in_.fail();
        return false;
    }

    ByteSource in_;
    size_t size_;
    ReadPlace place_;
    Status status_;
};

Status parse(const char* data, size_t size, Assembly& out) {
    Parser parser(data, size);
    Assembly assembly;
    uint32_t graphCount = 0;
    if (!parser.header(assembly, graphCount))
        return parser.status();
    assembly.graphs.resize(graphCount);
    for (size_t g = 0; g < assembly.graphs.size(); ++g) {
        if (!parser.graph(g, assembly.graphs[g]))
            return parser.status();
        if (Status status = validateGraph(assembly.graphs[g]); !status.ok())
            return status;
    }
    if (!parser.atEnd())
        return parser.status();
    out = std::move(assembly);
    return {};
}

} // namespace

Status readAssembly(const char* data, size_t size, Assembly& out) {
    if (data == nullptr && size != 0)
        return {SubstanceStatus_InvalidArgument,
                "assembly: no bytes behind a size of " + std::to_string(size)};
    if (size > AssemblyLimits::maxAssemblyBytes)
        return {SubstanceStatus_LimitExceeded, "assembly: " + std::to_string(size) +
                                                   " bytes exceed the limit of " +
                                                   std::to_string(AssemblyLimits::maxAssemblyBytes)};
    try {
        return parse(data, size, out).within("assembly: ");
    } catch (const std::bad_alloc&) {
        return {SubstanceStatus_OutOfMemory, "assembly: out of memory while reading"};
    }
}

} // namespace kvengine
