#include "material/internal/NumberText.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace kvSubstance {
namespace internal {

namespace {

const char* skipSpace(const char* p) {
    while (std::isspace(static_cast<unsigned char>(*p)))
        ++p;
    return p;
}

// Reads digits into an unsigned 64-bit value, saturating at limit.
unsigned long long readDigits(const char* p, unsigned long long limit) {
    unsigned long long value = 0;
    for (; *p >= '0' && *p <= '9'; ++p) {
        value = value * 10 + static_cast<unsigned>(*p - '0');
        if (value > limit)
            return limit;
    }
    return value;
}

} // namespace

int parseLeadingInt(const char* text) {
    if (!text)
        return 0;
    const char* p = skipSpace(text);
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+')
        ++p;
    const long long magnitude = static_cast<long long>(
        readDigits(p, static_cast<unsigned long long>(std::numeric_limits<int>::max()) + 1));
    const long long value = negative ? -magnitude : magnitude;
    if (value > std::numeric_limits<int>::max())
        return std::numeric_limits<int>::max();
    return static_cast<int>(value);
}

unsigned int parseLeadingUnsigned(const char* text) {
    if (!text)
        return 0;
    const char* p = skipSpace(text);
    if (*p == '+')
        ++p;
    return static_cast<unsigned int>(readDigits(p, std::numeric_limits<unsigned int>::max()));
}

float parseLeadingFloat(const char* text) {
    if (!text)
        return 0.0f;
    return narrowToFloat(std::strtod(text, nullptr));
}

int truncateToInt(float value) {
    if (std::isnan(value))
        return 0;
    if (value >= 2147483648.0f)
        return std::numeric_limits<int>::max();
    if (value <= -2147483648.0f)
        return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

float narrowToFloat(double value) {
    if (value > std::numeric_limits<float>::max())
        return std::numeric_limits<float>::infinity();
    if (value < -std::numeric_limits<float>::max())
        return -std::numeric_limits<float>::infinity();
    return static_cast<float>(value);
}

} // namespace internal
} // namespace kvSubstance
