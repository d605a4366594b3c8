#include "engine/evaluator/ImageCache.h"

#include "engine/nodes/PixelMemory.h"

#include <algorithm>

namespace kvengine {

void ImageCache::setWorkingSet(uint32_t graph, size_t bytes) {
    workingSets_[graph] = bytes;
    keepFreePixelsFor(budget());
}

size_t ImageCache::budget() const {
    size_t total = 0;
    for (const auto& [graph, bytes] : workingSets_)
        total += bytes;
    return std::min(cap_, total + total / 8);
}

std::shared_ptr<const Image> ImageCache::find(uint64_t key) {
    auto it = entries_.find(key);
    if (it == entries_.end())
        return nullptr;
    recency_.splice(recency_.begin(), recency_, it->second.recency);
    return it->second.image;
}

void ImageCache::dropUntilFits(size_t bytes) {
    const size_t limit = budget();
    while (!recency_.empty() && bytes_ + bytes > limit) {
        auto oldest = entries_.find(recency_.back());
        bytes_ -= oldest->second.image->byteSize();
        entries_.erase(oldest);
        recency_.pop_back();
    }
}

void ImageCache::makeRoom(uint64_t slot, size_t bytes) {
    auto previous = latest_.find(slot);
    if (previous != latest_.end()) {
        auto superseded = entries_.find(previous->second);
        if (superseded != entries_.end())
            recency_.splice(recency_.end(), recency_, superseded->second.recency);
    }
    dropUntilFits(bytes);
}

void ImageCache::insert(uint64_t key, uint64_t slot, std::shared_ptr<const Image> image) {
    const size_t size = image->byteSize();
    if (size > budget() || entries_.count(key))
        return;
    latest_[slot] = key;
    dropUntilFits(size);
    recency_.push_front(key);
    entries_.emplace(key, Entry{std::move(image), recency_.begin()});
    bytes_ += size;
}

void ImageCache::clear() {
    entries_.clear();
    recency_.clear();
    latest_.clear();
    bytes_ = 0;
}

} // namespace kvengine
