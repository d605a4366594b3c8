#include "framework/description/ChannelUsage.h"

namespace SubstanceAir {

namespace {

// These spellings are the vocabulary of the `names` attribute; they are
// compared exactly, so they must not change.
const char* const channelNames[ChannelUsageCount] = {
    "diffuse",          "opacity",      "emissive",    "ambient",
    "ambientOcclusion", "mask",         "normal",      "bump",
    "height",           "displacement", "specular",    "specularLevel",
    "specularColor",    "glossiness",   "roughness",   "anisotropyLevel",
    "anisotropyAngle",  "transmissive", "reflection",  "refraction",
    "environment",      "IOR",          "scattering0", "scattering1",
    "scattering2",      "scattering3"};

} // namespace

const char* const* getChannelNames() {
    return channelNames;
}

} // namespace SubstanceAir
