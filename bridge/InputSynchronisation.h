// Copying the host's input values into the engine's graph instances, so the
// next render uses them. One-way: nothing is read back.
#pragma once

#include "platform/base/CString.h"
#include "platform/base/Reference.h"

namespace SubstanceAir {
class InputInstanceBase;
} // namespace SubstanceAir

namespace kvSubstance {

class Substance;
class SubstanceInput;

// Copies input's current value into instance, the numerical instance of the
// matching value type (an instance of another value type is left unchanged).
// Image inputs are left alone.
void syncValueFromSubstanceInputToInputInstanceBase(const SubstanceInput* input,
                                                    SubstanceAir::InputInstanceBase* instance);

// Copies input's value into the first input instance of the material's graph
// instances (in list order) whose identifier equals the input's. Does nothing
// when there is none.
void syncValueFromSubstanceInputToInputInstanceBase(kv::Reference<Substance> substance,
                                                    SubstanceInput* input);

// Finds the input shown in the GUI that has indexIdentifier as one of its
// index identifiers (SubstanceInput::getIndexIdentifier) and copies its whole
// value as above. Does nothing when there is none.
void syncValueFromSubstanceInputToInputInstanceBase(kv::Reference<Substance> substance,
                                                    const kvString::CString& indexIdentifier);

} // namespace kvSubstance
