#include "framework/render/PackageStackDesc.h"

#include "framework/render/RendererAccess.h"
#include "framework/render/RendererImpl.h"
#include "framework/render/internal/StackMatching.h"

#include <algorithm>
#include <atomic>
#include <map>

namespace SubstanceAir {

namespace {

typedef std::map<unsigned int, std::vector<unsigned int>> UidLists;

// Makes two stacks of the same pair differ.
unsigned int nextStackSalt() {
    static std::atomic<unsigned int> counter(0);
    return counter++;
}

// `uids` with every key of `replacements` replaced by its list, sorted, without repeats.
std::vector<unsigned int> replaced(const std::vector<unsigned int>& uids, const UidLists& replacements) {
    std::vector<unsigned int> result;
    for (unsigned int uid : uids) {
        const auto found = replacements.find(uid);
        if (found != replacements.end()) {
            result.insert(result.end(), found->second.begin(), found->second.end());
        } else {
            result.push_back(uid);
        }
    }
    std::sort(result.begin(), result.end());
    result.erase(std::unique(result.begin(), result.end()), result.end());
    return result;
}

bool isSystem(const std::string& identifier) {
    return !identifier.empty() && identifier[0] == '$';
}

} // namespace

PackageStackDesc::PackageStackDesc(const GraphDesc* bottom, const GraphDesc* top,
                                   const StackConnections& options)
    : mConnections(options.connections), mBottomOutputs(options.bottomOutputs), mBottom(bottom), mTop(top) {
    if (bottom == nullptr || top == nullptr || bottom->parent == nullptr || top->parent == nullptr) {
        mConnections.clear();
        mLoadProblem = "a stack needs a graph of a loaded package on each side";
        return;
    }
    mAsmUid = bottom->parent->asmUid() ^ top->parent->asmUid() ^ nextStackSalt();
    {
        RendererAccess access;
        access->registerPackage(*this);
    }
    mGraphs.emplace_back();
    build(mGraphs.back());
}

PackageStackDesc::~PackageStackDesc() = default;

void PackageStackDesc::build(GraphDesc& graph) {
    const GraphDesc& bottom = *mBottom;
    const GraphDesc& top = *mTop;
    graph.packageUrl = bottom.packageUrl + "/" + top.packageUrl;
    graph.label = bottom.label;
    graph.parent = this;
    // Both graphs' presets apply to the stack: their inputs keep their uids in it.
    graph.presets = bottom.presets;
    graph.presets.insert(graph.presets.end(), top.presets.begin(), top.presets.end());

    std::map<std::string, unsigned int> bottomSystemInputs;
    for (const std::unique_ptr<InputDescBase>& input : bottom.inputs) {
        graph.inputs.push_back(input->clone());
        if (isSystem(input->identifier)) {
            bottomSystemInputs.insert(std::make_pair(input->identifier, input->uid));
        }
    }

    mConnections = mConnections.empty() ? matchByName(bottom, top) : keepExisting(mConnections, bottom, top);

    graph.outputs = top.outputs;
    for (const OutputDesc& output : bottom.outputs) {
        const bool feeds = std::any_of(mConnections.begin(), mConnections.end(),
                                       [&](const OutputToInput& c) { return c.first == output.uid; });
        if (feeds) {
            continue;
        }
        if (mBottomOutputs == 0) {
            mSelectedOutputs.push_back(output.uid);
        } else {
            graph.outputs.push_back(output);
        }
    }
    std::stable_sort(graph.outputs.begin(), graph.outputs.end(),
                     [](const OutputDesc& a, const OutputDesc& b) { return a.uid < b.uid; });

    // What a connection carries across: the top outputs a fed input alters
    // now depend on the bottom output, and the inputs behind that output.
    UidLists feeding; // bottom output uid -> top outputs
    UidLists fed;     // top input uid -> bottom inputs
    for (const OutputToInput& connection : mConnections) {
        const InputDescBase* input = top.findInput(connection.second);
        const OutputDesc& output = bottom.outputs[lowerBoundOutput(bottom.outputs, connection.first)];
        std::vector<unsigned int>& outputs = feeding[connection.first];
        outputs.insert(outputs.end(), input->alteredOutputUids.begin(), input->alteredOutputUids.end());
        std::vector<unsigned int>& inputs = fed[connection.second];
        inputs.insert(inputs.end(), output.alteringInputUids.begin(), output.alteringInputUids.end());
    }

    UidLists standsFor; // fused top input uid -> the bottom input uid
    for (const std::unique_ptr<InputDescBase>& input : top.inputs) {
        if (fed.count(input->uid) != 0) {
            continue; // its value now comes from the bottom graph
        }
        const auto system = bottomSystemInputs.find(input->identifier);
        if (system == bottomSystemInputs.end()) {
            graph.inputs.push_back(input->clone());
            continue;
        }
        mFusedInputs.push_back(std::make_pair(system->second, input->uid));
        standsFor[input->uid] = std::vector<unsigned int>(1, system->second);
        for (std::unique_ptr<InputDescBase>& clone : graph.inputs) {
            if (clone->uid == system->second) {
                clone->alteredOutputUids.insert(clone->alteredOutputUids.end(),
                                                input->alteredOutputUids.begin(),
                                                input->alteredOutputUids.end());
                break;
            }
        }
    }
    std::stable_sort(graph.inputs.begin(), graph.inputs.end(),
                     [](const std::unique_ptr<InputDescBase>& a, const std::unique_ptr<InputDescBase>& b) {
                         return a->uid < b->uid;
                     });

    for (OutputDesc& output : graph.outputs) {
        output.alteringInputUids = replaced(replaced(output.alteringInputUids, fed), standsFor);
    }
    for (std::unique_ptr<InputDescBase>& input : graph.inputs) {
        input->alteredOutputUids = replaced(input->alteredOutputUids, feeding);
    }
}

bool PackageStackDesc::pushToLinker(SubstanceLinkerHandle* handle) const {
    const PackageDesc* bottomPackage = mBottom != nullptr ? mBottom->parent : nullptr;
    if (bottomPackage == nullptr || !bottomPackage->pushToLinker(handle)) {
        return false;
    }
    const PackageDesc* topPackage = mTop != nullptr ? mTop->parent : nullptr;
    if (topPackage == nullptr || !topPackage->pushToLinker(handle)) {
        return false;
    }
    for (const OutputToInput& connection : mConnections) {
        substanceLinkerConnectOutputToInput(handle, connection.second, connection.first);
    }
    for (unsigned int output : mSelectedOutputs) {
        substanceLinkerHandleSelectOutputs(handle, SubstanceLinkerSelect_Drop, output);
    }
    for (const std::pair<unsigned int, unsigned int>& fused : mFusedInputs) {
        substanceLinkerFuseInputs(handle, fused.first, fused.second);
    }
    return true;
}

} // namespace SubstanceAir
