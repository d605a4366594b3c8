// Runs the body of a C interface call so that no exception crosses the C
// boundary: an allocation failure becomes OutOfMemory, anything else a data error.
#pragma once

#include "platform/engine/EngineTypes.h"

#include <new>

namespace kvengine {

template <typename Call>
int guarded(Call&& call) noexcept {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        return SubstanceStatus_OutOfMemory;
    } catch (...) {
        return SubstanceStatus_InvalidData;
    }
}

} // namespace kvengine
