// The render thread: all engine work runs on one worker. A caller hands its
// jobs to the renderer (RendererAccess, pushJob), then requests a render and
// waits for it, so a render is synchronous for the caller while the engine
// always runs on the same thread. RenderQueue.h wraps the whole protocol.
#pragma once

namespace SubstanceAir {

// Starts the worker, which then waits for requests. Only one worker exists
// at a time: pair every start with a stop before the next start.
void startRenderThread();
// Asks the worker to run every render state once.
void requestRender();
// Blocks until the requested run has finished. A request made while a run
// is in progress is absorbed by that run: push and request before waiting.
void waitRenderDone();
// Stops the worker once its current run (if any) is over, and joins it.
void stopRenderThread();

} // namespace SubstanceAir
