#include "material/Substance.h"
#include "tests/material/ModelTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace kvSubstance;
using kvtest::floats;
using kvtest::ints;
using kvtest::NotificationCounter;

class SubstanceInputTest : public ::testing::Test {
protected:
    SubstanceInput& input(Type type, const char* id = "value") {
        return *material->newInput(++nextUid, kvString::CString(id), type);
    }
    kv::Reference<Substance> material{new Substance()};
    unsigned int nextUid = 0;
};

TEST_F(SubstanceInputTest, SettersNotifyOnlyOnRealChangeAndOncePerCall) {
    SubstanceInput& in = input(TypeFloat3);
    NotificationCounter counter(in);
    in.setValue3F(1, 2, 4);
    EXPECT_EQ(counter.count, 1);
    in.setValue3F(1, 2, 3);
    EXPECT_EQ(counter.count, 2);
    in.setValue3F(1, 2, 3);
    in.setValueF(2, 1);
    EXPECT_EQ(counter.count, 2);
    EXPECT_TRUE(in.isModified());

    in.clearModified();
    in.setValue3F(1, 2, 3);
    EXPECT_FALSE(in.isModified());
    in.setValue4F(1, 2, 3, 9);
    EXPECT_EQ(counter.count, 3);
    EXPECT_FLOAT_EQ(in.getValueF(3), 9);
}

TEST_F(SubstanceInputTest, NanAlwaysCountsAsAChange) {
    SubstanceInput& in = input(TypeFloat1);
    NotificationCounter counter(in);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    in.setValueF(nan, 0);
    in.setValueF(nan, 0);
    EXPECT_EQ(counter.count, 2);
}

TEST_F(SubstanceInputTest, SetValue4IStoresTheFourthValueInSlotTwo) {
    SubstanceInput& in = input(TypeInt4);
    NotificationCounter counter(in);
    in.setValue4I(1, 2, 3, 4);
    EXPECT_EQ(counter.count, 1);
    EXPECT_EQ(in.getValueI(0), 1);
    EXPECT_EQ(in.getValueI(1), 2);
    EXPECT_EQ(in.getValueI(2), 4);
    EXPECT_EQ(in.getValueI(3), 0);

    SubstanceInput& other = input(TypeInt4, "other");
    other.setValue4I(1, 2, 3, 0);
    EXPECT_EQ(other.getValueI(2), 3);
    EXPECT_EQ(other.getValueI(3), 0);
}

TEST_F(SubstanceInputTest, ViewsConvertByType) {
    SubstanceInput& f = input(TypeFloat1);
    f.setValueF(-2.7f, 0);
    EXPECT_EQ(f.getValueI(0), -2);
    f.setValueF(std::numeric_limits<float>::quiet_NaN(), 0);
    EXPECT_EQ(f.getValueI(0), 0);
    f.setValueF(1e30f, 0);
    EXPECT_EQ(f.getValueI(0), std::numeric_limits<int>::max());

    SubstanceInput& i = input(TypeInt1, "count");
    i.setValueI(5, 0);
    EXPECT_FLOAT_EQ(i.getValueF(0), 5.0f);
    i.setDefault(ints(7), false);
    EXPECT_FLOAT_EQ(i.getDefaultF(0), 7.0f);
    EXPECT_EQ(i.getValueI(0), 5);
}

TEST_F(SubstanceInputTest, DefaultValueComparisonIsAlwaysAsFloats) {
    EXPECT_TRUE(input(TypeImage, "img").isDefaultValue());
    SubstanceInput& fresh = input(TypeFloat4, "fresh");
    EXPECT_TRUE(fresh.isDefaultValue());
    EXPECT_FALSE(fresh.hasDefault());

    SubstanceInput& minusOne = input(TypeInt1, "minus");
    minusOne.setDefault(ints(-1), true); // -1 reads as a NaN pattern
    EXPECT_EQ(minusOne.getValueI(0), -1);
    EXPECT_FALSE(minusOne.isDefaultValue());

    SubstanceInput& pair = input(TypeFloat2, "pair");
    pair.setDefault(floats(0.5f, 1.0f), true);
    EXPECT_TRUE(pair.isDefaultValue());
    pair.setValueF(0.25f, 1);
    EXPECT_FALSE(pair.isDefaultValue());
    // Slots beyond the component count do not matter.
    pair.setValueF(3.0f, 1);
    pair.setValueF(1.0f, 1);
    pair.setValueF(9.0f, 3);
    EXPECT_TRUE(pair.isDefaultValue());
}

