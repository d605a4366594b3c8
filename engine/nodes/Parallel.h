// How nodes spread work over threads: the evaluator hands every node a
// Parallel that splits [0, count) into ranges and runs them on its pool.
// Nodes make each index's result independent of the split, so renders are
// byte-identical whatever the thread count.
#pragma once

#include <functional>

namespace kvengine {

class Parallel {
public:
    virtual ~Parallel() = default;
    // Calls body(begin, end) over disjoint ranges covering [0, count); returns when all are done.
    virtual void run(int count, const std::function<void(int, int)>& body) const = 0;
};

} // namespace kvengine
