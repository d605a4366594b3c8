// The engine side of input synchronisation: finding an input instance in a
// material's graph instances and storing a value into it.
#pragma once

#include "bridge/internal/InputValue.h"
#include "platform/base/CString.h"

#include <boost/shared_ptr.hpp>
#include <vector>

namespace SubstanceAir {
class GraphInstance;
class InputInstanceBase;
} // namespace SubstanceAir

namespace kvSubstance {
namespace internal {

// The first input instance, walking the graphs in order and each graph's
// inputs in order, whose descriptor identifier is non-empty and equals
// identifier; null when there is none.
SubstanceAir::InputInstanceBase*
findInputInstance(const std::vector<boost::shared_ptr<SubstanceAir::GraphInstance>>& graphs,
                  const kvString::CString& identifier);

// Stores value into instance through its typed setter, which does nothing
// when the value is unchanged and otherwise dirties the outputs it alters.
// An instance whose value type differs from value's kind and count is left
// unchanged.
void assignInputValue(SubstanceAir::InputInstanceBase& instance, const InputValue& value);

} // namespace internal
} // namespace kvSubstance
