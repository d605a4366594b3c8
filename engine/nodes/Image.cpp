#include "engine/nodes/Image.h"

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace kvengine {

void* allocatePixelMemory(size_t bytes) {
    constexpr size_t kHugePage = size_t(2) << 20;
    if (bytes < kHugePage)
        return std::malloc(bytes == 0 ? 1 : bytes);
    const size_t rounded = (bytes + kHugePage - 1) / kHugePage * kHugePage;
    void* memory = std::aligned_alloc(kHugePage, rounded);
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    if (memory)
        madvise(memory, rounded, MADV_HUGEPAGE); // advice only: failure leaves normal pages
#endif
    return memory;
}

} // namespace kvengine
