// kvString::CString: an 8-bit string of the host base library. The bytes are
// kept as given; no encoding is assumed.
#pragma once

#include <cstdint>
#include <string>

namespace kvString {

class CString {
public:
    CString() = default;
    CString(const char* text) : m_text(text ? text : "") {}
    CString(const char* text, std::size_t length)
        : m_text(text ? std::string(text, length) : std::string()) {}
    explicit CString(std::string text) : m_text(std::move(text)) {}

    // Replaces the contents with printf-style formatted text.
    CString& format(const char* pattern, ...)
#if defined(__GNUC__)
        __attribute__((format(printf, 2, 3)))
#endif
        ;

    CString& append(const CString& text) {
        m_text += text.m_text;
        return *this;
    }
    CString& append(const char* text) {
        if (text)
            m_text += text;
        return *this;
    }

    // The NUL-terminated text; valid until the string changes.
    const char* asChar() const {
        return m_text.c_str();
    }
    const std::string& str() const {
        return m_text;
    }
    std::size_t length() const {
        return m_text.size();
    }
    bool isEmpty() const {
        return m_text.empty();
    }

    // Compares ignoring ASCII case: 0 when equal, negative or positive like strcmp.
    int compareNoCase(const CString& other) const;

    friend bool operator==(const CString& a, const CString& b) {
        return a.m_text == b.m_text;
    }
    friend bool operator!=(const CString& a, const CString& b) {
        return a.m_text != b.m_text;
    }
    friend bool operator<(const CString& a, const CString& b) {
        return a.m_text < b.m_text;
    }

private:
    std::string m_text;
};

// 32-bit FNV-1a hash of the bytes: the same value on every platform.
std::uint32_t hashfunction(const CString& text);

} // namespace kvString
