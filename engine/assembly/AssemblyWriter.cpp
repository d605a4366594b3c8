#include "engine/assembly/AssemblyFormat.h"
#include "engine/assembly/AssemblyIO.h"
#include "engine/assembly/AssemblyPlaces.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace kvengine {
namespace {

class ByteSink {
public:
    void u8(uint8_t v) { bytes_.push_back(static_cast<char>(v)); }
    void u32(uint32_t v) {
        for (int shift = 0; shift < 32; shift += 8)
            u8(static_cast<uint8_t>(v >> shift));
    }
    void i32(int32_t v) { u32(static_cast<uint32_t>(v)); }
    void value(const Value4& v) {
        for (int32_t slot : v.i)
            i32(slot);
    }
    void string(const std::string& s) {
        u32(static_cast<uint32_t>(s.size()));
        bytes_.insert(bytes_.end(), s.begin(), s.end());
    }
    void raw(const char* data, size_t size) { bytes_.insert(bytes_.end(), data, data + size); }
    std::vector<char> take() { return std::move(bytes_); }

private:
    std::vector<char> bytes_;
};

// Throws what the reader would say of a count past its limit.
void requireAtMost(size_t count, uint64_t limit, const std::string& where, const char* noun) {
    if (count > limit)
        throw std::invalid_argument("assembly: " + where + ": " + counted(count, noun) +
                                    " exceed the limit of " + std::to_string(limit));
}

void requireString(const std::string& s, const std::string& where) {
    requireAtMost(s.size(), AssemblyLimits::maxStringLength, where, "string byte");
}

void writeExpression(ByteSink& out, const Expression& expression, const std::string& where) {
    requireAtMost(expression.code.size(), AssemblyLimits::maxInstructionsPerExpression, where, "instruction");
    out.u32(static_cast<uint32_t>(expression.code.size()));
    for (const Instruction& instruction : expression.code) {
        out.u8(static_cast<uint8_t>(instruction.op));
        if (instruction.op == Op::Constant)
            out.value(instruction.value);
        else if (instruction.op == Op::Input || instruction.op == Op::Component)
            out.u32(instruction.index);
    }
}

void writeGraph(ByteSink& out, const Graph& graph) {
    const std::string place = graphPlace(graph);
    requireAtMost(graph.inputs.size(), AssemblyLimits::maxInputsPerGraph, place, "input");
    requireAtMost(graph.outputs.size(), AssemblyLimits::maxOutputsPerGraph, place, "output");
    requireAtMost(graph.nodes.size(), AssemblyLimits::maxNodesPerGraph, place, "node");
    requireString(graph.url, place + " URL");
    out.string(graph.url);

    out.u32(static_cast<uint32_t>(graph.inputs.size()));
    for (size_t i = 0; i < graph.inputs.size(); ++i) {
        const GraphInput& input = graph.inputs[i];
        requireString(input.identifier, place + " input " + std::to_string(i));
        out.u32(input.uid);
        out.string(input.identifier);
        out.u32(static_cast<uint32_t>(input.type));
        out.value(input.defaultValue);
    }

    out.u32(static_cast<uint32_t>(graph.outputs.size()));
    for (size_t o = 0; o < graph.outputs.size(); ++o) {
        const GraphOutput& output = graph.outputs[o];
        requireString(output.identifier, place + " output " + std::to_string(o));
        out.u32(output.uid);
        out.string(output.identifier);
        out.i32(output.format);
        out.u32(output.mipmaps);
        out.u32(output.channel);
        out.u32(output.node);
    }

    out.u32(static_cast<uint32_t>(graph.nodes.size()));
    for (size_t n = 0; n < graph.nodes.size(); ++n) {
        const Node& node = graph.nodes[n];
        const std::string where = place + " node " + std::to_string(n);
        requireString(node.op, where);
        requireAtMost(node.imageInputs.size(), AssemblyLimits::maxImageInputsPerNode, where, "image input");
        requireAtMost(node.params.size(), AssemblyLimits::maxParamsPerNode, where, "parameter");
        out.string(node.op);
        out.u32(node.graphInput);
        out.u32(static_cast<uint32_t>(node.imageInputs.size()));
        for (int32_t source : node.imageInputs)
            out.i32(source);
        out.u32(static_cast<uint32_t>(node.params.size()));
        for (size_t p = 0; p < node.params.size(); ++p)
            writeExpression(out, node.params[p], where + " parameter " + std::to_string(p));
    }
}

} // namespace

std::vector<char> writeAssembly(const Assembly& assembly) {
    requireAtMost(assembly.graphs.size(), AssemblyLimits::maxGraphs, "the header", "graph");
    ByteSink out;
    out.raw(format::kMagic, sizeof format::kMagic);
    out.u32(kAssemblyFormatVersion);
    out.u32(assembly.uid);
    out.u32(static_cast<uint32_t>(assembly.graphs.size()));
    for (const Graph& graph : assembly.graphs)
        writeGraph(out, graph);
    std::vector<char> bytes = out.take();
    requireAtMost(bytes.size(), AssemblyLimits::maxAssemblyBytes, "the whole assembly", "byte");
    return bytes;
}

bool looksLikeAssembly(const char* data, size_t size) {
    return data != nullptr && size >= sizeof format::kMagic &&
           std::memcmp(data, format::kMagic, sizeof format::kMagic) == 0;
}

} // namespace kvengine
