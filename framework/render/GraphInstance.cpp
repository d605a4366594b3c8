#include "framework/render/GraphInstance.h"

#include "framework/description/PackageDesc.h"
#include "framework/render/LiveGraphs.h"

#include <algorithm>
#include <atomic>

namespace SubstanceAir {

namespace {

// Identities are never reused, so a render state never mistakes a new
// instance for a dead one that happened to live at the same address.
uint64_t nextIdentity() {
    static std::atomic<uint64_t> counter(0);
    return ++counter;
}

} // namespace

GraphInstance::GraphInstance(const GraphDesc& desc) : mDesc(&desc), mIdentity(nextIdentity()) {
    graphCreated(mIdentity);
    mOutputs.reserve(desc.outputs.size());
    for (const OutputDesc& output : desc.outputs) {
        mOutputs.emplace_back(new OutputInstance(output));
    }
    mInputs.reserve(desc.inputs.size());
    for (const std::unique_ptr<InputDescBase>& input : desc.inputs) {
        mInputs.push_back(input->instantiate(*this));
    }
}

GraphInstance::~GraphInstance() {
    mOutputs.clear();
    mInputs.clear();
    graphDestroyed(mIdentity);
}

void instantiateGraphs(std::vector<boost::shared_ptr<GraphInstance>>& instances, const PackageDesc& package) {
    for (const GraphDesc& graph : package.graphs()) {
        instances.push_back(boost::shared_ptr<GraphInstance>(new GraphInstance(graph)));
    }
}

InputInstanceBase* GraphInstance::findInput(unsigned int uid) const {
    const InputDescs& inputs = mDesc->inputs;
    const auto found = std::lower_bound(
        inputs.begin(), inputs.end(), uid,
        [](const std::unique_ptr<InputDescBase>& input, unsigned int key) { return input->uid < key; });
    if (found == inputs.end() || (*found)->uid != uid) {
        return nullptr;
    }
    return mInputs[static_cast<size_t>(found - inputs.begin())].get();
}

OutputInstance* GraphInstance::findOutput(unsigned int uid) const {
    const size_t index = lowerBoundOutput(mDesc->outputs, uid);
    return index < mOutputs.size() && mDesc->outputs[index].uid == uid ? mOutputs[index].get() : nullptr;
}

KeyBytes GraphInstance::computeKeyBytes() const {
    KeyBytes bytes;
    for (const std::unique_ptr<InputInstanceBase>& input : mInputs) {
        if (input->isStateKey()) {
            const unsigned char* raw = static_cast<const unsigned char*>(input->getRawData());
            bytes.insert(bytes.end(), raw, raw + input->getRawSize());
        }
    }
    return bytes;
}

void GraphInstance::markOutputsDirty(const std::vector<unsigned int>& outputUids) {
    for (unsigned int uid : outputUids) {
        // A stack's inputs still name the bottom outputs it dropped; those mark nothing.
        const size_t index = lowerBoundOutput(mDesc->outputs, uid);
        if (index < mOutputs.size() && mDesc->outputs[index].uid == uid) {
            mOutputs[index]->setDirty(true);
        }
    }
}

} // namespace SubstanceAir
