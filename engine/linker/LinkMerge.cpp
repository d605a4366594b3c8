// Merges every pushed graph into one: inputs fused or fed by a connection
// disappear, the nodes reading a connected image input are bypassed in favour
// of the feeding output's node, dropped outputs go, and nodes no remaining
// output needs are pruned.
#include "engine/assembly/AssemblyValidation.h"
#include "engine/linker/LinkPlan.h"
#include "engine/linker/UniqueUids.h"

#include "platform/engine/EngineTypes.h"

#include <map>
#include <string>

namespace kvengine {
namespace {

constexpr const char* kImageInputNodeOp = "input.image";
constexpr int32_t kNoNode = -1;

class Merger {
public:
    explicit Merger(const LinkPlan& plan) : plan_(plan) {}

    Status run(Assembly& out) {
        indexNodes();
        mergeInputs();
        if (Status status = findBypasses(); !status.ok())
            return status;
        mergeNodes();
        mergeOutputs();
        prune();
        // The pushed graphs were sound on their own; this catches cycles made
        // by connections among the nodes that remain.
        if (Status status = validateGraph(merged_); !status.ok())
            return std::move(status).within("linker: linked ");
        uniqueUids();
        out.uid = linkedUid();
        out.graphs.assign(1, std::move(merged_));
        return {};
    }

private:
    void indexNodes() {
        uint32_t total = 0;
        for (const Graph& graph : plan_.graphs) {
            base_.push_back(total);
            total += static_cast<uint32_t>(graph.nodes.size());
        }
        bypass_.assign(total, kNoNode);
    }

    EntityRef representative(EntityRef input) const {
        const auto fused = plan_.fusedInto.find(input);
        return fused == plan_.fusedInto.end() ? input : fused->second;
    }

    const EntityRef* feedingOutput(EntityRef input) const {
        const auto connection = plan_.connected.find(representative(input));
        return connection == plan_.connected.end() ? nullptr : &connection->second;
    }

    void mergeInputs() {
        for (uint32_t g = 0; g < plan_.graphs.size(); ++g) {
            const std::vector<GraphInput>& inputs = plan_.graphs[g].inputs;
            for (uint32_t i = 0; i < inputs.size(); ++i) {
                const EntityRef ref{g, i};
                if (plan_.fusedInto.count(ref) != 0 || plan_.connected.count(ref) != 0)
                    continue;
                inputIndex_[ref] = static_cast<uint32_t>(merged_.inputs.size());
                merged_.inputs.push_back(inputs[i]);
                inputOrigins_.push_back(g);
            }
            if (!merged_.url.empty())
                merged_.url += "|";
            merged_.url += plan_.graphs[g].url;
        }
        if (merged_.url.size() > AssemblyLimits::maxStringLength)
            merged_.url.resize(AssemblyLimits::maxStringLength);
    }

    // Every "input.image" node whose input is connected is bypassed: readers
    // of it read the feeding output's node. Chains through other bypassed
    // nodes are followed; a chain that loops is a cycle of connections.
    Status findBypasses() {
        for (uint32_t g = 0; g < plan_.graphs.size(); ++g) {
            const std::vector<Node>& nodes = plan_.graphs[g].nodes;
            for (uint32_t n = 0; n < nodes.size(); ++n) {
                if (nodes[n].op != kImageInputNodeOp)
                    continue;
                if (const EntityRef* source = feedingOutput({g, nodes[n].graphInput})) {
                    const Graph& feeder = plan_.graphs[source->first];
                    bypass_[base_[g] + n] =
                        static_cast<int32_t>(base_[source->first] + feeder.outputs[source->second].node);
                }
            }
        }
        for (size_t n = 0; n < bypass_.size(); ++n)
            if (resolve(static_cast<uint32_t>(n)) == kNoNode)
                return {SubstanceStatus_Cycle,
                        "linker: connection to " + connectedInputOf(static_cast<uint32_t>(n)) +
                            ": the output feeding it is fed, through connections, by the "
                            "input itself"};
        return {};
    }

    // The connected graph input that merged node `n`, an "input.image" node, reads.
    std::string connectedInputOf(uint32_t n) const {
        uint32_t g = 0;
        while (g + 1 < base_.size() && base_[g + 1] <= n)
            ++g;
        return describeInput(plan_, representative({g, plan_.graphs[g].nodes[n - base_[g]].graphInput}));
    }

    // The node that really produces what node `n` reads, or kNoNode for a loop.
    int32_t resolve(uint32_t n) const {
        int32_t node = static_cast<int32_t>(n);
        for (size_t steps = 0; bypass_[static_cast<size_t>(node)] != kNoNode; ++steps) {
            if (steps == bypass_.size())
                return kNoNode;
            node = bypass_[static_cast<size_t>(node)];
        }
        return node;
    }

