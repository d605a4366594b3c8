#include "material/SubstanceInput.h"

#include "material/Substance.h"
#include "material/internal/NumberText.h"

#include <cmath>
#include <cstring>

namespace kvSubstance {

namespace {
int componentCount(Type type) {
    return type & 7;
}
bool isIntegerType(Type type) {
    return (type & 0x20) != 0;
}
bool isFloatType(Type type) {
    return (type & 0x10) != 0;
}
} // namespace

SubstanceInput::SubstanceInput(Substance* owner, unsigned int uid, const kvString::CString& identifier,
                               Type type)
    : SubstanceEntity(uid, identifier), m_owner(owner), m_type(type) {}

SubstanceInput::~SubstanceInput() = default;

void SubstanceInput::setLabel(const char* label) {
    m_label = kvString::IString(label, kvString::Utf8);
}

void SubstanceInput::setDescription(const char* description) {
    m_description = kvString::IString(description, kvString::Utf8);
}

int SubstanceInput::readI(const IntOrFloat& slots, int index) const {
    return isIntegerType(m_type) ? slots.i[index] : internal::truncateToInt(slots.f[index]);
}

float SubstanceInput::readF(const IntOrFloat& slots, int index) const {
    return isIntegerType(m_type) ? static_cast<float>(slots.i[index]) : slots.f[index];
}

void SubstanceInput::setValueI(int v, int index) {
    if (m_value.i[index] == v)
        return;
    m_value.i[index] = v;
    modified();
}

void SubstanceInput::setValueF(float v, int index) {
    if (m_value.f[index] == v)
        return;
    m_value.f[index] = v;
    modified();
}

namespace {
// Stores v into slot when it differs; returns whether it did.
template <class T>
bool store(T& slot, T v) {
    if (slot == v)
        return false;
    slot = v;
    return true;
}
} // namespace

void SubstanceInput::setValue2I(int a, int b) {
    bool changed = store(m_value.i[0], a);
    changed |= store(m_value.i[1], b);
    if (changed)
        modified();
}

void SubstanceInput::setValue3I(int a, int b, int c) {
    bool changed = store(m_value.i[0], a);
    changed |= store(m_value.i[1], b);
    changed |= store(m_value.i[2], c);
    if (changed)
        modified();
}

void SubstanceInput::setValue4I(int a, int b, int c, int d) {
    bool changed = store(m_value.i[0], a);
    changed |= store(m_value.i[1], b);
    changed |= store(m_value.i[2], c);
    if (m_value.i[3] != d) {
        m_value.i[2] = d;
        changed = true;
    }
    if (changed)
        modified();
}

void SubstanceInput::setValue2F(float a, float b) {
    bool changed = store(m_value.f[0], a);
    changed |= store(m_value.f[1], b);
    if (changed)
        modified();
}

void SubstanceInput::setValue3F(float a, float b, float c) {
    bool changed = store(m_value.f[0], a);
    changed |= store(m_value.f[1], b);
    changed |= store(m_value.f[2], c);
    if (changed)
        modified();
}

void SubstanceInput::setValue4F(float a, float b, float c, float d) {
    bool changed = store(m_value.f[0], a);
    changed |= store(m_value.f[1], b);
    changed |= store(m_value.f[2], c);
    changed |= store(m_value.f[3], d);
    if (changed)
        modified();
}

void SubstanceInput::setDefault(IntOrFloat values, bool alsoSetValue) {
    m_default = values;
    m_hasDefault = true;
    if (alsoSetValue)
        m_value = m_default;
}

bool SubstanceInput::isDefaultValue() const {
    const int n = componentCount(m_type);
    for (int k = 0; k < n; ++k) {
        // The slots are compared as floats whatever the type.
        float value;
        float fallback;
        std::memcpy(&value, &m_value.i[k], sizeof value);
        std::memcpy(&fallback, &m_default.i[k], sizeof fallback);
        if (!(value == fallback))
            return false;
    }
    return true;
}

void SubstanceInput::reset() {
    const int n = componentCount(m_type);
    if (isIntegerType(m_type)) {
        for (int k = 0; k < n; ++k)
            setValueI(m_default.i[k], k);
    } else if (isFloatType(m_type)) {
        for (int k = 0; k < n; ++k)
            setValueF(m_default.f[k], k);
    }
}

void SubstanceInput::setMin(IntOrFloat values) {
    m_min = values;
    m_hasMin = true;
}

void SubstanceInput::setMax(IntOrFloat values) {
    m_max = values;
    m_hasMax = true;
}

void SubstanceInput::setStep(IntOrFloat values) {
    m_step = values;
    m_hasStep = true;
}

void SubstanceInput::setWidget(Widget widget) {
    m_widget = widget;
    m_showInGUI = true;
}

void SubstanceInput::setCombo(bool combo) {
    if (m_type == TypeInt1)
        m_combo = combo;
}

void SubstanceInput::addComboItem(kvString::IString item) {
    m_comboItems.push_back(std::move(item));
}

bool SubstanceInput::namesSlots() const {
    return componentCount(m_type) > 1 && m_widget != WidgetColor && m_widget != WidgetImage;
}

kvString::IString SubstanceInput::getUniqueLabel(int index) const {
    kvString::IString label = m_label;
    if (namesSlots())
        label.append(kvString::IString(kvString::CString().format(" %d", index), kvString::Utf8));
    return label;
}

kvString::CString SubstanceInput::getIndexIdentifier(int index) const {
    kvString::CString name;
    name.format("$substance$:%s:%s", m_owner ? m_owner->getPackageURL().asChar() : "",
                getIdentifier().asChar());
    if (namesSlots())
        name.append(kvString::CString().format("_%d", index));
    return name;
}

} // namespace kvSubstance
