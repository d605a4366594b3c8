// Node results kept between renders, so that changing one input recomputes
// only what lies downstream of it. Keyed by a hash of everything that decides
// a result (the node's kind, its normalised parameters, the render size, the
// seed when the kind reads it, and its inputs' keys).
//
// The cache holds an eighth more than one complete render of every graph at
// its current size (within a hard cap): enough that a tweak never recomputes
// what it did not change, little enough that the resident size stays close
// to that of one render however long a host keeps editing. When room is
// needed, a node's superseded result goes first, then the least recently
// used; dropped buffers return to the recycled pixel memory for the results
// that replace them.
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
    explicit ImageCache(size_t capBytes) : cap_(capBytes) {}

    // Bytes one complete render of a graph takes at its current size.
    void setWorkingSet(uint32_t graph, size_t bytes);
    size_t budget() const;

    // The result stored under key, or null; a hit becomes the most recent entry.
    std::shared_ptr<const Image> find(uint64_t key);
    // Before a node's new result is allocated (slot names the graph and the
    // node): drops entries until bytes more fit the budget, the node's
    // previous result first.
    void makeRoom(uint64_t slot, size_t bytes);
    // Stores the node's new result unless it alone exceeds the budget.
    void insert(uint64_t key, uint64_t slot, std::shared_ptr<const Image> image);
    void clear();

    size_t bytes() const { return bytes_; }

private:
    struct Entry {
        std::shared_ptr<const Image> image;
        std::list<uint64_t>::iterator recency;
    };
    void dropUntilFits(size_t bytes);

    size_t cap_;
    size_t bytes_ = 0;
    std::unordered_map<uint32_t, size_t> workingSets_; // by graph
    std::list<uint64_t> recency_;                      // most recent first
    std::unordered_map<uint64_t, Entry> entries_;
    std::unordered_map<uint64_t, uint64_t> latest_; // slot -> key of its latest result
};

} // namespace kvengine
