#include "framework/render/OutputInstance.h"

#include "framework/render/RenderGlobals.h"

namespace SubstanceAir {

OutputInstance::OutputInstance(const OutputDesc& desc) : mDesc(&desc) {}

OutputInstance::~OutputInstance() = default;

std::unique_ptr<RenderResult> OutputInstance::grabResult() {
    std::unique_ptr<RenderResult> result;
    boost::mutex::scoped_lock lock(renderGlobals().resultMutex);
    if (!mResults.empty()) {
        result = std::move(mResults.front());
        mResults.pop_front();
    }
    return result;
}

void OutputInstance::pushResult(std::unique_ptr<RenderResult> result) {
    std::unique_ptr<RenderResult> dropped;
    boost::mutex::scoped_lock lock(renderGlobals().resultMutex);
    mResults.push_back(std::move(result));
    if (mResults.size() > kMaxQueuedResults) {
        // Freed after the lock is released; freeing takes the engine's own lock.
        dropped = std::move(mResults.front());
        mResults.pop_front();
    }
}

} // namespace SubstanceAir
