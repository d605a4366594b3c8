#include "platform/base/CString.h"

#include <cstdarg>
#include <cstdio>

namespace kvString {

CString& CString::format(const char* pattern, ...) {
    m_text.clear();
    if (!pattern)
        return *this;
    va_list args;
    va_start(args, pattern);
    va_list measure;
    va_copy(measure, args);
    const int length = std::vsnprintf(nullptr, 0, pattern, measure);
    va_end(measure);
    if (length > 0) {
        m_text.resize(static_cast<std::size_t>(length) + 1);
        std::vsnprintf(&m_text[0], m_text.size(), pattern, args);
        m_text.resize(static_cast<std::size_t>(length));
    }
    va_end(args);
    return *this;
}

namespace {
unsigned char lowerAscii(unsigned char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + 32) : c;
}
} // namespace

int CString::compareNoCase(const CString& other) const {
    const std::string& a = m_text;
    const std::string& b = other.m_text;
    const std::size_t common = a.size() < b.size() ? a.size() : b.size();
    for (std::size_t i = 0; i < common; ++i) {
        const unsigned char ca = lowerAscii(static_cast<unsigned char>(a[i]));
        const unsigned char cb = lowerAscii(static_cast<unsigned char>(b[i]));
        if (ca != cb)
            return ca < cb ? -1 : 1;
    }
    if (a.size() == b.size())
        return 0;
    return a.size() < b.size() ? -1 : 1;
}

std::uint32_t hashfunction(const CString& text) {
    std::uint32_t hash = 2166136261u;
    for (const char c : text.str()) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 16777619u;
    }
    return hash;
}

} // namespace kvString
