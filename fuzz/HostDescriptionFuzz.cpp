// Any bytes as a host-side material description: the reader returns a
// material or null, and a material's state string applies back to it
// unchanged.
#include "material/Substance.h"
#include "material/SubstanceReader.h"

#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    kv::Reference<kvSubstance::Substance> material =
        kvSubstance::SubstanceReader::getInstance().readFromXMLData(text.c_str());
    if (!material)
        return 0;
    const kvString::CString state = material->getStateString();
    material->applyStateString(state);
    if (material->getStateString().str() != state.str())
        std::abort();
    return 0;
}
