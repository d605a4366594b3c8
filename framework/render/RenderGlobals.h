// The process-wide rendering objects, created on first use and destroyed at
// process exit (the renderer before the mutexes).
#pragma once

#include <boost/thread/mutex.hpp>

#include <memory>

namespace SubstanceAir {

class RendererImpl;

struct RenderGlobals {
    // Guards `renderer` and every renderer operation; taken through RendererAccess.
    boost::mutex rendererMutex;
    // The one renderer, created by the first RendererAccess.
    std::unique_ptr<RendererImpl> renderer;
    // Guards the result queues of all output instances, held for one push or pop.
    boost::mutex resultMutex;

    ~RenderGlobals();
};

RenderGlobals& renderGlobals();

} // namespace SubstanceAir
