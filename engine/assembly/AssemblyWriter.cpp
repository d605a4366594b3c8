#include "engine/assembly/AssemblyFormat.h"
#include "engine/assembly/AssemblyIO.h"

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

void require(bool ok, const char* what) {
    if (!ok)
        throw std::invalid_argument(std::string("assembly exceeds a limit: ") + what);
}

void requireString(const std::string& s) {
    require(s.size() <= AssemblyLimits::maxStringLength, "string length");
}

void writeExpression(ByteSink& out, const Expression& expression) {
    require(expression.code.size() <= AssemblyLimits::maxInstructionsPerExpression, "instructions");
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
    require(graph.inputs.size() <= AssemblyLimits::maxInputsPerGraph, "inputs");
    require(graph.outputs.size() <= AssemblyLimits::maxOutputsPerGraph, "outputs");
    require(graph.nodes.size() <= AssemblyLimits::maxNodesPerGraph, "nodes");
    requireString(graph.url);
    out.string(graph.url);

    out.u32(static_cast<uint32_t>(graph.inputs.size()));
    for (const GraphInput& input : graph.inputs) {
        requireString(input.identifier);
        out.u32(input.uid);
        out.string(input.identifier);
        out.u32(static_cast<uint32_t>(input.type));
        out.value(input.defaultValue);
    }

    out.u32(static_cast<uint32_t>(graph.outputs.size()));
    for (const GraphOutput& output : graph.outputs) {
        requireString(output.identifier);
        out.u32(output.uid);
        out.string(output.identifier);
        out.i32(output.format);
        out.u32(output.mipmaps);
        out.u32(output.channel);
        out.u32(output.node);
    }

    out.u32(static_cast<uint32_t>(graph.nodes.size()));
    for (const Node& node : graph.nodes) {
        requireString(node.op);
        require(node.imageInputs.size() <= AssemblyLimits::maxImageInputsPerNode, "image inputs");
        require(node.params.size() <= AssemblyLimits::maxParamsPerNode, "parameters");
        out.string(node.op);
        out.u32(node.graphInput);
        out.u32(static_cast<uint32_t>(node.imageInputs.size()));
        for (int32_t source : node.imageInputs)
            out.i32(source);
        out.u32(static_cast<uint32_t>(node.params.size()));
        for (const Expression& param : node.params)
            writeExpression(out, param);
    }
}

} // namespace

std::vector<char> writeAssembly(const Assembly& assembly) {
    require(assembly.graphs.size() <= AssemblyLimits::maxGraphs, "graphs");
    ByteSink out;
    out.raw(format::kMagic, sizeof format::kMagic);
    out.u32(kAssemblyFormatVersion);
    out.u32(assembly.uid);
    out.u32(static_cast<uint32_t>(assembly.graphs.size()));
    for (const Graph& graph : assembly.graphs)
        writeGraph(out, graph);
    std::vector<char> bytes = out.take();
    require(bytes.size() <= AssemblyLimits::maxAssemblyBytes, "total size");
    return bytes;
}

bool looksLikeAssembly(const char* data, size_t size) {
    return data != nullptr && size >= sizeof format::kMagic &&
           std::memcmp(data, format::kMagic, sizeof format::kMagic) == 0;
}

} // namespace kvengine
