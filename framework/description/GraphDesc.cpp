#include "framework/description/GraphDesc.h"

#include <algorithm>

namespace SubstanceAir {

namespace {

InputDescs cloneInputs(const InputDescs& source) {
    InputDescs copies;
    copies.reserve(source.size());
    for (const std::unique_ptr<InputDescBase>& input : source) {
        copies.push_back(input->clone());
    }
    return copies;
}

} // namespace

GraphDesc::GraphDesc(const GraphDesc& other)
    : packageUrl(other.packageUrl), label(other.label), outputs(other.outputs),
      inputs(cloneInputs(other.inputs)) {}

GraphDesc& GraphDesc::operator=(const GraphDesc& other) {
    if (this != &other) {
        packageUrl = other.packageUrl;
        label = other.label;
        outputs = other.outputs;
        inputs = cloneInputs(other.inputs);
    }
    return *this;
}

const InputDescBase* GraphDesc::findInput(unsigned int uid) const {
    const auto found = std::lower_bound(
        inputs.begin(), inputs.end(), uid,
        [](const std::unique_ptr<InputDescBase>& input, unsigned int key) { return input->uid < key; });
    return found != inputs.end() && (*found)->uid == uid ? found->get() : nullptr;
}

} // namespace SubstanceAir
