// Blur along a segment that may turn from pixel to pixel, shared by the
// directional, radial and slope blurs. A long segment is read as a comb of
// evenly spaced taps built from a few passes of four taps each (each pass
// spreads the previous one four times wider), so the cost grows with the
// logarithm of the length. Along a curving field each pass follows the
// direction where it reads, which bends the comb with the field.
#pragma once

#include "engine/nodes/Image.h"
#include "engine/nodes/Parallel.h"

#include <functional>

namespace kvengine {

enum class LineReduce { Average, Minimum, Maximum };

struct LineBlurShape {
    float maxLength = 0.0f; // the longest segment, in texture units: decides the number of passes
    bool oneSided = false;  // the segment runs from the pixel, rather than being centred on it
    LineReduce reduce = LineReduce::Average;
};

// segments(y, du, dv) fills, for every pixel of row y, the segment it reads
// along, in texture units. It is called once per row and pass.
using LineSegments = std::function<void(int y, float* du, float* dv)>;

// Blurs every channel of in into out (same size and channels; in != out),
// wrapping at the edges; allocates one scratch image like out.
void lineBlur(const Image& in, Image& out, const LineBlurShape& shape, const LineSegments& segments,
              const Parallel& parallel);

} // namespace kvengine
