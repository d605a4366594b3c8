// An in-memory equivalent of the stone tiles sample (samples/stone_tiles.json)
// at its default values, for benchmarking before the sample package is built.
#pragma once

#include "engine/assembly/Assembly.h"

namespace kvbench {

kvengine::Assembly stoneTilesAssembly();

} // namespace kvbench
