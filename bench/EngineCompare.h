// The engine's side of kv_gegl_compare: each row's graph built with the
// tests' assembly builder and rendered on kCompareThreads threads.
#pragma once

#include "CompareImage.h"
#include "CompareWork.h"

#include "platform/engine/EngineInterface.h"

namespace kvbench {

class EngineCompare {
public:
    EngineCompare();
    ~EngineCompare();
    EngineCompare(const EngineCompare&) = delete;
    EngineCompare& operator=(const EngineCompare&) = delete;

    // Renders the work once into float texels. Every render loads a fresh
    // handle, so nothing comes from the engine's cache; loading it is not
    // timed, as building GEGL's graph is not.
    CompareRender render(const CompareRow& row) const;

private:
    SubstanceContext* context_ = nullptr;
};

} // namespace kvbench
