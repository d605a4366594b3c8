// A group of render requests that share one engine handle, keyed by the
// package and the values of the graphs' system inputs. A state is linked
// once, keeps its engine handle and remembers what was pushed into it, so
// that a later request pushes only the values that changed.
#pragma once

#include "framework/render/RenderBudget.h"
#include "platform/engine/EngineInterface.h"
#include "platform/engine/LinkerInterface.h"

#include <boost/noncopyable.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <vector>

namespace SubstanceAir {

struct InputValueSnapshot;
struct RenderJob;

// Raw values of a graph's system inputs, concatenated in input order.
typedef std::vector<unsigned char> KeyBytes;

struct StateKey {
    unsigned int packageUid = 0;
    KeyBytes bytes;

    bool operator==(const StateKey& other) const {
        return packageUid == other.packageUid && bytes == other.bytes;
    }
};

struct RenderState : private boost::noncopyable {
    RenderState();
    // Releases the engine handle and any linker handle a failed link left.
    ~RenderState();

    // Null until the linked assembly is loaded.
    SubstanceHandle* handle = nullptr;
    // The budget the handle was loaded with.
    RenderBudget budget;
    // The linked assembly; empty until linked.
    std::vector<char> assembly;
    // The key of the first job pushed into the state first, then further distinct keys.
    std::vector<StateKey> keys;
    // Identities of every graph instance whose jobs went into this state.
    std::set<uint64_t> graphs;
    // The value last pushed (not as a hint) for each input uid.
    std::map<unsigned int, InputValueSnapshot> lastPushed;
    // Jobs waiting for the next run, in arrival order, and those of the run in progress.
    std::vector<std::unique_ptr<RenderJob>> pending;
    std::vector<std::unique_ptr<RenderJob>> current;
    // The loaded assembly's inputs by uid; each carries its engine index.
    std::map<unsigned int, SubstanceInputDesc> engineInputs;
    // A failed link keeps its linker handle; it is released at the next
    // link of the state or with the state, so retries cannot pile up.
    SubstanceLinkerHandle* failedLink = nullptr;

    // A state without keys matches every job; otherwise the job's package
    // uid and key bytes must equal those of the first key.
    bool matches(const RenderJob& job) const;
    // Takes a matching job into pending, merged into the pending job of the
    // same package if there is one. A job that does not match is destroyed
    // and false returned.
    bool push(std::unique_ptr<RenderJob> job);
};

} // namespace SubstanceAir
