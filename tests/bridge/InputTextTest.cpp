// Materials of one package, inputs set from text, and presets applied to a
// stacked material.
#include "SampleFiles.h"

#include "bridge/SubstanceBridge.h"
#include "framework/render/GraphInstance.h"
#include "framework/render/InputInstanceNumerical.h"
#include "material/Substance.h"

#include <gtest/gtest.h>

#include <algorithm>

using kvSubstance::Substance;
using kvSubstance::SubstanceInput;

namespace {

// The framework's value of the material's input, as text.
std::string engineValue(kv::Reference<Substance> m, const char* identifier) {
    for (const auto& input : m->getGraphInstances().at(0)->getInputs()) {
        if (input->getDesc().identifier == identifier) {
            return static_cast<const SubstanceAir::InputInstanceNumericalBase&>(*input).getValueAsString();
        }
    }
    return "<none>";
}

using InputText = kvtest::SampleTest;

TEST_F(InputText, AMaterialOfOnePackageRendersItsOwnGraph) {
    kv::Reference<Substance> m = kvSubstance::createSubstance(kvtest::sampleBytes("stone_tiles"));
    EXPECT_EQ(m->getPackageURL(), "pkg://samples/stone_tiles");
    EXPECT_EQ(m->getPackageStackDesc(), nullptr);
    ASSERT_EQ(m->getGraphInstances().size(), 1u);
    EXPECT_EQ(m->getGraphInstances()[0]->getOutputs().size(), 5u);
    kv::TempReference<ilSIDImage> texture = kvSubstance::getTextureFromSubstance(m.get());
    ASSERT_TRUE(texture);
    EXPECT_EQ(texture->getSize().x, 512);
}

TEST_F(InputText, TextSetsEveryComponentOrNothing) {
    kv::Reference<Substance> m = kvSubstance::createSubstance(kvtest::sampleBytes("stone_tiles"));
    SubstanceInput* tiles = m->getInput("tiles");
    ASSERT_TRUE(kvSubstance::setInputValueFromText(m, tiles, "6,3"));
    EXPECT_EQ(engineValue(m, "tiles"), "6,3");
    ASSERT_TRUE(kvSubstance::setInputValueFromText(m, tiles, "5"));
    EXPECT_EQ(engineValue(m, "tiles"), "5,5");
    for (const char* bad : {"1,2,3", "1.5,2", "x", "", " 4", "4,"}) {
        EXPECT_FALSE(kvSubstance::setInputValueFromText(m, tiles, bad)) << bad;
    }
    EXPECT_EQ(tiles->getValueI(0), 5);
    EXPECT_EQ(engineValue(m, "tiles"), "5,5");
    ASSERT_TRUE(kvSubstance::setInputValueFromText(m, m->getInput("stone_color"), "0.25,0.5,1"));
    EXPECT_EQ(engineValue(m, "stone_color"), "0.25,0.5,1");
}

TEST_F(InputText, PresetsOfBothStackedGraphsApply) {
    kv::Reference<Substance> m =
        kvSubstance::createSubstance(kvtest::sampleBytes("stone_tiles"), kvtest::sampleBytes("tint"));
    const SubstanceAir::Presets& presets = m->getGraphInstances().at(0)->getDesc().presets;
    const auto named = [&](const char* label) {
        return std::find_if(presets.begin(), presets.end(),
                            [&](const SubstanceAir::Preset& p) { return p.label == label; });
    };
    ASSERT_NE(named("Old courtyard"), presets.end());
    ASSERT_NE(named("Sepia"), presets.end());
    EXPECT_TRUE(kvSubstance::applyPreset(m, *named("Old courtyard")));
    EXPECT_TRUE(kvSubstance::applyPreset(m, *named("Sepia")));
    EXPECT_EQ(engineValue(m, "tiles"), "6,6");
    EXPECT_EQ(engineValue(m, "$randomseed"), "7");
    EXPECT_EQ(engineValue(m, "blend_mode"), "3");
    EXPECT_EQ(m->getInput("amount")->getValueF(0), 0.8f);

    // A value for an input the material does not have is passed over and reported.
    SubstanceAir::Preset foreign = *named("Sepia");
    foreign.inputValues[0].uid = 1;
    EXPECT_FALSE(kvSubstance::applyPreset(m, foreign));
}

} // namespace
