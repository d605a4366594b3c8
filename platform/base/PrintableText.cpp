#include "platform/base/PrintableText.h"

namespace kvUtil {

namespace {

// Length of the well-formed UTF-8 sequence starting at text[at], 0 if none
// (overlong forms, surrogates and code points past U+10FFFF are not) or if
// it is a C1 control character, which some terminals obey.
std::size_t sequenceLength(const std::string& text, std::size_t at) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[at + i]); };
    const unsigned char lead = byte(0);
    std::size_t length = 0;
    unsigned char low = 0x80, high = 0xbf; // range of the second byte
    if (lead >= 0xc2 && lead <= 0xdf) {
        length = 2;
        low = lead == 0xc2 ? 0xa0 : 0x80;
    } else if (lead >= 0xe0 && lead <= 0xef) {
        length = 3;
        low = lead == 0xe0 ? 0xa0 : 0x80;
        high = lead == 0xed ? 0x9f : 0xbf;
    } else if (lead >= 0xf0 && lead <= 0xf4) {
        length = 4;
        low = lead == 0xf0 ? 0x90 : 0x80;
        high = lead == 0xf4 ? 0x8f : 0xbf;
    }
    if (length == 0 || at + length > text.size() || byte(1) < low || byte(1) > high)
        return 0;
    for (std::size_t i = 2; i < length; ++i) {
        if (byte(i) < 0x80 || byte(i) > 0xbf)
            return 0;
    }
    return length;
}

} // namespace

std::string printable(const std::string& text) {
    static const char hex[] = "0123456789abcdef";
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[at]);
        if (c >= 0x20 && c < 0x7f) {
            out += static_cast<char>(c);
            ++at;
        } else if (const std::size_t length = c >= 0x80 ? sequenceLength(text, at) : 0) {
            out.append(text, at, length);
            at += length;
        } else {
            out += "\\x";
            out += hex[c >> 4];
            out += hex[c & 15];
            ++at;
        }
    }
    return out;
}

} // namespace kvUtil
