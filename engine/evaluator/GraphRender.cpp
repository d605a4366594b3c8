#include "engine/evaluator/GraphRender.h"

#include "engine/assembly/AssemblyPlaces.h"
#include "engine/evaluator/Expression.h"
#include "engine/evaluator/PixelFormats.h"
#include "engine/formats/TextureLayout.h"
#include "engine/nodes/ParamNormalisation.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace kvengine {

namespace {

// FNV-1a over the bytes of everything that decides a node's result.
struct KeyHasher {
    uint64_t hash = 1469598103934665603ull;
    void bytes(const void* data, size_t size) {
        const auto* p = static_cast<const unsigned char*>(data);
        for (size_t i = 0; i < size; ++i)
            hash = (hash ^ p[i]) * 1099511628211ull;
    }
    template <typename T>
    void value(const T& v) {
        bytes(&v, sizeof v);
    }
};

// Nodes reachable from the requested outputs, every node after its inputs.
// Iterative, so long chains cannot exhaust the stack.
std::vector<uint32_t> dependencyOrder(const Graph& graph, const std::vector<OutputRequest>& requests) {
    std::vector<uint32_t> order;
    std::vector<char> seen(graph.nodes.size(), 0);
    std::vector<std::pair<uint32_t, size_t>> stack; // node, next image input to visit
    for (const OutputRequest& request : requests) {
        const uint32_t root = graph.outputs[request.output].node;
        if (seen[root])
            continue;
        seen[root] = 1;
        stack.emplace_back(root, 0);
        while (!stack.empty()) {
            auto& [node, next] = stack.back();
            const std::vector<int32_t>& inputs = graph.nodes[node].imageInputs;
            if (next < inputs.size()) {
                const int32_t source = inputs[next++];
                if (source >= 0 && !seen[static_cast<size_t>(source)]) {
                    seen[static_cast<size_t>(source)] = 1;
                    stack.emplace_back(static_cast<uint32_t>(source), 0);
                }
                continue;
            }
            order.push_back(node);
            stack.pop_back();
        }
    }
    return order;
}

struct NodePlan {
    std::vector<Value4> params;
    uint64_t key = 0;
    bool wanted = false;  // some requested output depends on it
    bool compute = false; // wanted and not in the cache
    int channels = 0;
    uint32_t uses = 0; // computed consumers still to run
    std::shared_ptr<const Image> result;
};

bool isConnected(const Node& node, size_t slot) {
    return slot < node.imageInputs.size() && node.imageInputs[slot] >= 0;
}

const Image* graphImageOf(const GraphState& state, const Node& node, const NodeKind& kind) {
    return kind.info.readsGraphInput() ? state.images[node.graphInput].get() : nullptr;
}

class GraphRender {
public:
    GraphRender(const GraphState& state, const std::vector<OutputRequest>& requests,
                const RenderContext& context)
        : state_(state), graph_(*state.graph), requests_(requests), context_(context),
          plans_(graph_.nodes.size()) {}

    Status run() {
        if (Status status = resolveSize(); !status.ok())
            return status;
        order_ = dependencyOrder(graph_, requests_);
        planChannels();
        planNodes();
        if (Status status = checkLimits(); !status.ok())
            return status;
        for (uint32_t node : order_) {
            if (plans_[node].compute)
                computeNode(node);
            if (Status status = deliverOutputsOf(node); !status.ok())
                return status;
            if (plans_[node].uses == 0)
                plans_[node].result.reset();
        }
        return {};
    }

private:
    Status resolveSize() {
        int log2Width = EvaluatorLimits::defaultLog2Side, log2Height = EvaluatorLimits::defaultLog2Side;
        if (state_.outputSizeInput >= 0) {
            const Value4& size = state_.values[static_cast<size_t>(state_.outputSizeInput)];
            log2Width = size.i[0];
            log2Height = size.i[1];
        }
        for (int log2Side : {log2Width, log2Height}) {
            if (log2Side < 0)
                return failure(SubstanceStatus_LimitExceeded,
                               "$outputsize asks for a side of 2^" + std::to_string(log2Side) + " texels");
            if (log2Side > EvaluatorLimits::maxLog2Side)
                return failure(SubstanceStatus_LimitExceeded,
                               "output side " + sideText(log2Side) + " exceeds the limit of " +
                                   std::to_string(1 << EvaluatorLimits::maxLog2Side) + " texels");
        }
        width_ = 1 << log2Width;
        height_ = 1 << log2Height;
        const unsigned budget = context_.limits->maxTextureSide;
        if (budget != 0 && static_cast<unsigned>(std::max(width_, height_)) > budget)
            return failure(SubstanceStatus_LimitExceeded, renderedText() + " exceeds the budget of " +
                                                              std::to_string(budget) + " texels per side");
        seed_ = state_.randomSeedInput >= 0
                    ? static_cast<uint32_t>(state_.values[static_cast<size_t>(state_.randomSeedInput)].i[0])
                    : 0u;
        return {};
    }

