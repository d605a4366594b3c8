// Conversions between description texts and the numerical value types.
// Texts are converted as one whole number: no white space is skipped and the
// text must be consumed to its end. Anything else converts to 0 (or the zero
// vector), which is how the description treats malformed numbers.
#pragma once

#include "framework/description/MathVector.h"

#include <string>

namespace SubstanceAir {

// Reads `text` as one value of T; false (and `out` untouched) when it is not exactly one.
bool parseValueText(const std::string& text, float& out);
bool parseValueText(const std::string& text, int& out);
bool parseValueText(const std::string& text, unsigned int& out);
// Vectors: exactly as many components as the type holds, separated by ",".
template <typename T>
bool parseValueText(const std::string& text, Math::Vector2<T>& out);
template <typename T>
bool parseValueText(const std::string& text, Math::Vector3<T>& out);
template <typename T>
bool parseValueText(const std::string& text, Math::Vector4<T>& out);

// Like parseValueText, but a text that does not convert (or a null text) gives the zero value.
template <typename T>
T valueFromText(const char* text) {
    T value{};
    if (text != nullptr && !parseValueText(std::string(text), value)) {
        value = T{};
    }
    return value;
}

// Text form of a value: stream-default number formatting, vector components joined by ",".
std::string valueToText(float value);
std::string valueToText(int value);
template <typename T>
std::string valueToText(const Math::Vector2<T>& value);
template <typename T>
std::string valueToText(const Math::Vector3<T>& value);
template <typename T>
std::string valueToText(const Math::Vector4<T>& value);

} // namespace SubstanceAir
