#include "framework/render/InputInstanceNumerical.h"

#include "framework/description/NumberText.h"

namespace SubstanceAir {

template <typename T>
InputInstanceNumerical<T>::InputInstanceNumerical(const InputDescNumerical<T>& desc, GraphInstance& graph)
    : InputInstanceNumericalBase(desc, graph), mValue(desc.defaultValue) {}

template <typename T>
const InputDescNumerical<T>& InputInstanceNumerical<T>::getTypedDesc() const {
    return static_cast<const InputDescNumerical<T>&>(getDesc());
}

template <typename T>
void InputInstanceNumerical<T>::reset() {
    setValue(getTypedDesc().defaultValue);
}

template <typename T>
std::string InputInstanceNumerical<T>::getValueAsString() const {
    return valueToText(mValue);
}

template <typename T>
bool InputInstanceNumerical<T>::setValueFromString(const std::string& text) {
    T value{};
    if (!parseValueText(text, value)) {
        return false;
    }
    setValue(value);
    return true;
}

template <typename T>
void InputInstanceNumerical<T>::setValue(const T& value) {
    if (value == mValue) {
        return;
    }
    const KeyBytes keyBefore = keyBeforeChange();
    mValue = value;
    valueChanged(keyBefore);
}

template class InputInstanceNumerical<float>;
template class InputInstanceNumerical<int>;
template class InputInstanceNumerical<Math::Vector2<float>>;
template class InputInstanceNumerical<Math::Vector3<float>>;
template class InputInstanceNumerical<Math::Vector4<float>>;
template class InputInstanceNumerical<Math::Vector2<int>>;
template class InputInstanceNumerical<Math::Vector3<int>>;
template class InputInstanceNumerical<Math::Vector4<int>>;

} // namespace SubstanceAir
