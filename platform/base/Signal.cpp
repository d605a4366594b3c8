#include "platform/base/Signal.h"

#include <atomic>
#include <mutex>

namespace kvRTB {

// The two inactive marks of a connection: blocked (set and cleared by the
// owner) and removed (set once when the connection is dropped; it stays in
// memory while an emission still walks through it).
struct SignalBase::Connection {
    std::recursive_mutex lock; // held while the callback runs
    std::atomic<bool> blocked{false};
    std::atomic<bool> removed{false};
    std::unique_ptr<FunctionBase> callback;
    // The fields below change only under the topology mutex.
    SignalBase* sender = nullptr;
    SignalBase* receiver = nullptr;
    ConnectionPtr next;         // kept when dropped, so a running emission can go on
    Connection* prev = nullptr; // null for the first connection
};

namespace {

// Guards the shape of every connection list and receiver list. It is never
// held while a callback runs, and it is always taken after a connection lock,
// never before one.
std::mutex& topologyMutex() {
    static std::mutex mutex;
    return mutex;
}

} // namespace

// A dropped connection is never invoked again, but its callback may be running
// on another thread right now; taking its lock once waits for it to return.
// On the thread that runs the callback the lock is recursive and passes.
void SignalBase::waitForRunningCallbacks(const std::vector<ConnectionPtr>& dropped) {
    for (const ConnectionPtr& item : dropped) {
        item->lock.lock();
        item->lock.unlock();
    }
}

void SignalBase::unlinkLocked(const ConnectionPtr& item) {
    item->removed = true;
    if (SignalBase* sender = item->sender) {
        Connection* previous = item->prev;
        Connection* following = item->next.get();
        if (previous)
            previous->next = item->next;
        else
            sender->m_head = item->next;
        if (following)
            following->prev = previous;
        else
            sender->m_tail = previous;
    }
    if (SignalBase* receiver = item->receiver)
        receiver->m_received.erase(item);
    item->sender = nullptr;
    item->receiver = nullptr;
    item->prev = nullptr;
}

SignalBase::~SignalBase() {
    std::vector<ConnectionPtr> dropped;
    {
        std::lock_guard<std::mutex> topology(topologyMutex());
        for (ConnectionPtr item = m_head; item; item = item->next)
            dropped.push_back(item);
        dropped.insert(dropped.end(), m_received.begin(), m_received.end());
        for (const ConnectionPtr& item : dropped)
            if (!item->removed)
                unlinkLocked(item);
    }
    waitForRunningCallbacks(dropped);
}

void SignalBase::connect(std::unique_ptr<FunctionBase> callback, SignalBase* receiver) {
    if (!callback)
        return;
    auto item = std::make_shared<Connection>();
    item->callback = std::move(callback);
    item->sender = this;
    item->receiver = receiver;
    std::lock_guard<std::mutex> topology(topologyMutex());
    item->prev = m_tail;
    if (m_tail)
        m_tail->next = item;
    else
        m_head = item;
    m_tail = item.get();
    if (receiver)
        receiver->m_received.insert(item);
}

void SignalBase::emit() {
    ConnectionPtr item;
    {
        std::lock_guard<std::mutex> topology(topologyMutex());
        item = m_head;
    }
    while (item) {
        ConnectionPtr next;
        {
            std::lock_guard<std::recursive_mutex> locked(item->lock);
            if (!item->blocked && !item->removed)
                item->callback->invoke();
            std::lock_guard<std::mutex> topology(topologyMutex());
            next = item->next;
        }
        item = std::move(next);
    }
}

void SignalBase::disconnect(const void* object) {
    std::vector<ConnectionPtr> dropped;
    {
        std::lock_guard<std::mutex> topology(topologyMutex());
        for (ConnectionPtr item = m_head; item; item = item->next)
            if (item->callback->isBoundTo(object))
                dropped.push_back(item);
        for (const ConnectionPtr& item : dropped)
            unlinkLocked(item);
    }
    waitForRunningCallbacks(dropped);
}

void SignalBase::setBlocked(const void* object, bool blocked) {
    std::lock_guard<std::mutex> topology(topologyMutex());
    for (Connection* item = m_head.get(); item; item = item->next.get())
        if (item->callback->isBoundTo(object))
            item->blocked = blocked;
}

std::size_t SignalBase::connectionCount() const {
    std::lock_guard<std::mutex> topology(topologyMutex());
    std::size_t count = 0;
    for (const Connection* item = m_head.get(); item; item = item->next.get())
        ++count;
    return count;
}

} // namespace kvRTB
