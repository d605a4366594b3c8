#include "framework/render/RenderBudget.h"

#include <boost/thread/mutex.hpp>

namespace SubstanceAir {

namespace {

// Set by host threads, read on the render thread.
struct SharedBudget {
    boost::mutex mutex;
    RenderBudget budget;
};

SharedBudget& shared() {
    static SharedBudget instance;
    return instance;
}

} // namespace

bool operator==(const RenderBudget& a, const RenderBudget& b) {
    return a.maxTextureSide == b.maxTextureSide && a.maxRenderBytes == b.maxRenderBytes;
}

void setRenderBudget(const RenderBudget& budget) {
    boost::mutex::scoped_lock lock(shared().mutex);
    shared().budget = budget;
}

RenderBudget renderBudget() {
    boost::mutex::scoped_lock lock(shared().mutex);
    return shared().budget;
}

} // namespace SubstanceAir
