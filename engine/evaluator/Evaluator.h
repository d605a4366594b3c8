// Runs an assembly: keeps the current input values, queues outputs and
// renders them, node by node, on a thread pool. The C interface in
// engine/api wraps one Evaluator per handle.
//
// Engine indices number the inputs (and the outputs) of every graph in graph
// order. Each graph renders at the size its $outputsize input gives (Integer2,
// log2 of width and height; 9,9 when the graph has none) with the seed of its
// $randomseed input (0 when it has none). Every limit (texture side, node
// count, bytes of intermediate images, pixel work) is checked before a render
// allocates anything. Failures carry a reason beginning with "engine: ".
#pragma once

#include "engine/assembly/Assembly.h"
#include "engine/status/Status.h"
#include "platform/engine/EngineTypes.h"

#include <cstddef>
#include <functional>
#include <memory>

namespace kvengine {

struct EvaluatorLimits {
    static constexpr int maxLog2Side = 13;    // 8192 texels
    static constexpr int defaultLog2Side = 9; // 512 texels, for a graph without $outputsize
    static constexpr size_t maxTotalNodes = 16384;
    // The host's budget: largest width or height rendered, 0 for no budget below maxLog2Side.
    unsigned maxTextureSide = 0;
    // Peak of live images, scratch and output textures; 0: half the physical memory, at least 1 GiB.
    size_t maxIntermediateBytes = 0;
    uint64_t maxNodePixels = uint64_t(1) << 34; // sum of pixels over the nodes one render computes
    // Results kept between renders: an eighth more than one complete render
    // of every graph, never more than this.
    size_t cacheBytes = size_t(512) << 20;
};

struct EvaluatorOptions {
    unsigned threadCount = 0; // 0: KV_ENGINE_THREADS, else one per hardware thread (ThreadPool.h)
    EvaluatorLimits limits;
};

class Evaluator {
public:
    // Allocates an output texture's buffer; null when out of memory.
    using Allocate = std::function<void*(size_t bytes)>;
    // Receives one finished output: engine index, job user data and the texture (now owned by the receiver).
    using Deliver =
        std::function<void(unsigned outputIndex, size_t jobUserData, const SubstanceTexture& texture)>;

    // Validates the assembly against the node catalogue and the limits; out
    // is set only on success.
    static Status create(Assembly assembly, const EvaluatorOptions& options, std::unique_ptr<Evaluator>& out);
    ~Evaluator();

    unsigned inputCount() const;
    unsigned outputCount() const;
    const GraphInput& input(unsigned index) const;
    const GraphOutput& output(unsigned index) const;

    // Sets an input's current value. A hint is checked the same way but never
    // changes the current value (this engine does no speculative rendering).
    // For an image input value is a SubstanceTextureInput pointer, null (or a
    // record with a null buffer) for unset.
    Status setInput(unsigned index, unsigned type, const void* value, bool hint);

    // Queues outputs, by UID or by engine index, for the next render; a hint
    // is only checked. Nothing is queued on failure.
    Status queueOutputs(const unsigned* outputs, unsigned count, bool byUid, bool hint, size_t jobUserData);

    // Renders every queued output, delivering each as it finishes, and empties the queue.
    Status render(const Allocate& allocate, const Deliver& deliver);

private:
    struct Impl;
    explicit Evaluator(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> impl_;
};

} // namespace kvengine
