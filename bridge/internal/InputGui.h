// The GUI hints of a package input (its kept `inputgui` XML) applied to the
// host input made for it: widget, label, description, range, clamp and
// combo-box items.
#pragma once

#include <string>

namespace kvSubstance {

class SubstanceInput;

namespace internal {

// `input` may be null (an input with no host counterpart): nothing is set.
// Texts of 1024 bytes or more are cut to 1023.
void applyInputGui(const std::string& guiXml, SubstanceInput* input);

} // namespace internal
} // namespace kvSubstance
