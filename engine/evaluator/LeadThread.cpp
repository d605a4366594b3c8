#include "engine/evaluator/LeadThread.h"

#include <utility>

namespace kvengine {

LeadThread::LeadThread() : thread_([this] { loop(); }) {}

LeadThread::~LeadThread() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_one();
    thread_.join();
}

void LeadThread::run(const std::function<void()>& task) {
    if (std::this_thread::get_id() == thread_.get_id()) {
        task(); // asked from within a task, as a completion callback may: waiting would never end
        return;
    }
    std::unique_lock<std::mutex> lock(mutex_);
    task_ = &task;
    error_ = nullptr;
    wake_.notify_one();
    done_.wait(lock, [this] { return task_ == nullptr; });
    if (std::exception_ptr error = std::exchange(error_, nullptr))
        std::rethrow_exception(error);
}

void LeadThread::loop() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        wake_.wait(lock, [this] { return stopping_ || task_ != nullptr; });
        if (stopping_)
            return;
        const std::function<void()>* task = task_;
        lock.unlock();
        try {
            (*task)();
        } catch (...) {
            lock.lock();
            error_ = std::current_exception();
            lock.unlock();
        }
        lock.lock();
        task_ = nullptr;
        done_.notify_one();
    }
}

} // namespace kvengine
