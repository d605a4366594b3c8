// One graph of a loaded assembly with its current input values: what a
// render of that graph reads. Internal to the evaluator.
#pragma once

#include "engine/assembly/Assembly.h"
#include "engine/nodes/Image.h"
#include "engine/nodes/NodeKind.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace kvengine {

struct GraphState {
    const Graph* graph = nullptr;
    uint32_t index = 0;                               // in the assembly
    std::vector<const NodeKind*> kinds;               // per node
    std::vector<Value4> values;                       // current value per input
    std::vector<std::shared_ptr<const Image>> images; // per image input, null when unset
    std::vector<uint64_t> imageVersions;              // changes whenever an image is pushed
    int outputSizeInput = -1;                         // index of $outputsize, -1 when absent
    int randomSeedInput = -1;                         // index of $randomseed, -1 when absent
};

} // namespace kvengine
