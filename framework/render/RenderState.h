// A group of render requests that share one engine handle, keyed by the
// package and the values of the graphs' system inputs.
#pragma once

#include <boost/noncopyable.hpp>

#include <cstdint>
#include <set>
#include <vector>

namespace SubstanceAir {

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
    // The key of the first job pushed into the state first, then further distinct keys.
    std::vector<StateKey> keys;
    // Identities of every graph instance whose jobs went into this state.
    std::set<uint64_t> graphs;
};

} // namespace SubstanceAir
