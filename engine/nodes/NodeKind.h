// The engine side of a node kind: its table plus the kernel that computes its
// output. Kinds register themselves: a file under engine/nodes/kinds/ holds
// one static NodeKindRegistration, so adding a kind touches no other file.
// Used by the evaluator; the package compiler only needs NodeCatalog.h.
#pragma once

#include "engine/nodes/Image.h"
#include "engine/nodes/NodeCatalog.h"
#include "engine/nodes/Parallel.h"

#include <array>
#include <cstdint>
#include <vector>

namespace kvengine {

// Everything one node evaluation sees. Parameters arrive normalised from the
// kind's table (clamped or wrapped, rounded, enums mapped) and are read by
// name; asking for a name the table lacks, or with the wrong type, throws
// std::logic_error.
struct NodeRun {
    int width = 0;
    int height = 0;
    const NodeKindInfo* kind = nullptr;
    const std::vector<Value4>* params = nullptr; // one per table entry
    std::vector<const Image*> inputs;            // one per image slot; unconnected ones read as constant
    const Image* graphImage = nullptr;           // "input.image": the pushed image, null when unset
    uint32_t randomSeed = 0;                     // the graph's $randomseed
    const Parallel* parallel = nullptr;

    float number(const char* name) const;
    int integer(const char* name) const;
    bool flag(const char* name) const;
    int choice(const char* name) const;
    std::array<float, 4> vector(const char* name) const; // float vectors and colours
    std::array<int, 4> integers(const char* name) const;
    // The node's "seed" parameter combined with $randomseed.
    uint32_t seed() const;

    const Image& input(size_t slot) const { return *inputs[slot]; }

private:
    const Value4& read(const char* name, bool (*fits)(const ParamSpec&)) const;
};

// Fills out, already allocated at run.width x run.height x the kind's output channels.
using EvaluateNode = void (*)(const NodeRun& run, Image& out);

struct NodeKind {
    NodeKindInfo info;
    EvaluateNode evaluate = nullptr;
};

struct NodeKindRegistration {
    NodeKindRegistration(NodeKindInfo info, EvaluateNode evaluate);
};

// Every registered kind, sorted by name.
const std::vector<const NodeKind*>& nodeKinds();
// The kind with that name, or null.
const NodeKind* findNodeKindImpl(const std::string& name);

// Output channels (1 or 4) from the channels of the connected inputs (0 when
// unconnected) and of the pushed graph image (0 when unset or not read).
int outputChannels(const NodeKindInfo& kind, const std::vector<int>& inputChannels, int graphImageChannels);

} // namespace kvengine
