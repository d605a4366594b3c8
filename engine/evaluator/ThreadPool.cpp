#include "engine/evaluator/ThreadPool.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <condition_variable>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace kvengine {

namespace {
constexpr unsigned kMaxThreads = 256;
constexpr int kChunksPerThread = 4; // enough to balance uneven rows, few enough to stay cheap

// KV_ENGINE_THREADS when it is a whole number from 1 up (a process that runs
// one render per core, like a batch worker, sets 1); else one per hardware thread.
unsigned defaultThreads() {
    const char* wanted = std::getenv("KV_ENGINE_THREADS");
    if (wanted != nullptr && std::isdigit(static_cast<unsigned char>(wanted[0]))) {
        char* end = nullptr;
        const unsigned long threads = std::strtoul(wanted, &end, 10);
        if (*end == '\0' && threads >= 1)
            return static_cast<unsigned>(std::min<unsigned long>(threads, kMaxThreads));
    }
    return std::max(1u, std::thread::hardware_concurrency());
}
} // namespace

struct ThreadPool::State {
    std::mutex mutex;
    std::condition_variable wake;
    std::condition_variable done;
    std::vector<std::thread> workers;
    bool stopping = false;
    uint64_t generation = 0;
    // Workers inside the run in progress. The caller waits for these alone:
    // a worker that wakes after every chunk was taken stays out, so a
    // worker not yet scheduled (the other core busy) never holds up a run.
    unsigned activeWorkers = 0;

    // The run in progress.
    const std::function<void(int, int)>* body = nullptr;
    int count = 0;
    int chunkSize = 1;
    int chunkCount = 0;
    std::atomic<int> nextChunk{0};
    std::exception_ptr error;

    void work() {
        for (int chunk = nextChunk.fetch_add(1); chunk < chunkCount; chunk = nextChunk.fetch_add(1)) {
            const int begin = chunk * chunkSize;
            const int end = std::min(count, begin + chunkSize);
            try {
                (*body)(begin, end);
            } catch (...) {
                std::lock_guard<std::mutex> lock(mutex);
                if (!error)
                    error = std::current_exception();
            }
        }
    }

    void workerLoop() {
        uint64_t seen = 0;
        for (;;) {
            {
                std::unique_lock<std::mutex> lock(mutex);
                wake.wait(lock, [&] { return stopping || generation != seen; });
                if (stopping)
                    return;
                seen = generation;
                // The run's state changes only while no worker is inside it,
                // and a run whose chunks are all taken needs nobody more.
                if (nextChunk.load() >= chunkCount)
                    continue;
                ++activeWorkers;
            }
            work();
            std::lock_guard<std::mutex> lock(mutex);
            if (--activeWorkers == 0)
                done.notify_one();
        }
    }
};

ThreadPool::ThreadPool(unsigned threads) : state_(std::make_unique<State>()) {
    if (threads == 0)
        threads = defaultThreads();
    threads = std::min(threads, kMaxThreads);
    for (unsigned i = 1; i < threads; ++i)
        state_->workers.emplace_back([state = state_.get()] { state->workerLoop(); });
}

ThreadPool::~ThreadPool() {
    {
        std::lock_guard<std::mutex> lock(state_->mutex);
        state_->stopping = true;
    }
    state_->wake.notify_all();
    for (std::thread& worker : state_->workers)
        worker.join();
}

unsigned ThreadPool::threadCount() const {
    return static_cast<unsigned>(state_->workers.size()) + 1;
}

void ThreadPool::run(int count, const std::function<void(int, int)>& body) const {
    if (count <= 0)
        return;
    State& s = *state_;
    if (s.workers.empty() || count == 1) {
        body(0, count);
        return;
    }
    {
        std::lock_guard<std::mutex> lock(s.mutex);
        const int wanted = static_cast<int>(threadCount()) * kChunksPerThread;
        s.body = &body;
        s.count = count;
        s.chunkSize = (count + wanted - 1) / wanted;
        s.chunkCount = (count + s.chunkSize - 1) / s.chunkSize;
        s.nextChunk = 0;
        s.error = nullptr;
        ++s.generation;
    }
    s.wake.notify_all();
    s.work();
    std::exception_ptr error;
    {
        std::unique_lock<std::mutex> lock(s.mutex);
        s.done.wait(lock, [&] { return s.activeWorkers == 0; });
        s.body = nullptr;
        error = s.error;
        s.error = nullptr;
    }
    if (error)
        std::rethrow_exception(error);
}

} // namespace kvengine
