// Node parameters in package sources against the catalogue, for every kind
// and parameter without a hand list: the default and both ends of the range
// compile to values the engine would leave as they are, numbers outside the
// range or of the wrong kind fail naming the range, and enumerations take
// their labels and name them when one is misspelt.
#include "tools/compiler/CompileError.h"
#include "tools/compiler/NumberText.h"
#include "tools/compiler/PackageCompiler.h"

#include "engine/evaluator/Expression.h"
#include "engine/nodes/NodeCatalog.h"
#include "engine/nodes/ParamNormalisation.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace kvcompiler {
namespace {

using Json = nlohmann::json;
using kvengine::ParamSpec;
using ValueKind = kvengine::ParamType; // ParamType names the test parameter inside TEST_P

// One graph with one node of the kind, its parameter `name` set to `value`.
Json sourceWith(const kvengine::NodeKindInfo& kind, const std::string& name, const Json& value) {
    Json node = {{"id", "n"}, {"kind", kind.name}, {"params", {{name, value}}}};
    if (kind.readsGraphInput())
        node["graphinput"] = "picture";
    return {{"graphs",
             {{{"url", "pkg://tests/params"},
               {"inputs", {{{"identifier", "picture"}, {"type", "image"}}}},
               {"outputs", {{{"identifier", "out"}, {"node", "n"}}}},
               {"nodes", {node}}}}}};
}

Json valueOf(const ParamSpec& spec, double v) {
    return spec.components == 1 ? Json(v) : Json(std::vector<double>(spec.components, v));
}

// The compiled constant of the parameter, or the compiler's message.
std::string compileParam(const kvengine::NodeKindInfo& kind, const ParamSpec& spec, const Json& value,
                         kvengine::Value4* compiled = nullptr) {
    try {
        const CompiledPackage package =
            compilePackageSource(sourceWith(kind, spec.name, value).dump(), "p.json");
        const kvengine::Node& node = package.assembly.graphs.at(0).nodes.at(0);
        const kvengine::Expression& expression =
            node.params.at(static_cast<size_t>(kvengine::findParam(kind, spec.name)));
        if (compiled && expression.code.size() == 1)
            *compiled = expression.code[0].value;
        return "";
    } catch (const CompileError& e) {
        return e.what();
    }
}

class EveryKindsParams : public ::testing::TestWithParam<std::string> {};

TEST_P(EveryKindsParams, AreCheckedAgainstTheTable) {
    const kvengine::NodeKindInfo& kind = *kvengine::findNodeKind(GetParam());
    for (const ParamSpec& spec : kind.params) {
        SCOPED_TRACE(spec.name);
        for (double v : {spec.defaultValue.f[0], spec.min, spec.max}) {
            kvengine::Value4 compiled;
            ASSERT_EQ(compileParam(kind, spec, valueOf(spec, v), &compiled), "") << v;
            const kvengine::Value4 clean = kvengine::normaliseParam(spec, compiled);
            // Only wrapping and rounding up to even, which the table documents, may move it.
            for (uint32_t k = 0; k < spec.components; ++k) {
                const bool documented = kvengine::wrapsAround(spec.unit) || ((spec.evenComponents >> k) & 1u);
                EXPECT_TRUE(documented || clean.f[k] == compiled.f[k]) << "the engine would change " << v;
            }
        }
        if (kvengine::wrapsAround(spec.unit)) {
            EXPECT_EQ(compileParam(kind, spec, valueOf(spec, 7.25f)), "") << "positions and angles wrap";
            continue;
        }
        const std::string range =
            "is outside the range " + messageNumberText(spec.min) + " to " + messageNumberText(spec.max);
        for (double outside : {double(spec.min) - 1, double(spec.max) + 1}) {
            const std::string message = compileParam(kind, spec, valueOf(spec, outside));
            EXPECT_EQ(message.find('\n'), std::string::npos);
            EXPECT_EQ(message.rfind("p.json: graph 'pkg://tests/params': node 'n': parameter '" +
                                        std::string(spec.name) + "': ",
                                    0),
                      0u)
                << message;
            const std::string expected = spec.type == ValueKind::Boolean ? "must be 0 or 1"
                                         : spec.type == ValueKind::Enumeration
                                             ? std::string("is not one of 0 ") + spec.labels[0]
                                             : range;
            EXPECT_NE(message.find(expected), std::string::npos) << message;
        }
        if (spec.type == ValueKind::Integer) {
            EXPECT_NE(compileParam(kind, spec, valueOf(spec, double(spec.min) + 0.5))
                          .find("must be a whole number"),
                      std::string::npos);
        }
        for (size_t label = 0; label < spec.labels.size(); ++label) {
            kvengine::Value4 compiled;
            ASSERT_EQ(compileParam(kind, spec, spec.labels[label], &compiled), "") << spec.labels[label];
            EXPECT_EQ(compiled.f[0], static_cast<float>(label)) << spec.labels[label];
        }
        if (!spec.labels.empty()) {
            EXPECT_NE(compileParam(kind, spec, "no_such_label")
                          .find("unknown label 'no_such_label' (it has 0 " + std::string(spec.labels[0])),
                      std::string::npos);
        }
    }
}

std::vector<std::string> kindNames() {
    std::vector<std::string> names;
    for (const kvengine::NodeKindInfo& kind : kvengine::nodeCatalog())
        names.push_back(kind.name);
    return names;
}

INSTANTIATE_TEST_SUITE_P(Catalogue, EveryKindsParams, ::testing::ValuesIn(kindNames()),
                         [](const ::testing::TestParamInfo<std::string>& kind) {
                             std::string name = kind.param;
                             std::replace(name.begin(), name.end(), '.', '_');
                             return name;
                         });

TEST(NodeParams, LabelsTakePrecedenceOverInputsOfTheSameName) {
    const kvengine::NodeKindInfo& blend = *kvengine::findNodeKind("blend");
    Json source = sourceWith(blend, "mode", "screen");
    source["graphs"][0]["inputs"].push_back({{"identifier", "screen"}, {"type", "int"}});
    source["graphs"][0]["inputs"].push_back({{"identifier", "pick"}, {"type", "int"}});
    const CompiledPackage labelled = compilePackageSource(source.dump(), "p.json");
    ASSERT_EQ(labelled.assembly.graphs[0].nodes[0].params[0].code.size(), 1u);
    EXPECT_EQ(labelled.assembly.graphs[0].nodes[0].params[0].code[0].value.f[0], 4.0f);
    source["graphs"][0]["nodes"][0]["params"]["mode"] = " pick ";
    const CompiledPackage read = compilePackageSource(source.dump(), "p.json");
    EXPECT_EQ(read.assembly.graphs[0].nodes[0].params[0].code[0].op, kvengine::Op::Input);
}

TEST(NodeParams, ScalarExpressionsFillTheirComponentsWhateverTheyRead) {
    // One-component inputs and arithmetic on them, components of a vector input, numbers.
    const kvengine::NodeKindInfo& uniform = *kvengine::findNodeKind("color.uniform");
    Json source = sourceWith(uniform, "color", {"tint.y * amount", "amount", "1 - amount", 1});
    source["graphs"][0]["inputs"].push_back({{"identifier", "amount"}, {"type", "float"}});
    source["graphs"][0]["inputs"].push_back({{"identifier", "tint"}, {"type", "float3"}});
    const CompiledPackage package = compilePackageSource(source.dump(), "p.json");
    const kvengine::Graph& graph = package.assembly.graphs[0];
    std::vector<kvengine::Value4> values(graph.inputs.size());
    for (size_t i = 0; i < graph.inputs.size(); ++i) {
        if (graph.inputs[i].identifier == "amount")
            values[i].f = {0.25f, 0.0f, 0.0f, 0.0f};
        if (graph.inputs[i].identifier == "tint")
            values[i].f = {0.2f, 0.4f, 0.6f, 0.0f};
    }
    const kvengine::Value4 colour =
        kvengine::evaluateExpression(graph.nodes[0].params[0], graph.inputs, values, {});
    EXPECT_FLOAT_EQ(colour.f[0], 0.1f);
    EXPECT_FLOAT_EQ(colour.f[1], 0.25f);
    EXPECT_FLOAT_EQ(colour.f[2], 0.75f);
    EXPECT_FLOAT_EQ(colour.f[3], 1.0f);

    // One expression for every component is the same value in each.
    source["graphs"][0]["nodes"][0]["params"]["color"] = "amount * 2";
    const CompiledPackage broadcast = compilePackageSource(source.dump(), "p.json");
    const kvengine::Value4 gray = kvengine::evaluateExpression(
        broadcast.assembly.graphs[0].nodes[0].params[0], graph.inputs, values, {});
    EXPECT_EQ(gray.f, (std::array<float, 4>{0.5f, 0.5f, 0.5f, 0.5f}));
}

} // namespace
} // namespace kvcompiler
