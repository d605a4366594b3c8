#include "engine/assembly/Assembly.h"

namespace kvengine {

namespace {

struct TypeName {
    const char* name;
    InputType type;
};
constexpr TypeName kTypeNames[] = {
    {"float", InputType::Float},   {"float2", InputType::Float2}, {"float3", InputType::Float3},
    {"float4", InputType::Float4}, {"int", InputType::Integer},   {"int2", InputType::Integer2},
    {"int3", InputType::Integer3}, {"int4", InputType::Integer4}, {"image", InputType::Image},
};

} // namespace

bool isValidInputType(uint32_t code) {
    return code <= 5 || (code >= 8 && code <= 10);
}

bool isIntegerType(InputType type) {
    return type == InputType::Integer || type == InputType::Integer2 || type == InputType::Integer3 ||
           type == InputType::Integer4;
}

uint32_t componentCount(InputType type) {
    switch (type) {
    case InputType::Float:
    case InputType::Integer:
        return 1;
    case InputType::Float2:
    case InputType::Integer2:
        return 2;
    case InputType::Float3:
    case InputType::Integer3:
        return 3;
    case InputType::Float4:
    case InputType::Integer4:
        return 4;
    case InputType::Image:
        return 0;
    }
    return 0;
}

const char* inputTypeName(InputType type) {
    for (const TypeName& t : kTypeNames)
        if (t.type == type)
            return t.name;
    return "?";
}

bool inputTypeFromName(const std::string& name, InputType& type) {
    for (const TypeName& t : kTypeNames)
        if (name == t.name) {
            type = t.type;
            return true;
        }
    return false;
}

} // namespace kvengine
