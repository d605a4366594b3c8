#include "bridge/internal/InputValue.h"

namespace kvSubstance {
namespace internal {

InputValue readInputValue(const SubstanceInput& input) {
    InputValue value;
    const int type = input.getType();
    if (type >= 16 && type <= 20) {
        value.kind = InputValue::Float;
        value.count = type == 16 ? 1 : type - 16;
        for (int k = 0; k < value.count; ++k)
            value.slots.f[k] = input.getValueF(k);
    } else if (type >= 32 && type <= 36) {
        value.kind = InputValue::Integer;
        value.count = type == 32 ? 1 : type - 32;
        for (int k = 0; k < value.count; ++k)
            value.slots.i[k] = input.getValueI(k);
    }
    return value;
}

} // namespace internal
} // namespace kvSubstance
