#include "platform/base/XmlGuard.h"

#include <cstring>

namespace kvUtil {

namespace {

class DepthScanner {
public:
    DepthScanner(const char* text, std::size_t size) : m_p(text), m_end(text + size) {}

    bool withinDepth() {
        int depth = 0;
        while (m_p < m_end) {
            if (*m_p != '<') {
                ++m_p;
                continue;
            }
            if (startsWith("<!--")) {
                skipPast("-->");
            } else if (startsWith("<![CDATA[")) {
                skipPast("]]>");
            } else if (startsWith("<?") || startsWith("<!")) {
                // Declarations, DOCTYPE and processing instructions end, for
                // the parser, at the first '>'.
                skipPast(">");
            } else if (startsWith("</")) {
                skipPast(">");
                if (depth > 0)
                    --depth;
            } else {
                if (!skipStartTag())
                    ++depth;
                if (depth > kMaxXmlDepth)
                    return false;
            }
        }
        return true;
    }

private:
    bool startsWith(const char* prefix) const {
        const std::size_t n = std::strlen(prefix);
        return static_cast<std::size_t>(m_end - m_p) >= n && std::memcmp(m_p, prefix, n) == 0;
    }

    void skipPast(const char* terminator) {
        const std::size_t n = std::strlen(terminator);
        ++m_p;
        while (m_p < m_end && !startsWith(terminator))
            ++m_p;
        m_p = (m_p < m_end) ? m_p + n : m_end;
    }

    // Skips a start tag; returns whether it closed itself with "/>". A quote
    // opens a value only right after '=' (spaces allowed), as in the parser.
    bool skipStartTag() {
        ++m_p;
        bool afterEquals = false;
        char previous = 0;
        while (m_p < m_end) {
            const char c = *m_p;
            if (c == '>') {
                ++m_p;
                return previous == '/';
            }
            if ((c == '"' || c == '\'') && afterEquals) {
                const char* close = static_cast<const char*>(std::memchr(m_p + 1, c, m_end - m_p - 1));
                m_p = close ? close + 1 : m_end;
                afterEquals = false;
                previous = c;
                continue;
            }
            if (c == '<') // a new tag: this one was never closed
                return false;
            if (c == '=')
                afterEquals = true;
            else if (c != ' ' && c != '\t' && c != '\r' && c != '\n')
                afterEquals = false;
            previous = c;
            ++m_p;
        }
        return false;
    }

    const char* m_p;
    const char* m_end;
};

} // namespace

bool isXmlWithinLimits(const char* text, std::size_t size) {
    if (!text)
        return true;
    // Stop at a NUL: the parser never sees past it.
    const void* nul = std::memchr(text, 0, size < kMaxXmlBytes + 1 ? size : kMaxXmlBytes + 1);
    const std::size_t length = nul ? static_cast<std::size_t>(static_cast<const char*>(nul) - text) : size;
    if (length > kMaxXmlBytes)
        return false;
    return DepthScanner(text, length).withinDepth();
}

} // namespace kvUtil
