#include "AssemblyBuilder.h"

#include "engine/nodes/NodeCatalog.h"

#include <stdexcept>

namespace kvtest {

using namespace kvengine;

Instruction constant(float x, float y, float z, float w) {
    Instruction instruction;
    instruction.op = Op::Constant;
    instruction.value.f = {x, y, z, w};
    return instruction;
}

Instruction readInput(uint32_t index) {
    return op(Op::Input, index);
}

Instruction op(Op code, uint32_t index) {
    Instruction instruction;
    instruction.op = code;
    instruction.index = index;
    return instruction;
}

Expression constantExpr(float x, float y, float z, float w) {
    return Expression{{constant(x, y, z, w)}};
}

Expression inputExpr(uint32_t inputIndex) {
    return Expression{{readInput(inputIndex)}};
}

Value4 intValue(int32_t x, int32_t y, int32_t z, int32_t w) {
    Value4 value;
    value.i = {x, y, z, w};
    return value;
}

Value4 floatValue(float x, float y, float z, float w) {
    Value4 value;
    value.f = {x, y, z, w};
    return value;
}

GraphBuilder::GraphBuilder(int log2Width, int log2Height) : GraphBuilder("pkg://test", 1000) {
    addInput("$outputsize", InputType::Integer2, intValue(log2Width, log2Height));
    addInput("$randomseed", InputType::Integer);
}

GraphBuilder::GraphBuilder(const std::string& url, uint32_t uidBase) : uidBase_(uidBase) {
    graph.url = url;
}

uint32_t GraphBuilder::addInput(const std::string& identifier, InputType type, Value4 value, uint32_t uid) {
    GraphInput input;
    input.uid = uid ? uid : uidBase_ + static_cast<uint32_t>(graph.inputs.size());
    input.identifier = identifier;
    input.type = type;
    input.defaultValue = value;
    graph.inputs.push_back(input);
    return static_cast<uint32_t>(graph.inputs.size() - 1);
}

int GraphBuilder::addNode(const std::string& kind, NamedParams params, std::vector<int32_t> imageInputs,
                          uint32_t graphInput) {
    Node node;
    node.op = kind;
    node.imageInputs = std::move(imageInputs);
    node.graphInput = graphInput;
    const NodeKindInfo* info = findNodeKind(kind);
    if (info)
        node.params.resize(info->params.size());
    for (const auto& [name, expression] : params) {
        const int index = info ? findParam(*info, name) : -1;
        if (index < 0)
            throw std::invalid_argument("no parameter " + std::string(name) + " in " + kind);
        node.params[static_cast<size_t>(index)] = expression;
    }
    graph.nodes.push_back(std::move(node));
    return static_cast<int>(graph.nodes.size() - 1);
}

uint32_t GraphBuilder::addOutput(const std::string& identifier, int node, int format, uint32_t mipmaps,
                                 uint32_t uid) {
    GraphOutput output;
    output.uid = uid ? uid : uidBase_ + 100 + static_cast<uint32_t>(graph.outputs.size());
    output.identifier = identifier;
    output.format = format;
    output.mipmaps = mipmaps;
    output.node = static_cast<uint32_t>(node);
    graph.outputs.push_back(output);
    return static_cast<uint32_t>(graph.outputs.size() - 1);
}

Assembly GraphBuilder::assembly(uint32_t uid) const {
    Assembly assembly;
    assembly.uid = uid;
    assembly.graphs.push_back(graph);
    return assembly;
}

} // namespace kvtest
