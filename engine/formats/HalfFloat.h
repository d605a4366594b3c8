// IEEE 754 half-precision floats, the storage of the 16F texel formats.
// Inline: the evaluator converts every texel of a half-float output with them.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

namespace kvengine {

// Rounds to the nearest half, ties to even; overflow gives infinity, NaN stays NaN.
inline uint16_t floatToHalf(float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    const uint32_t sign = (bits >> 16) & 0x8000u;
    const uint32_t magnitude = bits & 0x7fffffffu;
    if (magnitude >= 0x7f800000u) // infinity or NaN
        return static_cast<uint16_t>(sign | 0x7c00u | (magnitude > 0x7f800000u ? 0x200u : 0u));
    if (magnitude >= 0x477ff000u) // rounds beyond the largest half
        return static_cast<uint16_t>(sign | 0x7c00u);
    if (magnitude < 0x38800000u) { // subnormal half or zero
        if (magnitude < 0x33000000u)
            return static_cast<uint16_t>(sign);
        const uint32_t mantissa = (magnitude & 0x7fffffu) | 0x800000u;
        const int shift = 126 - static_cast<int>(magnitude >> 23);
        uint32_t half = mantissa >> shift;
        const uint32_t rest = mantissa & ((1u << shift) - 1u);
        const uint32_t halfway = 1u << (shift - 1);
        if (rest > halfway || (rest == halfway && (half & 1u)))
            ++half;
        return static_cast<uint16_t>(sign | half);
    }
    uint32_t half = ((magnitude - 0x38000000u) >> 13);
    const uint32_t rest = magnitude & 0x1fffu;
    if (rest > 0x1000u || (rest == 0x1000u && (half & 1u)))
        ++half;
    return static_cast<uint16_t>(sign | half);
}

// Exact: every half is a float. NaN payloads are kept.
inline float halfToFloat(uint16_t half) {
    const uint32_t sign = static_cast<uint32_t>(half & 0x8000u) << 16;
    const uint32_t exponent = (half >> 10) & 0x1fu;
    const uint32_t mantissa = half & 0x3ffu;
    if (exponent == 0) {
        const float value = std::ldexp(static_cast<float>(mantissa), -24);
        return sign ? -value : value;
    }
    const uint32_t bits = exponent == 31 ? sign | 0x7f800000u | (mantissa << 13)
                                         : sign | ((exponent + 112u) << 23) | (mantissa << 13);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

} // namespace kvengine
