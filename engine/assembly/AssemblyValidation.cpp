#include "engine/assembly/AssemblyValidation.h"

#include "engine/assembly/AssemblyFormat.h"
#include "engine/assembly/AssemblyPlaces.h"

#include <string>
#include <vector>

namespace kvengine {
namespace {

Status invalid(std::string reason) {
    return {SubstanceStatus_InvalidData, std::move(reason)};
}

// Reasons name the instruction; the caller puts the parameter in front.
Status validateExpression(const Expression& expression, size_t inputCount) {
    if (expression.code.empty())
        return {};
    uint32_t depth = 0;
    for (size_t k = 0; k < expression.code.size(); ++k) {
        const Instruction& instruction = expression.code[k];
        const std::string where = "instruction " + std::to_string(k);
        if (instruction.op == Op::Input && instruction.index >= inputCount)
            return invalid(where + " reads input " + std::to_string(instruction.index) + ", past the " +
                           counted(inputCount, "input") + " of the graph");
        if (instruction.op == Op::Component && instruction.index > 3)
            return invalid(where + " takes component " + std::to_string(instruction.index) +
                           " of a four-component value");
        const format::OpShape shape = format::opShape(instruction.op);
        if (depth < shape.pops)
            return invalid(where + " (opcode " + std::to_string(static_cast<int>(instruction.op)) +
                           ") needs " + counted(shape.pops, "value") + ", the stack holds " +
                           std::to_string(depth));
        depth = depth - shape.pops + shape.pushes;
        if (depth > AssemblyLimits::maxExpressionStack)
            return {SubstanceStatus_LimitExceeded, where + " grows the stack to " + counted(depth, "value") +
                                                       ", past the limit of " +
                                                       std::to_string(AssemblyLimits::maxExpressionStack)};
    }
    if (depth != 1)
        return invalid("leaves " + counted(depth, "value") + " on the stack instead of one");
    return {};
}

// A node on a cycle of image inputs, or -1 when there is none. Kahn's
// algorithm over the image-input edges, iterative so a hostile chain of
// thousands of nodes cannot exhaust the call stack.
int64_t nodeOnCycle(const std::vector<Node>& nodes) {
    std::vector<uint32_t> pendingSources(nodes.size(), 0);
    std::vector<std::vector<uint32_t>> consumers(nodes.size());
    for (size_t n = 0; n < nodes.size(); ++n) {
        for (int32_t source : nodes[n].imageInputs) {
            if (source < 0)
                continue;
            ++pendingSources[n];
            consumers[static_cast<size_t>(source)].push_back(static_cast<uint32_t>(n));
        }
    }
    std::vector<uint32_t> ready;
    for (size_t n = 0; n < nodes.size(); ++n)
        if (pendingSources[n] == 0)
            ready.push_back(static_cast<uint32_t>(n));
    while (!ready.empty()) {
        const uint32_t node = ready.back();
        ready.pop_back();
        for (uint32_t consumer : consumers[node])
            if (--pendingSources[consumer] == 0)
                ready.push_back(consumer);
    }
    // A node left over waits for a source that is left over too; walking
    // from source to source as many steps as there are nodes ends on a cycle.
    for (size_t n = 0; n < nodes.size(); ++n) {
        if (pendingSources[n] == 0)
            continue;
        size_t node = n;
        for (size_t step = 0; step < nodes.size(); ++step)
            for (int32_t source : nodes[node].imageInputs)
                if (source >= 0 && pendingSources[static_cast<size_t>(source)] != 0) {
                    node = static_cast<size_t>(source);
                    break;
                }
        return static_cast<int64_t>(node);
    }
    return -1;
}

Status validateNode(const Graph& graph, size_t n) {
    const Node& node = graph.nodes[n];
    const size_t nodeCount = graph.nodes.size();
    for (size_t slot = 0; slot < node.imageInputs.size(); ++slot) {
        const int32_t source = node.imageInputs[slot];
        if (source < -1)
            return invalid("image input " + std::to_string(slot) + " names node " + std::to_string(source) +
                           "; -1 (none) is the only negative index");
        if (source >= 0 && static_cast<size_t>(source) >= nodeCount)
            return invalid("image input " + std::to_string(slot) + " names node " + std::to_string(source) +
                           ", past the " + counted(nodeCount, "node") + " of the graph");
    }
    if (node.op == format::kImageInputNodeOp && node.graphInput >= graph.inputs.size())
        return invalid("reads graph input " + std::to_string(node.graphInput) + ", past the " +
                       counted(graph.inputs.size(), "input") + " of the graph");
    for (size_t p = 0; p < node.params.size(); ++p)
        if (Status status = validateExpression(node.params[p], graph.inputs.size()); !status.ok())
            return std::move(status).within("parameter " + std::to_string(p) + " ");
    return {};
}

} // namespace

Status validateGraph(const Graph& graph) {
    const size_t nodeCount = graph.nodes.size();
    for (size_t o = 0; o < graph.outputs.size(); ++o)
        if (graph.outputs[o].node >= nodeCount)
            return invalid(graphPlace(graph) + " " + outputPlace(graph, o) + ": produced by node " +
                           std::to_string(graph.outputs[o].node) + ", past the " +
                           counted(nodeCount, "node") + " of the graph");
    for (size_t n = 0; n < nodeCount; ++n)
        if (Status status = validateNode(graph, n); !status.ok())
            return std::move(status).within(graphPlace(graph) + " " + nodePlace(graph, n) + ": ");
    const int64_t looped = nodeOnCycle(graph.nodes);
    if (looped >= 0)
        return {SubstanceStatus_Cycle, graphPlace(graph) + " " +
                                           nodePlace(graph, static_cast<size_t>(looped)) +
                                           ": the node is on a cycle of image inputs"};
    return {};
}

} // namespace kvengine
