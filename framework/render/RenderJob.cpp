#include "framework/render/RenderJob.h"

#include "framework/description/PackageDesc.h"
#include "framework/render/GraphInstance.h"
#include "framework/render/InputInstanceImage.h"

#include <algorithm>

namespace SubstanceAir {

namespace {

unsigned int outputUid(const OutputInstance* output) {
    return output->getDesc().uid;
}

// Sorted union of two uid-sorted ranges; on equal uids the entry of `newer` is kept.
template <typename T, typename Uid>
std::vector<T> unionByUid(std::vector<T>& older, std::vector<T>& newer, Uid uid) {
    std::vector<T> merged;
    merged.reserve(older.size() + newer.size());
    auto o = older.begin();
    auto n = newer.begin();
    while (o != older.end() || n != newer.end()) {
        if (n == newer.end() || (o != older.end() && uid(*o) < uid(*n))) {
            merged.push_back(std::move(*o++));
        } else {
            if (o != older.end() && uid(*o) == uid(*n)) {
                ++o;
            }
            merged.push_back(std::move(*n++));
        }
    }
    return merged;
}

} // namespace

InputValueSnapshot::InputValueSnapshot(const InputInstanceBase& input)
    : instance(&input), uid(input.getDesc().uid), type(input.getDesc().type), stateKey(input.isStateKey()) {
    const unsigned char* raw = static_cast<const unsigned char*>(input.getRawData());
    bytes.assign(raw, raw + input.getRawSize());
    if (const InputInstanceImage* imageInput = dynamic_cast<const InputInstanceImage*>(&input)) {
        image = imageInput->getImage();
    }
}

void RenderJob::sortByUid() {
    std::stable_sort(outputs.begin(), outputs.end(), [](const OutputInstance* a, const OutputInstance* b) {
        return outputUid(a) < outputUid(b);
    });
    std::stable_sort(inputs.begin(), inputs.end(),
                     [](const InputValueSnapshot& a, const InputValueSnapshot& b) { return a.uid < b.uid; });
}

void RenderJob::mergeNewer(RenderJob& newer) {
    outputs = unionByUid(outputs, newer.outputs, outputUid);
    inputs = unionByUid(inputs, newer.inputs, [](const InputValueSnapshot& s) { return s.uid; });
}

std::unique_ptr<RenderJob> makeRenderJob(GraphInstance& graph) {
    std::unique_ptr<RenderJob> job(new RenderJob);
    for (const std::unique_ptr<OutputInstance>& output : graph.getOutputs()) {
        if (output->isEnabled() && output->isDirty()) {
            job->outputs.push_back(output.get());
            output->setDirty(false);
        }
    }
    if (job->outputs.empty()) {
        return nullptr;
    }
    job->inputs.reserve(graph.getInputs().size());
    for (const std::unique_ptr<InputInstanceBase>& input : graph.getInputs()) {
        job->inputs.emplace_back(*input);
    }
    job->keyBytes = graph.computeKeyBytes();
    const PackageDesc* package = graph.getDesc().parent;
    job->packageUid = package != nullptr ? package->asmUid() : 0;
    job->graphIdentity = graph.getIdentity();
    return job;
}

} // namespace SubstanceAir
