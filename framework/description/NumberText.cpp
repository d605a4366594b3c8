#include "framework/description/NumberText.h"

#include <boost/lexical_cast.hpp>

#include <locale>
#include <sstream>

namespace SubstanceAir {

namespace {

template <typename T>
bool parseScalar(const std::string& text, T& out) {
    T value{};
    if (!boost::conversion::try_lexical_convert(text, value)) {
        return false;
    }
    out = value;
    return true;
}

// Splits `text` into exactly `count` comma-separated components, each
// converted as a whole number. Any other shape fails.
template <typename T>
bool parseComponents(const std::string& text, T* components, size_t count) {
    size_t begin = 0;
    for (size_t i = 0; i < count; ++i) {
        const size_t comma = text.find(',', begin);
        const bool last = i + 1 == count;
        if (last != (comma == std::string::npos)) {
            return false;
        }
        const size_t end = last ? text.size() : comma;
        if (!parseScalar(text.substr(begin, end - begin), components[i])) {
            return false;
        }
        begin = end + 1;
    }
    return true;
}

template <typename T>
std::string joinComponents(const T* components, size_t count) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    for (size_t i = 0; i < count; ++i) {
        if (i != 0) {
            stream << ',';
        }
        stream << components[i];
    }
    return stream.str();
}

} // namespace

bool parseValueText(const std::string& text, float& out) {
    return parseScalar(text, out);
}

bool parseValueText(const std::string& text, int& out) {
    return parseScalar(text, out);
}

bool parseValueText(const std::string& text, unsigned int& out) {
    return parseScalar(text, out);
}

template <typename T>
bool parseValueText(const std::string& text, Math::Vector2<T>& out) {
    T c[2];
    if (!parseComponents(text, c, 2)) {
        return false;
    }
    out = {c[0], c[1]};
    return true;
}

template <typename T>
bool parseValueText(const std::string& text, Math::Vector3<T>& out) {
    T c[3];
    if (!parseComponents(text, c, 3)) {
        return false;
    }
    out = {c[0], c[1], c[2]};
    return true;
}

template <typename T>
bool parseValueText(const std::string& text, Math::Vector4<T>& out) {
    T c[4];
    if (!parseComponents(text, c, 4)) {
        return false;
    }
    out = {c[0], c[1], c[2], c[3]};
    return true;
}

std::string valueToText(float value) {
    return joinComponents(&value, 1);
}

std::string valueToText(int value) {
    return joinComponents(&value, 1);
}

template <typename T>
std::string valueToText(const Math::Vector2<T>& value) {
    const T c[2] = {value.x, value.y};
    return joinComponents(c, 2);
}

template <typename T>
std::string valueToText(const Math::Vector3<T>& value) {
    const T c[3] = {value.x, value.y, value.z};
    return joinComponents(c, 3);
}

template <typename T>
std::string valueToText(const Math::Vector4<T>& value) {
    const T c[4] = {value.x, value.y, value.z, value.w};
    return joinComponents(c, 4);
}

#define KV_NUMBER_TEXT_VECTORS(T)                                                                            \
    template bool parseValueText(const std::string&, Math::Vector2<T>&);                                     \
    template bool parseValueText(const std::string&, Math::Vector3<T>&);                                     \
    template bool parseValueText(const std::string&, Math::Vector4<T>&);                                     \
    template std::string valueToText(const Math::Vector2<T>&);                                               \
    template std::string valueToText(const Math::Vector3<T>&);                                               \
    template std::string valueToText(const Math::Vector4<T>&);
KV_NUMBER_TEXT_VECTORS(float)
KV_NUMBER_TEXT_VECTORS(int)
#undef KV_NUMBER_TEXT_VECTORS

} // namespace SubstanceAir
