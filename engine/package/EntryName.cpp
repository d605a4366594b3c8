#include "engine/package/EntryName.h"

namespace kvengine {

bool isSafeEntryName(const std::string& name) {
    if (name.empty() || name.front() == '/')
        return false;
    if (name.find_first_of("\\:") != std::string::npos)
        return false;
    size_t start = 0;
    while (start <= name.size()) {
        size_t end = name.find('/', start);
        if (end == std::string::npos)
            end = name.size();
        if (name.compare(start, end - start, "..") == 0)
            return false;
        start = end + 1;
    }
    return true;
}

} // namespace kvengine
