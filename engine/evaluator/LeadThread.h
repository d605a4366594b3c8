// A thread the engine keeps for a handle's life, on which each render runs
// while the caller waits. A host that starts a thread per request would
// otherwise have every render's share of the work done by a newly created
// thread, which the scheduler places behind everything already running.
#pragma once

#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

namespace kvengine {

class LeadThread {
public:
    LeadThread();
    ~LeadThread();
    LeadThread(const LeadThread&) = delete;
    LeadThread& operator=(const LeadThread&) = delete;

    // Runs task on the lead thread and returns when it has finished,
    // rethrowing what it threw. One caller at a time; a task that calls run
    // has the inner task run at once.
    void run(const std::function<void()>& task);

private:
    void loop();

    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable done_;
    const std::function<void()>* task_ = nullptr;
    std::exception_ptr error_;
    bool stopping_ = false;
    std::thread thread_; // last, so that it starts after the state it reads
};

} // namespace kvengine
