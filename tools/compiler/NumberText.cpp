#include "tools/compiler/NumberText.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace kvcompiler {

std::string floatText(float value) {
    if (value == 0.0f)
        return "0"; // also for -0, which some readers would keep as a sign
    char buffer[32];
    for (int precision = 1; precision <= 9; ++precision) {
        std::snprintf(buffer, sizeof buffer, "%.*g", precision, static_cast<double>(value));
        if (std::strtof(buffer, nullptr) == value)
            break;
    }
    return buffer;
}

std::string intText(int value) {
    return std::to_string(value);
}

std::string messageNumberText(double value) {
    if (std::floor(value) != value || std::fabs(value) >= 1e15)
        return floatText(static_cast<float>(value));
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.0f", value == 0 ? 0.0 : value);
    return buffer;
}

std::string numberListText(const NumberList& values, bool integers) {
    std::string text;
    for (size_t i = 0; i < values.size(); ++i) {
        if (i)
            text += ',';
        text += integers ? intText(static_cast<int>(values[i])) : floatText(static_cast<float>(values[i]));
    }
    return text;
}

} // namespace kvcompiler
