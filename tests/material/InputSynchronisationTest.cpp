#include "bridge/InputSynchronisation.h"
#include "framework/render/GraphInstance.h"
#include "framework/render/InputInstanceNumerical.h"
#include "material/Substance.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include <cmath>
#include <limits>

namespace {

using namespace kvSubstance;
using kvString::CString;
namespace sa = SubstanceAir;

template <class T>
void addInput(sa::GraphDesc& graph, unsigned int uid, const char* identifier, unsigned int type) {
    auto input = std::make_unique<sa::InputDescNumerical<T>>();
    input->uid = uid;
    input->identifier = identifier;
    input->type = type;
    input->alteredOutputUids = {100};
    graph.inputs.push_back(std::move(input));
}

// One graph with an output (uid 100) and inputs tint (float3), count (int),
// size (int2) and gloss (float), each altering the output.
sa::GraphDesc makeGraph() {
    sa::GraphDesc graph;
    graph.packageUrl = "pkg:/a";
    sa::OutputDesc output;
    output.identifier = "out";
    output.uid = 100;
    graph.outputs.push_back(output);
    addInput<sa::Math::Vector3<float>>(graph, 1, "tint", sa::Float3);
    addInput<int>(graph, 2, "count", sa::Integer);
    addInput<sa::Math::Vector2<int>>(graph, 3, "size", sa::Integer2);
    addInput<float>(graph, 4, "gloss", sa::Float);
    return graph;
}

template <class T>
const T& valueOf(sa::GraphInstance& graph, unsigned int uid) {
    return static_cast<sa::InputInstanceNumerical<T>*>(graph.findInput(uid))->getValue();
}

class InputSynchronisationTest : public ::testing::Test {
protected:
    InputSynchronisationTest() {
        material->setPackageURL(CString("pkg:/a"));
        first = boost::make_shared<sa::GraphInstance>(desc);
        second = boost::make_shared<sa::GraphInstance>(desc);
        material->getGraphInstances().push_back(first);
        material->getGraphInstances().push_back(second);
        tint = material->newInput(1, CString("tint"), TypeFloat3);
        count = material->newInput(2, CString("count"), TypeInt1);
        size = material->newInput(3, CString("size"), TypeInt2);
        gloss = material->newInput(4, CString("gloss"), TypeFloat1);
        first->getOutputs()[0]->setDirty(false);
        second->getOutputs()[0]->setDirty(false);
    }
    bool firstDirty() const { return first->getOutputs()[0]->isDirty(); }

    sa::GraphDesc desc = makeGraph();
    boost::shared_ptr<sa::GraphInstance> first, second;
    kv::Reference<Substance> material{new Substance()};
    SubstanceInput *tint, *count, *size, *gloss;
};

TEST_F(InputSynchronisationTest, ByInputUpdatesTheFirstGraphOnly) {
    tint->setValue3F(0.5f, 0.25f, 1);
    syncValueFromSubstanceInputToInputInstanceBase(material, tint);
    const auto& value = valueOf<sa::Math::Vector3<float>>(*first, 1);
    EXPECT_FLOAT_EQ(value.x, 0.5f);
    EXPECT_FLOAT_EQ(value.y, 0.25f);
    EXPECT_FLOAT_EQ(value.z, 1.0f);
    EXPECT_TRUE(firstDirty());
    EXPECT_FLOAT_EQ((valueOf<sa::Math::Vector3<float>>(*second, 1).x), 0.0f);
    EXPECT_FALSE(second->getOutputs()[0]->isDirty());
    EXPECT_EQ(material->referenceCount(), 1);
}

TEST_F(InputSynchronisationTest, EqualValuesDirtyNothingButNanIsStoredAgain) {
    syncValueFromSubstanceInputToInputInstanceBase(material, count);
    EXPECT_FALSE(firstDirty());
    gloss->setValueF(std::numeric_limits<float>::quiet_NaN(), 0);
    syncValueFromSubstanceInputToInputInstanceBase(material, gloss);
    EXPECT_TRUE(std::isnan(valueOf<float>(*first, 4)));
    first->getOutputs()[0]->setDirty(false);
    syncValueFromSubstanceInputToInputInstanceBase(material, gloss);
    EXPECT_TRUE(firstDirty());
}

TEST_F(InputSynchronisationTest, ByIndexIdentifierFindsGuiInputsOnly) {
    size->setValue2I(10, 11);
    syncValueFromSubstanceInputToInputInstanceBase(material, CString("$substance$:pkg:/a:size_1"));
    EXPECT_EQ((valueOf<sa::Math::Vector2<int>>(*first, 3).x), 0); // hidden from the GUI
    size->setWidget(WidgetSlider);
    syncValueFromSubstanceInputToInputInstanceBase(material, CString("$substance$:pkg:/a:size_1"));
    EXPECT_EQ((valueOf<sa::Math::Vector2<int>>(*first, 3).x), 10);
    EXPECT_EQ((valueOf<sa::Math::Vector2<int>>(*first, 3).y), 11);
    syncValueFromSubstanceInputToInputInstanceBase(material, CString("$substance$:pkg:/a:size_2"));
    syncValueFromSubstanceInputToInputInstanceBase(material, CString("$substance$:pkg:/a:nothing"));
    EXPECT_EQ(material->referenceCount(), 1);
}

TEST_F(InputSynchronisationTest, StateStringPushesEveryNamedInput) {
    material->applyStateString(CString("pkg:/a\n2d i1 6\n4d f1 0.75\n"));
    EXPECT_EQ(valueOf<int>(*first, 2), 6);
    EXPECT_FLOAT_EQ(valueOf<float>(*first, 4), 0.75f);
    EXPECT_TRUE(firstDirty());
}

TEST_F(InputSynchronisationTest, MismatchedValueTypesAndImagesAreLeftAlone) {
    // An input of the same identifier but another type (as two stacked graphs
    // can produce) must not be written through the wrong value type.
    SubstanceInput* wrong = material->newInput(5, CString("gloss"), TypeFloat4);
    wrong->setValue4F(1, 2, 3, 4);
    syncValueFromSubstanceInputToInputInstanceBase(material, wrong);
    EXPECT_FLOAT_EQ(valueOf<float>(*first, 4), 0.0f);
    SubstanceInput* image = material->newInput(6, CString("tint"), TypeImage);
    syncValueFromSubstanceInputToInputInstanceBase(material, image);
    EXPECT_FALSE(firstDirty());
}

TEST(InputSynchronisation, MaterialWithoutGraphsIsUntouched) {
    kv::Reference<Substance> material(new Substance());
    SubstanceInput* input = material->newInput(1, CString("x"), TypeFloat1);
    input->setWidget(WidgetSlider);
    syncValueFromSubstanceInputToInputInstanceBase(material, input);
    syncValueFromSubstanceInputToInputInstanceBase(material, input->getIndexIdentifier(0));
    EXPECT_EQ(material->referenceCount(), 1);
}

} // namespace
