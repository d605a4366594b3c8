// The kinds' tables hold what the evaluator, the compiler and the docs assume
// of them, and normalisation turns any value into one the table allows.
#include "EvaluatorFixtures.h"

#include "engine/nodes/KindTable.h"
#include "engine/nodes/ParamNormalisation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <set>

namespace {

using namespace kvengine;

bool isLabel(const std::string& text) {
    return !text.empty() && std::islower(static_cast<unsigned char>(text[0])) &&
           std::all_of(text.begin(), text.end(), [](char c) {
               return std::islower(static_cast<unsigned char>(c)) ||
                      std::isdigit(static_cast<unsigned char>(c)) || c == '_';
           });
}

class EveryTable : public ::testing::TestWithParam<NodeKindInfo> {};

TEST_P(EveryTable, IsConsistent) {
    const NodeKindInfo& kind = GetParam();
    EXPECT_NE(std::string(kind.help), "");
    std::set<std::string> names;
    for (const ParamSpec& spec : kind.params) {
        SCOPED_TRACE(spec.name);
        EXPECT_TRUE(names.insert(spec.name).second) << "duplicate parameter";
        EXPECT_NE(std::string(spec.help), "");
        EXPECT_TRUE(spec.type == kvengine::ParamType::Colour ? spec.components == 4
                                                             : spec.components >= 1 && spec.components <= 4);
        EXPECT_TRUE(spec.min <= spec.uiMin && spec.uiMin < spec.uiMax && spec.uiMax <= spec.max);
        const Value4 clean = normaliseParam(spec, spec.defaultValue);
        for (uint32_t k = 0; k < spec.components; ++k) {
            EXPECT_TRUE(spec.min <= spec.defaultValue.f[k] && spec.defaultValue.f[k] <= spec.max);
            EXPECT_EQ(clean.f[k], spec.defaultValue.f[k]) << "the default is not clean";
        }
        if (spec.type == kvengine::ParamType::Enumeration) {
            EXPECT_EQ(spec.min, 0.0f);
            EXPECT_EQ(spec.labels.size(), static_cast<size_t>(spec.max) + 1);
            EXPECT_EQ(std::set<std::string>(spec.labels.begin(), spec.labels.end()).size(),
                      spec.labels.size());
            for (const char* label : spec.labels)
                EXPECT_TRUE(isLabel(label)) << label;
        } else {
            EXPECT_TRUE(spec.labels.empty());
        }
        for (uint32_t k = 0; k < 4; ++k)
            if ((spec.evenComponents >> k) & 1u) {
                EXPECT_EQ(spec.type, kvengine::ParamType::Integer);
                EXPECT_LT(k, spec.components);
                EXPECT_EQ(std::fmod(spec.max, 2.0f), 0.0f) << "rounding up to even would leave the range";
            }
        if (wrapsAround(spec.unit)) {
            EXPECT_TRUE(spec.type == kvengine::ParamType::Float && spec.min == 0.0f && spec.max == 1.0f);
        }
    }
    bool hasSource = false;
    for (const ImageInputSpec& slot : kind.imageInputs) {
        EXPECT_TRUE(names.insert(std::string("image ") + slot.name).second)
            << "duplicate input " << slot.name;
        EXPECT_NE(std::string(slot.help), "") << slot.name;
        EXPECT_TRUE(slot.unconnected >= 0.0f && slot.unconnected <= 1.0f) << slot.name;
        hasSource = hasSource || slot.use == InputUse::Source;
    }
    EXPECT_EQ(kind.output == OutputChannels::WidestSource, hasSource) << "output channels follow no source";
    if (kind.readsGraphInput()) {
        EXPECT_TRUE(kind.imageInputs.empty());
    }
}

INSTANTIATE_TEST_SUITE_P(Catalogue, EveryTable, ::testing::ValuesIn(nodeCatalog()),
                         [](const ::testing::TestParamInfo<NodeKindInfo>& kind) {
                             std::string name = kind.param.name;
                             std::replace(name.begin(), name.end(), '.', '_');
                             return name;
                         });

Value4 value(float x, float y = 0, float z = 0, float w = 0) {
    Value4 v;
    v.f = {x, y, z, w};
    return v;
}

TEST(ParamNormalisation, ClampsRoundsWrapsAndFallsBackToTheDefault) {
    const NodeKindInfo table = KindTable("test.kind", "help", OutputChannels::Gray)
                                   .number("amount", 0.25f, 0.0f, 1.0f, "help")
                                   .integers("count", {4, 8}, 1, 1024, "help")
                                   .evenComponent(1)
                                   .flag("on", false, "help")
                                   .choice("mode", 1, {"a", "b", "c"}, "help")
                                   .angle("turn", 0.0f, "help")
                                   .position("at", {0.5f, 0.5f}, "help");
    auto clean = [&](const char* name, const Value4& v) {
        return normaliseParam(table.params[static_cast<size_t>(findParam(table, name))], v).f;
    };
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    using F4 = std::array<float, 4>;
    EXPECT_EQ(clean("amount", value(-3, 9, 9, 9)), (F4{0, 0, 0, 0})); // unused components zeroed
    EXPECT_EQ(clean("amount", value(7)), (F4{1, 0, 0, 0}));
    EXPECT_EQ(clean("amount", value(nan)), (F4{0.25f, 0, 0, 0}));
    EXPECT_EQ(clean("count", value(2.5f, 3)), (F4{3, 4, 0, 0})); // half away from zero; rows even
    EXPECT_EQ(clean("count", value(-9, 2000)), (F4{1, 1024, 0, 0}));
    EXPECT_EQ(clean("count", value(nan, nan)), (F4{4, 8, 0, 0}));
    EXPECT_EQ(clean("on", value(0.49f)), (F4{0, 0, 0, 0}));
    EXPECT_EQ(clean("on", value(0.5f)), (F4{1, 0, 0, 0}));
    EXPECT_EQ(clean("mode", value(-1)), (F4{0, 0, 0, 0}));
    EXPECT_EQ(clean("mode", value(1.6f)), (F4{2, 0, 0, 0}));
    EXPECT_EQ(clean("mode", value(inf)), (F4{2, 0, 0, 0}));
    EXPECT_EQ(clean("turn", value(1.25f)), (F4{0.25f, 0, 0, 0}));
    EXPECT_EQ(clean("turn", value(-0.25f)), (F4{0.75f, 0, 0, 0}));
    EXPECT_EQ(clean("turn", value(inf)), (F4{0, 0, 0, 0}));
    EXPECT_EQ(clean("at", value(1.5f, -0.5f, 3)), (F4{0.5f, 0.5f, 0, 0}));
}

TEST(ParamNormalisation, ValuesFromInputsAreCleanedBeforeTheKernelRuns) {
    kvtest::GraphBuilder b(5, 5);
    Value4 forty;
    forty.f[0] = 40;
    const uint32_t octaves = b.addInput("octaves", InputType::Float, forty);
    b.addOutput("wild", b.addNode("noise.fbm", {{"octaves", kvtest::inputExpr(octaves)}}),
                SubstancePixelFormat_L32F);
    b.addOutput("tame", b.addNode("noise.fbm", {{"octaves", kvtest::constantExpr(12)}}),
                SubstancePixelFormat_L32F);
    auto results = kvtest::renderAssembly(b.assembly());
    ASSERT_EQ(results.size(), 2u);
    EXPECT_EQ(results[0].bytes, results[1].bytes);
}

} // namespace
