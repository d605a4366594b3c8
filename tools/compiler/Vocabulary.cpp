#include "tools/compiler/Vocabulary.h"

#include "engine/formats/TexelFormat.h"

#include <cstring>
#include <iterator>

namespace kvcompiler {

namespace {

// The order is the channel-usage index that readers store.
constexpr const char* kChannelUsages[] = {
    "diffuse",          "opacity",      "emissive",    "ambient",
    "ambientOcclusion", "mask",         "normal",      "bump",
    "height",           "displacement", "specular",    "specularLevel",
    "specularColor",    "glossiness",   "roughness",   "anisotropyLevel",
    "anisotropyAngle",  "transmissive", "reflection",  "refraction",
    "environment",      "IOR",          "scattering0", "scattering1",
    "scattering2",      "scattering3",
};
static_assert(std::size(kChannelUsages) == 26, "26 channel usages");

constexpr const char* kWidgets[] = {"slider", "angle", "togglebutton", "color", "image", "combobox", "none"};

} // namespace

bool formatFromName(const std::string& name, int& format) {
    const kvengine::TexelFormat* found = kvengine::findTexelFormatNamed(name);
    if (found)
        format = found->code;
    return found != nullptr;
}

int channelUsageIndex(const std::string& name) {
    for (size_t i = 0; i < std::size(kChannelUsages); ++i)
        if (name == kChannelUsages[i])
            return static_cast<int>(i);
    return -1;
}

const char* channelUsageName(int index) {
    return index >= 0 && index < static_cast<int>(std::size(kChannelUsages)) ? kChannelUsages[index] : "";
}

bool isKnownWidget(const std::string& widget) {
    for (const char* w : kWidgets)
        if (widget == w)
            return true;
    return false;
}

std::string widgetElementName(const std::string& widget) {
    return "gui" + widget;
}

} // namespace kvcompiler