    // 2^n spelled out while it fits an int.
    static std::string sideText(int log2Side) {
        return log2Side < 31 ? std::to_string(1u << log2Side) : "2^" + std::to_string(log2Side);
    }

    // "output 'a', 'b' at 512x512": what a render was asked for, for its refusals.
    std::string renderedText() const {
        std::string text = requests_.size() == 1 ? "output " : "outputs ";
        for (size_t i = 0; i < requests_.size(); ++i)
            text += (i ? ", '" : "'") + graph_.outputs[requests_[i].output].identifier + "'";
        return text + " at " + std::to_string(width_) + "x" + std::to_string(height_);
    }

    Status failure(SubstanceStatus code, const std::string& what) const {
        return {code, "engine: " + graphPlace(graph_) + ": " + what};
    }

    // The channel count of every node any output needs, and what one complete
    // render of the graph holds at this size: the cache keeps that much.
    void planChannels() {
        std::vector<OutputRequest> everyOutput(graph_.outputs.size());
        for (uint32_t i = 0; i < everyOutput.size(); ++i)
            everyOutput[i].output = i;
        channels_.assign(graph_.nodes.size(), 0);
        size_t complete = 0;
        for (uint32_t node : dependencyOrder(graph_, everyOutput)) {
            const Node& record = graph_.nodes[node];
            const NodeKind& kind = *state_.kinds[node];
            std::vector<int> inputChannels(kind.info.imageInputs.size(), 0);
            for (size_t slot = 0; slot < inputChannels.size(); ++slot)
                if (isConnected(record, slot))
                    inputChannels[slot] = channels_[static_cast<size_t>(record.imageInputs[slot])];
            const Image* image = graphImageOf(state_, record, kind);
            channels_[node] = outputChannels(kind.info, inputChannels, image ? image->channels() : 0);
            complete += Image::bytesFor(width_, height_, channels_[node]);
        }
        context_.cache->setWorkingSet(state_.index, complete);
    }

    // Parameters, cache keys and which nodes to compute.
    void planNodes() {
        for (uint32_t node : order_) {
            const Node& record = graph_.nodes[node];
            const NodeKind& kind = *state_.kinds[node];
            NodePlan& plan = plans_[node];
            plan.params.reserve(kind.info.params.size());
            for (size_t p = 0; p < kind.info.params.size(); ++p) {
                const Value4& fallback = kind.info.params[p].defaultValue;
                plan.params.push_back(
                    p < record.params.size()
                        ? evaluateExpression(record.params[p], graph_.inputs, state_.values, fallback)
                        : fallback);
            }
            normaliseParams(kind.info, plan.params);
            KeyHasher key;
            key.bytes(kind.info.name, std::strlen(kind.info.name) + 1);
            for (const Value4& value : plan.params)
                key.value(value.i);
            key.value(width_);
            key.value(height_);
            if (kind.info.readsSeed)
                key.value(seed_);
            for (int32_t source : record.imageInputs)
                key.value(source >= 0 ? plans_[static_cast<size_t>(source)].key : uint64_t(0));
            if (kind.info.readsGraphInput())
                key.value(state_.imageVersions[record.graphInput]);
            plan.key = key.hash;
        }
        // An output whose texture is kept needs nothing computed, not even its own node.
        kept_.assign(requests_.size(), {});
        textureKeys_.resize(requests_.size());
        for (size_t r = 0; r < requests_.size(); ++r) {
            textureKeys_[r] = textureKey(requests_[r]);
            kept_[r] = context_.kept->find(keptSlot(requests_[r]), textureKeys_[r]);
            if (kept_[r].size != textureBytesOf(requests_[r]))
                kept_[r] = {};
            if (!kept_[r].bytes)
                plans_[graph_.outputs[requests_[r].output].node].wanted = true;
        }
        for (auto it = order_.rbegin(); it != order_.rend(); ++it) {
            NodePlan& plan = plans_[*it];
            if (!plan.wanted)
                continue;
            plan.result = context_.cache->find(plan.key);
            if (plan.result)
                continue;
            plan.compute = true;
            for (int32_t source : graph_.nodes[*it].imageInputs)
                if (source >= 0) {
                    plans_[static_cast<size_t>(source)].wanted = true;
                    ++plans_[static_cast<size_t>(source)].uses;
                }
        }
        for (uint32_t node : order_)
            plans_[node].channels = channels_[node];
    }

