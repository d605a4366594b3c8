#include "framework/render/RenderGlobals.h"

#include "framework/render/RendererImpl.h"

namespace SubstanceAir {

RenderGlobals::~RenderGlobals() = default;

RenderGlobals& renderGlobals() {
    static RenderGlobals globals;
    return globals;
}

} // namespace SubstanceAir
