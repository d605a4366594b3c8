// Converted textures kept for outputs asked for again unchanged. Hosts that
// render every output they show on each request (a batch of seeds, a viewer,
// a script calling render twice) would otherwise convert and mip an output
// that did not change: at 2048 that costs more than the nodes that did.
//
// A texture is kept only once its output is delivered twice in a row under
// the same key: the first conversion after a change is not copied, nor are
// those of a host flipping between two cached values, so an edit pays
// nothing for a reuse that may never come. One texture per output slot;
// past the byte budget the least recently used goes.
#pragma once

#include "engine/nodes/PixelMemory.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <unordered_map>

namespace kvengine {

class KeptTextures {
public:
    // Shared, so that a render holding a texture it found keeps it alive even
    // when keeping another one drops it from the store meanwhile.
    struct Texture {
        std::shared_ptr<const void> bytes;
        size_t size = 0;
    };

    // The texture kept for slot under key; bytes is null when there is none.
    Texture find(uint64_t slot, uint64_t key);
    // Notes that slot's texture was delivered under key; true when the one
    // delivered before it had the same key (worth keeping).
    bool delivered(uint64_t slot, uint64_t key);
    // Keeps a copy of a texture just delivered for slot under key, within
    // budgetBytes over every slot; false when it does not fit or memory is short.
    bool keep(uint64_t slot, uint64_t key, const void* bytes, size_t size, size_t budgetBytes);
    void clear();

    size_t bytes() const { return bytes_; }

private:
    struct Entry {
        uint64_t key = 0;
        std::shared_ptr<const void> pixels;
        size_t size = 0;
        std::list<uint64_t>::iterator recency;
    };
    void drop(std::unordered_map<uint64_t, Entry>::iterator entry);

    size_t bytes_ = 0;
    std::list<uint64_t> recency_; // slots, most recent first
    std::unordered_map<uint64_t, Entry> entries_;
    std::unordered_map<uint64_t, uint64_t> lastDelivered_; // slot -> key
};

} // namespace kvengine
