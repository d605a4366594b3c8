#include "framework/render/RenderGlobals.h"

#include "framework/description/PackageDesc.h"
#include "framework/render/RendererImpl.h"
#include "framework/render/internal/KeptPackages.h"

namespace SubstanceAir {

RenderGlobals::~RenderGlobals() {
    // Each unregisters itself from the renderer, which is still alive; a
    // stack goes before the packages under it.
    std::vector<std::unique_ptr<PackageDesc>> kept;
    {
        boost::mutex::scoped_lock lock(rendererMutex);
        kept.swap(keptPackages);
    }
    while (!kept.empty()) {
        kept.pop_back();
    }
    renderer.reset();
}

RenderGlobals& renderGlobals() {
    static RenderGlobals globals;
    return globals;
}

PackageDesc* keepUntilExit(std::unique_ptr<PackageDesc> package) {
    RenderGlobals& globals = renderGlobals();
    boost::mutex::scoped_lock lock(globals.rendererMutex);
    globals.keptPackages.push_back(std::move(package));
    return globals.keptPackages.back().get();
}

} // namespace SubstanceAir
