// How a package stack decides which bottom output feeds which top image
// input.
#pragma once

#include "framework/render/PackageStackDesc.h"

namespace SubstanceAir {

// Connections found by name (see PackageStackDesc.h), in the byte order of
// the matched input names.
std::vector<OutputToInput> matchByName(const GraphDesc& bottom, const GraphDesc& top);

// The pairs of `requested` whose output is a bottom output and whose input
// is a top input, in their order.
std::vector<OutputToInput> keepExisting(const std::vector<OutputToInput>& requested, const GraphDesc& bottom,
                                        const GraphDesc& top);

} // namespace SubstanceAir