    void mergeNodes() {
        merged_.nodes.reserve(bypass_.size());
        for (uint32_t g = 0; g < plan_.graphs.size(); ++g) {
            for (const Node& source : plan_.graphs[g].nodes) {
                Node node = source;
                for (int32_t& image : node.imageInputs)
                    if (image >= 0)
                        image = resolve(base_[g] + static_cast<uint32_t>(image));
                if (node.op == kImageInputNodeOp) {
                    const auto kept = inputIndex_.find(representative({g, node.graphInput}));
                    if (kept != inputIndex_.end()) // otherwise the node is bypassed and pruned
                        node.graphInput = kept->second;
                }
                for (Expression& param : node.params)
                    rebaseExpression(g, param);
                merged_.nodes.push_back(std::move(node));
            }
        }
    }

    void rebaseExpression(uint32_t g, Expression& expression) const {
        for (Instruction& instruction : expression.code) {
            if (instruction.op != Op::Input)
                continue;
            const EntityRef input = representative({g, instruction.index});
            const auto kept = inputIndex_.find(input);
            if (kept != inputIndex_.end()) {
                instruction.index = kept->second;
            } else {
                // A connected image input has no value of its own: read its default.
                instruction.op = Op::Constant;
                instruction.value = plan_.graphs[input.first].inputs[input.second].defaultValue;
                instruction.index = 0;
            }
        }
    }

    void mergeOutputs() {
        for (uint32_t g = 0; g < plan_.graphs.size(); ++g) {
            const std::vector<GraphOutput>& outputs = plan_.graphs[g].outputs;
            for (uint32_t o = 0; o < outputs.size(); ++o) {
                if (plan_.dropped[g][o])
                    continue;
                GraphOutput output = outputs[o];
                output.node = static_cast<uint32_t>(resolve(base_[g] + output.node));
                merged_.outputs.push_back(std::move(output));
                outputOrigins_.push_back(g);
            }
        }
    }

    // Keeps the nodes some output needs, in their merged order.
    void prune() {
        std::vector<bool> needed(merged_.nodes.size(), false);
        std::vector<uint32_t> work;
        for (const GraphOutput& output : merged_.outputs)
            work.push_back(output.node);
        while (!work.empty()) {
            const uint32_t n = work.back();
            work.pop_back();
            if (needed[n])
                continue;
            needed[n] = true;
            for (int32_t source : merged_.nodes[n].imageInputs)
                if (source >= 0)
                    work.push_back(static_cast<uint32_t>(source));
        }
        std::vector<int32_t> renumbered(merged_.nodes.size(), kNoNode);
        std::vector<Node> kept;
        kept.reserve(merged_.nodes.size());
        for (size_t n = 0; n < merged_.nodes.size(); ++n)
            if (needed[n]) {
                renumbered[n] = static_cast<int32_t>(kept.size());
                kept.push_back(std::move(merged_.nodes[n]));
            }
        for (Node& node : kept)
            for (int32_t& source : node.imageInputs)
                if (source >= 0)
                    source = renumbered[static_cast<size_t>(source)];
        for (GraphOutput& output : merged_.outputs)
            output.node = static_cast<uint32_t>(renumbered[output.node]);
        merged_.nodes = std::move(kept);
    }

    void uniqueUids() {
        std::vector<uint32_t> uids;
        for (const GraphInput& input : merged_.inputs)
            uids.push_back(input.uid);
        makeUidsUnique(uids, inputOrigins_);
        for (size_t k = 0; k < uids.size(); ++k)
            merged_.inputs[k].uid = uids[k];
        uids.clear();
        for (const GraphOutput& output : merged_.outputs)
            uids.push_back(output.uid);
        makeUidsUnique(uids, outputOrigins_);
        for (size_t k = 0; k < uids.size(); ++k)
            merged_.outputs[k].uid = uids[k];
    }

    // One pushed assembly keeps its UID; several give a hash of theirs in push order.
    uint32_t linkedUid() const {
        const std::vector<uint32_t>& uids = plan_.assemblyUids;
        uint32_t hash = uids.front();
        for (size_t k = 1; k < uids.size(); ++k)
            hash = (hash ^ uids[k]) * 0x01000193u;
        return hash;
    }

    const LinkPlan& plan_;
    std::vector<uint32_t> base_;  // first merged node index of each pushed graph
    std::vector<int32_t> bypass_; // per merged node: the node to read instead, or kNoNode
    std::map<EntityRef, uint32_t> inputIndex_;
    std::vector<uint32_t> inputOrigins_;
    std::vector<uint32_t> outputOrigins_;
    Graph merged_;
};

} // namespace

Status mergePlan(const LinkPlan& plan, Assembly& out) {
    return Merger(plan).run(out);
}

} // namespace kvengine
