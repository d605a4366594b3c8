// UIDs of inputs, outputs and assemblies: a hash of the package URL, the
// entity kind and its identifier, so that a package keeps its UIDs across
// rebuilds and two packages stacked in one graph do not clash.
#pragma once

#include <cstdint>
#include <set>
#include <string>

namespace kvcompiler {

class UidAllocator {
public:
    // Never 0 and never a UID this allocator handed out before: a clash is
    // re-hashed with a counter until the value is free.
    uint32_t allocate(const std::string& url, const std::string& kind, const std::string& identifier);

private:
    std::set<uint32_t> used_;
};

// The first, unsalted hash; allocate() returns it unless it is 0 or taken.
uint32_t hashUid(const std::string& url, const std::string& kind, const std::string& identifier,
                 uint32_t salt);

} // namespace kvcompiler
