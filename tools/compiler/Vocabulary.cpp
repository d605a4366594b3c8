#include "tools/compiler/Vocabulary.h"

#include <cstring>
#include <iterator>

namespace kvcompiler {

namespace {

struct TypeName {
    const char* name;
    kvengine::InputType type;
};
constexpr TypeName kTypes[] = {
    {"float", kvengine::InputType::Float},   {"float2", kvengine::InputType::Float2},
    {"float3", kvengine::InputType::Float3}, {"float4", kvengine::InputType::Float4},
    {"int", kvengine::InputType::Integer},   {"int2", kvengine::InputType::Integer2},
    {"int3", kvengine::InputType::Integer3}, {"int4", kvengine::InputType::Integer4},
    {"image", kvengine::InputType::Image},
};

struct FormatName {
    const char* name;
    int code;
};
constexpr FormatName kFormats[] = {
    {"rgba8", 0},   {"rgbx8", 4},  {"rgb8", 8},  {"l8", 12},     {"rgba16", 16},
    {"rgbx16", 20}, {"rgb16", 24}, {"l16", 28},  {"rgba32f", 1}, {"rgba16f", 5},
    {"rgb16f", 9},  {"l16f", 13},  {"l32f", 17},
};

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

bool inputTypeFromName(const std::string& name, kvengine::InputType& type) {
    for (const TypeName& t : kTypes)
        if (name == t.name) {
            type = t.type;
            return true;
        }
    return false;
}

const char* inputTypeName(kvengine::InputType type) {
    for (const TypeName& t : kTypes)
        if (t.type == type)
            return t.name;
    return "?";
}

bool formatFromName(const std::string& name, int& format) {
    for (const FormatName& f : kFormats)
        if (name == f.name) {
            format = f.code;
            return true;
        }
    return false;
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
