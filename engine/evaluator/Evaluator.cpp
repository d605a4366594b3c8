#include "engine/evaluator/Evaluator.h"

#include "engine/assembly/AssemblyPlaces.h"
#include "engine/evaluator/Acceptance.h"
#include "engine/evaluator/GraphRender.h"
#include "engine/evaluator/GraphState.h"
#include "engine/evaluator/ImageCache.h"
#include "engine/evaluator/KeptTextures.h"
#include "engine/evaluator/LeadThread.h"
#include "engine/evaluator/PixelFormats.h"
#include "engine/evaluator/ThreadPool.h"

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

// The evaluator's view of a graph that passed checkRunnable.
void prepareGraph(const Graph& graph, GraphState& state) {
    for (const Node& node : graph.nodes)
        state.kinds.push_back(findNodeKindImpl(node.op));
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
    KeptTextures kept;
    ThreadPool pool;
    std::unique_ptr<LeadThread> lead; // when the pool has threads besides the caller

    Impl(Assembly a, const EvaluatorOptions& options)
        : assembly(std::move(a)), limits(withDefaults(options.limits)), cache(options.limits.cacheBytes),
          pool(options.threadCount) {
        if (pool.threadCount() > 1)
            lead = std::make_unique<LeadThread>();
    }

    Status renderQueued(const Evaluator::Allocate& allocate, const Evaluator::Deliver& deliver);

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
    if (Status status = checkRunnable(assembly); !status.ok())
        return std::move(status).within("engine: ");
    auto impl = std::make_unique<Impl>(std::move(assembly), options);
    const std::vector<Graph>& graphs = impl->assembly.graphs;
    impl->graphs.resize(graphs.size());
    for (uint32_t g = 0; g < graphs.size(); ++g) {
        impl->graphs[g].graph = &graphs[g];
        impl->graphs[g].index = g;
        prepareGraph(graphs[g], impl->graphs[g]);
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
    if (!impl_->lead)
        return impl_->renderQueued(allocate, deliver);
    Status status;
    impl_->lead->run([&] { status = impl_->renderQueued(allocate, deliver); });
    return status;
}

Status Evaluator::Impl::renderQueued(const Evaluator::Allocate& allocate, const Evaluator::Deliver& deliver) {
    std::vector<QueuedOutput> queued;
    queued.swap(queue);
    RenderContext context;
    context.parallel = &pool;
    context.cache = &cache;
    context.kept = &kept;
    context.limits = &limits;
    context.allocate = &allocate;
    context.deliver = &deliver;
    // Graphs render one after the other, in the order their first output was queued.
    std::vector<char> done(graphs.size(), 0);
    for (const QueuedOutput& first : queued) {
        const uint32_t graph = outputs[first.index].graph;
        if (done[graph])
            continue;
        done[graph] = 1;
        std::vector<OutputRequest> requests;
        for (const QueuedOutput& output : queued)
            if (outputs[output.index].graph == graph)
                requests.push_back({outputs[output.index].local, output.index, output.jobUserData});
        try {
            if (Status status = renderGraph(graphs[graph], requests, context); !status.ok())
                return status;
        } catch (const std::bad_alloc&) {
            cache.clear();
            kept.clear();
            return {SubstanceStatus_OutOfMemory,
                    "engine: " + graphPlace(assembly.graphs[graph]) + ": out of memory while rendering"};
        }
    }
    return {};
}

} // namespace kvengine
