#include "engine/assembly/AssemblyPlaces.h"

namespace kvengine {

namespace {

std::string named(const char* kind, size_t index, const std::string& name) {
    return std::string(kind) + " " + std::to_string(index) + " ('" + name + "')";
}

} // namespace

std::string graphPlace(const Graph& graph) {
    return "graph '" + graph.url + "'";
}

std::string nodePlace(const Graph& graph, size_t node) {
    return named("node", node, graph.nodes[node].op);
}

std::string inputPlace(const Graph& graph, size_t input) {
    return named("input", input, graph.inputs[input].identifier);
}

std::string outputPlace(const Graph& graph, size_t output) {
    return named("output", output, graph.outputs[output].identifier);
}

std::string counted(size_t count, const char* noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

} // namespace kvengine
