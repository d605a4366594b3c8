#include "engine/evaluator/Acceptance.h"

#include "engine/assembly/AssemblyPlaces.h"
#include "engine/assembly/AssemblyValidation.h"
#include "engine/evaluator/Evaluator.h"
#include "engine/formats/TexelFormat.h"
#include "engine/nodes/NodeKind.h"

#include <string>
#include <utility>

namespace kvengine {

namespace {

Status overLimit(const std::string& where, size_t count, const char* noun, size_t limit) {
    return {SubstanceStatus_LimitExceeded,
            where + counted(count, noun) + " exceed the limit of " + std::to_string(limit)};
}

Status checkCounts(const Assembly& assembly) {
    if (assembly.graphs.size() > AssemblyLimits::maxGraphs)
        return overLimit("", assembly.graphs.size(), "graph", AssemblyLimits::maxGraphs);
    size_t totalNodes = 0;
    for (const Graph& graph : assembly.graphs) {
        const std::string where = graphPlace(graph) + ": ";
        if (graph.nodes.size() > AssemblyLimits::maxNodesPerGraph)
            return overLimit(where, graph.nodes.size(), "node", AssemblyLimits::maxNodesPerGraph);
        if (graph.inputs.size() > AssemblyLimits::maxInputsPerGraph)
            return overLimit(where, graph.inputs.size(), "input", AssemblyLimits::maxInputsPerGraph);
        if (graph.outputs.size() > AssemblyLimits::maxOutputsPerGraph)
            return overLimit(where, graph.outputs.size(), "output", AssemblyLimits::maxOutputsPerGraph);
        totalNodes += graph.nodes.size();
    }
    if (totalNodes > EvaluatorLimits::maxTotalNodes)
        return overLimit("all graphs: ", totalNodes, "node", EvaluatorLimits::maxTotalNodes);
    return {};
}

// What the evaluator needs of a node beyond the structural checks of
// validateGraph; the reason names the node's kind and the mismatch.
Status checkNode(const Graph& graph, const Node& node, const NodeKind* kind) {
    if (!kind)
        return {SubstanceStatus_InvalidData, "no node kind has this name"};
    if (node.params.size() > kind->info.params.size())
        return {SubstanceStatus_InvalidData, counted(node.params.size(), "parameter") + ", the kind takes " +
                                                 std::to_string(kind->info.params.size())};
    if (node.imageInputs.size() > kind->info.imageInputs.size())
        return {SubstanceStatus_InvalidData, counted(node.imageInputs.size(), "image input") +
                                                 ", the kind takes " +
                                                 std::to_string(kind->info.imageInputs.size())};
    if (kind->info.readsGraphInput()) {
        if (node.graphInput >= graph.inputs.size())
            return {SubstanceStatus_InvalidData, "reads graph input " + std::to_string(node.graphInput) +
                                                     ", past the " + counted(graph.inputs.size(), "input") +
                                                     " of the graph"};
        if (graph.inputs[node.graphInput].type != InputType::Image)
            return {SubstanceStatus_InvalidData, "reads graph " + inputPlace(graph, node.graphInput) +
                                                     ", a " +
                                                     inputTypeName(graph.inputs[node.graphInput].type) +
                                                     " input rather than an image one"};
    }
    for (size_t p = 0; p < node.params.size(); ++p) {
        const Expression& expression = node.params[p];
        if (expression.code.size() > AssemblyLimits::maxInstructionsPerExpression)
            return {SubstanceStatus_LimitExceeded,
                    "parameter " + std::to_string(p) + ": " + counted(expression.code.size(), "instruction") +
                        " exceed the limit of " +
                        std::to_string(AssemblyLimits::maxInstructionsPerExpression)};
        for (const Instruction& instruction : expression.code)
            if (static_cast<uint8_t>(instruction.op) >= kOpCount)
                return {SubstanceStatus_InvalidData, "parameter " + std::to_string(p) + ": unknown opcode " +
                                                         std::to_string(static_cast<int>(instruction.op))};
    }
    return {};
}

Status checkGraph(const Graph& graph) {
    for (size_t i = 0; i < graph.inputs.size(); ++i)
        if (!isValidInputType(static_cast<uint32_t>(graph.inputs[i].type)))
            return {SubstanceStatus_InvalidData,
                    graphPlace(graph) + " " + inputPlace(graph, i) + ": unknown type code " +
                        std::to_string(static_cast<uint32_t>(graph.inputs[i].type))};
    for (size_t o = 0; o < graph.outputs.size(); ++o)
        if (!findTexelFormat(graph.outputs[o].format))
            return {SubstanceStatus_InvalidData, graphPlace(graph) + " " + outputPlace(graph, o) +
                                                     ": pixel format " +
                                                     std::to_string(graph.outputs[o].format) +
                                                     " is not one of the engine's texel formats"};
    for (size_t n = 0; n < graph.nodes.size(); ++n)
        if (Status status = checkNode(graph, graph.nodes[n], findNodeKindImpl(graph.nodes[n].op));
            !status.ok())
            return std::move(status).within(graphPlace(graph) + " " + nodePlace(graph, n) + ": ");
    return validateGraph(graph);
}

} // namespace

Status checkRunnable(const Assembly& assembly) {
    if (Status status = checkCounts(assembly); !status.ok())
        return status;
    for (const Graph& graph : assembly.graphs)
        if (Status status = checkGraph(graph); !status.ok())
            return status;
    return {};
}

} // namespace kvengine
