#include "tools/compiler/GraphBuilder.h"

#include "tools/compiler/InputChecks.h"
#include "tools/compiler/NodeParams.h"

#include "engine/nodes/NodeCatalog.h"

#include <algorithm>
#include <map>
#include <set>

namespace kvcompiler {

namespace {

using kvengine::Graph;

std::string parameterNames(const kvengine::NodeKindInfo& kind) {
    std::string names;
    for (const kvengine::ParamSpec& p : kind.params)
        names += (names.empty() ? "" : ", ") + std::string(p.name);
    return names.empty() ? "none" : names;
}

std::string slotNames(const kvengine::NodeKindInfo& kind) {
    std::string names;
    for (const kvengine::ImageInputSpec& slot : kind.imageInputs)
        names += (names.empty() ? "" : ", ") + std::string(slot.name);
    return names.empty() ? "none" : names;
}

int inputIndex(const Graph& graph, const std::string& identifier) {
    for (size_t i = 0; i < graph.inputs.size(); ++i)
        if (graph.inputs[i].identifier == identifier)
            return static_cast<int>(i);
    return -1;
}

// Index of every node that `node` reads, directly or through other nodes, itself included.
std::vector<bool> upstreamOf(const Graph& graph, uint32_t node) {
    std::vector<bool> seen(graph.nodes.size(), false);
    std::vector<uint32_t> pending{node};
    seen[node] = true;
    while (!pending.empty()) {
        uint32_t n = pending.back();
        pending.pop_back();
        for (int32_t from : graph.nodes[n].imageInputs)
            if (from >= 0 && !seen[static_cast<size_t>(from)]) {
                seen[static_cast<size_t>(from)] = true;
                pending.push_back(static_cast<uint32_t>(from));
            }
    }
    return seen;
}

// Iterative depth-first search; reports one node on a cycle.
void rejectCycles(const Graph& graph, const GraphSource& source, const SourcePlace& place) {
    enum State : char { Unvisited, Active, Done };
    std::vector<State> state(graph.nodes.size(), Unvisited);
    for (size_t root = 0; root < graph.nodes.size(); ++root) {
        if (state[root] != Unvisited)
            continue;
        std::vector<std::pair<size_t, size_t>> stack{{root, 0}}; // node, next slot
        state[root] = Active;
        while (!stack.empty()) {
            auto& [node, slot] = stack.back();
            const auto& inputs = graph.nodes[node].imageInputs;
            if (slot == inputs.size()) {
                state[node] = Done;
                stack.pop_back();
                continue;
            }
            int32_t from = inputs[slot++];
            if (from < 0)
                continue;
            size_t next = static_cast<size_t>(from);
            if (state[next] == Active)
                place.fail("node '" + source.nodes[next].id + "' feeds itself through a cycle");
            if (state[next] == Unvisited) {
                state[next] = Active;
                stack.emplace_back(next, 0);
            }
        }
    }
}

} // namespace

BuiltGraph buildGraph(const GraphSource& source, UidAllocator& uids, const SourcePlace& graphPlace) {
    BuiltGraph built;
    Graph& graph = built.graph;
    graph.url = source.url;
    for (const InputSource& in : source.inputs) {
        kvengine::GraphInput input;
        input.uid = uids.allocate(source.url, "input", in.identifier);
        input.identifier = in.identifier;
        input.type = in.type;
        for (size_t k = 0; k < in.defaultValue.size(); ++k) {
            if (kvengine::isIntegerType(in.type))
                input.defaultValue.i[k] = static_cast<int32_t>(in.defaultValue[k]);
            else
                input.defaultValue.f[k] = static_cast<float>(in.defaultValue[k]);
        }
        graph.inputs.push_back(input);
    }

    std::map<std::string, uint32_t> nodeIndex;
    for (const NodeSource& node : source.nodes)
        if (!nodeIndex.emplace(node.id, static_cast<uint32_t>(nodeIndex.size())).second)
            (graphPlace / ("node '" + node.id + "'")).fail("duplicate node id");

    std::vector<std::set<uint32_t>> nodeReads(source.nodes.size()); // graph inputs read by each node
    for (size_t n = 0; n < source.nodes.size(); ++n) {
        const NodeSource& ns = source.nodes[n];
        SourcePlace place = graphPlace / ("node '" + ns.id + "'");
        const kvengine::NodeKindInfo* kind = kvengine::findNodeKind(ns.kind);
        if (!kind)
            place.fail("unknown kind '" + ns.kind + "'");
        kvengine::Node node;
        node.op = ns.kind;
        node.params.resize(kind->params.size());
        for (const ParamSource& param : ns.params) {
            int index = kvengine::findParam(*kind, param.name);
            if (index < 0)
                place.fail("unknown parameter '" + param.name + "' of kind " + ns.kind + " (it has " +
                           parameterNames(*kind) + ")");
            node.params[static_cast<size_t>(index)] =
                compileNodeParam(param, kind->params[static_cast<size_t>(index)], graph, nodeReads[n],
                                 place / ("parameter '" + param.name + "'"));
        }
        node.imageInputs.assign(kind->imageInputs.size(), -1);
        for (const auto& [slotName, from] : ns.inputs) {
            auto slot = std::find_if(
                kind->imageInputs.begin(), kind->imageInputs.end(),
                [&wanted = slotName](const kvengine::ImageInputSpec& s) { return wanted == s.name; });
            if (slot == kind->imageInputs.end())
                place.fail("unknown image input '" + slotName + "' of kind " + ns.kind + " (it has " +
                           slotNames(*kind) + ")");
            auto source_ = nodeIndex.find(from);
            if (source_ == nodeIndex.end())
                place.fail("image input '" + slotName + "' names unknown node '" + from + "'");
            node.imageInputs[static_cast<size_t>(slot - kind->imageInputs.begin())] =
                static_cast<int32_t>(source_->second);
        }
        if (kind->readsGraphInput()) {
            if (ns.graphInput.empty())
                place.fail("kind " + ns.kind + " needs 'graphinput', the image input it reads");
            int index = inputIndex(graph, ns.graphInput);
            if (index < 0)
                place.fail("'graphinput' names unknown input '" + ns.graphInput + "'");
            if (graph.inputs[static_cast<size_t>(index)].type != kvengine::InputType::Image)
                place.fail("'graphinput' names input '" + ns.graphInput + "', which is not an image input");
            node.graphInput = static_cast<uint32_t>(index);
            nodeReads[n].insert(node.graphInput);
        } else if (!ns.graphInput.empty()) {
            place.fail("kind " + ns.kind + " reads no graph input; remove 'graphinput'");
        }
        graph.nodes.push_back(std::move(node));
    }
    rejectCycles(graph, source, graphPlace);

    if (source.outputs.empty())
        graphPlace.fail("a graph needs at least one output");
    std::set<std::string> outputIds;
    built.alteredUids.resize(graph.inputs.size());
    for (const OutputSource& os : source.outputs) {
        SourcePlace place = graphPlace / ("output '" + os.identifier + "'");
        if (os.identifier.empty())
            place.fail("an output needs an identifier");
        if (!outputIds.insert(os.identifier).second)
            place.fail("duplicate output identifier");
        auto node = nodeIndex.find(os.node);
        if (node == nodeIndex.end())
            place.fail("'node' names unknown node '" + os.node + "'");
        kvengine::GraphOutput output;
        output.uid = uids.allocate(source.url, "output", os.identifier);
        output.identifier = os.identifier;
        output.format = os.format;
        output.mipmaps = os.mipmaps;
        output.channel = os.channel < 0 ? 0u : static_cast<uint32_t>(os.channel);
        output.node = node->second;
        graph.outputs.push_back(output);

        std::vector<bool> upstream = upstreamOf(graph, output.node);
        std::set<uint32_t> altering;
        for (size_t n = 0; n < upstream.size(); ++n)
            if (upstream[n])
                altering.insert(nodeReads[n].begin(), nodeReads[n].end());
        for (size_t i = 0; i < graph.inputs.size(); ++i)
            if (altering.count(static_cast<uint32_t>(i)) || isSystemInput(graph.inputs[i].identifier))
                built.alteredUids[i].push_back(output.uid);
    }
    for (auto& list : built.alteredUids)
        std::sort(list.begin(), list.end());
    return built;
}

} // namespace kvcompiler
