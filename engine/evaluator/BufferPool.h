// Recycles image buffers. Fresh memory costs a page fault per page on first
// touch, which dominates simple nodes; buffers of finished intermediates are
// kept (up to a byte budget) and handed to the next image of the same size.
#pragma once

#include "engine/nodes/Image.h"

#include <cstddef>
#include <memory>

namespace kvengine {

class BufferPool {
public:
    explicit BufferPool(size_t budgetBytes);
    ~BufferPool();
    BufferPool(const BufferPool&) = delete;
    BufferPool& operator=(const BufferPool&) = delete;

    // An uninitialised image whose buffer returns to the pool when the last reference goes.
    std::shared_ptr<Image> make(int width, int height, int channels);

private:
    struct State;
    std::shared_ptr<State> state_; // shared with the images' deleters, so they may outlive the pool
};

} // namespace kvengine
