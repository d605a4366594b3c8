#include "framework/render/RenderState.h"

#include "framework/render/RenderJob.h"

#include <algorithm>

namespace SubstanceAir {

RenderState::RenderState() = default;

RenderState::~RenderState() {
    if (handle != nullptr) {
        substanceHandleRelease(handle);
    }
    if (failedLink != nullptr) {
        substanceLinkerHandleRelease(failedLink);
    }
}

bool RenderState::matches(const RenderJob& job) const {
    if (keys.empty()) {
        return true;
    }
    return job.packageUid == keys.front().packageUid && job.keyBytes == keys.front().bytes;
}

bool RenderState::push(std::unique_ptr<RenderJob> job) {
    if (!matches(*job)) {
        return false;
    }
    graphs.insert(job->graphIdentity);
    StateKey key;
    key.packageUid = job->packageUid;
    key.bytes = job->keyBytes;
    if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
        keys.push_back(std::move(key));
    }
    job->sortByUid();
    const auto samePackage =
        std::find_if(pending.begin(), pending.end(), [&](const std::unique_ptr<RenderJob>& waiting) {
            return waiting->packageUid == job->packageUid;
        });
    if (samePackage != pending.end()) {
        (*samePackage)->mergeNewer(*job);
    } else {
        pending.push_back(std::move(job));
    }
    return true;
}

} // namespace SubstanceAir
