// Memory for pixels, recycled process-wide. A fresh buffer costs a page
// fault and a kernel zeroing per page on first touch, which dominates the
// cheap nodes; so large buffers that are let go wait in a free list (within
// a byte budget) for the next request of the same size, from any render of
// any handle. Past the budget they are unmapped at once, and a request the
// free buffers cannot serve unmaps as many bytes of them as it maps: the
// resident size follows what renders keep, not what they once held.
#pragma once

#include <cstddef>
#include <memory>

namespace kvengine {

// Buffers from this size up are mapped on their own and recycled; smaller
// ones come from the C heap, which recycles them well by itself.
constexpr size_t kRecycledPixelBytes = size_t(2) << 20;
// Bytes of free large buffers kept for reuse, over all handles.
constexpr size_t kPixelFreeListBytes = size_t(64) << 20;

// An uninitialised buffer of at least bytes bytes, aligned for any vector
// width; null when out of memory. Give it back with releasePixels(p, bytes).
void* acquirePixels(size_t bytes);
void releasePixels(void* pixels, size_t bytes) noexcept;

// Bytes currently waiting in the free list.
size_t freePixelBytes();

struct PixelRelease {
    size_t bytes = 0;
    void operator()(float* pixels) const noexcept { releasePixels(pixels, bytes); }
};
using PixelBuffer = std::unique_ptr<float[], PixelRelease>;

// A buffer of bytes bytes; throws std::bad_alloc when out of memory.
PixelBuffer makePixelBuffer(size_t bytes);

} // namespace kvengine
