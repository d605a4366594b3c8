// Signals of the host base library.
//
// A kvRTB::SignalBase holds an ordered list of connections; emit() calls each
// connection's callback in connection order. A connection can name a
// receiver: another SignalBase that stands for the lifetime of the callback's
// object. When either the signal or the receiver is destroyed, the connection
// is dropped, so a callback never runs on a dead object.
//
// Thread safety: connecting, disconnecting and destruction may happen on any
// thread while another thread emits. Each connection has its own lock, held
// while its callback runs; dropping a connection waits until a callback that
// is running on another thread has returned. A callback may disconnect or
// destroy its own connection, signal or receiver.
#pragma once

#include <cstddef>
#include <memory>
#include <unordered_set>
#include <vector>

namespace kvRTB {

// A callable bound to one object.
class FunctionBase {
public:
    virtual ~FunctionBase() = default;
    // Whether the callback is bound to object.
    virtual bool isBoundTo(const void* object) const = 0;
    virtual void invoke() = 0;
};

// A callback that calls a member function without arguments on an object.
template <class T>
class FunctionVoidMember final : public FunctionBase {
public:
    using Member = void (T::*)();
    FunctionVoidMember(T* object, Member member) : m_object(object), m_member(member) {}
    bool isBoundTo(const void* object) const override { return object == m_object; }
    void invoke() override { (m_object->*m_member)(); }

private:
    T* m_object;
    Member m_member;
};

class SignalBase {
public:
    SignalBase() = default;
    SignalBase(const SignalBase&) = delete;
    SignalBase& operator=(const SignalBase&) = delete;
    // Drops every connection of this signal and every connection for which it
    // is the receiver.
    ~SignalBase();

    // Appends a connection. receiver may be null (the connection then lives as
    // long as the signal) or the signal that tracks the callback's object.
    void connect(std::unique_ptr<FunctionBase> callback, SignalBase* receiver);

    // Calls the callbacks in connection order. Each connection is locked while
    // its callback runs; a connection that is blocked or has been dropped is
    // passed over. Connections added during the emission may or may not be
    // reached.
    void emit();

    // Drops the connections whose callback is bound to object.
    void disconnect(const void* object);
    // Blocks or unblocks the connections whose callback is bound to object.
    void setBlocked(const void* object, bool blocked);

    // Number of live connections of this signal.
    std::size_t connectionCount() const;

private:
    struct Connection;
    using ConnectionPtr = std::shared_ptr<Connection>;

    static void waitForRunningCallbacks(const std::vector<ConnectionPtr>& dropped);

    // Unlinks a connection from its sender's list and its receiver's set and
    // marks it removed; the caller holds the topology mutex.
    static void unlinkLocked(const ConnectionPtr& item);

    ConnectionPtr m_head;                         // connection list, in connection order
    Connection* m_tail = nullptr;                 // its last connection
    std::unordered_set<ConnectionPtr> m_received; // connections naming this signal as receiver
};

} // namespace kvRTB
