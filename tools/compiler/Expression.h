// Compiles a parameter expression (infix arithmetic over graph inputs, see
// docs/package-source.md) to the stack program that the evaluator runs once
// per render.
#pragma once

#include "engine/assembly/Assembly.h"

#include <string>
#include <vector>

namespace kvcompiler {

struct CompiledExpression {
    kvengine::Expression program;
    uint32_t components = 1;     // 1 (broadcast) or the component count it yields
    std::vector<uint32_t> reads; // indices of the graph inputs it reads, ascending, unique
};

// Throws CompileError with a message that names the fault but not its place;
// the caller adds the file, graph, node and parameter.
CompiledExpression compileExpression(const std::string& text,
                                     const std::vector<kvengine::GraphInput>& inputs);

// Most values the program keeps on the stack at once.
uint32_t stackDepth(const kvengine::Expression& expression);

} // namespace kvcompiler
