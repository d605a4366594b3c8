#include "engine/nodes/PixelMemory.h"

#include <cstdlib>
#include <iterator>
#include <map>
#include <mutex>
#include <new>

#if defined(__unix__) || defined(__APPLE__)
#include <sys/mman.h>
#define KV_HAVE_MMAP 1
#endif

namespace kvengine {

namespace {

size_t mappedSize(size_t bytes) {
    return (bytes + kRecycledPixelBytes - 1) / kRecycledPixelBytes * kRecycledPixelBytes;
}

// Large buffers are mapped directly rather than taken from the C heap: the
// heap keeps freed blocks of this size around for later and fragments, where
// an unmapped buffer leaves the resident size at once.
void* mapPixels(size_t size) {
#if defined(KV_HAVE_MMAP)
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        return nullptr;
#if defined(MADV_HUGEPAGE)
    madvise(memory, size, MADV_HUGEPAGE); // advice only: failure leaves normal pages
#endif
    return memory;
#else
    return std::aligned_alloc(kRecycledPixelBytes, size);
#endif
}

void unmapPixels(void* memory, size_t size) noexcept {
#if defined(KV_HAVE_MMAP)
    munmap(memory, size);
#else
    (void)size;
    std::free(memory);
#endif
}

struct FreeList {
    std::mutex mutex;
    std::multimap<size_t, void*> buffers; // by mapped size
    size_t bytes = 0;

    void* take(size_t size) {
        std::lock_guard<std::mutex> lock(mutex);
        auto it = buffers.find(size);
        if (it == buffers.end())
            return nullptr;
        void* memory = it->second;
        buffers.erase(it);
        bytes -= size;
        return memory;
    }

    // Unmaps free buffers of other sizes worth at least size bytes, so that
    // mapping a new buffer leaves the resident size where it was.
    void shed(size_t size) noexcept {
        std::multimap<size_t, void*> shedding;
        {
            std::lock_guard<std::mutex> lock(mutex);
            size_t shed = 0;
            while (shed < size && !buffers.empty()) {
                auto largest = std::prev(buffers.end());
                shed += largest->first;
                bytes -= largest->first;
                shedding.insert(buffers.extract(largest));
            }
        }
        for (const auto& [mapped, memory] : shedding)
            unmapPixels(memory, mapped);
    }

    bool keep(void* memory, size_t size) noexcept {
        std::lock_guard<std::mutex> lock(mutex);
        if (bytes + size > kPixelFreeListBytes)
            return false;
        try {
            buffers.emplace(size, memory);
        } catch (...) {
            return false; // runs in deleters: losing the chance to recycle is fine, throwing is not
        }
        bytes += size;
        return true;
    }
};

// Never destroyed: images held by static objects may be released after it would be.
FreeList& freeList() {
    static FreeList* list = new FreeList;
    return *list;
}

} // namespace

void* acquirePixels(size_t bytes) {
    if (bytes < kRecycledPixelBytes)
        return std::malloc(bytes == 0 ? 1 : bytes);
    const size_t size = mappedSize(bytes);
    if (size < bytes)
        return nullptr; // wrapped around
    if (void* memory = freeList().take(size))
        return memory;
    freeList().shed(size);
    return mapPixels(size);
}

void releasePixels(void* pixels, size_t bytes) noexcept {
    if (!pixels)
        return;
    if (bytes < kRecycledPixelBytes) {
        std::free(pixels);
        return;
    }
    const size_t size = mappedSize(bytes);
    if (!freeList().keep(pixels, size))
        unmapPixels(pixels, size);
}

size_t freePixelBytes() {
    FreeList& list = freeList();
    std::lock_guard<std::mutex> lock(list.mutex);
    return list.bytes;
}

PixelBuffer makePixelBuffer(size_t bytes) {
    PixelBuffer buffer(static_cast<float*>(acquirePixels(bytes)), PixelRelease{bytes});
    if (!buffer)
        throw std::bad_alloc();
    return buffer;
}

} // namespace kvengine
