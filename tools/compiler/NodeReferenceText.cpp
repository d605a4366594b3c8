#include "tools/compiler/NodeReference.h"

#include "tools/compiler/NumberText.h"

#include <algorithm>
#include <cstring>

namespace kvcompiler {

namespace {

using kvengine::ParamSpec;
using kvengine::ParamType;
using kvengine::ParamUnit;

std::string unitText(ParamUnit unit) {
    switch (unit) {
    case ParamUnit::TextureSide:
        return "fraction of the texture side";
    case ParamUnit::TexturePosition:
        return "texture position, wraps around";
    case ParamUnit::Turns:
        return "turns, wraps around";
    case ParamUnit::None:
        break;
    }
    return "";
}

std::string componentText(const ParamSpec& spec, float value) {
    switch (spec.type) {
    case ParamType::Boolean:
        return value != 0 ? "true" : "false";
    case ParamType::Enumeration:
        return spec.labels.at(static_cast<size_t>(value));
    default:
        return messageNumberText(value);
    }
}

} // namespace

std::string typeName(const ParamSpec& spec) {
    const std::string count = spec.components > 1 ? std::to_string(spec.components) : "";
    switch (spec.type) {
    case ParamType::Float:
        return "float" + count;
    case ParamType::Integer:
        return "int" + count;
    case ParamType::Boolean:
        return "bool";
    case ParamType::Enumeration:
        return "enum";
    case ParamType::Colour:
        return "colour";
    }
    return "";
}

std::string labelsText(const ParamSpec& spec) {
    std::string text;
    for (size_t i = 0; i < spec.labels.size(); ++i)
        text += (i ? ", " : "") + std::to_string(i) + " " + spec.labels[i];
    return text;
}

std::string rangeText(const ParamSpec& spec) {
    if (spec.type == ParamType::Enumeration)
        return labelsText(spec);
    return messageNumberText(spec.min) + " to " + messageNumberText(spec.max);
}

std::string valueSummary(const ParamSpec& spec) {
    std::string text = typeName(spec);
    if (kvengine::wrapsAround(spec.unit))
        return text + ", " + unitText(spec.unit);
    if (spec.type == ParamType::Boolean)
        return text;
    if (spec.type == ParamType::Enumeration)
        return text + ": " + labelsText(spec);
    text += ", " + rangeText(spec);
    if (spec.uiMin != spec.min || spec.uiMax != spec.max)
        text += " (editor " + messageNumberText(spec.uiMin) + " to " + messageNumberText(spec.uiMax) + ")";
    if (spec.unit != ParamUnit::None)
        text += ", " + unitText(spec.unit);
    for (uint32_t k = 0; k < spec.components; ++k)
        if ((spec.evenComponents >> k) & 1u)
            text += spec.components > 1 ? ", component " + std::to_string(k + 1) + " rounded up to even"
                                        : ", rounded up to even";
    return text;
}

std::string defaultText(const ParamSpec& spec) {
    std::string text;
    for (uint32_t k = 0; k < spec.components; ++k)
        text += (k ? ", " : "") + componentText(spec, spec.defaultValue.f[k]);
    if (spec.unit == ParamUnit::TextureSide)
        text += " (" + messageNumberText(spec.defaultValue.f[0] * 1024.0) + " px at 1024)";
    return text;
}

std::string inputSummary(const kvengine::ImageInputSpec& input) {
    std::string text = kvengine::inputUseName(input.use);
    switch (input.use) {
    case kvengine::InputUse::Source:
        text += ", read channel by channel";
        break;
    case kvengine::InputUse::Map:
        text += ", read as a gray level";
        break;
    case kvengine::InputUse::ColourMap:
        text += ", read channel by channel (a gray image in every colour channel)";
        break;
    }
    return text + "; unconnected it reads " + messageNumberText(input.unconnected);
}

std::string outputText(kvengine::OutputChannels output) {
    switch (output) {
    case kvengine::OutputChannels::Gray:
        return "gray";
    case kvengine::OutputChannels::Colour:
        return "colour";
    case kvengine::OutputChannels::WidestSource:
        return "colour when a source input is colour, else gray";
    case kvengine::OutputChannels::GraphImage:
        return "the channels of the image graph input it reads";
    }
    return "";
}

std::string kindListText() {
    size_t width = 0;
    for (const kvengine::NodeKindInfo& kind : kvengine::nodeCatalog())
        width = std::max(width, std::strlen(kind.name));
    std::string text;
    for (const kvengine::NodeKindInfo& kind : kvengine::nodeCatalog())
        text +=
            std::string(kind.name) + std::string(width + 2 - std::strlen(kind.name), ' ') + kind.help + "\n";
    return text;
}

std::string kindText(const kvengine::NodeKindInfo& kind) {
    std::string text =
        std::string(kind.name) + ": " + kind.help + "\noutput: " + outputText(kind.output) + "\n";
    size_t width = 0;
    for (const ParamSpec& spec : kind.params)
        width = std::max(width, std::strlen(spec.name));
    for (const kvengine::ImageInputSpec& input : kind.imageInputs)
        width = std::max(width, std::strlen(input.name));
    const std::string indent(width + 4, ' ');
    auto name = [&](const char* n) {
        return "  " + std::string(n) + std::string(width + 2 - std::strlen(n), ' ');
    };
    if (!kind.params.empty())
        text += "parameters:\n";
    for (const ParamSpec& spec : kind.params)
        text += name(spec.name) + valueSummary(spec) + "; default " + defaultText(spec) + "\n" + indent +
                spec.help + "\n";
    if (!kind.imageInputs.empty())
        text += "image inputs:\n";
    for (const kvengine::ImageInputSpec& input : kind.imageInputs)
        text += name(input.name) + inputSummary(input) + "\n" + indent + input.help + "\n";
    return text;
}

} // namespace kvcompiler
