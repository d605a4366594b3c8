#include "engine/assembly/AssemblyValidation.h"

#include "engine/assembly/AssemblyFormat.h"
#include "platform/engine/EngineTypes.h"

#include <vector>

namespace kvengine {
namespace {

int validateExpression(const Expression& expression, size_t inputCount) {
    if (expression.code.empty())
        return SubstanceStatus_Ok;
    uint32_t depth = 0;
    for (const Instruction& instruction : expression.code) {
        if (instruction.op == Op::Input && instruction.index >= inputCount)
            return SubstanceStatus_InvalidData;
        if (instruction.op == Op::Component && instruction.index > 3)
            return SubstanceStatus_InvalidData;
        const format::OpShape shape = format::opShape(instruction.op);
        if (depth < shape.pops)
            return SubstanceStatus_InvalidData;
        depth = depth - shape.pops + shape.pushes;
        if (depth > AssemblyLimits::maxExpressionStack)
            return SubstanceStatus_LimitExceeded;
    }
    return depth == 1 ? SubstanceStatus_Ok : SubstanceStatus_InvalidData;
}

// Kahn's algorithm over the image-input edges; iterative so a hostile chain
// of thousands of nodes cannot exhaust the call stack.
bool isAcyclic(const std::vector<Node>& nodes) {
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
    size_t visited = 0;
    while (!ready.empty()) {
        const uint32_t node = ready.back();
        ready.pop_back();
        ++visited;
        for (uint32_t consumer : consumers[node])
            if (--pendingSources[consumer] == 0)
                ready.push_back(consumer);
    }
    return visited == nodes.size();
}

} // namespace

int validateGraph(const Graph& graph) {
    const size_t nodeCount = graph.nodes.size();
    for (const GraphOutput& output : graph.outputs)
        if (output.node >= nodeCount)
            return SubstanceStatus_InvalidData;
    for (const Node& node : graph.nodes) {
        for (int32_t source : node.imageInputs)
            if (source < -1 || (source >= 0 && static_cast<size_t>(source) >= nodeCount))
                return SubstanceStatus_InvalidData;
        if (node.op == format::kImageInputNodeOp && node.graphInput >= graph.inputs.size())
            return SubstanceStatus_InvalidData;
        for (const Expression& param : node.params)
            if (int status = validateExpression(param, graph.inputs.size()))
                return status;
    }
    return isAcyclic(graph.nodes) ? SubstanceStatus_Ok : SubstanceStatus_Cycle;
}

} // namespace kvengine
