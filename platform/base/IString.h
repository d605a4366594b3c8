// kvString::IString: an international string, kept as UTF-8, built from
// 8-bit text whose encoding the caller names.
#pragma once

#include "platform/base/CString.h"

#include <string>

namespace kvString {

enum Encoding {
    // The platform's narrow encoding, used for file paths. It is UTF-8 on every
    // platform this library supports; bytes that are not valid UTF-8 are taken
    // as Latin-1 characters so that legacy 8-bit names survive.
    Multibyte = 0,
    // UTF-8 text such as XML attribute values and labels; malformed sequences
    // become U+FFFD.
    Utf8 = 1
};

class IString {
public:
    IString() = default;
    IString(const char* text, Encoding encoding);
    IString(const CString& text, Encoding encoding) : IString(text.asChar(), encoding) {}

    // The text as 8-bit bytes in the given encoding.
    CString asMultibyte(Encoding encoding) const;
    // The stored UTF-8 text.
    const std::string& utf8() const { return m_utf8; }
    bool isEmpty() const { return m_utf8.empty(); }
    // Number of characters (code points).
    std::size_t length() const;

    IString& append(const IString& other) {
        m_utf8 += other.m_utf8;
        return *this;
    }

    friend bool operator==(const IString& a, const IString& b) { return a.m_utf8 == b.m_utf8; }
    friend bool operator!=(const IString& a, const IString& b) { return a.m_utf8 != b.m_utf8; }

private:
    std::string m_utf8;
};

} // namespace kvString
