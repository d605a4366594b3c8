#include "engine/evaluator/Evaluator.h"

#include "engine/assembly/AssemblyPlaces.h"
#include "engine/assembly/AssemblyValidation.h"
#include "engine/evaluator/GraphRender.h"
#include "engine/evaluator/GraphState.h"
#include "engine/evaluator/ImageCache.h"
#include "engine/evaluator/PixelFormats.h"
#include "engine/evaluator/ThreadPool.h"
#include "engine/formats/TexelFormat.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <unistd.h>
#include <utility>

namespace kvengine {

namespace {

struct Location {
    uint32_t graph;
    uint32_t local;
};

struct QueuedOutput {
    unsigned index;
    size_t jobUserData;
};

Status overLimit(const std::string& where, size_t count, const char* noun, size_t limit) {
    return {SubstanceStatus_LimitExceeded,
            "engine: " + where + counted(count, noun) + " exceed the limit of " + std::to_string(limit)};
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

// Everything the evaluator relies on beyond the structural checks of validateGraph.
Status checkGraph(const Graph& graph, GraphState& state) {
    for (size_t i = 0; i < graph.inputs.size(); ++i)
        if (!isValidInputType(static_cast<uint32_t>(graph.inputs[i].type)))
            return {SubstanceStatus_InvalidData,
                    "engine: " + graphPlace(graph) + " " + inputPlace(graph, i) + ": unknown type code " +
                        std::to_string(static_cast<uint32_t>(graph.inputs[i].type))};
    for (size_t o = 0; o < graph.outputs.size(); ++o)
        if (!findTexelFormat(graph.outputs[o].format))
            return {SubstanceStatus_InvalidData, "engine: " + graphPlace(graph) + " " +
                                                     outputPlace(graph, o) + ": pixel format " +
                                                     std::to_string(graph.outputs[o].format) +
                                                     " is not one of the engine's texel formats"};
    for (size_t n = 0; n < graph.nodes.size(); ++n) {
        const NodeKind* kind = findNodeKindImpl(graph.nodes[n].op);
        if (Status status = checkNode(graph, graph.nodes[n], kind); !status.ok())
            return std::move(status).within("engine: " + graphPlace(graph) + " " + nodePlace(graph, n) +
                                            ": ");
        state.kinds.push_back(kind);
    }
    if (Status status = validateGraph(graph); !status.ok())
        return std::move(status).within("engine: ");
    for (size_t i = 0; i < graph.inputs.size(); ++i) {
        const GraphInput& input = graph.inputs[i];
        if (input.identifier == "$outputsize" && input.type == InputType::Integer2)
            state.outputSizeInput = static_cast<int>(i);
        if (input.identifier == "$randomseed" && input.type == InputType::Integer)
            state.randomSeedInput = static_cast<int>(i);
        state.values.push_back(input.defaultValue);
    }
    state.images.resize(graph.inputs.size());
    state.imageVersions.assign(graph.inputs.size(), 0);
    return {};
}

size_t defaultMemoryLimit() {
    size_t physical = 0;
#if defined(_SC_PHYS_PAGES) && defined(_SC_PAGESIZE)
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    if (pages > 0 && pageSize > 0)
        physical = static_cast<size_t>(pages) * static_cast<size_t>(pageSize);
#endif
    return std::max(physical / 2, size_t(1) << 30);
}

EvaluatorLimits withDefaults(EvaluatorLimits limits) {
    if (limits.maxIntermediateBytes == 0)
        limits.maxIntermediateBytes = defaultMemoryLimit();
    return limits;
}

} // namespace

struct Evaluator::Impl {
    Assembly assembly;
    EvaluatorLimits limits;
    std::vector<GraphState> graphs;
    std::vector<Location> inputs;  // by engine index
    std::vector<Location> outputs; // by engine index
    std::vector<QueuedOutput> queue;
    uint64_t imageVersion = 0;
    ImageCache cache;
    ThreadPool pool;

    Impl(Assembly a, const EvaluatorOptions& options)
        : assembly(std::move(a)), limits(withDefaults(options.limits)), cache(options.limits.cacheBytes),
          pool(options.threadCount) {}

