// Separable blur shared by the blur and occlusion kinds: three box passes
// per axis (close to a gaussian), wrapping at the edges, with running sums so
// the cost does not grow with the radius.
#pragma once

#include "engine/nodes/Image.h"
#include "engine/nodes/Parallel.h"

namespace kvengine {

// Blurs every channel of in into out (same size and channels; in != out).
// radius is the reach as a fraction of the texture side, 0 to 0.5.
void gaussianBlur(const Image& in, Image& out, float radius, const Parallel& parallel);

} // namespace kvengine
