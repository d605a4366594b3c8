#include "engine/evaluator/Evaluator.h"

#include "engine/assembly/AssemblyValidation.h"
#include "engine/evaluator/BufferPool.h"
#include "engine/evaluator/GraphRender.h"
#include "engine/evaluator/GraphState.h"
#include "engine/evaluator/ImageCache.h"
#include "engine/evaluator/PixelFormats.h"
#include "engine/evaluator/ThreadPool.h"
#include "engine/formats/TexelFormat.h"

#include <algorithm>
#include <cstring>
#include <new>
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

int checkCounts(const Assembly& assembly) {
    if (assembly.graphs.size() > AssemblyLimits::maxGraphs)
        return SubstanceStatus_LimitExceeded;
    size_t totalNodes = 0;
    for (const Graph& graph : assembly.graphs) {
        if (graph.nodes.size() > AssemblyLimits::maxNodesPerGraph ||
            graph.inputs.size() > AssemblyLimits::maxInputsPerGraph ||
            graph.outputs.size() > AssemblyLimits::maxOutputsPerGraph)
            return SubstanceStatus_LimitExceeded;
        totalNodes += graph.nodes.size();
    }
    return totalNodes > EvaluatorLimits::maxTotalNodes ? SubstanceStatus_LimitExceeded : SubstanceStatus_Ok;
}

// Everything the evaluator relies on beyond the structural checks of validateGraph.
int checkGraph(const Graph& graph, GraphState& state) {
    for (const GraphInput& input : graph.inputs)
        if (!isValidInputType(static_cast<uint32_t>(input.type)))
            return SubstanceStatus_InvalidData;
    for (const GraphOutput& output : graph.outputs)
        if (!findTexelFormat(output.format))
            return SubstanceStatus_InvalidData;
    for (const Node& node : graph.nodes) {
        const NodeKind* kind = findNodeKindImpl(node.op);
        if (!kind || node.params.size() > kind->info.params.size() ||
            node.imageInputs.size() > kind->info.imageInputs.size())
            return SubstanceStatus_InvalidData;
        if (kind->info.readsGraphInput() && (node.graphInput >= graph.inputs.size() ||
                                             graph.inputs[node.graphInput].type != InputType::Image))
            return SubstanceStatus_InvalidData;
        for (const Expression& expression : node.params) {
            if (expression.code.size() > AssemblyLimits::maxInstructionsPerExpression)
                return SubstanceStatus_LimitExceeded;
            for (const Instruction& instruction : expression.code)
                if (static_cast<uint8_t>(instruction.op) >= kOpCount)
                    return SubstanceStatus_InvalidData;
        }
        state.kinds.push_back(kind);
    }
    if (int status = validateGraph(graph))
        return status;
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
    return SubstanceStatus_Ok;
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
    BufferPool buffers; // before the cache: cached images return their buffers here
    ImageCache cache;
    ThreadPool pool;

    Impl(Assembly a, const EvaluatorOptions& options)
        : assembly(std::move(a)), limits(withDefaults(options.limits)), buffers(options.limits.poolBytes),
          cache(options.limits.cacheBytes), pool(options.threadCount) {}

    int findOutput(unsigned id, bool byUid, unsigned& index) const {
        if (!byUid) {
            index = id;
            return id < outputs.size() ? SubstanceStatus_Ok : SubstanceStatus_InvalidArgument;
        }
        for (unsigned i = 0; i < outputs.size(); ++i)
            if (assembly.graphs[outputs[i].graph].outputs[outputs[i].local].uid == id) {
                index = i;
                return SubstanceStatus_Ok;
            }
        return SubstanceStatus_UnknownUid;
    }
};

Evaluator::Evaluator(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
Evaluator::~Evaluator() = default;

int Evaluator::create(Assembly assembly, const EvaluatorOptions& options, std::unique_ptr<Evaluator>& out) {
    if (int status = checkCounts(assembly))
        return status;
    auto impl = std::make_unique<Impl>(std::move(assembly), options);
    const std::vector<Graph>& graphs = impl->assembly.graphs;
    impl->graphs.resize(graphs.size());
    for (uint32_t g = 0; g < graphs.size(); ++g) {
        impl->graphs[g].graph = &graphs[g];
        if (int status = checkGraph(graphs[g], impl->graphs[g]))
            return status;
        for (uint32_t i = 0; i < graphs[g].inputs.size(); ++i)
            impl->inputs.push_back({g, i});
        for (uint32_t i = 0; i < graphs[g].outputs.size(); ++i)
            impl->outputs.push_back({g, i});
    }
    out.reset(new Evaluator(std::move(impl)));
    return SubstanceStatus_Ok;
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

int Evaluator::setInput(unsigned index, unsigned type, const void* value, bool hint) {
    if (index >= impl_->inputs.size())
        return SubstanceStatus_InvalidArgument;
    const GraphInput& target = input(index);
    if (type != static_cast<unsigned>(target.type))
        return SubstanceStatus_Incompatible;

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
                return status.code();
            image = std::move(read);
        }
    } else {
        if (!value)
            return SubstanceStatus_InvalidArgument;
        // 4-byte floats or ints; only the input's own components are read.
        std::memcpy(numbers.i.data(), value, componentCount(target.type) * sizeof(int32_t));
    }
    if (hint)
        return SubstanceStatus_Ok;
    const Location& at = impl_->inputs[index];
    GraphState& graph = impl_->graphs[at.graph];
    if (target.type == InputType::Image) {
        graph.images[at.local] = std::move(image);
        graph.imageVersions[at.local] = ++impl_->imageVersion;
    } else {
        graph.values[at.local] = numbers;
    }
    return SubstanceStatus_Ok;
}

int Evaluator::queueOutputs(const unsigned* outputs, unsigned count, bool byUid, bool hint,
                            size_t jobUserData) {
    if (count > 0 && !outputs)
        return SubstanceStatus_InvalidArgument;
    std::vector<unsigned> indices(count);
    for (unsigned i = 0; i < count; ++i)
        if (int status = impl_->findOutput(outputs[i], byUid, indices[i]))
            return status;
    if (hint) // checked, then dropped like hinted values
        return SubstanceStatus_Ok;
    std::vector<QueuedOutput>& queue = impl_->queue;
    for (unsigned index : indices) {
        auto it =
            std::find_if(queue.begin(), queue.end(), [&](const QueuedOutput& q) { return q.index == index; });
        if (it == queue.end())
            queue.push_back({index, jobUserData});
        else
            it->jobUserData = jobUserData; // one texture per output: the latest job receives it
    }
    return SubstanceStatus_Ok;
}

int Evaluator::render(const Allocate& allocate, const Deliver& deliver) {
    std::vector<QueuedOutput> queue;
    queue.swap(impl_->queue);
    RenderContext context;
    context.parallel = &impl_->pool;
    context.cache = &impl_->cache;
    context.buffers = &impl_->buffers;
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
            if (int status = renderGraph(impl_->graphs[graph], requests, context))
                return status;
        } catch (const std::bad_alloc&) {
            impl_->cache.clear();
            return SubstanceStatus_OutOfMemory;
        }
    }
    return SubstanceStatus_Ok;
}

} // namespace kvengine
