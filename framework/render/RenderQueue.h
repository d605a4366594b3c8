// One synchronous render request: collects the jobs of some graph
// instances, hands them to the renderer, runs the render thread and waits
// for it. Whole requests are serialised across the process, so two host
// threads may render different materials at the same time; each waits its
// turn. Do not hold a RendererAccess while creating or running a queue.
//
//   RenderQueue queue;          // starts the render thread
//   queue.push(graph);          // the graph's enabled, dirty outputs
//   queue.run();                // renders them; results wait on the outputs
//   output->grabResult();       // after run, for each output wanted
#pragma once

#include "framework/render/RenderJob.h"

#include <boost/noncopyable.hpp>
#include <boost/thread/mutex.hpp>

#include <memory>
#include <vector>

namespace SubstanceAir {

class GraphInstance;

class RenderQueue : private boost::noncopyable {
public:
    // Waits for any other request in the process to end, then starts the render thread.
    RenderQueue();
    // Stops and joins the render thread and drops the jobs never run.
    ~RenderQueue();

    // Queues a job for the enabled and dirty outputs of `graph` (clearing
    // their dirty flags); a graph with none adds nothing.
    void push(GraphInstance& graph);
    // Hands every queued job to the renderer, then renders and waits.
    void run();

private:
    boost::mutex::scoped_lock mRequestLock;
    std::vector<std::unique_ptr<RenderJob>> mJobs;
};

} // namespace SubstanceAir
