// The process-wide rendering objects, created on first use and destroyed at
// process exit (the renderer before the mutexes).
#pragma once

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include <memory>
#include <vector>

namespace SubstanceAir {

class PackageDesc;
class RendererImpl;

struct RenderGlobals {
    // Guards `renderer`, every renderer operation but the run itself, and
    // the two flags; taken through RendererAccess.
    boost::mutex rendererMutex;
    // The one renderer, created by the first RendererAccess.
    std::unique_ptr<RendererImpl> renderer;
    // A render was requested and has not finished.
    bool pending = false;
    // The render thread is to keep running.
    bool running = false;
    // The render thread waits on `wake` for a request or a stop; callers
    // wait on `done` for the request to finish.
    boost::condition_variable wake;
    boost::condition_variable done;
    boost::thread worker;
    // Guards the result queues of all output instances, held for one push or pop.
    boost::mutex resultMutex;
    // Packages and stacks the library made on a host's behalf, in creation
    // order; destroyed at exit, newest first, before the renderer.
    std::vector<std::unique_ptr<PackageDesc>> keptPackages;

    ~RenderGlobals();
};

RenderGlobals& renderGlobals();

} // namespace SubstanceAir
