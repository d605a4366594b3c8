#include "engine/evaluator/BufferPool.h"

#include <map>
#include <mutex>
#include <new>

namespace kvengine {

struct BufferPool::State {
    std::mutex mutex;
    std::multimap<size_t, PixelBuffer> free; // by size in floats
    size_t bytes = 0;
    size_t budget = 0;

    PixelBuffer take(size_t floats) {
        std::lock_guard<std::mutex> lock(mutex);
        auto it = free.find(floats);
        if (it == free.end())
            return nullptr;
        PixelBuffer buffer = std::move(it->second);
        free.erase(it);
        bytes -= floats * sizeof(float);
        return buffer;
    }

    void give(PixelBuffer buffer, size_t floats) noexcept {
        std::lock_guard<std::mutex> lock(mutex);
        if (bytes + floats * sizeof(float) > budget)
            return; // over budget: the buffer is simply freed
        try {
            free.emplace(floats, std::move(buffer));
            bytes += floats * sizeof(float);
        } catch (...) {
            // Runs in a deleter: losing the buffer is fine, throwing is not.
        }
    }
};

BufferPool::BufferPool(size_t budgetBytes) : state_(std::make_shared<State>()) {
    state_->budget = budgetBytes;
}
BufferPool::~BufferPool() = default;

std::shared_ptr<Image> BufferPool::make(int width, int height, int channels) {
    const size_t floats = Image::bytesFor(width, height, channels) / sizeof(float);
    PixelBuffer buffer = state_->take(floats);
    if (!buffer)
        buffer.reset(static_cast<float*>(allocatePixelMemory(floats * sizeof(float))));
    if (!buffer)
        throw std::bad_alloc();
    std::shared_ptr<State> state = state_;
    return std::shared_ptr<Image>(new Image(width, height, channels, std::move(buffer)),
                                  [state, floats](Image* image) {
                                      state->give(image->releaseBuffer(), floats);
                                      delete image;
                                  });
}

} // namespace kvengine
