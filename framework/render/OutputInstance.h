// The live state of one output of a graph instance: whether it is wanted,
// whether an input change made it stale, and the finished textures waiting
// to be taken.
#pragma once

#include "framework/description/OutputDesc.h"
#include "framework/render/RenderResult.h"

#include <boost/noncopyable.hpp>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>

namespace SubstanceAir {

class OutputInstance : private boost::noncopyable {
public:
    explicit OutputInstance(const OutputDesc& desc);
    // Destroys every queued result, which frees its texture.
    ~OutputInstance();

    const OutputDesc& getDesc() const { return *mDesc; }

    // Only enabled outputs are rendered; a new output is enabled.
    bool isEnabled() const { return mEnabled; }
    void setEnabled(bool enabled) { mEnabled = enabled; }

    // Set when an altering input changes, cleared when a render job takes
    // the output; a new output is dirty so that its first render computes it.
    bool isDirty() const { return mDirty; }
    void setDirty(bool dirty) { mDirty = dirty; }

    // A value free for the host; rendering never reads it.
    uint64_t getUserData() const { return mUserData; }
    void setUserData(uint64_t userData) { mUserData = userData; }

    // A host that never takes the results of an output (the texture call
    // takes only "Output") must not pile up textures render after render:
    // beyond this many, the oldest queued result is dropped.
    static constexpr size_t kMaxQueuedResults = 2;

    // Takes the oldest queued result; null when there is none.
    std::unique_ptr<RenderResult> grabResult();
    // Queues a finished result; called from the render thread.
    void pushResult(std::unique_ptr<RenderResult> result);

private:
    const OutputDesc* mDesc;
    bool mEnabled = true;
    uint64_t mUserData = 0;
    bool mDirty = true;
    // Guarded by the process-wide result mutex.
    std::deque<std::unique_ptr<RenderResult>> mResults;
};

} // namespace SubstanceAir
