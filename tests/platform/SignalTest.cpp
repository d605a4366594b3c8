#include "platform/base/Signal.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace {

using kvRTB::FunctionVoidMember;
using kvRTB::SignalBase;

// A listener with its own receiver-tracking signal, as model entities have.
struct Listener {
    explicit Listener(std::string* out = nullptr, char letter = '.') : log(out), mark(letter) {}
    void onSignal() {
        ++calls;
        if (log)
            *log += mark;
        if (onCall)
            onCall();
    }
    void connectTo(SignalBase& signal) {
        signal.connect(std::make_unique<FunctionVoidMember<Listener>>(this, &Listener::onSignal), &tracking);
    }
    std::string* log;
    char mark;
    int calls = 0;
    std::function<void()> onCall;
    SignalBase tracking;
};

TEST(Signal, CallsInConnectionOrder) {
    std::string log;
    Listener a(&log, 'a'), b(&log, 'b'), c(&log, 'c');
    SignalBase signal;
    a.connectTo(signal);
    b.connectTo(signal);
    c.connectTo(signal);
    signal.emit();
    signal.emit();
    EXPECT_EQ(log, "abcabc");
    EXPECT_EQ(signal.connectionCount(), 3u);
}

TEST(Signal, ReceiverDyingFirstDropsItsConnection) {
    SignalBase signal;
    Listener survivor;
    survivor.connectTo(signal);
    {
        Listener dying;
        dying.connectTo(signal);
        EXPECT_EQ(signal.connectionCount(), 2u);
    }
    EXPECT_EQ(signal.connectionCount(), 1u);
    signal.emit(); // would touch the dead listener if still connected
    EXPECT_EQ(survivor.calls, 1);
}

TEST(Signal, SignalDyingFirstLeavesReceiverUsable) {
    Listener listener;
    {
        SignalBase first;
        listener.connectTo(first);
    }
    SignalBase second;
    listener.connectTo(second);
    second.emit();
    EXPECT_EQ(listener.calls, 1);
}

TEST(Signal, ReceiverDisconnectingDuringEmissionStopsOnlyItself) {
    std::string log;
    Listener a(&log, 'a'), b(&log, 'b'), c(&log, 'c');
    SignalBase signal;
    a.connectTo(signal);
    b.connectTo(signal);
    c.connectTo(signal);
    b.onCall = [&] { signal.disconnect(&b); };
    signal.emit();
    signal.emit();
    EXPECT_EQ(log, "abcac");
}

TEST(Signal, ListenerDestroyedDuringEmissionIsSkippedAndNextStillRuns) {
    std::string log;
    Listener a(&log, 'a'), c(&log, 'c');
    auto b = std::make_unique<Listener>(&log, 'b');
    SignalBase signal;
    a.connectTo(signal);
    b->connectTo(signal);
    c.connectTo(signal);
    a.onCall = [&] { b.reset(); };
    signal.emit();
    EXPECT_EQ(log, "ac");
    EXPECT_EQ(signal.connectionCount(), 2u);
}

TEST(Signal, BlockedConnectionsArePassedOver) {
    Listener a, b;
    SignalBase signal;
    a.connectTo(signal);
    b.connectTo(signal);
    signal.setBlocked(&a, true);
    signal.emit();
    EXPECT_EQ(a.calls, 0);
    EXPECT_EQ(b.calls, 1);
    signal.setBlocked(&a, false);
    signal.emit();
    EXPECT_EQ(a.calls, 1);
}

TEST(Signal, ConnectionWithoutReceiverLivesWithTheSignal) {
    Listener a;
    SignalBase signal;
    signal.connect(std::make_unique<FunctionVoidMember<Listener>>(&a, &Listener::onSignal), nullptr);
    signal.connect(nullptr, nullptr);
    EXPECT_EQ(signal.connectionCount(), 1u);
    signal.emit();
    EXPECT_EQ(a.calls, 1);
    signal.disconnect(&a);
    EXPECT_EQ(signal.connectionCount(), 0u);
}

// One thread emits while another keeps connecting listeners and destroying
// them; no callback may run on a destroyed listener.
TEST(SignalThreads, EmittingWhileReceiversComeAndGo) {
    SignalBase signal;
    Listener stable;
    stable.connectTo(signal);
    std::atomic<bool> done{false};
    std::thread emitter([&] {
        // At least one emission, however late the thread is scheduled.
        do
            signal.emit();
        while (!done);
    });
    for (int i = 0; i < 300; ++i) {
        auto transient = std::make_unique<Listener>();
        transient->connectTo(signal);
        std::this_thread::yield();
        transient.reset();
    }
    done = true;
    emitter.join();
    EXPECT_EQ(signal.connectionCount(), 1u);
    EXPECT_GT(stable.calls, 0);
}

} // namespace
