// One render of one graph: sizes and seeds from its inputs, the nodes the
// requested outputs need, a memory and work check, then evaluation in
// dependency order with each output delivered as soon as its node is done.
#pragma once

#include "engine/evaluator/Evaluator.h"
#include "engine/evaluator/GraphState.h"
#include "engine/evaluator/ImageCache.h"
#include "engine/evaluator/KeptTextures.h"
#include "engine/nodes/Parallel.h"

#include <vector>

namespace kvengine {

struct OutputRequest {
    uint32_t output = 0; // index in the graph's outputs
    unsigned engineIndex = 0;
    size_t jobUserData = 0;
};

struct RenderContext {
    const Parallel* parallel = nullptr;
    ImageCache* cache = nullptr;
    KeptTextures* kept = nullptr;
    const EvaluatorLimits* limits = nullptr;
    const Evaluator::Allocate* allocate = nullptr;
    const Evaluator::Deliver* deliver = nullptr;
};

// Outputs delivered before a failure stay delivered. A failure's reason
// begins with "engine: " and names the graph.
Status renderGraph(const GraphState& graph, const std::vector<OutputRequest>& requests,
                   const RenderContext& context);

} // namespace kvengine
