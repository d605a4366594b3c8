// Presets inside package descriptions and in separate documents.
#include "TestPackages.h"

#include <gtest/gtest.h>

using namespace SubstanceAir;

namespace {

TEST(PackagePresets, TakeUrlIdentifierAndTypeFromTheirGraph) {
    auto package = kvtest::loadDescription(kvtest::describe(
        3001, kvtest::graphWithOutput(
                  "pkg://wall", "<inputs><input uid=\"20\" type=\"8\" identifier=\"$outputsize\"/>"
                                "<input uid=\"10\" type=\"0\" identifier=\"rough\"/></inputs>"
                                "<sbspresets count=\"2\">"
                                "<sbspreset pkgurl=\"pkg://elsewhere\" label=\"Worn\" description=\"old\">"
                                "<presetinput uid=\"20\" identifier=\"lie\" type=\"0\" value=\"10,10\"/>"
                                "<presetinput uid=\"99\" identifier=\"ghost\" type=\"4\" value=\"3\"/>"
                                "<presetinput uid=\"x\" value=\"0.5\"/>"
                                "</sbspreset><sbspreset/></sbspresets>")));
    const Presets& presets = package->graphs().at(0).presets;
    ASSERT_EQ(presets.size(), 2u);
    const Preset& worn = presets[0];
    EXPECT_EQ(worn.packageUrl, "pkg://wall");
    EXPECT_EQ(worn.label, "Worn");
    EXPECT_EQ(worn.description, "old");
    ASSERT_EQ(worn.inputValues.size(), 3u);
    EXPECT_EQ(worn.inputValues[0].uid, 20u);
    EXPECT_EQ(worn.inputValues[0].type, Integer2);
    EXPECT_EQ(worn.inputValues[0].identifier, "$outputsize");
    EXPECT_EQ(worn.inputValues[0].value, "10,10");
    EXPECT_EQ(worn.inputValues[1].type, 65535u);
    EXPECT_EQ(worn.inputValues[1].identifier, "");
    EXPECT_EQ(worn.inputValues[2].uid, 0u);
    EXPECT_EQ(worn.inputValues[2].type, 65535u);
    EXPECT_EQ(presets[1].packageUrl, "pkg://wall");
    EXPECT_TRUE(presets[1].inputValues.empty());
}

TEST(PackagePresets, EmptyPresetsElementGivesNoPresets) {
    auto package = kvtest::loadDescription(
        kvtest::describe(3002, kvtest::graphWithOutput("pkg://a", "<sbspresets><other/></sbspresets>")));
    EXPECT_TRUE(package->graphs().at(0).presets.empty());
}

TEST(PresetsDocument, ReadsItsOwnAttributesAndAppends) {
    Presets presets(1);
    ASSERT_TRUE(parsePresetsDocument(presets, "<sbspresets><sbspreset pkgurl=\"pkg://a\" label=\"L\">"
                                              "<presetinput uid=\"5\" identifier=\"tiles\" type=\"9\" "
                                              "value=\"1,2,3\"/><presetinput uid=\"6\" value=\"1\"/>"
                                              "</sbspreset></sbspresets>"));
    ASSERT_EQ(presets.size(), 2u);
    const Preset& preset = presets[1];
    EXPECT_EQ(preset.packageUrl, "pkg://a");
    EXPECT_EQ(preset.label, "L");
    ASSERT_EQ(preset.inputValues.size(), 2u);
    EXPECT_EQ(preset.inputValues[0].uid, 5u);
    EXPECT_EQ(preset.inputValues[0].identifier, "tiles");
    EXPECT_EQ(preset.inputValues[0].type, Integer3);
    EXPECT_EQ(preset.inputValues[0].value, "1,2,3");
    EXPECT_EQ(preset.inputValues[1].type, 65535u);
    EXPECT_EQ(preset.inputValues[1].identifier, "");
}

TEST(PresetsDocument, ReportsFalseAndLeavesTheVectorWhenNothingIsRead) {
    Presets presets(2);
    EXPECT_FALSE(parsePresetsDocument(presets, "<sbspresets></sbspresets>"));
    EXPECT_FALSE(parsePresetsDocument(presets, "<presets><sbspreset/></presets>"));
    // The presets element must be the root, not a later top-level element.
    EXPECT_FALSE(parsePresetsDocument(presets, "<presets/><sbspresets><sbspreset label=\"L\"/></sbspresets>"));
    EXPECT_FALSE(parsePresetsDocument(presets, "<sbspresets><sbspreset></sbspresets>"));
    EXPECT_FALSE(parsePresetsDocument(presets, ""));
    EXPECT_FALSE(parsePresetsDocument(presets, nullptr));
    EXPECT_FALSE(parsePresetsDocument(presets, (std::string(100000, '<') + "sbspresets>").c_str()));
    EXPECT_EQ(presets.size(), 2u);
}

} // namespace
