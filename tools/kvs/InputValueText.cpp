#include "tools/kvs/InputValueText.h"

#include "platform/engine/EngineTypes.h"

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace kvs {

unsigned int componentCount(unsigned int type) {
    switch (type) {
    case SubstanceInputType_Float:
    case SubstanceInputType_Integer:
        return 1;
    case SubstanceInputType_Float2:
    case SubstanceInputType_Integer2:
        return 2;
    case SubstanceInputType_Float3:
    case SubstanceInputType_Integer3:
        return 3;
    case SubstanceInputType_Float4:
    case SubstanceInputType_Integer4:
        return 4;
    default:
        return 0;
    }
}

bool isIntegerInputType(unsigned int type) {
    return type == SubstanceInputType_Integer || type == SubstanceInputType_Integer2 ||
           type == SubstanceInputType_Integer3 || type == SubstanceInputType_Integer4;
}

bool parseInputValue(const std::string& text, unsigned int type, InputValue& value, std::string& error) {
    const unsigned int count = componentCount(type);
    if (count == 0) {
        error = "image inputs take no value";
        return false;
    }
    std::vector<std::string> pieces(1);
    for (char c : text) {
        if (c == ',')
            pieces.emplace_back();
        else
            pieces.back() += c;
    }
    if (pieces.size() != count) {
        error = "\"" + text + "\" has " + std::to_string(pieces.size()) + " component" +
                (pieces.size() == 1 ? "" : "s") + ", expected " + std::to_string(count);
        return false;
    }
    value.type = type;
    for (unsigned int k = 0; k < count; ++k) {
        const char* start = pieces[k].c_str();
        char* end = nullptr;
        errno = 0;
        if (isIntegerInputType(type)) {
            long number = std::strtol(start, &end, 10);
            if (errno == 0 && number >= INT32_MIN && number <= INT32_MAX)
                value.value.i[k] = static_cast<int>(number);
            else
                end = nullptr;
        } else {
            float number = std::strtof(start, &end);
            if (errno == 0 && std::isfinite(number))
                value.value.f[k] = number;
            else
                end = nullptr;
        }
        if (pieces[k].empty() || !end || *end != '\0' || std::isspace(static_cast<unsigned char>(*start))) {
            error =
                "\"" + pieces[k] + "\" is not " + (isIntegerInputType(type) ? "a whole number" : "a number");
            return false;
        }
    }
    return true;
}

} // namespace kvs
