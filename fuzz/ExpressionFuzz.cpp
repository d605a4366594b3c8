// Any text as a parameter expression over a few inputs of every shape: the
// compiler throws its one error or yields a program within the engine's
// expression limits.
#include "tools/compiler/CompileError.h"
#include "tools/compiler/Expression.h"

#include <cstdlib>
#include <string>
#include <vector>

namespace {

std::vector<kvengine::GraphInput> inputs() {
    std::vector<kvengine::GraphInput> list;
    const std::pair<const char*, kvengine::InputType> shapes[] = {
        {"x", kvengine::InputType::Float},    {"v", kvengine::InputType::Float3},
        {"c", kvengine::InputType::Float4},   {"n", kvengine::InputType::Integer},
        {"p", kvengine::InputType::Integer2}, {"img", kvengine::InputType::Image}};
    for (const auto& [name, type] : shapes) {
        kvengine::GraphInput input;
        input.identifier = name;
        input.type = type;
        list.push_back(input);
    }
    return list;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::vector<kvengine::GraphInput> graphInputs = inputs();
    try {
        const kvcompiler::CompiledExpression compiled = kvcompiler::compileExpression(
            std::string(reinterpret_cast<const char*>(data), size), graphInputs);
        if (compiled.program.code.size() > kvengine::AssemblyLimits::maxInstructionsPerExpression ||
            kvcompiler::stackDepth(compiled.program) > kvengine::AssemblyLimits::maxExpressionStack)
            std::abort();
    } catch (const kvcompiler::CompileError&) {
    }
    return 0;
}
