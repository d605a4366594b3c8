#include "bridge/internal/InstanceAccess.h"

#include "framework/render/GraphInstance.h"
#include "framework/render/InputInstanceNumerical.h"

namespace kvSubstance {
namespace internal {

SubstanceAir::InputInstanceBase*
findInputInstance(const std::vector<boost::shared_ptr<SubstanceAir::GraphInstance>>& graphs,
                  const kvString::CString& identifier) {
    for (const auto& graph : graphs) {
        if (!graph)
            continue;
        for (const auto& instance : graph->getInputs()) {
            const std::string& name = instance->getDesc().identifier;
            if (!name.empty() && name == identifier.str())
                return instance.get();
        }
    }
    return nullptr;
}

namespace {

// The framework's type code of a value of this kind and count.
unsigned int inputTypeOf(const InputValue& value) {
    static const unsigned int floats[] = {SubstanceAir::Float, SubstanceAir::Float2, SubstanceAir::Float3,
                                          SubstanceAir::Float4};
    static const unsigned int ints[] = {SubstanceAir::Integer, SubstanceAir::Integer2, SubstanceAir::Integer3,
                                        SubstanceAir::Integer4};
    return value.kind == InputValue::Float ? floats[value.count - 1] : ints[value.count - 1];
}

template <class T>
void assign(SubstanceAir::InputInstanceBase& instance, const T& value) {
    static_cast<SubstanceAir::InputInstanceNumerical<T>&>(instance).setValue(value);
}

template <class T>
void assignComponents(SubstanceAir::InputInstanceBase& instance, const T* c, int count) {
    using namespace SubstanceAir::Math;
    switch (count) {
    case 1:
        assign(instance, c[0]);
        break;
    case 2:
        assign(instance, Vector2<T>{c[0], c[1]});
        break;
    case 3:
        assign(instance, Vector3<T>{c[0], c[1], c[2]});
        break;
    case 4:
        assign(instance, Vector4<T>{c[0], c[1], c[2], c[3]});
        break;
    default:
        break;
    }
}

} // namespace

void assignInputValue(SubstanceAir::InputInstanceBase& instance, const InputValue& value) {
    if (value.kind == InputValue::None || value.count < 1 || value.count > 4)
        return;
    // The pair normally matches by construction. Two stacked graphs can hold
    // inputs of one identifier but different types; writing through the wrong
    // value type would corrupt memory, so such a pair is left alone.
    if (instance.getDesc().type != inputTypeOf(value))
        return;
    if (value.kind == InputValue::Float)
        assignComponents<float>(instance, value.slots.f, value.count);
    else if (value.kind == InputValue::Integer)
        assignComponents<int>(instance, value.slots.i, value.count);
}

} // namespace internal
} // namespace kvSubstance
