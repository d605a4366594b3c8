#include "platform/base/XmlGuard.h"

#include <cctype>
#include <cstring>
#include <string>
#include <utility>

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

// Whether every byte from 0xc0 up is followed by the continuation bytes
// (0x80 to 0xbf) its UTF-8 sequence needs. In UTF-8 mode the parser takes
// such a byte and the next ones as one character without looking at them,
// so a lead byte before a quote, '<' or '>' would hide it from the parser
// but not from the scan, and one near the end would read past the text.
bool leadBytesComplete(const char* text, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        const unsigned char lead = static_cast<unsigned char>(text[i]);
        if (lead < 0xc0)
            continue;
        const std::size_t following = lead < 0xe0 ? 1 : lead < 0xf0 ? 2 : 3;
        for (std::size_t k = 1; k <= following; ++k) {
            if (i + k >= size || (static_cast<unsigned char>(text[i + k]) & 0xc0) != 0x80)
                return false;
        }
        i += following;
    }
    return true;
}

bool holdsText(const char* begin, const char* end) {
    for (; begin < end; ++begin) {
        if (!isSpace(*begin))
            return true;
    }
    return false;
}

class CostScanner {
public:
    CostScanner(const char* text, std::size_t size, XmlCost& cost)
        : m_p(text), m_end(text + size), m_cost(cost) {}

    // False at the first limit broken, with the reason in the cost.
    bool scan() {
        while (m_p < m_end) {
            const char* open = static_cast<const char*>(std::memchr(m_p, '<', remaining()));
            // Text that is not all white space becomes a node of its own.
            if (holdsText(m_p, open ? open : m_end) && !addNode())
                return false;
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

    bool refuse(std::string reason) {
        m_cost.refusal = std::move(reason);
        return false;
    }

    bool addNode() {
        return ++m_cost.nodes <= kMaxXmlNodes ||
               refuse("the XML holds more than " + std::to_string(kMaxXmlNodes) + " nodes");
    }

    // One markup construct starting at '<'; false when the text must be refused.
    bool readMarkup() {
        // Outside every element the parser keeps even a closing tag, as an unknown node.
        if ((!startsWith("</") || m_depth == 0) && !addNode())
            return false;
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
        return m_p == m_end || static_cast<unsigned char>(*m_p) < 128 || refuseDeclaration();
    }

    bool refuseDeclaration() { return refuse("the XML declaration holds bytes the parser may misread"); }

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
                    return refuseDeclaration();
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
            return refuseDeclaration(); // the parser would take it as part of the name
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
    // quote the parser does not expect stops it anyway. Every attribute has
    // an '=' outside quotes, so counting those never under-counts.
    bool readStartTag() {
        char quote = 0;
        char last = 0;
        std::size_t attributes = 0;
        // The parser makes the element even if the tag closes itself or is cut short.
        reach(m_depth + 1);
        for (++m_p; m_p < m_end; ++m_p) {
            if (quote) {
                if (*m_p == quote) {
                    quote = 0;
                    last = *m_p;
                }
            } else if (*m_p == '"' || *m_p == '\'') {
                quote = *m_p;
            } else if (*m_p == '=') {
                if (!addAttribute(++attributes))
                    return false;
            } else if (*m_p == '>') {
                ++m_p;
                return last == '/' || enterElement();
            } else if (!isSpace(*m_p)) {
                last = *m_p;
            }
        }
        return true;
    }

    bool addAttribute(std::size_t onElement) {
        if (onElement > kMaxXmlElementAttributes)
            return refuse("an XML element has more than " + std::to_string(kMaxXmlElementAttributes) +
                          " attributes");
        if (onElement > m_cost.elementAttributes)
            m_cost.elementAttributes = onElement;
        return ++m_cost.attributes <= kMaxXmlAttributes ||
               refuse("the XML holds more than " + std::to_string(kMaxXmlAttributes) + " attributes");
    }

    void reach(int depth) {
        if (depth > m_cost.depth)
            m_cost.depth = depth;
    }

    bool enterElement() {
        reach(++m_depth);
        return m_depth <= kMaxXmlDepth ||
               refuse("the XML nests elements more than " + std::to_string(kMaxXmlDepth) + " deep");
    }

    const char* m_p;
    const char* const m_end;
    XmlCost& m_cost;
    int m_depth = 0;
};

} // namespace

XmlCost measureXml(const char* text, std::size_t size) {
    XmlCost cost;
    if (!text) {
        cost.refusal = "there is no XML text";
        return cost;
    }
    // Stop at a NUL: the parser never sees past it.
    const void* nul = std::memchr(text, 0, size < kMaxXmlBytes + 1 ? size : kMaxXmlBytes + 1);
    cost.bytes = nul ? static_cast<std::size_t>(static_cast<const char*>(nul) - text) : size;
    if (cost.bytes > kMaxXmlBytes)
        cost.refusal = "the XML text is larger than " + std::to_string(kMaxXmlBytes >> 20) + " MiB";
    else if (!leadBytesComplete(text, cost.bytes))
        cost.refusal = "the XML text has a UTF-8 lead byte without its continuation bytes";
    else
        CostScanner(text, cost.bytes, cost).scan();
    return cost;
}

bool isXmlWithinLimits(const char* text, std::size_t size) {
    return measureXml(text, size).refusal.empty();
}

bool isXmlWithinLimits(const char* text) {
    return text && isXmlWithinLimits(text, strnlen(text, kMaxXmlBytes + 1));
}

} // namespace kvUtil
