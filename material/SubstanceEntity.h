// kvSubstance::SubstanceEntity: what inputs, outputs and materials share: a
// uid, an identifier, a modified flag and a modified signal.
#pragma once

#include "platform/base/CString.h"
#include "platform/base/Reference.h"
#include "platform/base/Signal.h"

namespace kvSubstance {

class SubstanceEntity : public kv::ReferenceCount {
public:
    SubstanceEntity(unsigned int uid, const kvString::CString& identifier);
    ~SubstanceEntity() override;

    unsigned int getUID() const { return m_uid; }
    const kvString::CString& getIdentifier() const { return m_identifier; }
    bool isModified() const { return m_modified; }

    // Marks the entity modified and emits its modified signal; the slot that
    // every callback of the model binds to.
    void onModified() { modified(); }
    // Clears the modified flag without notifying anyone.
    virtual void clearModified() { m_modified = false; }

    // Emitted on every real change of the entity. Hosts connect
    // kvRTB::FunctionVoidMember callbacks here.
    kvRTB::SignalBase& getModifiedSignal() { return m_modifiedSignal; }
    // Stands for this entity's lifetime: pass it as the receiver when
    // connecting a callback bound to this entity to another signal, so the
    // connection goes when this entity does.
    kvRTB::SignalBase& getReceiverTracking() { return m_receiverTracking; }

protected:
    // Sets the modified flag and emits the modified signal, unless this entity
    // is already emitting (a dependency loop).
    void modified();

private:
    kvRTB::SignalBase m_modifiedSignal;
    kvRTB::SignalBase m_receiverTracking;
    kvString::CString m_identifier;
    unsigned int m_uid;
    bool m_modified = false;
    bool m_emitting = false;
};

} // namespace kvSubstance
