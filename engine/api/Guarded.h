// Runs the body of a C interface call so that no exception crosses the C
// boundary, and keeps the reason of every failure for kvengineLastFailure
// (FailureReason.h): an allocation failure becomes OutOfMemory, anything else
// a data error.
#pragma once

#include "engine/status/Status.h"
#include "platform/engine/EngineTypes.h"

#include <exception>
#include <new>
#include <string>

namespace kvengine {

// Keeps the reason of a failed status and returns its code; Ok passes
// through untouched. Never throws: a reason that cannot be copied is replaced
// by a fixed one.
int report(const Status& status) noexcept;
// The same for a fixed reason (a string literal), usable before anything is allocated.
int refuse(SubstanceStatus code, const char* reason) noexcept;
// "<call>: <what>", or `call` alone (a literal) when even that cannot be allocated.
int refuse(SubstanceStatus code, const char* call, const char* what) noexcept;

// `call` names the interface function in reasons, e.g. "linker: substanceLinkerHandleLink".
template <typename Body>
int guarded(const char* call, Body&& body) noexcept {
    try {
        return report(body());
    } catch (const std::bad_alloc&) {
        return refuse(SubstanceStatus_OutOfMemory, call, "out of memory");
    } catch (const std::exception& error) {
        return refuse(SubstanceStatus_InvalidData, call, error.what());
    } catch (...) {
        return refuse(SubstanceStatus_InvalidData, call, "unexpected failure");
    }
}

// "<call>: " followed by what what() formats, built inside the guard.
template <typename What>
int refuseWith(SubstanceStatus code, const char* call, What&& what) noexcept {
    return guarded(call, [&]() -> Status { return {code, std::string(call) + ": " + what()}; });
}

} // namespace kvengine
