#include "material/SubstanceEntity.h"

namespace kvSubstance {

SubstanceEntity::SubstanceEntity(unsigned int uid, const kvString::CString& identifier)
    : m_identifier(identifier), m_uid(uid) {}

SubstanceEntity::~SubstanceEntity() = default;

void SubstanceEntity::modified() {
    m_modified = true;
    // Dependencies read from a description may form a loop (an input that
    // alters itself, two inputs that alter each other); a notification that
    // comes back round while this entity is still emitting stops here.
    if (m_emitting)
        return;
    // A listener may drop the last reference to this entity; it then dies when
    // the emission is over, not in the middle of it.
    const kv::Reference<SubstanceEntity> keepAlive(referenceCount() > 0 ? this : nullptr);
    m_emitting = true;
    m_modifiedSignal.emit();
    m_emitting = false;
}

} // namespace kvSubstance
