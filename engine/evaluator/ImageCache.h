// Node results kept between renders, so that changing one input recomputes
// only what lies downstream of it. Keyed by a hash of the node's kind, its
// normalised parameters, the render size and seed, and its inputs' keys.
// Least recently used results are dropped to stay within a byte budget.
#pragma once

#include "engine/nodes/Image.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <unordered_map>

namespace kvengine {

class ImageCache {
public:
    explicit ImageCache(size_t budgetBytes) : budget_(budgetBytes) {}

    // The result stored under key, or null; a hit becomes the most recent entry.
    std::shared_ptr<const Image> find(uint64_t key);
    // Stores a result unless it alone exceeds the budget, dropping old entries as needed.
    void insert(uint64_t key, std::shared_ptr<const Image> image);
    void clear();

private:
    struct Entry {
        std::shared_ptr<const Image> image;
        std::list<uint64_t>::iterator recency;
    };
    size_t budget_;
    size_t bytes_ = 0;
    std::list<uint64_t> recency_; // most recent first
    std::unordered_map<uint64_t, Entry> entries_;
};

} // namespace kvengine
