#include "engine/nodes/GaussianBlur.h"

#include "engine/nodes/BoxStrip.h"
#include "engine/nodes/PixelMemory.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <mutex>
#include <vector>

namespace kvengine {

namespace {

constexpr int kPasses = 3;             // three box passes approximate a gaussian
constexpr int kLanes = kBoxStripLanes; // rows or columns blurred together

int halfWidth(float radius, int side) {
    const int h = static_cast<int>(std::lround(radius * side / kPasses));
    return std::clamp(h, 0, (side - 1) / 2);
}

// The two buffers the passes of a strip go through, left uninitialised and
// taken from the recycled pixel memory (at least its smallest recycled size),
// which after the first blur serves them without fresh, zeroed pages.
class Strip {
public:
    explicit Strip(int samples) : samples_(samples), a_(buffer(samples)), b_(buffer(samples)) {}

    // Where a strip is gathered before blur(input(), kLanes, output(), kLanes, ...), and where it ends.
    float* input() { return b_.get(); }
    float* output() { return a_.get(); }
    // Clears the input's lanes from `used` on: they hold no signal but go through the passes too.
    void useLanes(int used) {
        for (size_t i = 0; used < kLanes && i < static_cast<size_t>(samples_); ++i)
            std::fill(input() + i * kLanes + used, input() + (i + 1) * kLanes, 0.0f);
    }
    // The passes from src to dst (sample i at src + i * srcStride, dst + i * dstStride) through the
    // buffers; src may be input() and dst output().
    void blur(const float* src, size_t srcStride, float* dst, size_t dstStride, int h,
              BoxDifference difference) {
        static_assert(kPasses % 2 == 1, "an odd count ends the passes in a_ when they start in b_");
        for (int pass = 0; pass < kPasses; ++pass) {
            const bool last = pass + 1 == kPasses;
            float* to = last ? dst : (pass % 2 ? b_.get() : a_.get());
            const size_t toStride = last ? dstStride : kLanes;
            boxFilterStrip(src, srcStride, to, toStride, samples_, h, difference);
            src = to;
            srcStride = toStride;
        }
    }

private:
    static PixelBuffer buffer(int samples) {
        return makePixelBuffer(static_cast<size_t>(samples) * kLanes * sizeof(float));
    }
    int samples_;
    PixelBuffer a_, b_;
};

// The strips of one pass, handed from work item to work item, so that a pass
// takes one per thread rather than one per work item.
class StripPool {
public:
    explicit StripPool(int samples) : samples_(samples) {}
    std::unique_ptr<Strip> take() {
        std::lock_guard<std::mutex> lock(mutex_);
        if (free_.empty())
            return std::make_unique<Strip>(samples_);
        std::unique_ptr<Strip> strip = std::move(free_.back());
        free_.pop_back();
        return strip;
    }
    void give(std::unique_ptr<Strip> strip) {
        std::lock_guard<std::mutex> lock(mutex_);
        free_.push_back(std::move(strip));
    }

private:
    int samples_;
    std::mutex mutex_;
    std::vector<std::unique_ptr<Strip>> free_;
};

} // namespace

void gaussianBlur(const Image& in, Image& out, float radius, const Parallel& parallel) {
    const int width = out.width(), height = out.height();
    const int hx = halfWidth(radius, width);
    const int hy = halfWidth(radius, height);
    const size_t stride = static_cast<size_t>(width);
    Image across(width, height, out.channels());

    // Across: kLanes rows at a time, transposed so that the running sums run down the lanes.
    StripPool rowStrips(width);
    parallel.run((height + kLanes - 1) / kLanes, [&](int g0, int g1) {
        std::unique_ptr<Strip> taken = rowStrips.take();
        Strip& strip = *taken;
        for (int c = 0; c < out.channels(); ++c)
            for (int g = g0; g < g1; ++g) {
                const int r0 = g * kLanes, rows = std::min(kLanes, height - r0);
                rowsToStrip(in.row(c, r0), stride, width, rows, strip.input());
                strip.useLanes(rows);
                strip.blur(strip.input(), kLanes, strip.output(), kLanes, hx, BoxDifference::Float);
                stripToRows(strip.output(), width, rows, across.row(c, r0), stride);
            }
        rowStrips.give(std::move(taken));
    });

    // Down: kLanes adjacent columns at a time, read and written in place; the
    // last, narrower strip is copied, as its passes run over kLanes columns.
    StripPool columnStrips(height);
    parallel.run((width + kLanes - 1) / kLanes, [&](int s0, int s1) {
        std::unique_ptr<Strip> taken = columnStrips.take();
        Strip& strip = *taken;
        for (int c = 0; c < out.channels(); ++c)
            for (int s = s0; s < s1; ++s) {
                const int x0 = s * kLanes, columns = std::min(kLanes, width - x0);
                if (columns == kLanes) {
                    strip.blur(across.row(c, 0) + x0, stride, out.row(c, 0) + x0, stride, hy,
                               BoxDifference::Double);
                    continue;
                }
                for (int y = 0; y < height; ++y)
                    std::copy_n(across.row(c, y) + x0, columns,
                                strip.input() + static_cast<size_t>(y) * kLanes);
                strip.useLanes(columns);
                strip.blur(strip.input(), kLanes, strip.output(), kLanes, hy, BoxDifference::Double);
                for (int y = 0; y < height; ++y)
                    std::copy_n(strip.output() + static_cast<size_t>(y) * kLanes, columns,
                                out.row(c, y) + x0);
            }
        columnStrips.give(std::move(taken));
    });
}

} // namespace kvengine
