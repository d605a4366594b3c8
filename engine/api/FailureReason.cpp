// The process-wide reason of the last failing call (FailureReason.h). One
// lock guards it: renders fail on worker threads and are explained on others.
// Reasons quote names from the assembly, so they are kept printable: one line,
// whatever the names hold.
#include "engine/api/FailureReason.h"
#include "engine/api/Guarded.h"
#include "platform/base/PrintableText.h"

#include <cstring>
#include <mutex>
#include <string>

namespace kvengine {
namespace {

struct LastFailure {
    std::mutex mutex;
    std::string reason;
    const char* fixed = nullptr; // set instead of reason when copying it failed
};

LastFailure& lastFailureStore() {
    static LastFailure store;
    return store;
}

} // namespace

int report(const Status& status) noexcept {
    if (status.ok())
        return SubstanceStatus_Ok;
    LastFailure& store = lastFailureStore();
    std::lock_guard<std::mutex> lock(store.mutex);
    try {
        store.reason = kvUtil::printable(status.reason());
        store.fixed = nullptr;
    } catch (...) {
        store.reason.clear();
        store.fixed = "engine: out of memory while keeping the reason of a failure";
    }
    return status.code();
}

int refuse(SubstanceStatus code, const char* reason) noexcept {
    LastFailure& store = lastFailureStore();
    std::lock_guard<std::mutex> lock(store.mutex);
    try {
        store.reason = reason;
        store.fixed = nullptr;
    } catch (...) {
        store.reason.clear();
        store.fixed = reason; // a literal: it outlives the store
    }
    return code;
}

int refuse(SubstanceStatus code, const char* call, const char* what) noexcept {
    try {
        return report(Status(code, std::string(call) + ": " + what));
    } catch (...) {
        return refuse(code, call);
    }
}

} // namespace kvengine

extern "C" {

size_t kvengineLastFailure(char* buffer, size_t size) {
    kvengine::LastFailure& store = kvengine::lastFailureStore();
    std::lock_guard<std::mutex> lock(store.mutex);
    const char* reason = store.fixed ? store.fixed : store.reason.c_str();
    const size_t length = store.fixed ? std::strlen(store.fixed) : store.reason.size();
    if (buffer != nullptr && size > 0) {
        const size_t copied = length < size - 1 ? length : size - 1;
        std::memcpy(buffer, reason, copied);
        buffer[copied] = '\0';
    }
    return length;
}

void kvengineClearFailure(void) {
    kvengine::LastFailure& store = kvengine::lastFailureStore();
    std::lock_guard<std::mutex> lock(store.mutex);
    store.reason.clear();
    store.fixed = nullptr;
}

} // extern "C"
