#include "engine/linker/LinkPlan.h"

namespace kvengine {

namespace {

template <typename Entity>
std::string describe(const char* kind, const Entity& entity, const Graph& graph) {
    return std::string(kind) + " " + std::to_string(entity.uid) + " ('" + entity.identifier +
           "') of graph '" + graph.url + "'";
}

} // namespace

std::string describeInput(const LinkPlan& plan, EntityRef ref) {
    const Graph& graph = plan.graphs[ref.first];
    return describe("input", graph.inputs[ref.second], graph);
}

std::string describeOutput(const LinkPlan& plan, EntityRef ref) {
    const Graph& graph = plan.graphs[ref.first];
    return describe("output", graph.outputs[ref.second], graph);
}

} // namespace kvengine
