// The value of a host input as the engine side takes it: its kind, component
// count and slots.
#pragma once

#include "material/SubstanceInput.h"

namespace kvSubstance {
namespace internal {

struct InputValue {
    enum Kind { None, Float, Integer };
    Kind kind = None;
    int count = 0; // 1 to 4 components
    SubstanceInput::IntOrFloat slots{};
};

// The current value of input by its type: float types (16 to 20) as 1 to 4
// floats, integer types (32 to 36) as 1 to 4 ints; 16 and 32, which carry no
// component count, as one component. Any other type gives kind None.
InputValue readInputValue(const SubstanceInput& input);

} // namespace internal
} // namespace kvSubstance
