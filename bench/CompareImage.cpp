#include "CompareImage.h"

#include "CompareWork.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kvbench {

std::string checkRendered(const CompareRender& render) {
    const size_t texels = static_cast<size_t>(kCompareSide) * kCompareSide;
    if (render.channels < 1 || render.texels.size() != texels * static_cast<size_t>(render.channels))
        return "the output has the wrong size";
    // Alpha may well be constant; the colour channels may not.
    const int varying = render.channels == 4 ? 3 : render.channels;
    for (int c = 0; c < varying; ++c) {
        float low = std::numeric_limits<float>::max();
        float high = std::numeric_limits<float>::lowest();
        for (size_t i = static_cast<size_t>(c); i < render.texels.size();
             i += static_cast<size_t>(render.channels)) {
            const float v = render.texels[i];
            if (!std::isfinite(v))
                return "the output holds a value that is not finite";
            low = std::min(low, v);
            high = std::max(high, v);
        }
        if (!(high > low))
            return "channel " + std::to_string(c) + " of the output is constant";
    }
    return {};
}

} // namespace kvbench
