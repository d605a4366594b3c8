// RendererImpl's work on the render thread: contexts, linking, loading,
// pushing values and outputs, and the engine's output-completed callback.
#include "framework/description/PackageDesc.h"
#include "framework/render/LiveGraphs.h"
#include "framework/render/OutputInstance.h"
#include "framework/render/RenderJob.h"
#include "framework/render/RendererImpl.h"
#include "platform/engine/LinkerSession.h"

#include <algorithm>
#include <cstring>

namespace SubstanceAir {

namespace {

// Called by the engine, possibly on one of its own threads, for every
// finished output. It reads the job and touches only the output's result
// queue, which has a lock of its own.
void onOutputCompleted(SubstanceHandle* handle, unsigned int outputIndex, size_t jobUserData) {
    const RenderJob* job = reinterpret_cast<const RenderJob*>(jobUserData);
    SubstanceOutputDesc desc;
    if (job == nullptr || substanceHandleGetOutputDesc(handle, outputIndex, &desc) != 0) {
        return;
    }
    const auto found = std::lower_bound(
        job->outputs.begin(), job->outputs.end(), desc.outputId,
        [](const OutputInstance* output, unsigned int uid) { return output->getDesc().uid < uid; });
    if (found == job->outputs.end() || (*found)->getDesc().uid != desc.outputId) {
        return;
    }
    SubstanceTexture texture = {};
    SubstanceContext* context = nullptr;
    if (substanceHandleGetOutputs(handle, 0, outputIndex, 1, &texture) != 0 ||
        substanceHandleGetParentContext(handle, &context) != 0) {
        return;
    }
    std::unique_ptr<RenderResult> result(new RenderResult(texture, context));
    (*found)->pushResult(std::move(result));
}

} // namespace

bool RendererImpl::ensureContext() {
    if (engineContext != nullptr) {
        return true;
    }
    if (substanceContextInit(&engineContext, &device) != 0) {
        engineContext = nullptr;
        return false;
    }
    return substanceContextSetCallback(engineContext, SubstanceCallback_OutputCompleted,
                                       reinterpret_cast<SubstanceCallback>(&onOutputCompleted)) == 0;
}

int RendererImpl::link(RenderState& state) {
    if (!state.assembly.empty()) {
        state.assembly.clear();
        if (state.handle != nullptr) {
            substanceHandleRelease(state.handle);
            state.handle = nullptr;
        }
    }
    if (state.failedLink != nullptr) {
        substanceLinkerHandleRelease(state.failedLink);
        state.failedLink = nullptr;
    }
    kv::LinkerSession session(linkerContext);
    if (int status = session.status()) {
        return status;
    }
    {
        boost::mutex::scoped_lock lock(registryMutex);
        std::vector<const PackageDesc*> collected;
        for (const std::unique_ptr<RenderJob>& job : state.pending) {
            const auto found = packages.find(job->packageUid);
            if (found != packages.end()) {
                collected.push_back(found->second);
            }
        }
        // A failed push shows as a failed link.
        for (const PackageDesc* package : collected) {
            package->pushToLinker(session.handle());
        }
    }
    if (int status = session.link(state.assembly)) {
        // The handle is kept, not released, until the state links again.
        state.failedLink = session.detach();
        return status;
    }
    return 0;
}

int RendererImpl::initHandle(RenderState& state) {
    if (state.assembly.empty()) {
        return 1;
    }
    if (state.handle != nullptr) {
        substanceHandleRelease(state.handle);
        state.handle = nullptr;
    }
    state.budget = renderBudget();
    const SubstanceHardResources resources = {0, state.budget.maxTextureSide, state.budget.maxRenderBytes};
    if (int status = substanceHandleInit(&state.handle, engineContext, state.assembly.data(),
                                         state.assembly.size(), &resources)) {
        state.handle = nullptr;
        return status;
    }
    SubstanceDataDesc desc = {};
    substanceHandleGetDesc(state.handle, &desc);
    state.engineInputs.clear();
    for (unsigned int index = 0; index < desc.inputsCount; ++index) {
        SubstanceInputDesc input = {};
        if (substanceHandleGetInputDesc(state.handle, index, &input) == 0) {
            state.engineInputs.insert(std::make_pair(input.inputId, input));
        }
    }
    return 0;
}

bool RendererImpl::pushInputs(RenderState& state, RenderJob& job, bool hint) {
    bool pushedAny = false;
    for (const InputValueSnapshot& snapshot : job.inputs) {
        if (hint && snapshot.stateKey) {
            continue;
        }
        if (!hint) {
            const auto last = state.lastPushed.find(snapshot.uid);
            if (last != state.lastPushed.end() && last->second.bytes == snapshot.bytes) {
                continue;
            }
        }
        // An input the linked assembly lacks (connected or fused away) has no engine index.
        const auto engineInput = state.engineInputs.find(snapshot.uid);
        if (engineInput == state.engineInputs.end()) {
            continue;
        }
        const void* value = snapshot.bytes.data();
        if (snapshot.type == Image) {
            // The raw value of an image input is the address of its texture-input record.
            value = nullptr;
            if (snapshot.bytes.size() >= sizeof(value)) {
                std::memcpy(&value, snapshot.bytes.data(), sizeof(value));
            }
        }
        substanceHandlePushSetInput(state.handle, hint ? SubstancePush_Hint : 0, engineInput->second.index,
                                    snapshot.type, value, 0);
        pushedAny = true;
        if (!hint) {
            const auto last = state.lastPushed.find(snapshot.uid);
            if (last != state.lastPushed.end()) {
                last->second = snapshot;
            } else {
                state.lastPushed.insert(std::make_pair(snapshot.uid, snapshot));
            }
        }
    }
    return pushedAny;
}

void RendererImpl::pushOutputs(RenderState& state, RenderJob& job, bool hint) {
    std::vector<unsigned int> uids;
    uids.reserve(job.outputs.size());
    for (const OutputInstance* output : job.outputs) {
        uids.push_back(output->getDesc().uid);
    }
    const unsigned int flags = SubstancePush_OutputsByUid | (hint ? SubstancePush_Hint : 0);
    substanceHandlePushOutputs(state.handle, flags, uids.data(), static_cast<unsigned int>(uids.size()),
                               reinterpret_cast<size_t>(&job));
}

void RendererImpl::run(RenderState& state) {
    if (linkerContext == nullptr || engineContext == nullptr) {
        return;
    }
    if (state.handle != nullptr && !(state.budget == renderBudget())) {
        // The host changed the budget: load again, and push every value again.
        substanceHandleRelease(state.handle);
        state.handle = nullptr;
        state.lastPushed.clear();
    }
    if (state.handle == nullptr) {
        if (state.assembly.empty() && link(state) != 0) {
            return;
        }
        if (initHandle(state) != 0) {
            return;
        }
    }
    // Newest first.
    while (!state.pending.empty()) {
        state.current.push_back(std::move(state.pending.back()));
        state.pending.pop_back();
    }
    bool pushedAny = false;
    for (const std::unique_ptr<RenderJob>& job : state.current) {
        const bool valuesPushed = pushInputs(state, *job, false);
        if (valuesPushed || job->inputs.empty() || job->forced) {
            job->pushed = true;
            pushOutputs(state, *job, false);
            pushedAny = true;
        }
    }
    // The same requests again as hints, for an engine that renders ahead.
    for (const std::unique_ptr<RenderJob>& job : state.current) {
        if (job->pushed || job->forced) {
            pushInputs(state, *job, true);
            pushOutputs(state, *job, true);
        }
    }
    if (!state.current.empty()) {
        if (pushedAny) {
            substanceHandleStart(state.handle, SubstanceStart_Synchronous);
        }
        state.current.clear();
    }
}

void RendererImpl::runAll() {
    if (!ensureContext()) {
        return;
    }
    for (const std::unique_ptr<RenderState>& state : states) {
        releaseIfUnused(*state);
        // A released state loads again only for a job.
        if (state->handle != nullptr || !state->pending.empty()) {
            run(*state);
        }
    }
}

void RendererImpl::releaseIfUnused(RenderState& state) {
    if (state.handle == nullptr || !state.pending.empty() || anyGraphAlive(state.graphs)) {
        return;
    }
    // The engine's cached images and threads go with the handle. The
    // assembly stays: a later job of the same key loads it again, without
    // the packages, and pushes every value anew.
    substanceHandleRelease(state.handle);
    state.handle = nullptr;
    state.engineInputs.clear();
    state.lastPushed.clear();
}

} // namespace SubstanceAir
