#include "tools/compiler/NodeParams.h"

#include "tools/compiler/Expression.h"
#include "tools/compiler/NodeReference.h"
#include "tools/compiler/NumberText.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <string>

namespace kvcompiler {

namespace {

using kvengine::ParamSpec;
using kvengine::ParamType;

kvengine::Instruction constant(float x, float y, float z, float w) {
    kvengine::Instruction instruction;
    instruction.op = kvengine::Op::Constant;
    instruction.value.f = {x, y, z, w};
    return instruction;
}

std::string valueText(const std::vector<double>& values) {
    std::string text;
    for (size_t i = 0; i < values.size(); ++i)
        text += (i ? "," : "") + messageNumberText(values[i]);
    return text;
}

// The numbers of one parameter, against its table entry.
void checkNumbers(const ParamSpec& spec, const std::vector<double>& values, const SourcePlace& place) {
    if (kvengine::wrapsAround(spec.unit))
        return; // positions and angles repeat: every number means something
    for (double v : values) {
        const bool whole = std::floor(v) == v;
        switch (spec.type) {
        case ParamType::Boolean:
            if (v != 0 && v != 1)
                place.fail(valueText(values) + " must be 0 or 1");
            break;
        case ParamType::Enumeration:
            if (!whole || v < spec.min || v > spec.max)
                place.fail(valueText(values) + " is not one of " + labelsText(spec));
            break;
        case ParamType::Integer:
            if (!whole)
                place.fail(valueText(values) + " must be a whole number");
            [[fallthrough]];
        case ParamType::Float:
        case ParamType::Colour:
            if (v < spec.min || v > spec.max)
                place.fail(valueText(values) + " is outside the range " + rangeText(spec));
            break;
        }
    }
}

bool isPlainName(const std::string& text) {
    return !text.empty() && !std::isdigit(static_cast<unsigned char>(text[0])) &&
           std::all_of(text.begin(), text.end(),
                       [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; });
}

bool isInput(const kvengine::Graph& graph, const std::string& identifier) {
    return std::any_of(graph.inputs.begin(), graph.inputs.end(),
                       [&](const kvengine::GraphInput& input) { return input.identifier == identifier; });
}

// An enumeration's label as its value: -1 when the text is not a label. A
// plain name that is neither a label nor an input is a misspelt label.
int labelValue(const ParamSpec& spec, const std::string& source, const kvengine::Graph& graph,
               const SourcePlace& place) {
    if (spec.type != ParamType::Enumeration)
        return -1;
    const size_t first = source.find_first_not_of(" \t");
    const std::string text =
        first == std::string::npos ? "" : source.substr(first, source.find_last_not_of(" \t") - first + 1);
    const auto label = std::find(spec.labels.begin(), spec.labels.end(), text);
    if (label != spec.labels.end())
        return static_cast<int>(label - spec.labels.begin());
    if (isPlainName(text) && !isInput(graph, text))
        place.fail("unknown label '" + text + "' (it has " + labelsText(spec) + ")");
    return -1;
}

// Compiles one item; `components` receives what it yields (1 broadcasts).
kvengine::Expression compileItem(const ParamItem& item, const ParamSpec& spec, const kvengine::Graph& graph,
                                 std::set<uint32_t>& reads, uint32_t& components, const SourcePlace& place) {
    components = 1;
    if (!item.isExpression) {
        checkNumbers(spec, {item.number}, place);
        const float value = static_cast<float>(item.number);
        return kvengine::Expression{{constant(value, value, value, value)}};
    }
    const int label = labelValue(spec, item.expression, graph, place);
    if (label >= 0) {
        const float value = static_cast<float>(label);
        return kvengine::Expression{{constant(value, value, value, value)}};
    }
    CompiledExpression compiled;
    try {
        compiled = compileExpression(item.expression, graph.inputs);
    } catch (const CompileError& e) {
        place.fail(e.what());
    }
    reads.insert(compiled.reads.begin(), compiled.reads.end());
    components = compiled.components;
    return compiled.program;
}

// A one-component input is read as (v, 0, 0, 0), so arithmetic on it leaves
// only x meaningful: broadcast x wherever such a value fills several components.
void broadcastX(kvengine::Expression& expression) {
    const kvengine::Op last = expression.code.back().op;
    if (last != kvengine::Op::Component && last != kvengine::Op::Constant)
        expression.code.push_back(kvengine::Instruction{kvengine::Op::Component, 0, {}});
}

} // namespace

kvengine::Expression compileNodeParam(const ParamSource& param, const ParamSpec& declared,
                                      const kvengine::Graph& graph, std::set<uint32_t>& reads,
                                      const SourcePlace& place) {
    uint32_t components = 1;
    if (!param.isList) {
        kvengine::Expression expression =
            compileItem(param.items.front(), declared, graph, reads, components, place);
        if (components != 1 && components != declared.components)
            place.fail("yields " + std::to_string(components) + " components, the parameter takes " +
                       std::to_string(declared.components));
        if (components == 1 && declared.components > 1)
            broadcastX(expression);
        return expression;
    }
    if (param.items.size() != declared.components)
        place.fail("has " + std::to_string(param.items.size()) + " components, the parameter takes " +
                   std::to_string(declared.components));
    const bool allNumbers = std::none_of(param.items.begin(), param.items.end(),
                                         [](const ParamItem& item) { return item.isExpression; });
    if (allNumbers) {
        std::vector<double> numbers;
        for (const ParamItem& item : param.items)
            numbers.push_back(item.number);
        checkNumbers(declared, numbers, place);
        kvengine::Instruction value = constant(0, 0, 0, 0);
        for (size_t k = 0; k < numbers.size(); ++k)
            value.value.f[k] = static_cast<float>(numbers[k]);
        return kvengine::Expression{{value}};
    }
    // Assemble the vector component by component: sum of item_k * unit_k.
    kvengine::Expression expression;
    for (size_t k = 0; k < param.items.size(); ++k) {
        kvengine::Expression item = compileItem(param.items[k], declared, graph, reads, components, place);
        if (components != 1)
            place.fail("list item " + std::to_string(k + 1) + " yields " + std::to_string(components) +
                       " components, list items must yield one");
        expression.code.insert(expression.code.end(), item.code.begin(), item.code.end());
        broadcastX(expression);
        kvengine::Instruction unit = constant(0, 0, 0, 0);
        unit.value.f[k] = 1.0f;
        expression.code.push_back(unit);
        expression.code.push_back(kvengine::Instruction{kvengine::Op::Multiply, 0, {}});
        if (k > 0)
            expression.code.push_back(kvengine::Instruction{kvengine::Op::Add, 0, {}});
    }
    if (stackDepth(expression) > kvengine::AssemblyLimits::maxExpressionStack ||
        expression.code.size() > kvengine::AssemblyLimits::maxInstructionsPerExpression)
        place.fail("list of expressions too complex; simplify its items");
    return expression;
}

} // namespace kvcompiler
