// Outputs and inputs as read from package descriptions.
#include "TestPackages.h"

#include "framework/description/ChannelUsage.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace SubstanceAir;

namespace {

// One graph whose outputs and inputs are given; asmUid 1000 is reused by every
// test of this file (each package dies before the next is made).
std::unique_ptr<PackageDesc> loadGraph(const std::string& outputs, const std::string& inputs = "") {
    return kvtest::loadDescription(kvtest::describe(1000, "<graph pkgurl=\"pkg://g\"><outputs>" + outputs +
                                                              "</outputs><inputs>" + inputs +
                                                              "</inputs></graph>"));
}

template <typename T>
const InputDescNumerical<T>& numericalInput(const PackageDesc& package, size_t index) {
    const InputDescBase& base = *package.graphs().at(0).inputs.at(index);
    const auto* typed = dynamic_cast<const InputDescNumerical<T>*>(&base);
    EXPECT_NE(typed, nullptr) << "input " << index << " has another class";
    return *typed;
}

TEST(ChannelUsageTable, HoldsTheUsageNamesInIndexOrder) {
    const char* const* names = getChannelNames();
    EXPECT_STREQ(names[0], "diffuse");
    EXPECT_STREQ(names[4], "ambientOcclusion");
    EXPECT_STREQ(names[14], "roughness");
    EXPECT_STREQ(names[21], "IOR");
    EXPECT_STREQ(names[ChannelUsageCount - 1], "scattering3");
}

TEST(OutputParsing, ReadsAttributesGuiAndChannel) {
    auto package = loadGraph("<output uid=\"3\" identifier=\"rough\" format=\"12\" mipmaps=\"4\">"
                             "<outputgui label=\"Roughness\"><channels><channel names=\"roughness\"/>"
                             "</channels></outputgui></output>"
                             "<output/>");
    const OutputDescs& outputs = package->graphs().at(0).outputs;
    ASSERT_EQ(outputs.size(), 2u);
    const OutputDesc& bare = outputs[0];
    EXPECT_EQ(bare.uid, 0u);
    EXPECT_EQ(bare.identifier, "");
    EXPECT_EQ(bare.label, "");
    EXPECT_EQ(bare.format, 0);
    EXPECT_EQ(bare.mipmaps, 0u);
    EXPECT_EQ(bare.channel, 0u);
    const OutputDesc& rough = outputs[1];
    EXPECT_EQ(rough.uid, 3u);
    EXPECT_EQ(rough.identifier, "rough");
    EXPECT_EQ(rough.label, "Roughness");
    EXPECT_EQ(rough.format, 12);
    EXPECT_EQ(rough.mipmaps, 4u);
    EXPECT_EQ(rough.channel, 14u);
}

TEST(OutputParsing, MatchesOnlyTheFirstChannelAsAWholeCaseSensitiveName) {
    auto package = loadGraph(
        "<output uid=\"1\"><outputgui><channels><channel "
        "names=\"Roughness\"/></channels></outputgui></output>"
        "<output uid=\"2\"><outputgui><channels><channel names=\"IOR\"/></channels></outputgui></output>"
        "<output uid=\"3\"><outputgui><channels><channel names=\"normal\"/><channel names=\"height\"/>"
        "</channels></outputgui></output>"
        "<output uid=\"4\"><outputgui><channels><channel names=\"normal "
        "height\"/></channels></outputgui></output>"
        "<output uid=\"5\"><outputgui label=\"x\"/></output>");
    const OutputDescs& outputs = package->graphs().at(0).outputs;
    ASSERT_EQ(outputs.size(), 5u);
    EXPECT_EQ(outputs[0].channel, 0u);
    EXPECT_EQ(outputs[1].channel, 21u);
    EXPECT_EQ(outputs[2].channel, 6u);
    EXPECT_EQ(outputs[3].channel, 0u);
    EXPECT_EQ(outputs[4].channel, 0u);
}

TEST(OutputParsing, SortsOutputsByUidAndKeepsDuplicates) {
    auto package = loadGraph("<output uid=\"30\" identifier=\"c\"/><output uid=\"10\" identifier=\"a\"/>"
                             "<output uid=\"20\" identifier=\"b\"/><output uid=\"10\" identifier=\"a2\"/>");
    const OutputDescs& outputs = package->graphs().at(0).outputs;
    ASSERT_EQ(outputs.size(), 4u);
    EXPECT_EQ(outputs[0].identifier, "a");
    EXPECT_EQ(outputs[1].identifier, "a2");
    EXPECT_EQ(outputs[2].identifier, "b");
    EXPECT_EQ(outputs[3].identifier, "c");
}

TEST(InputParsing, AcceptsOnlyKnownTypes) {
    auto package =
        loadGraph("<output uid=\"1\"/>", "<input uid=\"1\" type=\"6\"/><input uid=\"2\" type=\"7\"/>"
                                         "<input uid=\"3\" type=\"11\"/><input uid=\"4\"/>"
                                         "<input uid=\"5\" type=\"-1\"/><input uid=\"6\" type=\"5\"/>"
                                         "<input uid=\"7\" type=\"10\"/>");
    const InputDescs& inputs = package->graphs().at(0).inputs;
    ASSERT_EQ(inputs.size(), 2u);
    EXPECT_EQ(inputs[0]->uid, 6u);
    EXPECT_TRUE(inputs[0]->isImage());
    EXPECT_FALSE(inputs[0]->isNumerical());
    EXPECT_EQ(inputs[1]->uid, 7u);
    EXPECT_EQ(inputs[1]->type, Integer4);
    EXPECT_TRUE(inputs[1]->isNumerical());
}

TEST(InputParsing, ConvertsScalarTextsWhole) {
    auto package = loadGraph("<output uid=\"1\"/>",
                             "<input uid=\"1\" type=\"0\" default=\"0.25\" min=\"-1\" max=\"1e2\"/>"
                             "<input uid=\"2\" type=\"0\" default=\" 1\" min=\"1 \" max=\"2x\"/>"
                             "<input uid=\"3\" type=\"4\" default=\"3.5\" min=\"-7\" max=\"\"/>"
                             "<input uid=\"4\" type=\"4\" default=\"12\"/>");
    const auto& good = numericalInput<float>(*package, 0);
    EXPECT_FLOAT_EQ(good.defaultValue, 0.25f);
    EXPECT_FLOAT_EQ(good.minValue, -1.0f);
    EXPECT_FLOAT_EQ(good.maxValue, 100.0f);
    const auto& spaced = numericalInput<float>(*package, 1);
    EXPECT_EQ(spaced.defaultValue, 0.0f);
    EXPECT_EQ(spaced.minValue, 0.0f);
    EXPECT_EQ(spaced.maxValue, 0.0f);
    const auto& integer = numericalInput<int>(*package, 2);
    EXPECT_EQ(integer.defaultValue, 0);
    EXPECT_EQ(integer.minValue, -7);
    EXPECT_EQ(integer.maxValue, 0);
    const auto& noRange = numericalInput<int>(*package, 3);
    EXPECT_EQ(noRange.defaultValue, 12);
    EXPECT_EQ(noRange.minValue, 0);
    EXPECT_EQ(noRange.maxValue, 0);
}

TEST(InputParsing, ReadsVectorsOnlyWithExactlyTheirComponentCount) {
    auto package =
        loadGraph("<output uid=\"1\"/>", "<input uid=\"1\" type=\"2\" default=\"1,2\"/>"
                                         "<input uid=\"2\" type=\"2\" default=\"1,2,3,4\"/>"
                                         "<input uid=\"3\" type=\"2\" default=\"1,2.5,3\"/>"
                                         "<input uid=\"4\" type=\"1\" default=\"1, 2\"/>"
                                         "<input uid=\"5\" type=\"1\" default=\"1,2,\"/>"
                                         "<input uid=\"6\" type=\"8\" default=\"9,10\" max=\"4,x\"/>"
                                         "<input uid=\"7\" type=\"10\" default=\"1,-2,3,4\"/>");
    typedef Math::Vector3<float> F3;
    EXPECT_EQ(numericalInput<F3>(*package, 0).defaultValue, (F3{0, 0, 0}));
    EXPECT_EQ(numericalInput<F3>(*package, 1).defaultValue, (F3{0, 0, 0}));
    EXPECT_EQ(numericalInput<F3>(*package, 2).defaultValue, (F3{1, 2.5f, 3}));
    EXPECT_EQ(numericalInput<Math::Vector2<float>>(*package, 3).defaultValue, (Math::Vector2<float>{0, 0}));
    EXPECT_EQ(numericalInput<Math::Vector2<float>>(*package, 4).defaultValue, (Math::Vector2<float>{0, 0}));
    EXPECT_EQ(numericalInput<Math::Vector2<int>>(*package, 5).defaultValue, (Math::Vector2<int>{9, 10}));
    EXPECT_EQ(numericalInput<Math::Vector2<int>>(*package, 5).maxValue, (Math::Vector2<int>{0, 0}));
    EXPECT_EQ(numericalInput<Math::Vector4<int>>(*package, 6).defaultValue,
              (Math::Vector4<int>{1, -2, 3, 4}));
}

TEST(InputParsing, SystemFlagLabelAndGuiXml) {
    auto package =
        loadGraph("<output uid=\"1\"/>",
                  "<input uid=\"1\" type=\"8\" identifier=\"$outputsize\"/>"
                  "<input uid=\"2\" type=\"0\" identifier=\"a$b\"/>"
                  "<input uid=\"3\" type=\"0\"/>"
                  "<input uid=\"4\" type=\"0\" identifier=\"rough\">\n  <inputgui widget=\"slider\" "
                  "label=\"Roughness\">\n"
                  "    <guislider min=\"0\" max=\"1\" step=\"0.01\" clamp=\"on\"/>\n  </inputgui>\n</input>"
                  "<input uid=\"5\" type=\"0\" identifier=\"nolabel\"><inputgui widget=\"slider\"/></input>");
    const InputDescs& inputs = package->graphs().at(0).inputs;
    ASSERT_EQ(inputs.size(), 5u);
    EXPECT_TRUE(inputs[0]->isSystem);
    EXPECT_EQ(inputs[0]->label, "$outputsize");
    EXPECT_EQ(inputs[0]->guiXml, "");
    EXPECT_FALSE(inputs[1]->isSystem);
    EXPECT_FALSE(inputs[2]->isSystem);
    EXPECT_EQ(inputs[2]->label, "");
    EXPECT_EQ(inputs[3]->label, "Roughness");
    EXPECT_EQ(inputs[3]->guiXml,
              "<inputgui widget=\"slider\" label=\"Roughness\"><guislider min=\"0\" max=\"1\" "
              "step=\"0.01\" clamp=\"on\" /></inputgui>");
    EXPECT_EQ(inputs[4]->label, "");
    EXPECT_EQ(inputs[4]->guiXml, "<inputgui widget=\"slider\" />");
}

TEST(InputParsing, LinksAlteredOutputsBothWays) {
    auto package = loadGraph("<output uid=\"7\"/><output uid=\"5\"/><output uid=\"6\"/>",
                             "<input uid=\"9\" type=\"0\" alteroutputs=\"7,abc,5\"/>"
                             "<input uid=\"3\" type=\"0\" alteroutputs=\"5,99\"/>"
                             "<input uid=\"4\" type=\"0\"/>");
    const GraphDesc& graph = package->graphs().at(0);
    ASSERT_EQ(graph.inputs.size(), 3u);
    EXPECT_EQ(graph.inputs[0]->alteredOutputUids, (std::vector<unsigned int>{5}));
    EXPECT_TRUE(graph.inputs[1]->alteredOutputUids.empty());
    EXPECT_EQ(graph.inputs[2]->alteredOutputUids, (std::vector<unsigned int>{5, 7}));
    EXPECT_EQ(graph.outputs[0].alteringInputUids, (std::vector<unsigned int>{3, 9}));
    EXPECT_TRUE(graph.outputs[1].alteringInputUids.empty());
    EXPECT_EQ(graph.outputs[2].alteringInputUids, (std::vector<unsigned int>{9}));
}

TEST(InputParsing, MalformedAlterationTokenNamesOutputZero) {
    auto package = loadGraph("<output uid=\"5\"/><output uid=\"7\"/><output uid=\"0\"/>",
                             "<input uid=\"2\" type=\"0\" alteroutputs=\"5,abc,7\"/>");
    const GraphDesc& graph = package->graphs().at(0);
    EXPECT_EQ(graph.inputs.at(0)->alteredOutputUids, (std::vector<unsigned int>{0, 5, 7}));
    EXPECT_EQ(graph.outputs.at(0).alteringInputUids, (std::vector<unsigned int>{2}));
}

TEST(InputDescriptors, CloneKeepsClassAndEveryField) {
    auto package =
        loadGraph("<output uid=\"5\"/>",
                  "<input uid=\"8\" type=\"9\" identifier=\"$tiles\" default=\"1,2,3\" min=\"0,0,0\" "
                  "max=\"9,9,9\" alteroutputs=\"5\"><inputgui label=\"Tiles\"/></input>");
    typedef InputDescNumerical<Math::Vector3<int>> Desc;
    const Desc& source = numericalInput<Math::Vector3<int>>(*package, 0);
    const std::unique_ptr<InputDescBase> copy = source.clone();
    const Desc* typed = dynamic_cast<const Desc*>(copy.get());
    ASSERT_NE(typed, nullptr);
    EXPECT_NE(typed, &source);
    EXPECT_EQ(typed->identifier, "$tiles");
    EXPECT_EQ(typed->uid, 8u);
    EXPECT_EQ(typed->type, Integer3);
    EXPECT_EQ(typed->label, "Tiles");
    EXPECT_TRUE(typed->isSystem);
    EXPECT_EQ(typed->guiXml, source.guiXml);
    EXPECT_EQ(typed->alteredOutputUids, (std::vector<unsigned int>{5}));
    EXPECT_EQ(typed->defaultValue, (Math::Vector3<int>{1, 2, 3}));
    EXPECT_EQ(typed->minValue, (Math::Vector3<int>{0, 0, 0}));
    EXPECT_EQ(typed->maxValue, (Math::Vector3<int>{9, 9, 9}));
}

} // namespace
