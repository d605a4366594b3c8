#include "TestAssemblies.h"

#include "AssemblyBuilder.h"
#include "platform/engine/EngineTypes.h"

#include <sstream>

namespace kvtest {

using namespace kvengine;

Graph baseGraph(uint32_t uidSalt) {
    GraphBuilder b("pkg://base", 100 + uidSalt);
    b.addInput("$outputsize", InputType::Integer2, intValue(9, 9));
    const uint32_t tint = b.addInput("tint", InputType::Float3, floatValue(0.5f, 0.25f, 1.0f));
    const int tinted = b.addNode("color.uniform", {{"color", inputExpr(tint)}});
    const int mask =
        b.addNode("color.uniform", {{"color", Expression{{constant(0.2f), constant(0.8f), op(Op::Add)}}}});
    b.addOutput("basecolor", b.addNode("blend", {{"opacity", constantExpr(0.5f)}}, {tinted, mask}));
    b.addOutput("mask", mask, SubstancePixelFormat_L8);
    return b.graph;
}

Graph topGraph(uint32_t uidSalt) {
    GraphBuilder b("pkg://top", 300 + uidSalt);
    b.addInput("$outputsize", InputType::Integer2, intValue(9, 9));
    const uint32_t source = b.addInput("source", InputType::Image);
    const uint32_t amount = b.addInput("amount", InputType::Float);
    const int image = b.addNode("input.image", {}, {}, source);
    const int red = b.addNode("color.uniform", {{"color", constantExpr(1, 0, 0, 1)}});
    const Expression opacity{
        {readInput(amount), readInput(0), op(Op::Component, 0), op(Op::Multiply), op(Op::Clamp01)}};
    b.addOutput("Output", b.addNode("blend", {{"opacity", opacity}}, {red, image}));
    return b.graph;
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
