// Parses input values written as text ("0.5", "1,0,0", "10,10"), the form
// of --set, presets and description.xml.
#pragma once

#include <string>

namespace kvs {

struct InputValue {
    unsigned int type = 0; // SubstanceInputType
    union {
        float f[4];
        int i[4];
    } value{};
};

// Exactly the type's component count, comma-separated, no spaces; each
// component a whole number of the component type. False with `error`.
bool parseInputValue(const std::string& text, unsigned int type, InputValue& value, std::string& error);

// Components of a numerical input type, 0 for images and unknown codes.
unsigned int componentCount(unsigned int type);
bool isIntegerInputType(unsigned int type);

} // namespace kvs
