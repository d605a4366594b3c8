#include "framework/render/RendererAccess.h"

#include "framework/render/RenderGlobals.h"
#include "framework/render/RendererImpl.h"

namespace SubstanceAir {

RendererAccess::RendererAccess() : mLock(renderGlobals().rendererMutex), mRenderer(nullptr) {
    std::unique_ptr<RendererImpl>& renderer = renderGlobals().renderer;
    if (!renderer) {
        renderer.reset(new RendererImpl);
    }
    mRenderer = renderer.get();
}

RendererAccess::~RendererAccess() = default;

} // namespace SubstanceAir