    Status findOutput(unsigned id, bool byUid, unsigned& index) const {
        if (!byUid) {
            index = id;
            if (id < outputs.size())
                return {};
            return {SubstanceStatus_InvalidArgument, "engine: queue outputs: index " + std::to_string(id) +
                                                         ", past the " + counted(outputs.size(), "output") +
                                                         " of the handle"};
        }
        for (unsigned i = 0; i < outputs.size(); ++i)
            if (assembly.graphs[outputs[i].graph].outputs[outputs[i].local].uid == id) {
                index = i;
                return {};
            }
        return {SubstanceStatus_UnknownUid, "engine: queue outputs: no output has UID " + std::to_string(id)};
    }
};

Evaluator::Evaluator(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
Evaluator::~Evaluator() = default;

Status Evaluator::create(Assembly assembly, const EvaluatorOptions& options,
                         std::unique_ptr<Evaluator>& out) {
    if (Status status = checkCounts(assembly); !status.ok())
        return status;
    auto impl = std::make_unique<Impl>(std::move(assembly), options);
    const std::vector<Graph>& graphs = impl->assembly.graphs;
    impl->graphs.resize(graphs.size());
    for (uint32_t g = 0; g < graphs.size(); ++g) {
        impl->graphs[g].graph = &graphs[g];
        impl->graphs[g].index = g;
        if (Status status = checkGraph(graphs[g], impl->graphs[g]); !status.ok())
            return status;
        for (uint32_t i = 0; i < graphs[g].inputs.size(); ++i)
            impl->inputs.push_back({g, i});
        for (uint32_t i = 0; i < graphs[g].outputs.size(); ++i)
            impl->outputs.push_back({g, i});
    }
    out.reset(new Evaluator(std::move(impl)));
    return {};
}

unsigned Evaluator::inputCount() const {
    return static_cast<unsigned>(impl_->inputs.size());
}
unsigned Evaluator::outputCount() const {
    return static_cast<unsigned>(impl_->outputs.size());
}

const GraphInput& Evaluator::input(unsigned index) const {
    const Location& at = impl_->inputs[index];
    return impl_->assembly.graphs[at.graph].inputs[at.local];
}

const GraphOutput& Evaluator::output(unsigned index) const {
    const Location& at = impl_->outputs[index];
    return impl_->assembly.graphs[at.graph].outputs[at.local];
}

Status Evaluator::setInput(unsigned index, unsigned type, const void* value, bool hint) {
    if (index >= impl_->inputs.size())
        return {SubstanceStatus_InvalidArgument, "engine: set input: index " + std::to_string(index) +
                                                     ", past the " + counted(impl_->inputs.size(), "input") +
                                                     " of the handle"};
    const GraphInput& target = input(index);
    const std::string where = "engine: input " + std::to_string(index) + " ('" + target.identifier + "'): ";
    if (type != static_cast<unsigned>(target.type)) {
        const std::string given = isValidInputType(type)
                                      ? std::string("a ") + inputTypeName(InputType(type)) + " value"
                                      : "a value of type code " + std::to_string(type);
        return {SubstanceStatus_Incompatible,
                where + given + " for a " + inputTypeName(target.type) + " input"};
    }

    // A hint is checked like a value, then dropped: this engine renders
    // nothing ahead of time, so it has no use for values of a later render.
    std::shared_ptr<const Image> image;
    Value4 numbers;
    if (target.type == InputType::Image) {
        // A record without texels unsets the image, as a null record does.
        const auto* record = static_cast<const SubstanceTextureInput*>(value);
        if (record && record->texture.buffer) {
            auto read = std::make_shared<Image>();
            if (Status status = readTexture(record->texture, *read); !status.ok())
                return std::move(status).within(where);
            image = std::move(read);
        }
    } else {
        if (!value)
            return {SubstanceStatus_InvalidArgument, where + "no value (null pointer)"};
        // 4-byte floats or ints; only the input's own components are read.
        std::memcpy(numbers.i.data(), value, componentCount(target.type) * sizeof(int32_t));
    }
    if (hint)
        return {};
    const Location& at = impl_->inputs[index];
    GraphState& graph = impl_->graphs[at.graph];
    if (target.type == InputType::Image) {
        graph.images[at.local] = std::move(image);
        graph.imageVersions[at.local] = ++impl_->imageVersion;
    } else {
        graph.values[at.local] = numbers;
    }
    return {};
}

Status Evaluator::queueOutputs(const unsigned* outputs, unsigned count, bool byUid, bool hint,
                               size_t jobUserData) {
    if (count > 0 && !outputs)
        return {SubstanceStatus_InvalidArgument,
                "engine: queue outputs: no list behind a count of " + std::to_string(count)};
    std::vector<unsigned> indices(count);
    for (unsigned i = 0; i < count; ++i)
        if (Status status = impl_->findOutput(outputs[i], byUid, indices[i]); !status.ok())
            return status;
    if (hint) // checked, then dropped like hinted values
        return {};
    std::vector<QueuedOutput>& queue = impl_->queue;
    for (unsigned index : indices) {
        auto it =
            std::find_if(queue.begin(), queue.end(), [&](const QueuedOutput& q) { return q.index == index; });
        if (it == queue.end())
            queue.push_back({index, jobUserData});
        else
            it->jobUserData = jobUserData; // one texture per output: the latest job receives it
    }
    return {};
}

Status Evaluator::render(const Allocate& allocate, const Deliver& deliver) {
    std::vector<QueuedOutput> queue;
    queue.swap(impl_->queue);
    RenderContext context;
    context.parallel = &impl_->pool;
    context.cache = &impl_->cache;
    context.limits = &impl_->limits;
    context.allocate = &allocate;
    context.deliver = &deliver;
    // Graphs render one after the other, in the order their first output was queued.
    std::vector<char> done(impl_->graphs.size(), 0);
    for (const QueuedOutput& first : queue) {
        const uint32_t graph = impl_->outputs[first.index].graph;
        if (done[graph])
            continue;
        done[graph] = 1;
        std::vector<OutputRequest> requests;
        for (const QueuedOutput& queued : queue)
            if (impl_->outputs[queued.index].graph == graph)
                requests.push_back({impl_->outputs[queued.index].local, queued.index, queued.jobUserData});
        try {
            if (Status status = renderGraph(impl_->graphs[graph], requests, context); !status.ok())
                return status;
        } catch (const std::bad_alloc&) {
            impl_->cache.clear();
            return {SubstanceStatus_OutOfMemory, "engine: " + graphPlace(impl_->assembly.graphs[graph]) +
                                                     ": out of memory while rendering"};
        }
    }
    return {};
}

} // namespace kvengine
