#include "engine/linker/UniqueUids.h"

#include <cstddef>
#include <unordered_set>

namespace kvengine {
namespace {

uint32_t mix(uint32_t uid, uint32_t salt) {
    uint32_t h = uid ^ (salt * 0x9E3779B9u);
    h ^= h >> 16;
    h *= 0x85EBCA6Bu;
    h ^= h >> 13;
    h *= 0xC2B2AE35u;
    h ^= h >> 16;
    return h;
}

} // namespace

void makeUidsUnique(std::vector<uint32_t>& uids, const std::vector<uint32_t>& origins) {
    const std::unordered_set<uint32_t> original(uids.begin(), uids.end());
    std::unordered_set<uint32_t> taken;
    for (size_t k = uids.size(); k-- > 0;) {
        uint32_t uid = uids[k];
        if (!taken.insert(uid).second) {
            const uint32_t salt = origins[k] + 1;
            do
                uid = mix(uid, salt);
            while (uid == 0 || original.count(uid) != 0 || taken.count(uid) != 0);
            taken.insert(uid);
            uids[k] = uid;
        }
    }
}

} // namespace kvengine
