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
    m_emitting = true;
    m_modifiedSignal.emit();
    m_emitting = false;
}

} // namespace kvSubstance