    // Replays the evaluation's allocations to find its peak before any is made.
    Status checkLimits() const {
        const EvaluatorLimits& limits = *context_.limits;
        const size_t pixels = static_cast<size_t>(width_) * static_cast<size_t>(height_);
        std::vector<uint32_t> uses(plans_.size());
        for (uint32_t node : order_)
            uses[node] = plans_[node].uses;
        // Unconnected inputs' constant images live from their first reader to the end.
        size_t live = unconnectedLevels().size() * Image::bytesFor(width_, height_, 1), peak = 0;
        uint64_t work = 0;
        for (uint32_t node : order_) {
            const NodePlan& plan = plans_[node];
            size_t transient = 0;
            if (plan.compute) {
                const size_t bytes = Image::bytesFor(width_, height_, plan.channels);
                work += pixels;
                live += bytes;
                transient = bytes * static_cast<size_t>(state_.kinds[node]->info.scratchImages);
            }
            for (const OutputRequest& request : requests_) {
                if (graph_.outputs[request.output].node != node)
                    continue;
                const GraphOutput& output = graph_.outputs[request.output];
                const int levels = mipLevelCount(width_, height_, output.mipmaps);
                live += textureBytes(texelFormat(output.format), width_, height_, levels);
                transient =
                    std::max(transient, levels > 1 ? Image::bytesFor(width_, height_, plan.channels) / 2 : 0);
            }
            peak = std::max(peak, live + transient);
            if (plan.compute && uses[node] == 0)
                live -= Image::bytesFor(width_, height_, plan.channels);
            if (plan.compute)
                for (int32_t source : graph_.nodes[node].imageInputs)
                    if (source >= 0 && plans_[static_cast<size_t>(source)].compute &&
                        --uses[static_cast<size_t>(source)] == 0)
                        live -=
                            Image::bytesFor(width_, height_, plans_[static_cast<size_t>(source)].channels);
        }
        if (peak > limits.maxIntermediateBytes)
            return failure(SubstanceStatus_LimitExceeded,
                           "the render of " + renderedText() + " needs " + std::to_string(peak) +
                               " bytes of images at its peak, past the budget of " +
                               std::to_string(limits.maxIntermediateBytes));
        if (work > limits.maxNodePixels)
            return failure(SubstanceStatus_LimitExceeded, "the render computes " + std::to_string(work) +
                                                              " node pixels, past the limit of " +
                                                              std::to_string(limits.maxNodePixels));
        return {};
    }

    void computeNode(uint32_t node) {
        const Node& record = graph_.nodes[node];
        const NodeKind& kind = *state_.kinds[node];
        NodePlan& plan = plans_[node];
        NodeRun run;
        run.width = width_;
        run.height = height_;
        run.params = &plan.params;
        run.randomSeed = seed_;
        run.parallel = context_.parallel;
        run.graphImage = graphImageOf(state_, record, kind);
        run.kind = &kind.info;
        for (size_t slot = 0; slot < kind.info.imageInputs.size(); ++slot)
            run.inputs.push_back(isConnected(record, slot)
                                     ? plans_[static_cast<size_t>(record.imageInputs[slot])].result.get()
                                     : &constantImage(kind.info.imageInputs[slot].unconnected));
        const uint64_t slot = uint64_t(state_.index) << 32 | node;
        context_.cache->makeRoom(slot, Image::bytesFor(width_, height_, plan.channels));
        auto image = std::make_shared<Image>(width_, height_, plan.channels);
        kind.evaluate(run, *image);
        plan.result = std::move(image);
        context_.cache->insert(plan.key, slot, plan.result);
        for (int32_t source : record.imageInputs)
            if (source >= 0 && --plans_[static_cast<size_t>(source)].uses == 0)
                plans_[static_cast<size_t>(source)].result.reset();
    }

    // Gray levels that unconnected inputs of the nodes to compute read.
    std::set<float> unconnectedLevels() const {
        std::set<float> levels;
        for (uint32_t node : order_) {
            if (!plans_[node].compute)
                continue;
            const std::vector<ImageInputSpec>& slots = state_.kinds[node]->info.imageInputs;
            for (size_t slot = 0; slot < slots.size(); ++slot)
                if (!isConnected(graph_.nodes[node], slot))
                    levels.insert(slots[slot].unconnected);
        }
        return levels;
    }

