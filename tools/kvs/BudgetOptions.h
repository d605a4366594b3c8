// The options that set what one render may cost (framework/render/RenderBudget.h).
#pragma once

#include "tools/kvs/Cli.h"

#include <vector>

namespace kvs {

std::vector<OptionSpec> budgetOptions();

// Sets the library's budget from --max-side and --max-memory; the defaults
// stay for an option not given. A value that is not a positive whole number
// is a UsageError.
void applyBudget(const ParsedArgs& args);

} // namespace kvs
