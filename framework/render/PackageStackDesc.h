// Two graphs stacked into one package: outputs of a bottom graph feed image
// inputs of a top graph, and the pair renders as one graph. The stack is a
// PackageDesc of one graph (URL "<bottom URL>/<top URL>", the bottom's label,
// the presets of both) registered with the renderer under a uid of its own;
// linking it pushes both packages and the connections.
//
// Without explicit connections, bottom outputs are matched to top image
// inputs by lower-cased identifier, label and channel usage ("glossiness",
// "roughness" and "specular..." answer for one another, as do "bump",
// "height" and "displacement"); a top graph with a single image input name
// takes the bottom's only output, or else its "diffuse" output. System
// inputs ("$...") of the same identifier in both graphs become one.
#pragma once

#include "framework/description/PackageDesc.h"

#include <utility>
#include <vector>

namespace SubstanceAir {

// (bottom output uid, top input uid)
typedef std::pair<unsigned int, unsigned int> OutputToInput;

struct StackConnections {
    // Explicit connections; empty: match by name.
    std::vector<OutputToInput> connections;
    // 0: bottom outputs that feed nothing are dropped by the linker;
    // otherwise they stay outputs of the stack.
    unsigned int bottomOutputs = 0;
};

class PackageStackDesc : public PackageDesc {
public:
    // Both graph descriptions (and their packages) must outlive the stack. A
    // null graph or a graph without package gives an empty stack: no graph,
    // no uid, not registered.
    PackageStackDesc(const GraphDesc* bottom, const GraphDesc* top,
                     const StackConnections& options = StackConnections());
    ~PackageStackDesc() override;

    // Pushes the bottom package, the top package, the connections, the
    // dropped outputs and the fused inputs. False when a package is missing
    // or its push fails.
    bool pushToLinker(SubstanceLinkerHandle* handle) const override;

    const GraphDesc* bottom() const { return mBottom; }
    const GraphDesc* top() const { return mTop; }
    const std::vector<OutputToInput>& connections() const { return mConnections; }
    // (bottom input uid, top input uid)
    const std::vector<std::pair<unsigned int, unsigned int>>& fusedInputs() const { return mFusedInputs; }
    // Bottom outputs handed to the linker to be dropped.
    const std::vector<unsigned int>& selectedOutputs() const { return mSelectedOutputs; }

private:
    void build(GraphDesc& graph);

    std::vector<OutputToInput> mConnections;
    unsigned int mBottomOutputs;
    const GraphDesc* mBottom;
    const GraphDesc* mTop;
    std::vector<std::pair<unsigned int, unsigned int>> mFusedInputs;
    std::vector<unsigned int> mSelectedOutputs;
};

} // namespace SubstanceAir
