// Materials made from package descriptions: how each framework input becomes
// a host input (type, default, widget, range, clamp, combo items) and what a
// material made from unusable packages looks like.
#include "../framework/TestPackages.h"

#include "bridge/SubstanceBridge.h"
#include "framework/render/PackageStackDesc.h"
#include "material/Substance.h"

#include <gtest/gtest.h>

#include <string>

using kvSubstance::Substance;
using kvSubstance::SubstanceInput;

namespace {

class CreationTest : public ::testing::Test {
protected:
    // A material whose bottom graph holds `inputs` (input elements) and whose top graph is a bare effect.
    kv::Reference<Substance> material(const std::string& inputs) {
        bottom = kvtest::loadDescription(
            kvtest::describe(11, kvtest::graphWithOutput("pkg://bottom", "<inputs>" + inputs + "</inputs>")));
        top = kvtest::loadDescription(kvtest::describe(12, kvtest::graphWithOutput("pkg://top")));
        return kvSubstance::createSubstance(bottom.get(), top.get());
    }
    // One float3 input carrying `gui` as its inputgui element.
    SubstanceInput* float3With(const std::string& gui) {
        made = material("<input uid=\"5\" identifier=\"c\" type=\"2\" default=\"0.5,0.2,0.1\">" + gui +
                        "</input>");
        return made->getInput("c");
    }

    std::unique_ptr<SubstanceAir::PackageDesc> bottom, top;
    kv::Reference<Substance> made;
};

TEST_F(CreationTest, TypesDefaultsAndIdentityComeFromTheFramework) {
    kv::Reference<Substance> m =
        material("<input uid=\"5\" identifier=\"c\" type=\"2\" default=\"0.5,0.2,0.1\"/>"
                 "<input uid=\"6\" identifier=\"n\" type=\"10\" default=\"1,2,3,4\"/>"
                 "<input uid=\"7\" identifier=\"img\" type=\"5\">"
                 "<inputgui widget=\"image\" label=\"Picture\"/></input>");
    EXPECT_EQ(m->getPackageURL(), "pkg://bottom/pkg://top");
    EXPECT_EQ(m->getLabel().utf8(), "pkg://bottom");
    ASSERT_EQ(m->getGraphInstances().size(), 1u);
    EXPECT_EQ(m->numInputs(), 2); // the image input has no host counterpart

    SubstanceInput* c = m->getInput("c");
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->getType(), kvSubstance::TypeFloat3);
    EXPECT_EQ(c->getUID(), 5u);
    const float expected[] = {0.5f, 0.2f, 0.1f, 0.0f};
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(c->getDefaultF(k), expected[k]) << k;
        EXPECT_EQ(c->getValueF(k), expected[k]) << k;
    }
    SubstanceInput* n = m->getInput("n");
    ASSERT_NE(n, nullptr);
    EXPECT_EQ(n->getType(), kvSubstance::TypeInt4);
    EXPECT_EQ(n->getValueI(3), 4);
    EXPECT_FALSE(m->isModified());
}

TEST_F(CreationTest, WidgetNamesAreMatchedExactly) {
    SubstanceInput* slider = float3With("<inputgui widget=\"slider\" label=\"Tint\" description=\"How much\">"
                                        "<guislider min=\"0\" max=\"1\"/></inputgui>");
    EXPECT_EQ(slider->getWidget(), kvSubstance::WidgetSlider);
    EXPECT_EQ(slider->getLabel().utf8(), "Tint");
    EXPECT_EQ(slider->getDescription().utf8(), "How much");
    EXPECT_TRUE(slider->hasMax());

    // A capital letter makes it no widget, and then nothing else is read either.
    SubstanceInput* capital =
        float3With("<inputgui widget=\"Slider\" label=\"Tint\"><guislider min=\"0\"/></inputgui>");
    EXPECT_EQ(capital->getWidget(), kvSubstance::WidgetNone);
    EXPECT_EQ(capital->getLabel().utf8(), "");
    EXPECT_FALSE(capital->hasMin());

    EXPECT_EQ(float3With("<inputgui widget=\"angle\"/>")->getWidget(), kvSubstance::WidgetAngle);
    EXPECT_EQ(float3With("<inputgui widget=\"color\"/>")->getWidget(), kvSubstance::WidgetColor);
    EXPECT_EQ(float3With("<inputgui widget=\"togglebutton\"/>")->getWidget(),
              kvSubstance::WidgetToggleButton);
    EXPECT_EQ(float3With("<inputgui widget=\"combobox\"/>")->getWidget(), kvSubstance::WidgetComboBox);
    EXPECT_EQ(float3With("<inputgui widget=\"image\"/>")->getWidget(), kvSubstance::WidgetImage);
}

