#include "platform/base/IString.h"

namespace kvString {

namespace {

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// Length of the well-formed UTF-8 sequence at text (shortest form, no
// surrogates, at most U+10FFFF), or 0 when the bytes there are malformed.
std::size_t validSequenceLength(const unsigned char* text) {
    const unsigned char lead = text[0];
    if (lead < 0x80)
        return 1;
    std::size_t length;
    char32_t c;
    char32_t minimum;
    if ((lead & 0xE0) == 0xC0) {
        length = 2, c = lead & 0x1F, minimum = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3, c = lead & 0x0F, minimum = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4, c = lead & 0x07, minimum = 0x10000;
    } else {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((text[i] & 0xC0) != 0x80) // also stops at the terminating NUL
            return 0;
        c = (c << 6) | (text[i] & 0x3F);
    }
    if (c < minimum || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF))
        return 0;
    return length;
}

} // namespace

IString::IString(const char* text, Encoding encoding) {
    if (!text)
        return;
    const auto* p = reinterpret_cast<const unsigned char*>(text);
    while (*p) {
        const std::size_t length = validSequenceLength(p);
        if (length > 0) {
            m_utf8.append(reinterpret_cast<const char*>(p), length);
            p += length;
            continue;
        }
        appendUtf8(m_utf8, encoding == Multibyte ? char32_t(*p) : char32_t(0xFFFD));
        ++p;
    }
}

CString IString::asMultibyte(Encoding) const {
    // Both encodings are UTF-8 on the supported platforms (see Encoding).
    return CString(m_utf8.c_str(), m_utf8.size());
}

std::size_t IString::length() const {
    std::size_t count = 0;
    for (const char c : m_utf8)
        if ((static_cast<unsigned char>(c) & 0xC0) != 0x80)
            ++count;
    return count;
}

} // namespace kvString
