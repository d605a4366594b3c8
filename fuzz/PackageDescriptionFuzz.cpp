// Any bytes as a package description and as a presets document: both
// readers return within the XML guard's limits and never crash.
#include "framework/description/Preset.h"
#include "framework/description/internal/DescriptionParser.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    unsigned int asmUid = 0;
    SubstanceAir::GraphDescs graphs;
    std::string why;
    SubstanceAir::parseDescription(text.c_str(), nullptr, asmUid, graphs, why);
    SubstanceAir::Presets presets;
    SubstanceAir::parsePresetsDocument(presets, text.c_str());
    return 0;
}
