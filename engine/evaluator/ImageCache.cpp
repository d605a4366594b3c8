#include "engine/evaluator/ImageCache.h"

namespace kvengine {

std::shared_ptr<const Image> ImageCache::find(uint64_t key) {
    auto it = entries_.find(key);
    if (it == entries_.end())
        return nullptr;
    recency_.splice(recency_.begin(), recency_, it->second.recency);
    return it->second.image;
}

void ImageCache::insert(uint64_t key, std::shared_ptr<const Image> image) {
    const size_t size = image->byteSize();
    if (size > budget_ || entries_.count(key))
        return;
    while (bytes_ + size > budget_ && !recency_.empty()) {
        auto oldest = entries_.find(recency_.back());
        bytes_ -= oldest->second.image->byteSize();
        entries_.erase(oldest);
        recency_.pop_back();
    }
    recency_.push_front(key);
    entries_.emplace(key, Entry{std::move(image), recency_.begin()});
    bytes_ += size;
}

void ImageCache::clear() {
    entries_.clear();
    recency_.clear();
    bytes_ = 0;
}

} // namespace kvengine
