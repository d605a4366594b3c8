// A fixed pool of worker threads that runs a node's ranges. The calling
// thread works too, so a pool of n threads starts n - 1 workers.
#pragma once

#include "engine/nodes/Parallel.h"

#include <memory>

namespace kvengine {

class ThreadPool final : public Parallel {
public:
    // threads: total threads working on a run, at least 1; 0 means the environment's
    // KV_ENGINE_THREADS when set to a whole number from 1 up, else one per hardware thread.
    explicit ThreadPool(unsigned threads);
    ~ThreadPool() override;
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    unsigned threadCount() const;
    // Splits [0, count) into chunks picked up by every thread; an exception
    // thrown by body is rethrown here once all threads have stopped.
    void run(int count, const std::function<void(int, int)>& body) const override;

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace kvengine
