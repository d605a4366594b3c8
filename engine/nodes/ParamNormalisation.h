// Parameters made clean once, before a node runs and before its cache key is
// computed, so that kernels never clamp or round a value themselves and equal
// renders share one key. Each meaningful component is clamped into the hard
// range, or wrapped into [0, 1) for positions and angles; whole-number kinds
// are rounded (and rounded up to even where the table asks); booleans become
// 0 or 1; NaN takes the default. Components beyond the parameter's count are 0.
#pragma once

#include "engine/nodes/NodeCatalog.h"

#include <vector>

namespace kvengine {

Value4 normaliseParam(const ParamSpec& spec, const Value4& value);
// values holds one entry per parameter of the kind.
void normaliseParams(const NodeKindInfo& kind, std::vector<Value4>& values);

} // namespace kvengine
