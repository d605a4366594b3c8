#include "framework/render/RendererImpl.h"

#include "framework/description/PackageDesc.h"
#include "framework/render/RenderJob.h"

#include <stdexcept>

namespace SubstanceAir {

RendererImpl::RendererImpl() {
    // A failure leaves the context null, and every run then does nothing.
    substanceLinkerContextInit(&linkerContext, SubstanceApiVersion, SubstanceCpuEngineId);
}

RendererImpl::~RendererImpl() {
    states.clear();
    if (engineContext != nullptr) {
        substanceContextRelease(engineContext);
    }
    if (linkerContext != nullptr) {
        substanceLinkerContextRelease(linkerContext);
    }
}

void RendererImpl::registerPackage(PackageDesc& package) {
    boost::mutex::scoped_lock lock(registryMutex);
    packages.insert(std::make_pair(package.asmUid(), &package));
}

void RendererImpl::unregisterPackage(unsigned int uid) {
    boost::mutex::scoped_lock lock(registryMutex);
    packages.erase(uid);
}

void RendererImpl::pushJob(std::unique_ptr<RenderJob> job) {
    for (const std::unique_ptr<RenderState>& state : states) {
        if (state->matches(*job)) {
            state->push(std::move(job));
            return;
        }
    }
    states.emplace_back(new RenderState);
    states.back()->push(std::move(job));
}

void RendererImpl::updateStateKey(uint64_t graphIdentity, const KeyBytes&, const KeyBytes& newKey) {
    for (const std::unique_ptr<RenderState>& state : states) {
        if (state->graphs.size() == 1 && state->graphs.count(graphIdentity) != 0) {
            if (state->keys.empty()) {
                // A state gets its first key together with its first graph.
                throw std::out_of_range("invalid vector<T> subscript");
            }
            state->keys.front().bytes = newKey;
            return;
        }
    }
}

} // namespace SubstanceAir
