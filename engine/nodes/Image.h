// A float image: 1 (gray) or 4 (RGBA) planes of width x height floats each,
// stored plane after plane so that per-channel loops run over contiguous memory.
#pragma once

#include "engine/nodes/PixelMemory.h"

#include <cstddef>
#include <cstdint>

namespace kvengine {

class Image {
public:
    Image() = default;
    // Uninitialised planes from the recycled pixel memory; throws
    // std::bad_alloc. Callers check sizes against their limits first.
    Image(int width, int height, int channels)
        : width_(width), height_(height), channels_(channels),
          pixels_(makePixelBuffer(bytesFor(width, height, channels))) {}

    int width() const { return width_; }
    int height() const { return height_; }
    int channels() const { return channels_; }
    size_t planeSize() const { return static_cast<size_t>(width_) * static_cast<size_t>(height_); }
    size_t byteSize() const { return planeSize() * static_cast<size_t>(channels_) * sizeof(float); }

    float* plane(int channel) { return pixels_.get() + planeSize() * static_cast<size_t>(channel); }
    const float* plane(int channel) const {
        return pixels_.get() + planeSize() * static_cast<size_t>(channel);
    }
    float* row(int channel, int y) { return plane(channel) + static_cast<size_t>(y) * width_; }
    const float* row(int channel, int y) const { return plane(channel) + static_cast<size_t>(y) * width_; }
    // Plane of a colour channel (0..3) read as RGBA: a gray image answers
    // every colour channel with its one plane; alpha of a gray image is null (1).
    const float* colourPlane(int channel) const {
        if (channels_ == 4)
            return plane(channel);
        return channel < 3 ? plane(0) : nullptr;
    }

    static size_t bytesFor(int width, int height, int channels) {
        return static_cast<size_t>(width) * static_cast<size_t>(height) * static_cast<size_t>(channels) *
               sizeof(float);
    }

private:
    int width_ = 0;
    int height_ = 0;
    int channels_ = 0;
    PixelBuffer pixels_;
};

} // namespace kvengine
