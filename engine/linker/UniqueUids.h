// Re-derives UIDs that collide when the same package is pushed more than
// once, so the linked result never holds two inputs (or outputs) with one UID.
// Internal to the linker.
#pragma once

#include <cstdint>
#include <vector>

namespace kvengine {

// `uids[k]` came from pushed graph `origins[k]`. Walking from the last entry
// to the first, an entry keeps its UID unless a later entry already holds it;
// then it gets a UID hashed from the old one and its graph index, re-hashed
// until it is non-zero and used by no other entry. Deterministic.
void makeUidsUnique(std::vector<uint32_t>& uids, const std::vector<uint32_t>& origins);

} // namespace kvengine
