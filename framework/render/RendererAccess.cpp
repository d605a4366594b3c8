#include "framework/render/RendererAccess.h"

#include "framework/description/PackageRegistry.h"

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

namespace {

// Packages register with the renderer, created on first use.
struct RendererRegistry : PackageRegistry {
    void add(PackageDesc& package) override {
        RendererAccess access;
        access->registerPackage(package);
    }
    void remove(unsigned int uid) override {
        RendererAccess access;
        access->unregisterPackage(uid);
    }
};

RendererRegistry rendererRegistry;
const bool installed = (installPackageRegistry(&rendererRegistry), true);

} // namespace

} // namespace SubstanceAir
