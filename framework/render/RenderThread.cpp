#include "framework/render/RenderThread.h"

#include "framework/render/RenderGlobals.h"
#include "framework/render/RendererImpl.h"

namespace SubstanceAir {

namespace {

void renderThreadLoop() {
    RenderGlobals& globals = renderGlobals();
    for (;;) {
        boost::mutex::scoped_lock lock(globals.rendererMutex);
        while (!globals.pending && globals.running) {
            globals.wake.wait(lock);
        }
        if (!globals.running) {
            return;
        }
        RendererImpl* renderer = globals.renderer.get();
        lock.unlock();
        if (renderer != nullptr) {
            renderer->runAll();
        }
        lock.lock();
        // Cleared without a second run even if a request came in meanwhile.
        globals.pending = false;
        globals.done.notify_one();
    }
}

} // namespace

void startRenderThread() {
    RenderGlobals& globals = renderGlobals();
    boost::mutex::scoped_lock lock(globals.rendererMutex);
    globals.running = true;
    globals.worker = boost::thread(&renderThreadLoop);
}

void requestRender() {
    RenderGlobals& globals = renderGlobals();
    boost::mutex::scoped_lock lock(globals.rendererMutex);
    globals.pending = true;
    globals.wake.notify_one();
}

void waitRenderDone() {
    RenderGlobals& globals = renderGlobals();
    boost::mutex::scoped_lock lock(globals.rendererMutex);
    while (globals.pending) {
        globals.done.wait(lock);
    }
}

void stopRenderThread() {
    RenderGlobals& globals = renderGlobals();
    {
        boost::mutex::scoped_lock lock(globals.rendererMutex);
        globals.running = false;
        globals.wake.notify_one();
    }
    if (globals.worker.joinable()) {
        globals.worker.join();
    }
}

} // namespace SubstanceAir
