#include "material/Substance.h"
#include "tests/material/ModelTestSupport.h"

#include <gtest/gtest.h>

namespace {

using namespace kvSubstance;
using kvString::CString;
using kvtest::floats;
using kvtest::NotificationCounter;

TEST(Substance, FreshMaterialIsEmpty) {
    kv::Reference<Substance> material(new Substance());
    EXPECT_EQ(material->numInputs(), 0);
    EXPECT_EQ(material->numOutputs(), 0);
    EXPECT_TRUE(material->getInputIds().empty());
    EXPECT_EQ(material->getUID(), 0u);
    EXPECT_TRUE(material->getIdentifier().isEmpty());
    EXPECT_FALSE(material->getCachedTexture());
    EXPECT_EQ(material->getPackageStackDesc(), nullptr);
    EXPECT_TRUE(material->getGraphInstances().empty());
}

TEST(Substance, EntitiesAreFoundByIdentifierAndUid) {
    kv::Reference<Substance> material(new Substance());
    SubstanceInput* rough = material->newInput(10, CString("roughness"), TypeFloat1);
    SubstanceInput* seed = material->newInput(11, CString("$randomseed"), TypeInt1);
    SubstanceOutput* color = material->newOutput(20, CString("basecolor"), Format0, 512, 256, 10, true);
    EXPECT_EQ(material->numInputs(), 2);
    EXPECT_EQ(material->numOutputs(), 1);
    EXPECT_EQ(material->getInput(CString("roughness")), rough);
    EXPECT_EQ(material->getOutput(CString("basecolor")), color);
    EXPECT_EQ(material->getInput(CString("basecolor")), nullptr);
    EXPECT_EQ(material->getEntity(10), rough);
    EXPECT_EQ(material->getEntity(11), seed);
    EXPECT_EQ(material->getEntity(20), color);
    EXPECT_EQ(material->getEntity(21), nullptr);
    ASSERT_EQ(material->getInputIds().size(), 2u);
    EXPECT_EQ(material->getInputIds()[0], CString("roughness"));
    EXPECT_EQ(material->getInputIds()[1], CString("$randomseed"));
    EXPECT_EQ(color->getXSize(), 512);
    EXPECT_EQ(color->getYSize(), 256);
    EXPECT_EQ(color->getNumMipMaps(), 10);
    EXPECT_TRUE(color->getDynamicSize());
    EXPECT_EQ(color->getFormat(), Format0);
}

TEST(Substance, RepeatedIdentifierReplacesButStaysInTheIdList) {
    kv::Reference<Substance> material(new Substance());
    kv::Reference<SubstanceInput> first(material->newInput(1, CString("tint"), TypeFloat3));
    SubstanceInput* second = material->newInput(2, CString("tint"), TypeInt1);
    EXPECT_EQ(material->numInputs(), 1);
    EXPECT_EQ(material->getInput(CString("tint")), second);
    EXPECT_EQ(material->getInputIds().size(), 2u);
    EXPECT_EQ(material->getEntity(1), first.get()); // still under its own uid
    EXPECT_EQ(first->referenceCount(), 2);          // ours and the uid table's

    SubstanceOutput* clash = material->newOutput(2, CString("out"), Format0, 1, 1, 0, false);
    EXPECT_EQ(material->getEntity(2), clash);
}

TEST(Substance, ChangesMarkTheMaterialAndClearModifiedClearsAll) {
    kv::Reference<Substance> material(new Substance());
    SubstanceInput* input = material->newInput(1, CString("height"), TypeFloat1);
    SubstanceOutput* output = material->newOutput(2, CString("normal"), Format0, 8, 8, 0, false);
    NotificationCounter counter(*material);
    input->setValueF(0.5f, 0);
    EXPECT_TRUE(input->isModified());
    EXPECT_TRUE(material->isModified());
    EXPECT_EQ(counter.count, 1);
    output->onModified();
    EXPECT_EQ(counter.count, 2);
    material->clearModified();
    EXPECT_FALSE(input->isModified());
    EXPECT_FALSE(output->isModified());
    EXPECT_FALSE(material->isModified());
    EXPECT_EQ(counter.count, 2);
}

TEST(Substance, ResetAtDefaultsIsSilentAndOtherwiseRestores) {
    kv::Reference<Substance> material(new Substance());
    SubstanceInput* a = material->newInput(1, CString("a"), TypeFloat2);
    SubstanceInput* b = material->newInput(2, CString("b"), TypeInt1);
    a->setDefault(floats(0.25f, 0.75f), true);
    NotificationCounter counter(*material);
    material->reset();
    EXPECT_EQ(counter.count, 0);
    a->setValue2F(1, 1);
    b->setValueI(4, 0);
    material->reset();
    EXPECT_EQ(counter.count, 2 + 3); // the two edits, then two slots of a and one of b
    EXPECT_TRUE(a->isDefaultValue());
    EXPECT_EQ(b->getValueI(0), 0);
}

TEST(Substance, EntitiesOutlivingTheMaterialNoLongerNotifyIt) {
    kv::Reference<SubstanceInput> kept;
    {
        kv::Reference<Substance> material(new Substance());
        kept = material->newInput(1, CString("kept"), TypeFloat1);
    }
    EXPECT_EQ(kept->getModifiedSignal().connectionCount(), 0u);
    kept->setValueF(1, 0); // would reach the dead material if still connected
    EXPECT_TRUE(kept->isModified());
}

TEST(Substance, CachedTextureHoldsExactlyOneReference) {
    kv::Reference<Substance> material(new Substance());
    kv::TempReference<ilSIDImage> image(new ilSPMemoryImg(ilSize(2, 2, 1, 4), ilUChar, ilInterleaved, true));
    material->setCachedTexture(image);
    EXPECT_EQ(image->tempReferenceCount(), 2);
    material->setCachedTexture(image);
    EXPECT_EQ(image->tempReferenceCount(), 2);
    EXPECT_EQ(material->getCachedTexture(), image);
    material->setCachedTexture(kv::TempReference<ilSIDImage>());
    EXPECT_EQ(image->tempReferenceCount(), 1);
    material->setCachedTexture(image);
    material.reset();
    EXPECT_EQ(image->tempReferenceCount(), 1);
}

// The host drops its material from inside a notification of that material.
struct DroppingListener {
    explicit DroppingListener(kv::Reference<Substance> held) : material(std::move(held)) {
        material->getModifiedSignal().connect(
            std::make_unique<kvRTB::FunctionVoidMember<DroppingListener>>(this, &DroppingListener::drop),
            &tracking);
    }
    void drop() { material.reset(); }
    kv::Reference<Substance> material;
    kvRTB::SignalBase tracking;
};

TEST(Substance, ListenerMayDropTheLastReferenceDuringANotification) {
    DroppingListener listener(kv::Reference<Substance>(new Substance()));
    SubstanceInput* input = listener.material->newInput(1, CString("x"), TypeFloat1);
    input->setValueF(1, 0); // the material dies once its emission is over
    EXPECT_FALSE(listener.material);
}

TEST(Substance, DependencyLoopsEndInsteadOfRecursing) {
    kv::Reference<Substance> material(new Substance());
    SubstanceInput* a = material->newInput(1, CString("a"), TypeFloat1);
    SubstanceInput* b = material->newInput(2, CString("b"), TypeFloat1);
    a->getModifiedSignal().connect(
        std::make_unique<kvRTB::FunctionVoidMember<SubstanceEntity>>(b, &SubstanceEntity::onModified),
        &b->getReceiverTracking());
    b->getModifiedSignal().connect(
        std::make_unique<kvRTB::FunctionVoidMember<SubstanceEntity>>(a, &SubstanceEntity::onModified),
        &a->getReceiverTracking());
    NotificationCounter counter(*material);
    a->setValueF(1, 0);
    EXPECT_TRUE(b->isModified());
    EXPECT_EQ(counter.count, 2); // once from a, once from b
}

} // namespace
