// The packages the compiler writes, read by the two description readers of
// the library: the framework's package description and the host-side
// material reader. Each must see what the source declares.
#include "tools/compiler/PackageCompiler.h"

#include "framework/description/PackageDesc.h"
#include "material/Substance.h"
#include "material/SubstanceInput.h"
#include "material/SubstanceOutput.h"
#include "material/SubstanceReader.h"

#include <gtest/gtest.h>
#include <tinyxml.h>

#include <fstream>
#include <sstream>

namespace {

using SubstanceAir::InputDescBase;
using SubstanceAir::InputDescNumerical;

kvcompiler::CompiledPackage compileSample(const std::string& name) {
    std::ifstream file(std::string(KV_SOURCE_DIR) + "/samples/" + name + ".json");
    std::stringstream text;
    text << file.rdbuf();
    return kvcompiler::compilePackageSource(text.str(), name + ".json");
}

const InputDescBase* inputNamed(const SubstanceAir::GraphDesc& graph, const std::string& identifier) {
    for (const auto& input : graph.inputs)
        if (input->identifier == identifier)
            return input.get();
    ADD_FAILURE() << "no input " << identifier;
    return nullptr;
}

const SubstanceAir::OutputDesc* outputNamed(const SubstanceAir::GraphDesc& graph,
                                            const std::string& identifier) {
    for (const auto& output : graph.outputs)
        if (output.identifier == identifier)
            return &output;
    ADD_FAILURE() << "no output " << identifier;
    return nullptr;
}

TEST(CompiledPackageReaders, FrameworkSeesTypesValuesChannelsAndPresets) {
    kvcompiler::CompiledPackage compiled = compileSample("stone_tiles");
    SubstanceAir::PackageDesc package(compiled.bytes.data(), compiled.bytes.size(), nullptr);
    ASSERT_EQ(package.graphs().size(), 1u);
    EXPECT_EQ(package.asmUid(), compiled.assembly.uid);
    const SubstanceAir::GraphDesc& graph = package.graphs()[0];
    EXPECT_EQ(graph.packageUrl, "pkg://samples/stone_tiles");
    EXPECT_EQ(graph.label, "Stone Tiles");

    ASSERT_EQ(graph.outputs.size(), 5u);
    EXPECT_EQ(outputNamed(graph, "Output")->channel, 0u);
    EXPECT_EQ(outputNamed(graph, "normal")->channel, 6u);
    EXPECT_EQ(outputNamed(graph, "height")->channel, 8u);
    EXPECT_EQ(outputNamed(graph, "height")->format, 28);
    EXPECT_EQ(outputNamed(graph, "roughness")->channel, 14u);
    EXPECT_EQ(outputNamed(graph, "roughness")->label, "Roughness");
    EXPECT_EQ(outputNamed(graph, "ambient_occlusion")->channel, 4u);

    // Every declared input plus $outputsize (and the declared $randomseed).
    EXPECT_EQ(graph.inputs.size(), 13u);
    const auto* tiles =
        dynamic_cast<const InputDescNumerical<SubstanceAir::Math::Vector2<int>>*>(inputNamed(graph, "tiles"));
    ASSERT_NE(tiles, nullptr);
    EXPECT_EQ(tiles->defaultValue.x, 4);
    EXPECT_EQ(tiles->maxValue.y, 16);
    EXPECT_EQ(tiles->minValue.x, 1);
    EXPECT_EQ(tiles->label, "Tiles");
    const auto* colour = dynamic_cast<const InputDescNumerical<SubstanceAir::Math::Vector3<float>>*>(
        inputNamed(graph, "stone_color"));
    ASSERT_NE(colour, nullptr);
    EXPECT_FLOAT_EQ(colour->defaultValue.y, 0.55f);
    const auto* wear = dynamic_cast<const InputDescNumerical<float>*>(inputNamed(graph, "wear"));
    ASSERT_NE(wear, nullptr);
    EXPECT_FLOAT_EQ(wear->defaultValue, 0.5f);
    EXPECT_FLOAT_EQ(wear->maxValue, 1.0f);
    EXPECT_TRUE(inputNamed(graph, "$outputsize")->isSystem);
    EXPECT_EQ(inputNamed(graph, "$outputsize")->alteredOutputUids.size(), 5u);
    EXPECT_EQ(inputNamed(graph, "roughness")->alteredOutputUids,
              std::vector<unsigned int>{outputNamed(graph, "roughness")->uid});
    // The height's eight shape inputs reach it through the height; colours and normal strength do not.
    EXPECT_EQ(outputNamed(graph, "roughness")->alteringInputUids.size(), 8u + 2u);

    ASSERT_EQ(graph.presets.size(), 2u);
    EXPECT_EQ(graph.presets[1].label, "Old courtyard");
    ASSERT_FALSE(graph.presets[1].inputValues.empty());
    EXPECT_EQ(graph.presets[1].inputValues[0].identifier, "tiles");
    EXPECT_EQ(graph.presets[1].inputValues[0].type, 8u);
    EXPECT_EQ(graph.presets[1].inputValues[0].value, "6,6");
}

TEST(CompiledPackageReaders, GuiTextParsesAsTheModelBuilderReadsIt) {
    kvcompiler::CompiledPackage compiled = compileSample("stone_tiles");
    SubstanceAir::PackageDesc package(compiled.bytes.data(), compiled.bytes.size(), nullptr);
    ASSERT_EQ(package.graphs().size(), 1u);
    for (const auto& input : package.graphs()[0].inputs) {
        if (input->guiXml.empty())
            continue;
        SCOPED_TRACE(input->identifier);
        EXPECT_LT(input->guiXml.size() + 1, 1024u);
        TiXmlElement gui("");
        ASSERT_NE(gui.Parse(input->guiXml.c_str(), nullptr, TIXML_ENCODING_UTF8), nullptr);
        ASSERT_NE(gui.Attribute("widget"), nullptr);
        const TiXmlElement* widget = gui.FirstChildElement();
        ASSERT_NE(widget, nullptr);
        if (std::string(gui.Attribute("widget")) == "combobox") {
            EXPECT_STREQ(widget->Value(), "guicombobox");
            int items = 0;
            for (const TiXmlElement* item = widget->FirstChildElement("guicomboboxitem"); item;
                 item = item->NextSiblingElement("guicomboboxitem"))
                EXPECT_EQ(std::atoi(item->Attribute("value")), items++);
            EXPECT_EQ(items, 2);
        }
    }
}

TEST(CompiledPackageReaders, MaterialReaderSeesWidgetsRangesAndDependencies) {
    kvcompiler::CompiledPackage compiled = compileSample("stone_tiles");
    kv::Reference<kvSubstance::Substance> material =
        kvSubstance::SubstanceReader::getInstance().readFromXMLData(compiled.description.c_str());
    ASSERT_TRUE(material);
    EXPECT_STREQ(material->getPackageURL().asChar(), "pkg://samples/stone_tiles");
    EXPECT_EQ(material->numOutputs(), 5);
    EXPECT_EQ(material->numInputs(), 13);

    kvSubstance::SubstanceOutput* output = material->getOutput(kvString::CString("Output"));
    ASSERT_NE(output, nullptr);
    EXPECT_EQ(output->getXSize(), 512);
    EXPECT_TRUE(output->getDynamicSize());

    kvSubstance::SubstanceInput* grout = material->getInput(kvString::CString("grout_width"));
    ASSERT_NE(grout, nullptr);
    EXPECT_EQ(grout->getType(), kvSubstance::TypeFloat1);
    EXPECT_EQ(grout->getWidget(), kvSubstance::WidgetSlider);
    EXPECT_FLOAT_EQ(grout->getDefaultF(0), 0.08f);
    EXPECT_FLOAT_EQ(grout->getMaxF(0), 0.4f);
    EXPECT_FLOAT_EQ(grout->getStepF(0), 0.01f);
    EXPECT_TRUE(grout->shouldClamp());
    EXPECT_EQ(grout->getLabel().utf8(), "Grout width");

    kvSubstance::SubstanceInput* angle = material->getInput(kvString::CString("grain_angle"));
    ASSERT_NE(angle, nullptr);
    EXPECT_EQ(angle->getWidget(), kvSubstance::WidgetAngle);
    EXPECT_FALSE(angle->shouldClamp());
    EXPECT_EQ(material->getInput(kvString::CString("stone_color"))->getWidget(), kvSubstance::WidgetColor);
    EXPECT_EQ(material->getInput(kvString::CString("cracks"))->getWidget(), kvSubstance::WidgetToggleButton);
    EXPECT_EQ(material->getInput(kvString::CString("tiles"))->getMaxI(1), 16);

    // Changing the roughness marks the roughness output, and only it, modified.
    material->clearModified();
    kvSubstance::SubstanceInput* roughness = material->getInput(kvString::CString("roughness"));
    ASSERT_NE(roughness, nullptr);
    roughness->setValueF(0.3f, 0);
    EXPECT_TRUE(material->getOutput(kvString::CString("roughness"))->isModified());
    EXPECT_FALSE(material->getOutput(kvString::CString("Output"))->isModified());
}

} // namespace
