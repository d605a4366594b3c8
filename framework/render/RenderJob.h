// One render request: the dirty outputs of one graph instance and a copy of
// its input values, taken on the caller's thread so that the render worker
// never reads the live instances.
#pragma once

#include "framework/render/RenderState.h"

#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <memory>
#include <vector>

namespace SubstanceAir {

class GraphInstance;
class InputInstanceBase;
class OutputInstance;

// The value of one input at the time a job was made. The descriptor facts
// the renderer needs are copied too, so a snapshot stays usable after its
// instance is gone.
struct InputValueSnapshot {
    explicit InputValueSnapshot(const InputInstanceBase& instance);

    const InputInstanceBase* instance;
    unsigned int uid;  // the descriptor's uid
    unsigned int type; // the descriptor's InputType
    bool stateKey;     // the instance is part of its graph's state key
    std::vector<unsigned char> bytes;
    // For an image input, the image whose record `bytes` points at, kept
    // alive until the value has been pushed.
    boost::shared_ptr<const void> image;
};

struct RenderJob : private boost::noncopyable {
    // Raw values of the graph's system inputs, in input order.
    KeyBytes keyBytes;
    unsigned int packageUid = 0;
    uint64_t graphIdentity = 0;
    // A forced job is pushed even when none of its values changed.
    bool forced = true;
    // Set by the renderer when the job went to the engine in the current run.
    bool pushed = false;
    std::vector<OutputInstance*> outputs;   // by output uid once sorted
    std::vector<InputValueSnapshot> inputs; // by input uid once sorted

    void sortByUid();
    // Takes `newer`'s outputs and inputs into this job: the union by uid,
    // newer entries winning. Both jobs must be sorted.
    void mergeNewer(RenderJob& newer);
};

// The job for the enabled and dirty outputs of `graph`, whose dirty flags
// are cleared; null when no output is both. The package uid is that of the
// package owning the graph's descriptor (0 when it has none).
std::unique_ptr<RenderJob> makeRenderJob(GraphInstance& graph);

} // namespace SubstanceAir
