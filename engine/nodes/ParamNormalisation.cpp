#include "engine/nodes/ParamNormalisation.h"

#include <algorithm>
#include <cmath>

namespace kvengine {

namespace {

float normaliseComponent(const ParamSpec& spec, float value, float fallback, bool even) {
    if (std::isnan(value))
        value = fallback;
    switch (spec.type) {
    case ParamType::Boolean:
        return value >= 0.5f ? 1.0f : 0.0f;
    case ParamType::Integer:
    case ParamType::Enumeration:
        value = std::clamp(std::round(value), spec.min, spec.max);
        // The table keeps the maximum even, so rounding up stays in range.
        return even && std::fmod(value, 2.0f) != 0.0f ? value + 1.0f : value;
    case ParamType::Float:
    case ParamType::Colour:
        break;
    }
    if (!wrapsAround(spec.unit))
        return std::clamp(value, spec.min, spec.max);
    return std::isfinite(value) ? value - std::floor(value) : fallback;
}

} // namespace

Value4 normaliseParam(const ParamSpec& spec, const Value4& value) {
    Value4 clean; // zeros beyond the meaningful components
    for (uint32_t k = 0; k < spec.components && k < 4; ++k)
        clean.f[k] =
            normaliseComponent(spec, value.f[k], spec.defaultValue.f[k], (spec.evenComponents >> k) & 1u);
    return clean;
}

void normaliseParams(const NodeKindInfo& kind, std::vector<Value4>& values) {
    for (size_t p = 0; p < kind.params.size() && p < values.size(); ++p)
        values[p] = normaliseParam(kind.params[p], values[p]);
}

} // namespace kvengine