    // One image per level, made on first use and shared by every reader of the render.
    const Image& constantImage(float level) {
        std::shared_ptr<const Image>& image = constants_[level];
        if (!image) {
            auto made = std::make_shared<Image>(width_, height_, 1);
            float* pixels = made->plane(0);
            const size_t width = static_cast<size_t>(width_);
            context_.parallel->run(height_, [&](int y0, int y1) {
                std::fill(pixels + width * static_cast<size_t>(y0), pixels + width * static_cast<size_t>(y1),
                          level);
            });
            image = std::move(made);
        }
        return *image;
    }

    uint64_t keptSlot(const OutputRequest& request) const {
        return uint64_t(state_.index) << 32 | request.output;
    }

    // Everything that decides an output's texture bytes.
    uint64_t textureKey(const OutputRequest& request) const {
        const GraphOutput& output = graph_.outputs[request.output];
        KeyHasher key;
        key.value(plans_[output.node].key);
        key.value(output.format);
        key.value(mipLevelCount(width_, height_, output.mipmaps));
        return key.hash;
    }

    size_t textureBytesOf(const OutputRequest& request) const {
        const GraphOutput& output = graph_.outputs[request.output];
        return textureBytes(texelFormat(output.format), width_, height_,
                            mipLevelCount(width_, height_, output.mipmaps));
    }

    Status deliverOutputsOf(uint32_t node) {
        for (size_t r = 0; r < requests_.size(); ++r) {
            const OutputRequest& request = requests_[r];
            const GraphOutput& output = graph_.outputs[request.output];
            if (output.node != node)
                continue;
            const int levels = mipLevelCount(width_, height_, output.mipmaps);
            const TexelFormat& format = texelFormat(output.format); // checked by Evaluator::create
            const size_t bytes = textureBytesOf(request);
            void* buffer = (*context_.allocate)(bytes);
            if (!buffer)
                return failure(SubstanceStatus_OutOfMemory, outputPlace(graph_, request.output) +
                                                                ": no memory for a texture of " +
                                                                std::to_string(bytes) + " bytes");
            const bool again = context_.kept->delivered(keptSlot(request), textureKeys_[r]);
            if (kept_[r].bytes) {
                copyBytes(kept_[r].bytes.get(), buffer, bytes);
            } else {
                writeTexture(*plans_[node].result, format, levels, buffer, *context_.parallel);
                if (again)
                    context_.kept->keep(keptSlot(request), textureKeys_[r], buffer, bytes,
                                        context_.cache->budget() / 4);
            }
            SubstanceTexture texture{};
            texture.buffer = buffer;
            texture.level0Width = static_cast<uint16_t>(width_);
            texture.level0Height = static_cast<uint16_t>(height_);
            texture.pixelFormat = static_cast<uint8_t>(output.format);
            texture.channelsOrder = SubstanceChannelOrder_RGBA;
            texture.mipmapCount = static_cast<uint8_t>(levels);
            (*context_.deliver)(request.engineIndex, request.jobUserData, texture);
        }
        return {};
    }

    // A kept texture into the host's buffer, in pieces spread over the pool.
    void copyBytes(const void* from, void* to, size_t bytes) const {
        constexpr size_t kPiece = size_t(256) << 10;
        const auto* source = static_cast<const unsigned char*>(from);
        auto* target = static_cast<unsigned char*>(to);
        const int pieces = static_cast<int>((bytes + kPiece - 1) / kPiece);
        context_.parallel->run(pieces, [&](int begin, int end) {
            const size_t first = size_t(begin) * kPiece;
            std::memcpy(target + first, source + first, std::min(bytes, size_t(end) * kPiece) - first);
        });
    }

    const GraphState& state_;
    const Graph& graph_;
    const std::vector<OutputRequest>& requests_;
    const RenderContext& context_;
    std::vector<NodePlan> plans_;
    std::vector<uint32_t> order_;
    std::vector<int> channels_; // per node, for the nodes some output needs
    std::map<float, std::shared_ptr<const Image>> constants_;
    std::vector<KeptTextures::Texture> kept_; // per request; bytes null: convert
    std::vector<uint64_t> textureKeys_;       // per request
    int width_ = 0;
    int height_ = 0;
    uint32_t seed_ = 0;
};

} // namespace

Status renderGraph(const GraphState& graph, const std::vector<OutputRequest>& requests,
                   const RenderContext& context) {
    return GraphRender(graph, requests, context).run();
}

} // namespace kvengine
