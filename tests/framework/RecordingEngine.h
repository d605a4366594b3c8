// A stand-in for the engine half of the C interface (EngineInterface.h), for
// renderer tests that link it instead of the real engine. It reads a linked
// assembly only to learn its inputs and outputs, records every init, push and
// start in one process-wide log, and on start hands each queued output back
// through the output-completed callback with a tiny texture of its own.
#pragma once

#include "platform/engine/EngineInterface.h"

#include <cstddef>
#include <functional>
#include <thread>
#include <vector>

namespace kvtest {

struct EngineCall {
    enum Kind { Init, SetInput, Outputs, Start };
    Kind kind = Init;
    SubstanceHandle* handle = nullptr;
    unsigned int flags = 0;
    // SetInput: the engine index, the type and the value's bytes (for an
    // image input, the bytes of the texture-input record's address).
    unsigned int index = 0;
    unsigned int type = 0;
    std::vector<unsigned char> value;
    // Outputs: the uids (or indices) and the job's user data.
    std::vector<unsigned int> outputs;
    size_t job = 0;
};

// Clears the log and every switch below.
void resetEngine();
// The calls made since the last reset, in order; with a kind, only those.
std::vector<EngineCall> engineCalls();
std::vector<EngineCall> engineCalls(EngineCall::Kind kind);

// When on, a start delivers its outputs from a thread of its own (joined
// before the start returns), as an engine with worker threads may.
void setDeliveryOnThread(bool onThread);
// Runs inside every start, before the deliveries, on the caller's thread.
void setStartHook(std::function<void(SubstanceHandle*)> hook);
// The threads that ran the output-completed callback since the last reset.
std::vector<std::thread::id> deliveryThreads();

// Makes a texture for the output with this uid and calls the callback, as a
// start does for every output queued. False when the handle has no such output.
bool deliverOutput(SubstanceHandle* handle, unsigned int outputUid, size_t job);

// Textures handed out and not yet freed (with substanceContextMemoryFree or
// the release of the handle that still held them).
long liveTextures();

// Every texture is 2 x 2 RGBA8 with every byte the low byte of its output's uid.
constexpr unsigned char textureByte(unsigned int outputUid) {
    return static_cast<unsigned char>(outputUid & 0xFF);
}

} // namespace kvtest
