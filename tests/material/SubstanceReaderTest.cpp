#include "material/Substance.h"
#include "platform/base/XmlGuard.h"
#include "tests/material/ModelTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>

namespace {

using namespace kvSubstance;
using kvString::CString;

kv::Reference<Substance> read(const std::string& xml) {
    return SubstanceReader::getInstance().readFromXMLData(xml.c_str());
}

// A description with one graph holding outputs and inputs as given.
std::string describe(const std::string& outputs, const std::string& inputs,
                     const std::string& graphs = "<graphs count=\"1\">",
                     const std::string& content = "full") {
    return "<sbsdescription content=\"" + content + "\">" + graphs + "<graph pkgurl=\"pkg:/t\" label=\"T\">" +
           "<outputs>" + outputs + "</outputs><inputs>" + inputs +
           "</inputs></graph></graphs></sbsdescription>";
}

const std::string kOutput = "<output uid=\"5\" identifier=\"out\" format=\"4\" width=\"256\" height=\"128\" "
                            "mipmaps=\"3\"/>";

std::string input(const std::string& attributes, const std::string& children = "") {
    return "<input " + attributes + ">" + children + "</input>";
}

TEST(SubstanceReader, ReadsTheSampleDescription) {
    std::ifstream file(KV_SOURCE_DIR "/samples/descriptions/painted_plaster.xml");
    std::stringstream text;
    text << file.rdbuf();
    kv::Reference<Substance> material = read(text.str());
    ASSERT_TRUE(material);
    EXPECT_STREQ(material->getPackageURL().asChar(), "pkg://painted_plaster");
    EXPECT_EQ(material->getLabel().utf8(), "Painted Plaster");
    EXPECT_EQ(material->numOutputs(), 5);
    EXPECT_EQ(material->numInputs(), 13);

    SubstanceInput* size = material->getInput(CString("$outputsize"));
    ASSERT_NE(size, nullptr);
    EXPECT_EQ(size->getType(), TypeInt2);
    EXPECT_EQ(size->getValueI(1), 9);
    EXPECT_EQ(size->getMaxI(0), 12);
    EXPECT_TRUE(size->shouldClamp());

    SubstanceInput* color = material->getInput(CString("paint_color"));
    ASSERT_NE(color, nullptr);
    EXPECT_EQ(color->getWidget(), WidgetColor);
    EXPECT_FLOAT_EQ(color->getDefaultF(2), 0.58f);
    EXPECT_TRUE(color->isDefaultValue());

    SubstanceInput* finish = material->getInput(CString("finish"));
    ASSERT_NE(finish, nullptr);
    EXPECT_EQ(finish->getWidget(), WidgetNone); // "combobox" is not a widget name here
    EXPECT_TRUE(finish->showInGUI());
    EXPECT_EQ(material->getInput(CString("stencil"))->getType(), TypeImage);
    EXPECT_EQ(material->getOutput(CString("height"))->getFormat(), Format7);
    EXPECT_FALSE(material->getOutput(CString("ambientocclusion"))->getDynamicSize());
    EXPECT_FALSE(material->isModified());

    // Every output altered by the seed hears of its change.
    material->getInput(CString("$randomseed"))->setValueI(7, 0);
    EXPECT_TRUE(material->getOutput(CString("normal"))->isModified());
    EXPECT_TRUE(material->isModified());
}

TEST(SubstanceReader, OutputAttributes) {
    kv::Reference<Substance> material =
        read(describe(kOutput + "<output uid=\"6\" identifier=\"odd\" format=\"2\" width=\"1\" height=\"1\" "
                                "mipmaps=\"0\" dynamicsize=\"YES\"/>",
                      ""));
    ASSERT_TRUE(material);
    SubstanceOutput* out = material->getOutput(CString("out"));
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(out->getUID(), 5u);
    EXPECT_EQ(out->getFormat(), Format1);
    EXPECT_EQ(out->getXSize(), 256);
    EXPECT_EQ(out->getYSize(), 128);
    EXPECT_EQ(out->getNumMipMaps(), 3);
    EXPECT_FALSE(out->getDynamicSize());
    SubstanceOutput* odd = material->getOutput(CString("odd"));
    ASSERT_NE(odd, nullptr);
    EXPECT_EQ(odd->getFormat(), FormatInvalid);
    EXPECT_TRUE(odd->getDynamicSize());
}

TEST(SubstanceReader, TypeCodesAndValueLists) {
    kv::Reference<Substance> material =
        read(describe(kOutput, input("uid=\"1\" identifier=\"six\" type=\"6\" default=\"2.5\"") +
                                   input("uid=\"2\" identifier=\"pair\" type=\"1\" default=\"1,2,3\"") +
                                   input("uid=\"3\" identifier=\"triple\" type=\"2\" default=\"4\"") +
                                   input("uid=\"4\" identifier=\"count\" type=\"4\" default=\"3.9\"") +
                                   input("uid=\"5\" identifier=\"junk\" type=\"8\" default=\"x,-7y\"")));
    ASSERT_TRUE(material);
    SubstanceInput* six = material->getInput(CString("six"));
    EXPECT_EQ(six->getType(), TypeFloat1);
    EXPECT_FLOAT_EQ(six->getValueF(0), 2.5f);
    SubstanceInput* pair = material->getInput(CString("pair"));
    EXPECT_FLOAT_EQ(pair->getDefaultF(1), 2);
    EXPECT_FLOAT_EQ(pair->getDefaultF(2), 0);
    SubstanceInput* triple = material->getInput(CString("triple"));
    EXPECT_FLOAT_EQ(triple->getValueF(0), 4);
    EXPECT_FLOAT_EQ(triple->getValueF(1), 0);
    EXPECT_EQ(material->getInput(CString("count"))->getValueI(0), 3);
    SubstanceInput* junk = material->getInput(CString("junk"));
    EXPECT_EQ(junk->getValueI(0), 0);
    EXPECT_EQ(junk->getValueI(1), -7); // the leading integer of "-7y"
    EXPECT_TRUE(junk->hasDefault());
}

TEST(SubstanceReader, GuiRangesAndTheSharedHasDefaultRule) {
    kv::Reference<Substance> material =
        read(describe(kOutput, input("uid=\"1\" identifier=\"a\" type=\"0\"",
                                     "<inputgui widget=\"angle\"><x min=\"0.5\"/></inputgui>") +
                                   input("uid=\"2\" identifier=\"b\" type=\"0\"",
                                         "<inputgui widget=\"slider\" label=\"B\" description=\"about b\">"
                                         "<x min=\"0\" max=\"2\" step=\"0.1\" clamp=\"ON\"/></inputgui>") +
                                   input("uid=\"3\" identifier=\"c\" type=\"0\"",
                                         "<inputgui widget=\"Slider\"><!-- no range --></inputgui>") +
                                   input("uid=\"4\" identifier=\"d\" type=\"0\"",
                                         "<inputgui widget=\"slider\"><x clamp=\"yes\"/></inputgui>")));
    ASSERT_TRUE(material);
    SubstanceInput* a = material->getInput(CString("a"));
    EXPECT_EQ(a->getWidget(), WidgetAngle);
    EXPECT_TRUE(a->hasMin());
    EXPECT_FALSE(a->hasMax());
    EXPECT_TRUE(a->hasDefault()); // set by the min list alone
    EXPECT_FLOAT_EQ(a->getDefaultF(0), 0);
    SubstanceInput* b = material->getInput(CString("b"));
    EXPECT_EQ(b->getLabel().utf8(), "B");
    EXPECT_EQ(b->getDescription().utf8(), "about b");
    EXPECT_FLOAT_EQ(b->getStepF(0), 0.1f);
    EXPECT_TRUE(b->shouldClamp());
    SubstanceInput* c = material->getInput(CString("c"));
    EXPECT_EQ(c->getWidget(), WidgetNone);
    EXPECT_TRUE(c->showInGUI());
    EXPECT_FALSE(c->hasMin() || c->hasDefault());
    EXPECT_FALSE(material->getInput(CString("d"))->shouldClamp());
}

TEST(SubstanceReader, DependenciesConnectOnlyKnownEntities) {
    kv::Reference<Substance> material = read(describe(
        kOutput, input("uid=\"1\" identifier=\"a\" type=\"0\" alteroutputs=\"5,99\"") +
                     input("uid=\"2\" identifier=\"b\" type=\"0\" alteroutputs=\"1,2,bogus,1,01\"")));
    ASSERT_TRUE(material);
    SubstanceInput* a = material->getInput(CString("a"));
    SubstanceInput* b = material->getInput(CString("b"));
    // The material's own connection plus one per known uid; repeats connect once.
    EXPECT_EQ(a->getModifiedSignal().connectionCount(), 2u);
    EXPECT_EQ(b->getModifiedSignal().connectionCount(), 3u);
    kvtest::NotificationCounter counter(*material);
    b->setValueF(1, 0); // b alters itself and a, which alters the output
    EXPECT_TRUE(a->isModified());
    EXPECT_TRUE(material->getOutput(CString("out"))->isModified());
    EXPECT_GE(counter.count, 3);
}

TEST(SubstanceReader, InputElementsOfAnyNameAfterTheFirstAreRead) {
    EXPECT_TRUE(read(describe(kOutput, input("uid=\"1\" identifier=\"a\" type=\"0\"") +
                                           "<other uid=\"2\" identifier=\"b\" type=\"0\"/>")));
    EXPECT_FALSE(read(describe(kOutput, input("uid=\"1\" identifier=\"a\" type=\"0\"") + "<other/>")));
    EXPECT_TRUE(read(describe("", input("uid=\"1\" identifier=\"a\" type=\"0\""))));
}

TEST(SubstanceReader, MissingRequiredPartsFail) {
    const std::string good = input("uid=\"1\" identifier=\"a\" type=\"0\"");
    ASSERT_TRUE(read(describe(kOutput, good)));
    EXPECT_FALSE(read(describe(kOutput, good, "<graphs count=\"1\">", "Full")));
    EXPECT_FALSE(read(describe(kOutput, good, "<graphs count=\"0\">")));
    EXPECT_FALSE(read(describe(kOutput, good, "<graphs count=\"many\">")));
    EXPECT_FALSE(read(describe(kOutput, good, "<graphs>")));
    EXPECT_FALSE(read(describe(kOutput, input("identifier=\"a\" type=\"0\""))));
    EXPECT_FALSE(read(describe(kOutput, input("uid=\"1\" type=\"0\""))));
    EXPECT_FALSE(read(describe(kOutput, input("uid=\"1\" identifier=\"a\""))));
    EXPECT_FALSE(
        read(describe(kOutput, input("uid=\"1\" identifier=\"a\" type=\"0\"", "<inputgui label=\"x\"/>"))));
    EXPECT_FALSE(
        read(describe("<output uid=\"5\" identifier=\"out\" format=\"0\" width=\"1\" height=\"1\"/>", good)));
    EXPECT_FALSE(read("<sbsdescription content=\"full\"><graphs count=\"1\"><graph pkgurl=\"p\" label=\"l\">"
                      "<inputs/></graph></graphs></sbsdescription>"));
    EXPECT_FALSE(read("<sbsdescription content=\"full\"><graphs count=\"1\"><graph label=\"l\"><outputs/>"
                      "<inputs/></graph></graphs></sbsdescription>"));
}

TEST(SubstanceReader, MalformedAndHostileTextFails) {
    EXPECT_FALSE(SubstanceReader::getInstance().readFromXMLData(nullptr));
    EXPECT_FALSE(read(""));
    EXPECT_FALSE(read("not xml at all"));
    EXPECT_FALSE(read(describe(kOutput, "<input uid=\"1\"").substr(0, 120)));
    EXPECT_FALSE(read("\xff\xfe<\x00>"));

    std::string deep;
    for (int i = 0; i < 100000; ++i)
        deep += "<a>";
    EXPECT_FALSE(read(deep));

    std::string huge = describe(kOutput, "");
    huge.insert(huge.find("<graphs"), std::string(kvUtil::kMaxXmlBytes, ' '));
    EXPECT_FALSE(read(huge));
}

TEST(SubstanceReader, GarbageNumbersReadAsZeroOrSaturate) {
    kv::Reference<Substance> material = read(
        describe("<output uid=\"-3\" identifier=\"o\" format=\"99999999999999\" width=\"1e9\" height=\"nan\" "
                 "mipmaps=\"\"/>",
                 input("uid=\"99999999999\" identifier=\"a\" type=\"4\" default=\"-99999999999\"") +
                     input("uid=\"2\" identifier=\"b\" type=\"0\" default=\"1e300\"") +
                     input("uid=\"3\" identifier=\"c\" type=\"-2147483649\" default=\",,,\"")));
    ASSERT_TRUE(material);
    SubstanceOutput* o = material->getOutput(CString("o"));
    EXPECT_EQ(o->getUID(), 0u);
    EXPECT_EQ(o->getFormat(), FormatInvalid);
    EXPECT_EQ(o->getXSize(), 1);
    EXPECT_EQ(o->getYSize(), 0);
    SubstanceInput* a = material->getInput(CString("a"));
    EXPECT_EQ(a->getUID(), 4294967295u);
    EXPECT_EQ(a->getValueI(0), -2147483647 - 1);
    EXPECT_TRUE(std::isinf(material->getInput(CString("b"))->getValueF(0)));
    EXPECT_EQ(material->getInput(CString("c"))->getType(), TypeFloat1);
}

} // namespace
