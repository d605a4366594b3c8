// Description of one graph of a package: its outputs, inputs and presets.
#pragma once

#include "framework/description/InputDesc.h"
#include "framework/description/OutputDesc.h"
#include "framework/description/Preset.h"

#include <memory>
#include <string>
#include <vector>

namespace SubstanceAir {

class PackageDesc;

typedef std::vector<std::unique_ptr<InputDescBase>> InputDescs;

struct GraphDesc {
    std::string packageUrl; // the graph's identity within its package
    std::string label;
    OutputDescs outputs; // ascending uid
    InputDescs inputs;   // ascending uid, owned
    Presets presets;     // document order
    PackageDesc* parent = nullptr;

    GraphDesc() = default;
    // A copy gets its own clones of the input descriptors but neither the
    // presets nor the parent of the source; an assignment keeps the target's
    // own presets and parent. Copies are meant as detached snapshots of the
    // graph's interface, not as second members of the package.
    GraphDesc(const GraphDesc& other);
    GraphDesc& operator=(const GraphDesc& other);
    ~GraphDesc() = default;

    // The input with this uid, or null.
    const InputDescBase* findInput(unsigned int uid) const;
};

typedef std::vector<GraphDesc> GraphDescs;

} // namespace SubstanceAir
