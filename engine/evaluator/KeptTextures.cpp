#include "engine/evaluator/KeptTextures.h"

#include <cstring>
#include <new>

namespace kvengine {

KeptTextures::Texture KeptTextures::find(uint64_t slot, uint64_t key) {
    auto it = entries_.find(slot);
    if (it == entries_.end() || it->second.key != key)
        return {};
    recency_.splice(recency_.begin(), recency_, it->second.recency);
    return {it->second.pixels, it->second.size};
}

bool KeptTextures::delivered(uint64_t slot, uint64_t key) {
    auto [it, added] = lastDelivered_.emplace(slot, key);
    if (added)
        return false;
    const bool again = it->second == key;
    it->second = key;
    return again;
}

void KeptTextures::drop(std::unordered_map<uint64_t, Entry>::iterator entry) {
    bytes_ -= entry->second.size;
    recency_.erase(entry->second.recency);
    entries_.erase(entry);
}

bool KeptTextures::keep(uint64_t slot, uint64_t key, const void* bytes, size_t size, size_t budgetBytes) {
    auto previous = entries_.find(slot);
    if (previous != entries_.end())
        drop(previous); // superseded whatever happens below
    if (size == 0 || size > budgetBytes)
        return false;
    while (bytes_ + size > budgetBytes)
        drop(entries_.find(recency_.back()));
    Entry entry;
    try {
        PixelBuffer pixels = makePixelBuffer(size);
        std::memcpy(pixels.get(), bytes, size);
        // Should making the shared owner throw, it frees the pixels itself.
        entry.pixels = std::shared_ptr<const void>(
            pixels.release(), [size](const void* kept) { releasePixels(const_cast<void*>(kept), size); });
    } catch (const std::bad_alloc&) {
        return false; // a reuse lost, nothing else
    }
    entry.key = key;
    entry.size = size;
    recency_.push_front(slot);
    entry.recency = recency_.begin();
    entries_.emplace(slot, std::move(entry));
    bytes_ += size;
    return true;
}

void KeptTextures::clear() {
    entries_.clear();
    lastDelivered_.clear();
    recency_.clear();
    bytes_ = 0;
}

} // namespace kvengine
