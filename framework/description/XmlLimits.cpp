#include "framework/description/XmlLimits.h"

#include <cctype>
#include <cstring>

namespace SubstanceAir {

namespace {

class DepthScanner {
public:
    DepthScanner(const char* text, size_t size) : p(text), end(text + size) {}

    bool withinLimits() {
        while (p < end) {
            const char* open = static_cast<const char*>(std::memchr(p, '<', static_cast<size_t>(end - p)));
            if (open == nullptr) {
                return true;
            }
            p = open;
            if (!readMarkup()) {
                return false;
            }
        }
        return true;
    }

private:
    // Element names start like TinyXML's: a letter, '_' or any byte from 127 up.
    static bool startsName(char c) {
        const unsigned char byte = static_cast<unsigned char>(c);
        return byte >= 127 || std::isalpha(byte) != 0 || c == '_';
    }

    bool startsWith(const char* prefix) const {
        const size_t length = std::strlen(prefix);
        return static_cast<size_t>(end - p) >= length && std::memcmp(p, prefix, length) == 0;
    }

    // Moves past the first occurrence of `terminator`, or to the end.
    void skipPast(const char* terminator) {
        const size_t length = std::strlen(terminator);
        while (p < end && !startsWith(terminator)) {
            ++p;
        }
        p = p < end ? p + length : end;
    }

    // One markup construct starting at '<'. False when the text must be refused.
    bool readMarkup() {
        if (startsWith("<!--")) {
            p += 4; // "<!-->" does not end the comment
            skipPast("-->");
        } else if (startsWith("<![CDATA[")) {
            p += 9;
            skipPast("]]>");
        } else if (startsWith("<?")) {
            return readDeclaration();
        } else if (startsWith("</")) {
            skipPast(">");
            if (depth > 0) {
                --depth;
            }
        } else if (p + 1 < end && startsName(p[1])) {
            return readElementTag();
        } else {
            skipPast(">"); // unknown node, read up to the first '>'
        }
        return true;
    }

    // Past whitespace within a declaration; bytes from 128 up are refused
    // there because the parser may take some of them for whitespace.
    bool skipDeclarationSpace() {
        while (p < end && std::isspace(static_cast<unsigned char>(*p)) != 0) {
            ++p;
        }
        return p == end || static_cast<unsigned char>(*p) < 128;
    }

    bool startsWithNoCase(const char* word) const {
        const size_t length = std::strlen(word);
        if (static_cast<size_t>(end - p) < length) {
            return false;
        }
        for (size_t i = 0; i < length; ++i) {
            if (std::tolower(static_cast<unsigned char>(p[i])) != word[i]) {
                return false;
            }
        }
        return true;
    }

    // TinyXML reads the version, encoding and standalone attributes of an
    // XML declaration with their quoted values, which may hold '>', and reads
    // over anything else up to white space or '>'. This follows it exactly;
    // where it would fail, nothing after is parsed and the scan stops.
    bool readDeclaration() {
        if (!startsWithNoCase("<?xml")) {
            skipPast(">"); // any other processing instruction is an unknown node
            return true;
        }
        p += 5;
        while (p < end) {
            if (*p == '>') {
                ++p;
                return true;
            }
            if (!skipDeclarationSpace()) {
                return false;
            }
            if (startsWithNoCase("version") || startsWithNoCase("encoding") ||
                startsWithNoCase("standalone")) {
                if (!readDeclarationAttribute()) {
                    return false;
                }
                continue;
            }
            for (; p < end && *p != '>' && std::isspace(static_cast<unsigned char>(*p)) == 0; ++p) {
                if (static_cast<unsigned char>(*p) >= 128) {
                    return false;
                }
            }
        }
        return true;
    }

    // One name="value" pair; a malformed one ends the parse, and the scan.
    bool readDeclarationAttribute() {
        for (; p < end &&
               (std::isalnum(static_cast<unsigned char>(*p)) != 0 || std::strchr("_-.:", *p) != nullptr);
             ++p) {
        }
        if (p < end && static_cast<unsigned char>(*p) >= 127) {
            return false; // the parser would take it as part of the name
        }
        if (!skipDeclarationSpace()) {
            return false;
        }
        if (p == end || *p != '=') {
            p = end;
            return true;
        }
        ++p;
        if (!skipDeclarationSpace()) {
            return false;
        }
        if (p < end && (*p == '"' || *p == '\'')) {
            const char* close =
                static_cast<const char*>(std::memchr(p + 1, *p, static_cast<size_t>(end - p - 1)));
            p = close != nullptr ? close + 1 : end;
            return true;
        }
        for (; p < end && *p != '/' && *p != '>' && std::isspace(static_cast<unsigned char>(*p)) == 0; ++p) {
            if (*p == '"' || *p == '\'') {
                p = end;
                return true;
            }
        }
        return true;
    }

    bool readElementTag() {
        char quote = 0;
        char last = 0;
        for (++p; p < end; ++p) {
            if (quote != 0) {
                if (*p == quote) {
                    quote = 0;
                    last = *p;
                }
            } else if (*p == '"' || *p == '\'') {
                quote = *p;
            } else if (*p == '>') {
                ++p;
                if (last != '/' && ++depth > maxXmlDepth) {
                    return false;
                }
                return true;
            } else if (std::isspace(static_cast<unsigned char>(*p)) == 0) {
                last = *p;
            }
        }
        return true;
    }

    const char* p;
    const char* const end;
    size_t depth = 0;
};

} // namespace

bool isXmlWithinLimits(const char* text) {
    if (text == nullptr) {
        return false;
    }
    const size_t size = strnlen(text, maxXmlBytes + 1);
    return size <= maxXmlBytes && DepthScanner(text, size).withinLimits();
}

} // namespace SubstanceAir
