#include "material/Substance.h"

namespace kvSubstance {

Substance::Substance() : SubstanceEntity(0, kvString::CString()) {}

Substance::~Substance() {
    m_cachedTexture.reset();
    m_graphInstances.clear();
    m_entities.clear();
    m_inputs.clear();
    m_outputs.clear();
}

namespace {
// Makes every change of entity mark owner modified too.
void forwardModified(SubstanceEntity& entity, SubstanceEntity& owner) {
    entity.getModifiedSignal().connect(
        std::make_unique<kvRTB::FunctionVoidMember<SubstanceEntity>>(&owner, &SubstanceEntity::onModified),
        &owner.getReceiverTracking());
}
} // namespace

SubstanceInput* Substance::newInput(unsigned int uid, const kvString::CString& identifier, Type type) {
    kv::Reference<SubstanceInput> input(new SubstanceInput(this, uid, identifier, type));
    m_inputs.getOrInsert(identifier) = input;
    m_entities.getOrInsert(uid) = input;
    m_inputIds.push_back(identifier);
    forwardModified(*input, *this);
    return input.get();
}

SubstanceOutput* Substance::newOutput(unsigned int uid, const kvString::CString& identifier, Format format,
                                      int xSize, int ySize, int numMipMaps, bool dynamicSize) {
    kv::Reference<SubstanceOutput> output(
        new SubstanceOutput(this, uid, identifier, format, xSize, ySize, numMipMaps, dynamicSize));
    m_outputs.getOrInsert(identifier) = output;
    m_entities.getOrInsert(uid) = output;
    forwardModified(*output, *this);
    return output.get();
}

SubstanceInput* Substance::getInput(const kvString::CString& identifier) {
    const kv::Reference<SubstanceInput>* found = m_inputs.find(identifier);
    return found ? found->get() : nullptr;
}

SubstanceOutput* Substance::getOutput(const kvString::CString& identifier) {
    const kv::Reference<SubstanceOutput>* found = m_outputs.find(identifier);
    return found ? found->get() : nullptr;
}

SubstanceEntity* Substance::getEntity(unsigned int uid) {
    const kv::Reference<SubstanceEntity>* found = m_entities.find(uid);
    return found ? found->get() : nullptr;
}

void Substance::reset() {
    // A listener may add inputs while we notify; walk a snapshot of the table.
    kv::vector<kv::Reference<SubstanceInput>> inputs;
    inputs.reserve(m_inputs.count());
    for (const auto* entry = m_inputs.first(); entry; entry = m_inputs.next(entry))
        inputs.push_back(entry->value);
    for (const kv::Reference<SubstanceInput>& input : inputs)
        input->reset();
}

void Substance::clearModified() {
    for (auto* entry = m_entities.first(); entry; entry = m_entities.next(entry))
        entry->value->clearModified();
    SubstanceEntity::clearModified();
}

void Substance::setPackageDesc(SubstanceAir::PackageStackDesc* stack, SubstanceAir::PackageDesc* first,
                               SubstanceAir::PackageDesc* second) {
    m_packageStack = stack;
    m_firstPackage = first;
    m_secondPackage = second;
}

} // namespace kvSubstance
