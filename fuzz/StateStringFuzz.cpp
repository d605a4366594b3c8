// Any bytes as a state string applied to the sample material: the values
// it sets read back as a state string that applies without change.
#include "material/Substance.h"
#include "material/SubstanceReader.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace {

kv::Reference<kvSubstance::Substance> sampleMaterial() {
    std::ifstream file(KV_SOURCE_DIR "/samples/descriptions/painted_plaster.xml", std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    kv::Reference<kvSubstance::Substance> material =
        kvSubstance::SubstanceReader::getInstance().readFromXMLData(text.str().c_str());
    if (!material)
        std::abort();
    return material;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static kv::Reference<kvSubstance::Substance> material = sampleMaterial();
    static const kvString::CString defaults = material->getStateString();
    material->applyStateString(defaults);
    material->applyStateString(
        kvString::CString(std::string(reinterpret_cast<const char*>(data), size).c_str()));
    const kvString::CString state = material->getStateString();
    material->applyStateString(state);
    if (material->getStateString().str() != state.str())
        std::abort();
    return 0;
}
