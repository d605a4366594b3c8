#include "platform/base/XmlGuard.h"

#include <cctype>
#include <cstring>

namespace kvUtil {

namespace {

bool isSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

// Element names start as in the parser: a letter, '_' or any byte from 127 up.
bool startsName(char c) {
    const unsigned char byte = static_cast<unsigned char>(c);
    return byte >= 127 || std::isalpha(byte) != 0 || c == '_';
}

class DepthScanner {
public:
    DepthScanner(const char* text, std::size_t size) : m_p(text), m_end(text + size) {}

    bool withinDepth() {
        while (m_p < m_end) {
            const char* open = static_cast<const char*>(std::memchr(m_p, '<', remaining()));
            if (!open)
                return true;
            m_p = open;
            if (!readMarkup())
                return false;
        }
        return true;
    }

private:
    std::size_t remaining() const { return static_cast<std::size_t>(m_end - m_p); }

    bool startsWith(const char* prefix) const {
        const std::size_t n = std::strlen(prefix);
        return remaining() >= n && std::memcmp(m_p, prefix, n) == 0;
    }

    bool startsWithNoCase(const char* word) const {
        const std::size_t n = std::strlen(word);
        if (remaining() < n)
            return false;
        for (std::size_t i = 0; i < n; ++i) {
            if (std::tolower(static_cast<unsigned char>(m_p[i])) != word[i])
                return false;
        }
        return true;
    }

    // Moves past the first occurrence of terminator, or to the end.
    void skipPast(const char* terminator) {
        const std::size_t n = std::strlen(terminator);
        while (m_p < m_end && !startsWith(terminator))
            ++m_p;
        m_p = m_p < m_end ? m_p + n : m_end;
    }

    // One markup construct starting at '<'; false when the text must be refused.
    bool readMarkup() {
        if (startsWith("<!--")) {
            m_p += 4; // "<!-->" does not end the comment
            skipPast("-->");
        } else if (startsWith("<![CDATA[")) {
            m_p += 9;
            skipPast("]]>");
        } else if (startsWith("<?")) {
            return readDeclaration();
        } else if (startsWith("</")) {
            // A closing tag that does not match its element stops the parser,
            // so every one can be taken as closing the innermost element.
            skipPast(">");
            if (m_depth > 0)
                --m_depth;
        } else if (remaining() > 1 && startsName(m_p[1])) {
            return readStartTag();
        } else {
            skipPast(">"); // DOCTYPE and other unknown nodes end at the first '>'
        }
        return true;
    }

    // Past white space within a declaration. Bytes from 128 up are refused
    // there because the parser may take some of them for white space.
    bool skipDeclarationSpace() {
        while (m_p < m_end && isSpace(*m_p))
            ++m_p;
        return m_p == m_end || static_cast<unsigned char>(*m_p) < 128;
    }

    // The parser reads the version, encoding and standalone attributes of an
    // XML declaration with their quoted values, which may hold '>', and reads
    // over anything else up to white space or '>'. Where it would fail,
    // nothing after is parsed and the scan stops.
    bool readDeclaration() {
        if (!startsWithNoCase("<?xml")) {
            skipPast(">"); // any other processing instruction ends at the first '>'
            return true;
        }
        m_p += 5;
        while (m_p < m_end) {
            if (*m_p == '>') {
                ++m_p;
                return true;
            }
            if (!skipDeclarationSpace())
                return false;
            if (startsWithNoCase("version") || startsWithNoCase("encoding") ||
                startsWithNoCase("standalone")) {
                if (!readDeclarationAttribute())
                    return false;
                continue;
            }
            for (; m_p < m_end && *m_p != '>' && !isSpace(*m_p); ++m_p) {
                if (static_cast<unsigned char>(*m_p) >= 128)
                    return false;
            }
        }
        return true;
    }

    // One name="value" pair; a malformed one ends the parse, and the scan.
    bool readDeclarationAttribute() {
        while (m_p < m_end &&
               (std::isalnum(static_cast<unsigned char>(*m_p)) != 0 || std::strchr("_-.:", *m_p) != nullptr))
            ++m_p;
        if (m_p < m_end && static_cast<unsigned char>(*m_p) >= 127)
            return false; // the parser would take it as part of the name
        if (!skipDeclarationSpace())
            return false;
        if (m_p == m_end || *m_p != '=') {
            m_p = m_end;
            return true;
        }
        ++m_p;
        if (!skipDeclarationSpace())
            return false;
        if (m_p < m_end && (*m_p == '"' || *m_p == '\'')) {
            const char* close = static_cast<const char*>(std::memchr(m_p + 1, *m_p, remaining() - 1));
            m_p = close ? close + 1 : m_end;
            return true;
        }
        for (; m_p < m_end && *m_p != '/' && *m_p != '>' && !isSpace(*m_p); ++m_p) {
            if (*m_p == '"' || *m_p == '\'') {
                m_p = m_end; // a stray quote in an unquoted value is a parse error
                return true;
            }
        }
        return true;
    }

    // A start tag up to its '>'; quotes hide '>' wherever they open, since a
    // quote the parser does not expect stops it anyway.
    bool readStartTag() {
        char quote = 0;
        char last = 0;
        for (++m_p; m_p < m_end; ++m_p) {
            if (quote) {
                if (*m_p == quote) {
                    quote = 0;
                    last = *m_p;
                }
            } else if (*m_p == '"' || *m_p == '\'') {
                quote = *m_p;
            } else if (*m_p == '>') {
                ++m_p;
                return last == '/' || ++m_depth <= kMaxXmlDepth;
            } else if (!isSpace(*m_p)) {
                last = *m_p;
            }
        }
        return true;
    }

    const char* m_p;
    const char* const m_end;
    int m_depth = 0;
};

} // namespace

bool isXmlWithinLimits(const char* text, std::size_t size) {
    if (!text)
        return false;
    // Stop at a NUL: the parser never sees past it.
    const void* nul = std::memchr(text, 0, size < kMaxXmlBytes + 1 ? size : kMaxXmlBytes + 1);
    const std::size_t length = nul ? static_cast<std::size_t>(static_cast<const char*>(nul) - text) : size;
    return length <= kMaxXmlBytes && DepthScanner(text, length).withinDepth();
}

bool isXmlWithinLimits(const char* text) {
    return text && isXmlWithinLimits(text, strnlen(text, kMaxXmlBytes + 1));
}

} // namespace kvUtil
