// kvSubstance::Substance: one material as the host sees it: its inputs and
// outputs, the engine objects that render it, and its last texture.
//
// Materials are created by SubstanceReader (from a description XML) or by the
// package loaders, and handed out as kv::Reference<Substance>; keep one while
// calling members. Not safe for concurrent modification.
#pragma once

#include "material/SubstanceEntity.h"
#include "material/SubstanceInput.h"
#include "material/SubstanceOutput.h"
#include "material/SubstanceReader.h"
#include "material/SubstanceTypes.h"
#include "platform/base/HashTable.h"
#include "platform/base/IString.h"
#include "platform/base/Vector.h"
#include "platform/image/Image.h"

#include <boost/shared_ptr.hpp>
#include <vector>

namespace SubstanceAir {
class GraphInstance;
class PackageDesc;
class PackageStackDesc;
} // namespace SubstanceAir

namespace kvSubstance {

class Substance : public SubstanceEntity {
public:
    Substance();
    ~Substance() override;

    // Creates an entity owned by this material. An identifier already in use
    // replaces the earlier entity in the identifier table (the input id list
    // keeps both); a uid already in use replaces the earlier entity in the uid
    // table. Every change of the entity marks this material modified and
    // re-emits on its signal.
    SubstanceInput* newInput(unsigned int uid, const kvString::CString& identifier, Type type);
    SubstanceOutput* newOutput(unsigned int uid, const kvString::CString& identifier, Format format,
                               int xSize, int ySize, int numMipMaps, bool dynamicSize);

    // Lookups; null when unknown.
    SubstanceInput* getInput(const kvString::CString& identifier);
    SubstanceOutput* getOutput(const kvString::CString& identifier);
    SubstanceEntity* getEntity(unsigned int uid);

    int numInputs() const { return static_cast<int>(m_inputs.count()); }
    int numOutputs() const { return static_cast<int>(m_outputs.count()); }
    // Input identifiers in creation order, repeats included.
    const kv::vector<kvString::CString>& getInputIds() const { return m_inputIds; }

    // The tables in their iteration order: the order in which identifiers were
    // first created.
    const kv::StringHashTable<kv::Reference<SubstanceInput>>& getInputs() const { return m_inputs; }
    const kv::StringHashTable<kv::Reference<SubstanceOutput>>& getOutputs() const { return m_outputs; }

    // Resets every input to its default, notifying per changed slot.
    void reset();
    // Clears the modified flag of every entity and of the material.
    void clearModified() override;

    void setPackageURL(kvString::CString url) { m_packageURL = std::move(url); }
    const kvString::CString& getPackageURL() const { return m_packageURL; }
    void setLabel(kvString::IString label) { m_label = std::move(label); }
    const kvString::IString& getLabel() const { return m_label; }

    // The engine objects are borrowed: the material never deletes them.
    void setPackageDesc(SubstanceAir::PackageStackDesc* stack, SubstanceAir::PackageDesc* first,
                        SubstanceAir::PackageDesc* second);
    SubstanceAir::PackageStackDesc* getPackageStackDesc() const { return m_packageStack; }
    std::vector<boost::shared_ptr<SubstanceAir::GraphInstance>>& getGraphInstances() {
        return m_graphInstances;
    }

    // The last texture produced; an empty reference drops it.
    kv::TempReference<ilSIDImage> getCachedTexture() { return m_cachedTexture; }
    void setCachedTexture(kv::TempReference<ilSIDImage> texture) { m_cachedTexture = std::move(texture); }

    // The values of every numerical input as text: a header line holding the
    // package URL, then one line per input, "<uid>d <i|f><count> <values>".
    kvString::CString getStateString();
    // Applies a text of getStateString to a material of the same package URL
    // (anything else is ignored), through the ordinary setters, and pushes each
    // named input to the engine's graph instances.
    void applyStateString(const kvString::CString& state);

private:
    kv::StringHashTable<kv::Reference<SubstanceOutput>> m_outputs;
    kv::StringHashTable<kv::Reference<SubstanceInput>> m_inputs;
    kv::UIntHashTable<kv::Reference<SubstanceEntity>> m_entities;
    kv::vector<kvString::CString> m_inputIds;
    kvString::CString m_packageURL;
    kvString::IString m_label;
    SubstanceAir::PackageStackDesc* m_packageStack = nullptr;
    SubstanceAir::PackageDesc* m_firstPackage = nullptr;
    SubstanceAir::PackageDesc* m_secondPackage = nullptr;
    std::vector<boost::shared_ptr<SubstanceAir::GraphInstance>> m_graphInstances;
    kv::TempReference<ilSIDImage> m_cachedTexture;
};

} // namespace kvSubstance
