// The live value of one input of a graph instance. Setting a different value
// marks the outputs the input alters dirty and, for system inputs, keeps the
// renderer's state key of the graph current.
#pragma once

#include "framework/description/InputDesc.h"
#include "framework/render/RenderState.h"

#include <boost/noncopyable.hpp>

#include <cstddef>
#include <string>

namespace SubstanceAir {

class GraphInstance;

class InputInstanceBase : private boost::noncopyable {
public:
    // Sets the descriptor's default value (an empty image for image inputs).
    virtual void reset() = 0;
    virtual ~InputInstanceBase();
    // The value as the engine takes it, and its size in bytes.
    virtual const void* getRawData() const = 0;
    virtual size_t getRawSize() const = 0;

    const InputDescBase& getDesc() const { return *mDesc; }
    GraphInstance& getGraph() const { return *mGraph; }
    // Whether values may be pushed ahead as hints: not for system inputs,
    // whose change moves the graph to another render state.
    bool isHintable() const { return mHintable; }
    // System inputs make up the graph's state key.
    bool isStateKey() const { return mStateKey; }

protected:
    InputInstanceBase(const InputDescBase& desc, GraphInstance& graph);

    // Brackets the store of a new value: take the key before, report after.
    KeyBytes keyBeforeChange() const;
    void valueChanged(const KeyBytes& keyBefore);

private:
    const InputDescBase* mDesc;
    GraphInstance* mGraph;
    bool mHintable;
    bool mStateKey;
};

class InputInstanceNumericalBase : public InputInstanceBase {
public:
    // The value as text: numbers in stream-default form, vector components joined by ",".
    virtual std::string getValueAsString() const = 0;
    // Sets the value from text of that form; false, value unchanged, when it does not parse.
    virtual bool setValueFromString(const std::string& text) = 0;

protected:
    using InputInstanceBase::InputInstanceBase;
};

} // namespace SubstanceAir
