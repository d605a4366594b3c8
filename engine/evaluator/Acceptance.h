// What the evaluator accepts of an assembly beyond what the reader checks:
// counts within the limits, known node kinds with no more parameters and
// image inputs than they take, graph inputs of image type where a node reads
// one, known opcodes, input types and texel formats, and sound graphs. The
// linker runs the same check on what it links, so that the two agree.
#pragma once

#include "engine/assembly/Assembly.h"
#include "engine/status/Status.h"

namespace kvengine {

// Ok, or the reason naming the graph and the record ("graph 'pkg://x' node 3
// ('blend'): ..."); the caller puts its own layer in front.
Status checkRunnable(const Assembly& assembly);

} // namespace kvengine
