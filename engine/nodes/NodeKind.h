// The engine side of a node kind: its catalogue entry plus how to size and
// compute its output. Used by the evaluator; the package compiler only needs
// NodeCatalog.h.
#pragma once

#include "engine/nodes/Image.h"
#include "engine/nodes/NodeCatalog.h"
#include "engine/nodes/Parallel.h"

#include <cstdint>
#include <vector>

namespace kvengine {

// Everything one node evaluation sees.
struct NodeRun {
    int width = 0;
    int height = 0;
    const std::vector<Value4>* params = nullptr; // one per table entry, defaults filled in
    std::vector<const Image*> inputs;            // one per image slot, null when unconnected
    const Image* graphImage = nullptr;           // "input.image": the pushed image, null when unset
    uint32_t randomSeed = 0;                     // the graph's $randomseed
    const Parallel* parallel = nullptr;

    const Value4& param(size_t index) const { return (*params)[index]; }
    float scalar(size_t index) const { return (*params)[index].f[0]; }
};

struct NodeKind {
    NodeKindInfo info;
    // Output channels (1 or 4) from the channels of the connected inputs (0 when
    // unconnected) and of the pushed graph image (0 when unset or not read).
    int (*outputChannels)(const std::vector<int>& inputChannels, int graphImageChannels);
    // Fills out, already allocated at run.width x run.height x outputChannels.
    void (*evaluate)(const NodeRun& run, Image& out);
    // Extra images of the output's size the evaluation allocates for itself
    // (counted against the evaluator's memory limit).
    int scratchImages = 0;
};

// Every kind, sorted by name; null when the name is unknown.
const std::vector<const NodeKind*>& nodeKinds();
const NodeKind* findNodeKindImpl(const std::string& name);

// Helpers for table entries.
Value4 makeValue(float x, float y = 0.0f, float z = 0.0f, float w = 0.0f);
int alwaysGray(const std::vector<int>&, int);
int alwaysColour(const std::vector<int>&, int);
// 4 when any connected input is colour, else 1.
int widestInput(const std::vector<int>& inputChannels, int);
// The channels of the first input (1 when unconnected).
int firstInput(const std::vector<int>& inputChannels, int);

} // namespace kvengine
