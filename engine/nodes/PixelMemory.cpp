#include "engine/nodes/PixelMemory.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <map>
#include <mutex>
#include <new>
#include <vector>

#if defined(__unix__) || defined(__APPLE__)
#include <sys/mman.h>
#define KV_HAVE_MMAP 1
#endif

namespace kvengine {

namespace {

constexpr size_t kLargestPiece = kPixelBlockBytes / 2;

size_t mappedSize(size_t bytes) {
    return (bytes + kPixelBlockBytes - 1) / kPixelBlockBytes * kPixelBlockBytes;
}

// Maps size bytes (whole blocks) starting at a block boundary: mmap only
// promises page alignment, and a huge page can back only an aligned block.
void* mapBlocks(size_t size) {
#if defined(KV_HAVE_MMAP)
    const size_t padded = size + kPixelBlockBytes;
    if (padded < size)
        return nullptr;
    void* raw = mmap(nullptr, padded, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (raw == MAP_FAILED)
        return nullptr;
    const uintptr_t start = reinterpret_cast<uintptr_t>(raw);
    const uintptr_t aligned = (start + kPixelBlockBytes - 1) & ~uintptr_t(kPixelBlockBytes - 1);
    const size_t head = aligned - start;
    if (head != 0)
        munmap(raw, head);
    if (const size_t tail = padded - head - size; tail != 0)
        munmap(reinterpret_cast<void*>(aligned + size), tail);
    void* memory = reinterpret_cast<void*>(aligned);
#if defined(MADV_HUGEPAGE)
    madvise(memory, size, MADV_HUGEPAGE); // advice only: failure leaves normal pages
#endif
    return memory;
#else
    return std::aligned_alloc(kPixelBlockBytes, size);
#endif
}

void unmapBlocks(void* memory, size_t size) noexcept {
#if defined(KV_HAVE_MMAP)
    munmap(memory, size);
#else
    (void)size;
    std::free(memory);
#endif
}

// Free runs of whole blocks. A request takes the shortest run that holds
// it, or its head; neighbouring free runs join again, so that runs split for
// short requests serve long ones later instead of making room for fresh
// mappings. The list keeps up to kPixelFreeListBytes, or two of the longest
// runs requested when those are longer, so that renders of large textures
// find their buffers again too.
struct BlockFreeList {
    using BySize = std::multimap<size_t, char*>;
    std::mutex mutex;
    std::map<char*, BySize::iterator> byAddress;
    BySize bySize;
    size_t bytes = 0;
    size_t longestRequest = 0;
    size_t workingSet = 0; // the largest announced, within kPixelWorkingSetBytes

    void* take(size_t size) {
        std::lock_guard<std::mutex> lock(mutex);
        longestRequest = std::max(longestRequest, size);
        auto it = bySize.lower_bound(size);
        if (it == bySize.end())
            return nullptr;
        char* memory = it->second;
        const size_t length = it->first;
#if !defined(KV_HAVE_MMAP)
        if (length != size)
            return nullptr; // the C heap frees whole allocations only
#endif
        eraseLocked(byAddress.find(memory));
        if (length > size)
            keepLocked(memory + size, length - size);
        return memory;
    }

    // Unmaps free runs worth at least size bytes, so that mapping a new run
    // leaves the resident size where it was.
    void shed(size_t size) noexcept {
        std::vector<std::pair<char*, size_t>> shedding;
        {
            std::lock_guard<std::mutex> lock(mutex);
            size_t shed = 0;
            while (shed < size && !bySize.empty()) {
                auto largest = std::prev(bySize.end());
                shed += largest->first;
                try {
                    shedding.emplace_back(largest->second, largest->first);
                } catch (...) {
                    unmapBlocks(largest->second, largest->first);
                }
                eraseLocked(byAddress.find(largest->second));
            }
        }
        for (const auto& [memory, mapped] : shedding)
            unmapBlocks(memory, mapped);
    }

    size_t budget() const {
        return std::max({kPixelFreeListBytes, 2 * longestRequest, workingSet});
    }

    void keep(void* memory, size_t size) noexcept {
        std::lock_guard<std::mutex> lock(mutex);
        keepLocked(static_cast<char*>(memory), size);
    }

    void eraseLocked(std::map<char*, BySize::iterator>::iterator run) noexcept {
        bytes -= run->second->first;
        bySize.erase(run->second);
        byAddress.erase(run);
    }

    // Keeps the run, joined with its free neighbours, or unmaps it when the
    // list is full (or, in a deleter, memory for the list itself is short).
    void keepLocked(char* memory, size_t size) noexcept {
        if (bytes + size > budget()) {
            unmapBlocks(memory, size);
            return;
        }
#if defined(KV_HAVE_MMAP)
        if (auto next = byAddress.find(memory + size); next != byAddress.end()) {
            size += next->second->first;
            eraseLocked(next);
        }
        if (auto after = byAddress.lower_bound(memory); after != byAddress.begin()) {
            auto previous = std::prev(after);
            if (previous->first + previous->second->first == memory) {
                memory = previous->first;
                size += previous->second->first;
                eraseLocked(previous);
            }
        }
#endif
        try {
            auto sized = bySize.emplace(size, memory);
            try {
                byAddress.emplace(memory, sized);
            } catch (...) {
                bySize.erase(sized);
                throw;
            }
        } catch (...) {
            unmapBlocks(memory, size);
            return;
        }
        bytes += size;
    }
};

// Never destroyed: images held by static objects may be released after it would be.
BlockFreeList& blockFreeList() {
    static BlockFreeList* list = new BlockFreeList;
    return *list;
}

void* acquireBlocks(size_t size) {
    if (void* memory = blockFreeList().take(size))
        return memory;
    blockFreeList().shed(size);
    return mapBlocks(size);
}

void releaseBlocks(void* memory, size_t size) noexcept {
    blockFreeList().keep(memory, size);
}

// Pieces are runs of 64 KiB units: a block holds 32 of them.
constexpr size_t kUnitsPerBlock = kPixelBlockBytes / kPooledPixelBytes;
static_assert(kUnitsPerBlock == 32, "a block's units fit one 32-bit mask");

static_assert(kLargestPiece / kPooledPixelBytes < 32, "a piece's units shift within the mask");

// The units a buffer takes: its size rounded up to a power of two, as a mask
// of that many low bits.
uint32_t pieceRun(size_t bytes, uint32_t& units) {
    units = 1;
    while (kPooledPixelBytes * units < bytes)
        units *= 2;
    return (1u << units) - 1;
}

uintptr_t blockOf(const void* piece) {
    return reinterpret_cast<uintptr_t>(piece) & ~uintptr_t(kPixelBlockBytes - 1);
}

// Buffers of a power-of-two size cut from shared blocks, each aligned to its
// own size within its block, so that pieces of every size pack into the
// fewest blocks: a small render faults in a few huge pages, not one per size
// it uses. The lowest free place of the lowest block comes first. A block
// whose pieces are all free stays carved while the empty blocks are few
// (kSparePixelBlocks); past that it goes back to the block free list.
class PiecePool {
public:
    void* take(size_t bytes) {
        uint32_t units = 0;
        const uint32_t run = pieceRun(bytes, units);
        {
            std::lock_guard<std::mutex> lock(mutex_);
            for (auto& [block, used] : used_) {
                for (uint32_t first = 0; first < kUnitsPerBlock; first += units) {
                    if ((used & (run << first)) != 0)
                        continue;
                    if (used == 0)
                        --emptyBlocks_;
                    used |= run << first;
                    return reinterpret_cast<char*>(block) + first * kPooledPixelBytes;
                }
            }
        }
        char* block = static_cast<char*>(acquireBlocks(kPixelBlockBytes));
        if (!block)
            return nullptr;
        std::lock_guard<std::mutex> lock(mutex_);
        try {
            used_.emplace(blockOf(block), run);
        } catch (...) {
            releaseBlocks(block, kPixelBlockBytes);
            return nullptr;
        }
        return block;
    }

    void give(void* memory, size_t bytes) noexcept {
        uint32_t units = 0;
        const uint32_t run = pieceRun(bytes, units);
        const uintptr_t block = blockOf(memory);
        const auto first =
            static_cast<uint32_t>((reinterpret_cast<uintptr_t>(memory) - block) / kPooledPixelBytes);
        {
            std::lock_guard<std::mutex> lock(mutex_);
            auto it = used_.find(block);
            it->second &= ~(run << first);
            if (it->second != 0)
                return;
            if (emptyBlocks_ < kSparePixelBlocks) {
                ++emptyBlocks_;
                return;
            }
            used_.erase(it);
        }
        releaseBlocks(reinterpret_cast<void*>(block), kPixelBlockBytes);
    }

private:
    std::mutex mutex_;
    std::map<uintptr_t, uint32_t> used_; // the units in use, by carved block
    size_t emptyBlocks_ = 0;             // carved blocks without a piece in use
};

PiecePool& piecePool() {
    static PiecePool* pool = new PiecePool; // never destroyed, as the block free list
    return *pool;
}

} // namespace

void* acquirePixels(size_t bytes) {
    if (!kPixelBlocks || bytes < kPooledPixelBytes) {
        constexpr size_t kVectorBytes = 64; // the widest vector registers
        const size_t size = (std::max<size_t>(bytes, 1) + kVectorBytes - 1) / kVectorBytes * kVectorBytes;
        return size < bytes ? nullptr : std::aligned_alloc(kVectorBytes, size);
    }
    if (bytes <= kLargestPiece)
        return piecePool().take(bytes);
    const size_t size = mappedSize(bytes);
    if (size < bytes)
        return nullptr; // wrapped around
    return acquireBlocks(size);
}

void releasePixels(void* pixels, size_t bytes) noexcept {
    if (!pixels)
        return;
    if (!kPixelBlocks || bytes < kPooledPixelBytes)
        std::free(pixels);
    else if (bytes <= kLargestPiece)
        piecePool().give(pixels, bytes);
    else
        releaseBlocks(pixels, mappedSize(bytes));
}

size_t freePixelBytes() {
    BlockFreeList& list = blockFreeList();
    std::lock_guard<std::mutex> lock(list.mutex);
    return list.bytes;
}

void keepFreePixelsFor(size_t bytes) {
    BlockFreeList& list = blockFreeList();
    std::lock_guard<std::mutex> lock(list.mutex);
    list.workingSet = std::max(list.workingSet, std::min(bytes, kPixelWorkingSetBytes));
}

size_t freePixelBudget() {
    BlockFreeList& list = blockFreeList();
    std::lock_guard<std::mutex> lock(list.mutex);
    return list.budget();
}

size_t freePixelRuns() {
    BlockFreeList& list = blockFreeList();
    std::lock_guard<std::mutex> lock(list.mutex);
    return list.bySize.size();
}

PixelBuffer makePixelBuffer(size_t bytes) {
    PixelBuffer buffer(static_cast<float*>(acquirePixels(bytes)), PixelRelease{bytes});
    if (!buffer)
        throw std::bad_alloc();
    return buffer;
}

} // namespace kvengine
