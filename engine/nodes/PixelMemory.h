// Memory for pixels, recycled process-wide. A fresh buffer costs a page
// fault and a kernel zeroing per page on first touch, which dominates the
// cheap nodes, all the more in a virtual machine where every fault exits to
// the hypervisor. So pixels live in 2 MiB blocks mapped at 2 MiB boundaries,
// which the kernel can back with one huge page each (a fault per block, not
// per 4 KiB); buffers up to 1 MiB are cut from shared blocks, larger ones
// take whole blocks. Blocks let go wait in a free list (within a byte
// budget) for the next request, from any render of any handle; past the
// budget they are unmapped at once, and a request the free blocks cannot
// serve unmaps as many bytes of them as it maps: the resident size follows
// what renders keep, not what they once held.
#pragma once

#include <cstddef>
#include <memory>

namespace kvengine {

// Whether buffers come from blocks at all. Under AddressSanitizer every
// buffer comes from the C heap instead, so that the sanitizer knows each
// one's bounds: a kernel reading past its image into the next piece of a
// block would go unseen.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kPixelBlocks = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kPixelBlocks = false;
#else
constexpr bool kPixelBlocks = true;
#endif
#else
constexpr bool kPixelBlocks = true;
#endif

// The unit of mapping.
constexpr size_t kPixelBlockBytes = size_t(2) << 20;
// Buffers from this size up come from blocks; smaller ones from the C heap.
constexpr size_t kPooledPixelBytes = size_t(64) << 10;
// Blocks cut into smaller buffers stay cut, up to this many, when all their
// buffers are free: mip chains and small images come and go with every render.
constexpr size_t kSparePixelBlocks = 4;
// Bytes of free blocks kept for reuse, over all handles, or two of the
// largest buffers requested, or the largest working set announced, when
// those are larger.
constexpr size_t kPixelFreeListBytes = size_t(64) << 20;

// The most a render's working set raises the free list's budget to.
constexpr size_t kPixelWorkingSetBytes = size_t(512) << 20;
// A render holding this many bytes of images at once is under way: the free
// list may keep as much (up to kPixelWorkingSetBytes), so that the next
// render of that size, by this handle or by one that replaces it, finds
// warm memory instead of faulting in fresh pages.
void keepFreePixelsFor(size_t bytes);
// An uninitialised buffer of at least bytes bytes, aligned for any vector
// width; null when out of memory. Give it back with releasePixels(p, bytes).
void* acquirePixels(size_t bytes);
void releasePixels(void* pixels, size_t bytes) noexcept;

// Bytes of whole blocks currently waiting in the free list.
size_t freePixelBytes();
// What the free list may hold now.
size_t freePixelBudget();
// Separate runs of free blocks: neighbours join, so a run split for a short
// request serves a long one again once both parts are free.
size_t freePixelRuns();

struct PixelRelease {
    size_t bytes = 0;
    void operator()(float* pixels) const noexcept { releasePixels(pixels, bytes); }
};
using PixelBuffer = std::unique_ptr<float[], PixelRelease>;

// A buffer of bytes bytes; throws std::bad_alloc when out of memory.
PixelBuffer makePixelBuffer(size_t bytes);

} // namespace kvengine
