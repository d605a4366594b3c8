// The kinds of the library, one accessor per file in engine/nodes/kinds/.
#pragma once

#include "engine/nodes/NodeKind.h"

namespace kvengine::kinds {

const NodeKind& colorUniform();
const NodeKind& gradientLinear();
const NodeKind& gradientMap();
const NodeKind& gradientRadial();
const NodeKind& noiseFbm();
const NodeKind& noiseCellular();
const NodeKind& patternChecker();
const NodeKind& patternBricks();
const NodeKind& blend();
const NodeKind& levels();
const NodeKind& hsl();
const NodeKind& invert();
const NodeKind& threshold();
const NodeKind& blur();
const NodeKind& warpDirectional();
const NodeKind& transform2d();
const NodeKind& normalFromHeight();
const NodeKind& occlusionFromHeight();
const NodeKind& inputImage();

} // namespace kvengine::kinds
