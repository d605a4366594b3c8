// The live, editable copy of one graph of a package: one input instance per
// input descriptor and one output instance per output descriptor, in the
// descriptor's (uid) order. Shared through boost::shared_ptr.
#pragma once

#include "framework/description/GraphDesc.h"
#include "framework/render/InputInstance.h"
#include "framework/render/OutputInstance.h"

#include <boost/noncopyable.hpp>

#include <cstdint>
#include <memory>
#include <vector>

namespace SubstanceAir {

class GraphInstance : private boost::noncopyable {
public:
    typedef std::vector<std::unique_ptr<OutputInstance>> Outputs;
    typedef std::vector<std::unique_ptr<InputInstanceBase>> Inputs;

    // Every input starts at its default, every output enabled and dirty. The
    // descriptor (and its package) must outlive the instance.
    explicit GraphInstance(const GraphDesc& desc);
    // Destroys the outputs (and their queued results), then the inputs.
    ~GraphInstance();

    const GraphDesc& getDesc() const { return *mDesc; }
    // Unique within the process; copied into every render request of the graph.
    uint64_t getIdentity() const { return mIdentity; }
    const Outputs& getOutputs() const { return mOutputs; }
    const Inputs& getInputs() const { return mInputs; }

    // The instance of the input or output with this uid, or null.
    InputInstanceBase* findInput(unsigned int uid) const;
    OutputInstance* findOutput(unsigned int uid) const;

    // The raw values of the state-key (system) inputs, concatenated in input order.
    KeyBytes computeKeyBytes() const;

    // Marks dirty the outputs with these uids; uids the graph does not hold are passed over.
    void markOutputsDirty(const std::vector<unsigned int>& outputUids);

private:
    const GraphDesc* mDesc;
    uint64_t mIdentity;
    Outputs mOutputs;
    Inputs mInputs;
};

} // namespace SubstanceAir
