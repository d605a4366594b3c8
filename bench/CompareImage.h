// What one side of kv_gegl_compare hands back from a render: its time and
// the texels, kept so the caller can check that real work was done.
#pragma once

#include <string>
#include <vector>

namespace kvbench {

struct CompareRender {
    double milliseconds = 0;
    int channels = 0;          // 1 or 4, interleaved
    std::vector<float> texels; // kCompareSide squared times channels
    std::string error;         // empty when the render succeeded
};

// A one-line reason when the texels cannot be the output of the row's work:
// wrong size, a value that is not finite, or one channel that never varies
// (what a skipped or empty render leaves). Empty when they look rendered.
std::string checkRendered(const CompareRender& render);

} // namespace kvbench
