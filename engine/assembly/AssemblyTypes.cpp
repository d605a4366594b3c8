#include "engine/assembly/Assembly.h"

namespace kvengine {

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

} // namespace kvengine
