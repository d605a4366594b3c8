#include "engine/nodes/GaussianBlur.h"
#include "engine/nodes/NodeKinds.h"
#include "engine/nodes/Sampling.h"

namespace kvengine::kinds {

namespace {

void evaluate(const NodeRun& run, Image& out) {
    Image grey;
    gaussianBlur(inputOrGrey(run, 0, grey), out, run.scalar(0), *run.parallel);
}

} // namespace

const NodeKind& blur() {
    static const NodeKind kind{
        {"blur",
         "Gaussian-like blur (three box passes) wrapping at the edges.",
         {{"radius", 1, makeValue(0.01f), "reach of the blur as a fraction of the texture side, 0 to 0.5"}},
         {"input"},
         false},
        firstInput,
        evaluate,
        1};
    return kind;
}

} // namespace kvengine::kinds