TEST_F(SubstanceInputTest, ResetNotifiesPerChangedSlotAndLeavesImagesAlone) {
    SubstanceInput& pair = input(TypeFloat2);
    pair.setDefault(floats(0.5f, 1.0f), false);
    pair.setValue2F(2, 3);
    NotificationCounter counter(pair);
    pair.reset();
    EXPECT_EQ(counter.count, 2);
    EXPECT_FLOAT_EQ(pair.getValueF(0), 0.5f);
    pair.reset();
    EXPECT_EQ(counter.count, 2);

    SubstanceInput& image = input(TypeImage, "img");
    image.setValueF(3, 0);
    image.setDefault(floats(0), false);
    image.reset();
    EXPECT_FLOAT_EQ(image.getValueF(0), 3);
}

TEST_F(SubstanceInputTest, SettingDefaultWithValueCopiesWithoutNotifying) {
    SubstanceInput& in = input(TypeInt2);
    NotificationCounter counter(in);
    in.setDefault(ints(4, 5), true);
    EXPECT_TRUE(in.hasDefault());
    EXPECT_EQ(in.getValueI(1), 5);
    EXPECT_EQ(counter.count, 0);
    EXPECT_FALSE(in.isModified());
}

TEST_F(SubstanceInputTest, RangesAndGuiHints) {
    SubstanceInput& in = input(TypeFloat1);
    EXPECT_FALSE(in.hasMin() || in.hasMax() || in.hasStep() || in.shouldClamp() || in.showInGUI());
    in.setMin(floats(-1));
    in.setMax(floats(2));
    in.setStep(floats(0.5f));
    in.setClamp(true);
    EXPECT_TRUE(in.hasMin() && in.hasMax() && in.hasStep() && in.shouldClamp());
    EXPECT_FLOAT_EQ(in.getMinF(0), -1);
    EXPECT_EQ(in.getMaxI(0), 2);
    EXPECT_FLOAT_EQ(in.getStepF(0), 0.5f);
    in.setValueF(10, 0); // setters never clamp
    EXPECT_FLOAT_EQ(in.getValueF(0), 10);
    in.setWidget(WidgetSlider);
    EXPECT_TRUE(in.showInGUI());
    EXPECT_EQ(in.getWidget(), WidgetSlider);
}

TEST_F(SubstanceInputTest, ComboOnlyOnSingleInts) {
    SubstanceInput& single = input(TypeInt1, "mode");
    SubstanceInput& pair = input(TypeInt2, "pair");
    single.setCombo(true);
    pair.setCombo(true);
    EXPECT_TRUE(single.isCombo());
    EXPECT_FALSE(pair.isCombo());
    pair.addComboItem(kvString::IString("first", kvString::Utf8));
    pair.getComboItem().push_back(kvString::IString("second", kvString::Utf8));
    ASSERT_EQ(pair.getComboItem().size(), 2u);
    EXPECT_EQ(pair.getComboItem()[1].utf8(), "second");
}

TEST_F(SubstanceInputTest, SlotNamesDependOnComponentsAndWidget) {
    material->setPackageURL(kvString::CString("pkg:/x"));
    SubstanceInput& tint = input(TypeFloat3, "tint");
    tint.setLabel("Tint");
    tint.setWidget(WidgetSlider);
    EXPECT_EQ(tint.getUniqueLabel(2).utf8(), "Tint 2");
    tint.setWidget(WidgetColor);
    EXPECT_EQ(tint.getUniqueLabel(2).utf8(), "Tint");

    SubstanceInput& size = input(TypeInt2, "size");
    EXPECT_STREQ(size.getIndexIdentifier(0).asChar(), "$substance$:pkg:/x:size_0");
    size.setWidget(WidgetColor);
    EXPECT_STREQ(size.getIndexIdentifier(0).asChar(), "$substance$:pkg:/x:size");
    SubstanceInput& single = input(TypeFloat1, "gloss");
    EXPECT_STREQ(single.getIndexIdentifier(3).asChar(), "$substance$:pkg:/x:gloss");
}

TEST_F(SubstanceInputTest, LabelsAreUtf8) {
    SubstanceInput& in = input(TypeFloat1);
    in.setLabel("Rugosit\xc3\xa9");
    in.setDescription(nullptr);
    EXPECT_EQ(in.getLabel().length(), 8u);
    EXPECT_TRUE(in.getDescription().isEmpty());
}

} // namespace
