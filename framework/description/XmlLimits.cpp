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
            skipPast("-->");
        } else if (startsWith("<![CDATA[")) {
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

    // TinyXML honours quotes in some declaration attributes and not in
    // others; a '>' inside quotes would make the two readings differ.
    bool readDeclaration() {
        char quote = 0;
        for (++p; p < end; ++p) {
            if (quote != 0) {
                if (*p == quote) {
                    quote = 0;
                } else if (*p == '>') {
                    return false;
                }
            } else if (*p == '"' || *p == '\'') {
                quote = *p;
            } else if (*p == '>') {
                ++p;
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
