// kvSubstance::SubstanceInput: one tweakable parameter of a material, with its
// value, default, range and GUI hints.
#pragma once

#include "material/SubstanceEntity.h"
#include "material/SubstanceTypes.h"
#include "platform/base/IString.h"
#include "platform/base/Vector.h"

#include <cstdint>

namespace kvSubstance {

class Substance;
class SubstanceReader;

class SubstanceInput : public SubstanceEntity {
public:
    // Four value slots, read as ints when the input's type has bit 0x20 and as
    // floats otherwise.
    union IntOrFloat {
        std::int32_t i[4];
        float f[4];
    };

    SubstanceInput(Substance* owner, unsigned int uid, const kvString::CString& identifier, Type type);
    ~SubstanceInput() override;

    Type getType() const { return m_type; }
    const kvString::IString& getLabel() const { return m_label; }
    const kvString::IString& getDescription() const { return m_description; }
    // Both take UTF-8 text; null gives an empty string.
    void setLabel(const char* label);
    void setDescription(const char* description);

    // Values. Reading converts between the views (float to int truncates
    // toward zero, saturating; NaN reads as 0). Setting writes the named view
    // whatever the type, never clamps, and emits one notification per call
    // when any slot changed. Indices are not checked: keep them within 0 to 3.
    int getValueI(int index) const { return readI(m_value, index); }
    float getValueF(int index) const { return readF(m_value, index); }
    void setValueI(int v, int index);
    void setValueF(float v, int index);
    void setValue2I(int a, int b);
    void setValue3I(int a, int b, int c);
    // The fourth value is compared with slot 3 but, when it differs, stored in
    // slot 2; slot 3 is never written. Hosts depend on this layout.
    void setValue4I(int a, int b, int c, int d);
    void setValue2F(float a, float b);
    void setValue3F(float a, float b, float c);
    void setValue4F(float a, float b, float c, float d);

    // Stores the default; with alsoSetValue, also copies it into the value
    // without notifying.
    void setDefault(IntOrFloat values, bool alsoSetValue);
    bool hasDefault() const { return m_hasDefault; }
    int getDefaultI(int index) const { return readI(m_default, index); }
    float getDefaultF(int index) const { return readF(m_default, index); }
    // Whether each component of the value equals the default, compared as
    // floats bit-for-bit reinterpreted (so an integer -1, a NaN pattern, never
    // equals). True for inputs without components.
    bool isDefaultValue() const;
    // Sets each component back to its default through the setters.
    void reset();

    void setMin(IntOrFloat values);
    bool hasMin() const { return m_hasMin; }
    int getMinI(int index) const { return readI(m_min, index); }
    float getMinF(int index) const { return readF(m_min, index); }
    void setMax(IntOrFloat values);
    bool hasMax() const { return m_hasMax; }
    int getMaxI(int index) const { return readI(m_max, index); }
    float getMaxF(int index) const { return readF(m_max, index); }
    void setStep(IntOrFloat values);
    bool hasStep() const { return m_hasStep; }
    int getStepI(int index) const { return readI(m_step, index); }
    float getStepF(int index) const { return readF(m_step, index); }
    void setClamp(bool clamp) { m_clamp = clamp; }
    bool shouldClamp() const { return m_clamp; }

    // Setting a widget also shows the input in the GUI.
    void setWidget(Widget widget);
    Widget getWidget() const { return m_widget; }
    bool showInGUI() const { return m_showInGUI; }
    // Only a TypeInt1 input can be a combo box; on others this does nothing.
    void setCombo(bool combo);
    bool isCombo() const { return m_combo; }
    void addComboItem(kvString::IString item);
    kv::vector<kvString::IString>& getComboItem() { return m_comboItems; }

    // The label, followed by " <index>" for a multi-component input that is
    // not shown as a colour or an image.
    kvString::IString getUniqueLabel(int index) const;
    // "$substance$:<package URL>:<identifier>", followed by "_<index>" under
    // the same condition: the name of one value slot of one material.
    kvString::CString getIndexIdentifier(int index) const;

private:
    friend class SubstanceReader; // fills the fields directly, without notifying

    int readI(const IntOrFloat& slots, int index) const;
    float readF(const IntOrFloat& slots, int index) const;
    // Whether the name of a slot carries the slot index.
    bool namesSlots() const;

    Substance* m_owner;
    Type m_type;
    bool m_showInGUI = false;
    kvString::IString m_label;
    kvString::IString m_description;
    IntOrFloat m_value{};
    IntOrFloat m_default{};
    IntOrFloat m_min{};
    IntOrFloat m_max{};
    IntOrFloat m_step{};
    bool m_hasDefault = false;
    bool m_hasMin = false;
    bool m_hasMax = false;
    bool m_hasStep = false;
    bool m_clamp = false;
    Widget m_widget = WidgetNone;
    bool m_combo = false;
    kv::vector<kvString::IString> m_comboItems;
};

} // namespace kvSubstance
