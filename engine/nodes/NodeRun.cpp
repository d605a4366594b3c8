#include "engine/nodes/NodeKind.h"
#include "engine/nodes/Random.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace kvengine {

// A kernel asking for a name its table lacks, or for the wrong value kind, is
// a bug in the kernel; the catalogue-wide tests run every kernel.
const Value4& NodeRun::read(const char* name, bool (*fits)(const ParamSpec&)) const {
    for (size_t p = 0; p < kind->params.size(); ++p) {
        const ParamSpec& spec = kind->params[p];
        if (std::strcmp(spec.name, name) != 0)
            continue;
        if (!fits(spec))
            throw std::logic_error(std::string(kind->name) + ": parameter '" + name +
                                   "' read as the wrong value kind");
        return (*params)[p];
    }
    throw std::logic_error(std::string(kind->name) + " has no parameter '" + name + "'");
}

float NodeRun::number(const char* name) const {
    return read(name, [](const ParamSpec& s) { return s.type == ParamType::Float && s.components == 1; })
        .f[0];
}

int NodeRun::integer(const char* name) const {
    const Value4& v =
        read(name, [](const ParamSpec& s) { return s.type == ParamType::Integer && s.components == 1; });
    return static_cast<int>(v.f[0]);
}

bool NodeRun::flag(const char* name) const {
    return read(name, [](const ParamSpec& s) { return s.type == ParamType::Boolean; }).f[0] != 0.0f;
}

int NodeRun::choice(const char* name) const {
    const Value4& v = read(name, [](const ParamSpec& s) { return s.type == ParamType::Enumeration; });
    return static_cast<int>(v.f[0]);
}

std::array<float, 4> NodeRun::vector(const char* name) const {
    return read(name,
                [](const ParamSpec& s) { return s.type == ParamType::Float || s.type == ParamType::Colour; })
        .f;
}

std::array<int, 4> NodeRun::integers(const char* name) const {
    const Value4& v = read(name, [](const ParamSpec& s) { return s.type == ParamType::Integer; });
    return {static_cast<int>(v.f[0]), static_cast<int>(v.f[1]), static_cast<int>(v.f[2]),
            static_cast<int>(v.f[3])};
}

uint32_t NodeRun::seed() const {
    // The cache keys a kind's results by the seed only when its table declares one.
    if (!kind->readsSeed)
        throw std::logic_error(std::string(kind->name) + " reads the seed without declaring it");
    return nodeSeed(randomSeed, integer("seed"));
}

} // namespace kvengine
