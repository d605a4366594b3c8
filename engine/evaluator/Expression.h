// Evaluation of parameter expressions, once per render.
#pragma once

#include "engine/assembly/Assembly.h"

#include <vector>

namespace kvengine {

// Runs a validated expression over the graph's current input values (image
// inputs read as zeros). An empty expression gives fallback.
Value4 evaluateExpression(const Expression& expression, const std::vector<GraphInput>& inputs,
                          const std::vector<Value4>& values, const Value4& fallback);

} // namespace kvengine
