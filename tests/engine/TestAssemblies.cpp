#include "TestAssemblies.h"

#include <sstream>

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

namespace {

GraphInput input(uint32_t uid, const char* identifier, InputType type) {
    GraphInput in;
    in.uid = uid;
    in.identifier = identifier;
    in.type = type;
    return in;
}

GraphOutput output(uint32_t uid, const char* identifier, uint32_t node) {
    GraphOutput out;
    out.uid = uid;
    out.identifier = identifier;
    out.node = node;
    out.mipmaps = 1;
    return out;
}

Node node(const char* kind, std::vector<Expression> params, std::vector<int32_t> images = {}) {
    Node n;
    n.op = kind;
    n.params = std::move(params);
    n.imageInputs = std::move(images);
    return n;
}

} // namespace

Graph baseGraph(uint32_t uidSalt) {
    Graph graph;
    graph.url = "pkg://base";
    graph.inputs.push_back(input(100 + uidSalt, "$outputsize", InputType::Integer2));
    graph.inputs.back().defaultValue.i = {9, 9, 0, 0};
    graph.inputs.push_back(input(101 + uidSalt, "tint", InputType::Float3));
    graph.inputs.back().defaultValue.f = {0.5f, 0.25f, 1.0f, 0.0f};
    graph.nodes.push_back(node("color.uniform", {Expression{{readInput(1)}}}));
    graph.nodes.push_back(node("color.uniform", {Expression{{constant(0.2f), constant(0.8f), op(Op::Add)}}}));
    graph.nodes.push_back(node("blend", {Expression{}, Expression{{constant(0.5f)}}}, {0, 1}));
    graph.outputs.push_back(output(200 + uidSalt, "basecolor", 2));
    graph.outputs.push_back(output(201 + uidSalt, "mask", 1));
    graph.outputs.back().format = 12;
    return graph;
}

Graph topGraph(uint32_t uidSalt) {
    Graph graph;
    graph.url = "pkg://top";
    graph.inputs.push_back(input(300 + uidSalt, "$outputsize", InputType::Integer2));
    graph.inputs.back().defaultValue.i = {9, 9, 0, 0};
    graph.inputs.push_back(input(301 + uidSalt, "source", InputType::Image));
    graph.inputs.push_back(input(302 + uidSalt, "amount", InputType::Float));
    Node image = node("input.image", {});
    image.graphInput = 1;
    graph.nodes.push_back(image);
    graph.nodes.push_back(node("color.uniform", {Expression{{constant(1, 0, 0, 1)}}}));
    graph.nodes.push_back(node("blend",
                               {Expression{}, Expression{{readInput(2), readInput(0), op(Op::Component, 0),
                                                          op(Op::Multiply), op(Op::Clamp01)}}},
                               {1, 0}));
    graph.outputs.push_back(output(400 + uidSalt, "Output", 2));
    return graph;
}

Assembly singleGraphAssembly(uint32_t assemblyUid, const Graph& graph) {
    Assembly assembly;
    assembly.uid = assemblyUid;
    assembly.graphs.push_back(graph);
    return assembly;
}

std::string describe(const Assembly& assembly) {
    std::ostringstream out;
    out << "assembly " << assembly.uid << "\n";
    for (const Graph& graph : assembly.graphs) {
        out << " graph " << graph.url << "\n";
        for (const GraphInput& in : graph.inputs)
            out << "  input " << in.uid << " " << in.identifier << " type " << static_cast<uint32_t>(in.type)
                << " = " << in.defaultValue.i[0] << "," << in.defaultValue.i[1] << "," << in.defaultValue.i[2]
                << "," << in.defaultValue.i[3] << "\n";
        for (const GraphOutput& o : graph.outputs)
            out << "  output " << o.uid << " " << o.identifier << " format " << o.format << " mipmaps "
                << o.mipmaps << " channel " << o.channel << " node " << o.node << "\n";
        for (const Node& n : graph.nodes) {
            out << "  node " << n.op << " input " << n.graphInput << " images";
            for (int32_t source : n.imageInputs)
                out << " " << source;
            for (const Expression& e : n.params) {
                out << " |";
                for (const Instruction& i : e.code)
                    out << " " << int(i.op) << ":" << i.index << ":" << i.value.i[0] << "," << i.value.i[1]
                        << "," << i.value.i[2] << "," << i.value.i[3];
            }
            out << "\n";
        }
    }
    return out.str();
}

bool sameAssembly(const Assembly& a, const Assembly& b) {
    // The description lists every field, so equal text means equal records.
    return describe(a) == describe(b);
}

} // namespace kvtest
