// The identities of the graph instances alive in the process, so that the
// renderer can tell a render state that no living graph can use any more.
#pragma once

#include <cstdint>
#include <set>

namespace SubstanceAir {

void graphCreated(uint64_t identity);
void graphDestroyed(uint64_t identity);

// Whether any of the identities belongs to a graph instance still alive.
bool anyGraphAlive(const std::set<uint64_t>& identities);

} // namespace SubstanceAir
