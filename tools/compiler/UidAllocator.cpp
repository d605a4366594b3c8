#include "tools/compiler/UidAllocator.h"

namespace kvcompiler {

namespace {

uint32_t fnv1a(uint32_t hash, const std::string& text) {
    for (unsigned char c : text) {
        hash ^= c;
        hash *= 16777619u;
    }
    // A separator byte keeps ("ab", "c") and ("a", "bc") apart.
    hash ^= 0xffu;
    return hash * 16777619u;
}

// Final avalanche so that similar identifiers spread over the whole range.
uint32_t mix(uint32_t h) {
    h ^= h >> 16;
    h *= 0x85ebca6bu;
    h ^= h >> 13;
    h *= 0xc2b2ae35u;
    return h ^ (h >> 16);
}

} // namespace

uint32_t hashUid(const std::string& url, const std::string& kind, const std::string& identifier,
                 uint32_t salt) {
    uint32_t hash = fnv1a(fnv1a(fnv1a(2166136261u, url), kind), identifier);
    return mix(hash ^ (salt * 0x9e3779b9u));
}

uint32_t UidAllocator::allocate(const std::string& url, const std::string& kind,
                                const std::string& identifier) {
    for (uint32_t salt = 0;; ++salt) {
        uint32_t uid = hashUid(url, kind, identifier, salt);
        if (uid != 0 && used_.insert(uid).second)
            return uid;
    }
}

} // namespace kvcompiler
