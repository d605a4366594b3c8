#include "framework/render/RenderQueue.h"

#include "framework/render/RenderThread.h"
#include "framework/render/RendererAccess.h"
#include "framework/render/RendererImpl.h"

namespace SubstanceAir {

namespace {

// There is one render thread and one pair of request flags in the process.
boost::mutex& requestMutex() {
    static boost::mutex mutex;
    return mutex;
}

} // namespace

RenderQueue::RenderQueue() : mRequestLock(requestMutex()) {
    startRenderThread();
}

RenderQueue::~RenderQueue() {
    stopRenderThread();
    mJobs.clear();
}

void RenderQueue::push(GraphInstance& graph) {
    if (std::unique_ptr<RenderJob> job = makeRenderJob(graph)) {
        mJobs.push_back(std::move(job));
    }
}

void RenderQueue::run() {
    {
        RendererAccess access;
        for (std::unique_ptr<RenderJob>& job : mJobs) {
            access->pushJob(std::move(job));
        }
    }
    mJobs.clear();
    requestRender();
    waitRenderDone();
}

} // namespace SubstanceAir
