// Any bytes as a host-side material description: the reader returns a
// material or null, and a material's state string applies back to it
// unchanged when its lines name distinct inputs.
#include "material/Substance.h"
#include "material/SubstanceReader.h"

#include <cstdlib>
#include <string>

namespace {

// Two inputs sharing a uid share one entity-table slot, the later one
// winning, so both lines of the state string land on that input and the
// round trip cannot hold. The description is at fault, not the material.
bool everyInputOwnsItsUid(kvSubstance::Substance& material) {
    for (const kvString::CString& id : material.getInputIds()) {
        kvSubstance::SubstanceInput* input = material.getInput(id);
        if (input && material.getEntity(input->getUID()) != input)
            return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    kv::Reference<kvSubstance::Substance> material =
        kvSubstance::SubstanceReader::getInstance().readFromXMLData(text.c_str());
    if (!material || !everyInputOwnsItsUid(*material))
        return 0;
    const kvString::CString state = material->getStateString();
    material->applyStateString(state);
    if (material->getStateString().str() != state.str())
        std::abort();
    return 0;
}
