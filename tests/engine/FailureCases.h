// Tables of failing calls of the C interface: each case makes one call that
// must fail with a given status and leave a reason (FailureReason.h) naming
// the place, in the manner of the compiler's EachFaultNamesItsPlace.
#pragma once

#include "platform/engine/EngineInterface.h"

#include <functional>
#include <string>
#include <vector>

namespace kvtest {

struct FailureCase {
    const char* name;
    std::function<int()> call;
    int status;
    std::string reason; // part of the reason: the place and what is wrong there
};

// Runs every case after clearing the last failure; the reason must be one
// line, begin with the layer that refused ("linker: ", "engine: ",
// "assembly: ", "package: ") and contain the case's text.
void expectEachFaultNamesItsPlace(const std::vector<FailureCase>& cases);

// An engine context and a handle loaded with a linked assembly (asserted),
// released in that order at the end.
class EngineScene {
public:
    explicit EngineScene(const std::vector<char>& assembly);
    ~EngineScene();
    EngineScene(const EngineScene&) = delete;
    EngineScene& operator=(const EngineScene&) = delete;

    SubstanceContext* context = nullptr;
    SubstanceHandle* handle = nullptr;
};

} // namespace kvtest
