#include "framework/render/InputInstance.h"

#include "framework/render/GraphInstance.h"
#include "framework/render/RendererAccess.h"
#include "framework/render/RendererImpl.h"

namespace SubstanceAir {

InputInstanceBase::InputInstanceBase(const InputDescBase& desc, GraphInstance& graph)
    : mDesc(&desc), mGraph(&graph), mHintable(!desc.isSystem), mStateKey(desc.isSystem) {}

InputInstanceBase::~InputInstanceBase() = default;

KeyBytes InputInstanceBase::keyBeforeChange() const {
    return mStateKey ? mGraph->computeKeyBytes() : KeyBytes();
}

void InputInstanceBase::valueChanged(const KeyBytes& keyBefore) {
    if (mStateKey) {
        const KeyBytes keyAfter = mGraph->computeKeyBytes();
        if (keyAfter != keyBefore) {
            RendererAccess access;
            access->updateStateKey(mGraph->getIdentity(), keyBefore, keyAfter);
        }
    }
    mGraph->markOutputsDirty(mDesc->alteredOutputUids);
}

} // namespace SubstanceAir
