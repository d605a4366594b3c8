// What one render may cost, set by the host for every render of the process.
// A render past the budget is refused before the engine allocates anything;
// the engine's reason (engine/api/FailureReason.h) names the outputs, their
// size and the budget, e.g.
//   engine: graph 'pkg://a': output 'color' at 8192x8192 exceeds the budget of 4096 texels per side
// The defaults keep a render within a few seconds and 1 GiB.
#pragma once

#include <cstddef>

namespace SubstanceAir {

struct RenderBudget {
    unsigned int maxTextureSide = 4096;      // largest width or height, in texels
    size_t maxRenderBytes = size_t(1) << 30; // peak memory of one render's images
};

bool operator==(const RenderBudget& a, const RenderBudget& b);

// Applies from the next render on, to materials already loaded too.
void setRenderBudget(const RenderBudget& budget);
RenderBudget renderBudget();

} // namespace SubstanceAir
