#include "material/Substance.h"
#include "tests/material/ModelTestSupport.h"

#include <gtest/gtest.h>

namespace {

using namespace kvSubstance;
using kvString::CString;
using kvtest::NotificationCounter;

class StateStringTest : public ::testing::Test {
protected:
    StateStringTest() {
        material->setPackageURL(CString("pkg:/a"));
        pair = material->newInput(7, CString("pair"), TypeFloat2);
        count = material->newInput(9, CString("count"), TypeInt1);
        pair->setValue2F(0.5f, 1.0f);
        count->setValueI(3, 0);
        material->clearModified();
    }
    kv::Reference<Substance> material{new Substance()};
    SubstanceInput* pair;
    SubstanceInput* count;
};

TEST_F(StateStringTest, HeaderThenOneLinePerNumericalInputInTableOrder) {
    material->newInput(11, CString("mask"), TypeImage);
    SubstanceInput* quad = material->newInput(12, CString("quad"), TypeInt4);
    quad->setDefault(kvtest::ints(1, -2, 3, 4), true);
    SubstanceInput* tint = material->newInput(13, CString("tint"), TypeFloat3);
    tint->setValue3F(0.1234567f, 2, -1);
    EXPECT_STREQ(material->getStateString().asChar(), "pkg:/a\n"
                                                      "7d f2 0.500000 1.000000\n"
                                                      "9d i1 3\n"
                                                      "12d i4 1 -2 3 4\n"
                                                      "13d f3 0.123457 2.000000 -1.000000\n");
}

TEST_F(StateStringTest, ApplyingItsOwnStringChangesNothingButOffByRoundingCounts) {
    NotificationCounter counter(*material);
    material->applyStateString(material->getStateString());
    EXPECT_EQ(counter.count, 0);
    EXPECT_FALSE(material->isModified());

    pair->setValueF(0.1234567f, 0);
    const CString state = material->getStateString();
    counter.count = 0;
    material->applyStateString(state);
    EXPECT_EQ(counter.count, 1);
    EXPECT_FLOAT_EQ(pair->getValueF(0), 0.123457f);
}

TEST_F(StateStringTest, RestoresValuesIntoAnotherMaterialOfTheSamePackage) {
    kv::Reference<Substance> other(new Substance());
    other->setPackageURL(CString("pkg:/a"));
    SubstanceInput* otherPair = other->newInput(7, CString("pair"), TypeFloat2);
    SubstanceInput* otherCount = other->newInput(9, CString("count"), TypeInt1);
    other->applyStateString(material->getStateString());
    EXPECT_FLOAT_EQ(otherPair->getValueF(0), 0.5f);
    EXPECT_FLOAT_EQ(otherPair->getValueF(1), 1.0f);
    EXPECT_EQ(otherCount->getValueI(0), 3);
    EXPECT_TRUE(other->isModified());
}

TEST_F(StateStringTest, AMaterialWithoutPackageUrlAppliesItsOwnString) {
    kv::Reference<Substance> other(new Substance());
    SubstanceInput* otherCount = other->newInput(9, CString("count"), TypeInt1);
    otherCount->setValueI(4, 0);
    const CString state = other->getStateString();
    ASSERT_STREQ(state.asChar(), "\n9d i1 4\n");
    otherCount->setValueI(1, 0);
    other->applyStateString(state);
    EXPECT_EQ(otherCount->getValueI(0), 4);
    // ... and only a string whose header is empty too.
    other->applyStateString(CString("pkg:/a\n9d i1 2\n"));
    EXPECT_EQ(otherCount->getValueI(0), 4);
}

TEST_F(StateStringTest, ForeignHeaderIsANoOp) {
    NotificationCounter counter(*material);
    material->applyStateString(CString("pkg:/b\n9d i1 5\n"));
    material->applyStateString(CString("PKG:/a\n9d i1 5\n"));
    material->applyStateString(CString(""));
    material->applyStateString(CString("\n\n"));
    EXPECT_EQ(count->getValueI(0), 3);
    EXPECT_EQ(counter.count, 0);
}

TEST_F(StateStringTest, LinesAreLenient) {
    material->newOutput(20, CString("out"), Format0, 4, 4, 0, false);
    material->applyStateString(CString("pkg:/a\n"
                                       "9 i1 5\n"    // no d
                                       "20d i1 8\n"  // an output's uid
                                       "404d i1 8\n" // unknown uid
                                       "7d f2 abc\n" // garbage and a missing field
                                       "\n"));
    EXPECT_EQ(count->getValueI(0), 5);
    EXPECT_FLOAT_EQ(pair->getValueF(0), 0);
    EXPECT_FLOAT_EQ(pair->getValueF(1), 0);
}

TEST_F(StateStringTest, KindLetterChoosesTheSetters) {
    // An f line on an integer input stores floats through the float setter.
    material->applyStateString(CString("pkg:/a\n9d f1 2.5\n"));
    SubstanceInput::IntOrFloat expected;
    expected.f[0] = 2.5f;
    EXPECT_EQ(count->getValueI(0), expected.i[0]); // the float's bits, read as an int

    // i4 lines go through setValue4I and its slot layout.
    SubstanceInput* quad = material->newInput(12, CString("quad"), TypeInt4);
    material->applyStateString(CString("pkg:/a\n12d i4 1 2 3 4\n"));
    EXPECT_EQ(quad->getValueI(2), 4);
    EXPECT_EQ(quad->getValueI(3), 0);

    // An unknown kind letter sets nothing; a bad count digit uses slot 0.
    material->applyStateString(CString("pkg:/a\n7d x2 9 9\n7d f9 0.25\n"));
    EXPECT_FLOAT_EQ(pair->getValueF(0), 0.25f);
    EXPECT_FLOAT_EQ(pair->getValueF(1), 1.0f);
}

} // namespace