TEST_F(CreationTest, RangeTextsShareOneScratchValue) {
    SubstanceInput* broadcast = float3With("<inputgui widget=\"slider\"><guislider min=\"0.5\"/></inputgui>");
    EXPECT_EQ(broadcast->getMinF(0), 0.5f);
    EXPECT_EQ(broadcast->getMinF(2), 0.5f);
    EXPECT_EQ(broadcast->getMinF(3), 0.0f);

    // Two numbers fit neither one per component nor one for all: the scratch stays zero.
    SubstanceInput* misfit = float3With("<inputgui widget=\"slider\"><guislider min=\"1,2\"/></inputgui>");
    EXPECT_TRUE(misfit->hasMin());
    EXPECT_EQ(misfit->getMinF(0), 0.0f);
    EXPECT_EQ(misfit->getMinF(1), 0.0f);

    // ... and a later misfit hands on what the earlier text left.
    SubstanceInput* carried = float3With(
        "<inputgui widget=\"slider\"><guislider min=\"3,4,5\" max=\"1,2\" step=\"0.25\"/></inputgui>");
    EXPECT_EQ(carried->getMaxF(0), 3.0f);
    EXPECT_EQ(carried->getMaxF(2), 5.0f);
    EXPECT_EQ(carried->getStepF(1), 0.25f);
}

TEST_F(CreationTest, ClampIsOnOnlyForOnInAnyCase) {
    EXPECT_TRUE(
        float3With("<inputgui widget=\"slider\"><guislider clamp=\"ON\"/></inputgui>")->shouldClamp());
    EXPECT_FALSE(
        float3With("<inputgui widget=\"slider\"><guislider clamp=\"yes\"/></inputgui>")->shouldClamp());
    EXPECT_FALSE(float3With("<inputgui widget=\"slider\"><guislider/></inputgui>")->shouldClamp());
}

TEST_F(CreationTest, ComboItemsStandAtThePositionsOfTheirValues) {
    const auto combo = [&](const std::string& items) {
        kv::Reference<Substance> m = material("<input uid=\"5\" identifier=\"mode\" type=\"4\"><inputgui "
                                              "widget=\"combobox\" label=\"Mode\"><guicombobox>" +
                                              items + "</guicombobox></inputgui></input>");
        std::vector<std::string> texts;
        for (const kvString::IString& text : m->getInput("mode")->getComboItem()) {
            texts.push_back(text.utf8());
        }
        EXPECT_TRUE(m->getInput("mode")->isCombo());
        return texts;
    };
    const auto item = [](int value) {
        return "<guicomboboxitem value=\"" + std::to_string(value) + "\" text=\"t" + std::to_string(value) +
               "\"/>";
    };
    EXPECT_EQ(combo(item(0) + item(2) + item(3)), (std::vector<std::string>{"t0", "-", "t2", "t3"}));
    EXPECT_EQ(combo(item(2) + item(1)), (std::vector<std::string>{"-", "t1", "t2"}));
    EXPECT_EQ(combo(item(40)), std::vector<std::string>(36, "-"));
    // A repeated value is added once; an item without a value is passed over.
    std::vector<std::string> once(36, "-");
    once[0] = "t0";
    EXPECT_EQ(combo(item(0) + item(0) + "<guicomboboxitem text=\"loose\"/>"), once);
}

TEST_F(CreationTest, GuiTextsPastTheWorkBufferAreCutAndSoUnread) {
    SubstanceInput* longText =
        float3With("<inputgui widget=\"slider\" label=\"" + std::string(1100, 'x') + "\"/>");
    ASSERT_NE(longText, nullptr);
    EXPECT_EQ(longText->getWidget(), kvSubstance::WidgetNone);
    EXPECT_EQ(longText->getValueF(0), 0.5f);
}

TEST(CreationFailure, PackagesWithoutGraphsGiveAMaterialWithoutGraphs) {
    const std::vector<char> valid =
        kvtest::makePackage(kvtest::describe(13, kvtest::graphWithOutput("pkg://a")));
    const std::vector<char> noGraphs = kvtest::makePackage(kvtest::describe(14, ""));
    for (int order = 0; order < 2; ++order) {
        kv::Reference<Substance> m = kvSubstance::createSubstance(
            kv::vector<char>(order == 0 ? noGraphs : valid), kv::vector<char>(order == 0 ? valid : noGraphs));
        ASSERT_TRUE(m);
        EXPECT_TRUE(m->getGraphInstances().empty());
        EXPECT_EQ(m->numInputs(), 0);
        EXPECT_EQ(m->getPackageURL(), "");
        EXPECT_FALSE(kvSubstance::getTextureFromSubstance(m.get()));
        m->applyStateString(m->getStateString());
    }
}

// Bytes that are no package deliver nothing through the linker, so they read
// as the package unpacked before them; whatever they give must render or
// fail quietly.
TEST(CreationFailure, BytesThatAreNoPackageNeverCrash) {
    const std::vector<char> valid =
        kvtest::makePackage(kvtest::describe(15, kvtest::graphWithOutput("pkg://b")));
    const std::vector<std::vector<char>> bad = {
        {},
        std::vector<char>(valid.begin(), valid.begin() + static_cast<long>(valid.size() / 2)),
        std::vector<char>(4096, 'x')};
    for (const std::vector<char>& bytes : bad) {
        kv::Reference<Substance> m =
            kvSubstance::createSubstance(kv::vector<char>(bytes), kv::vector<char>(bytes));
        ASSERT_TRUE(m);
        kvSubstance::getTextureFromSubstance(m.get());
        m->applyStateString(m->getStateString());
        kvSubstance::getTextureFromSubstance(m.get());
    }
}

} // namespace
