#include "platform/base/Split.h"

namespace kvUtil {

namespace {
bool isSpace(char c) {
    return c == ' ' || c == '\t';
}
} // namespace

kv::vector<kvString::CString> split(const kvString::CString& text, char separator, bool dropEmpty,
                                    bool trimSpaces) {
    kv::vector<kvString::CString> pieces;
    const std::string& s = text.str();
    std::size_t start = 0;
    while (true) {
        std::size_t end = s.find(separator, start);
        const bool last = end == std::string::npos;
        if (last)
            end = s.size();
        std::size_t first = start;
        std::size_t stop = end;
        if (trimSpaces) {
            while (first < stop && isSpace(s[first]))
                ++first;
            while (stop > first && isSpace(s[stop - 1]))
                --stop;
        }
        if (!dropEmpty || stop > first)
            pieces.emplace_back(s.data() + first, stop - first);
        if (last)
            break;
        start = end + 1;
    }
    return pieces;
}

} // namespace kvUtil
