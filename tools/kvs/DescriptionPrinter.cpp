#include "tools/kvs/DescriptionPrinter.h"

#include "material/Substance.h"
#include "platform/base/PrintableText.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <iostream>
#include <sstream>

namespace kvs {

namespace {

using namespace kvSubstance;
using nlohmann::ordered_json;

const char* typeName(Type type) {
    switch (type) {
    case TypeFloat1:
        return "float1";
    case TypeFloat2:
        return "float2";
    case TypeFloat3:
        return "float3";
    case TypeFloat4:
        return "float4";
    case TypeInt1:
        return "int1";
    case TypeInt2:
        return "int2";
    case TypeInt3:
        return "int3";
    case TypeInt4:
        return "int4";
    case TypeImage:
        return "image";
    }
    return "unknown";
}

const char* widgetName(Widget widget) {
    switch (widget) {
    case WidgetNone:
        return "none";
    case WidgetSlider:
        return "slider";
    case WidgetAngle:
        return "angle";
    case WidgetToggleButton:
        return "togglebutton";
    case WidgetColor:
        return "color";
    case WidgetImage:
        return "image";
    case WidgetComboBox:
        return "combobox";
    }
    return "unknown";
}

// One of an input's value fields (default, min, max, step) by component.
using SlotReader = float (SubstanceInput::*)(int) const;
using IntSlotReader = int (SubstanceInput::*)(int) const;

struct ValueField {
    const char* name;
    bool (SubstanceInput::*present)() const;
    SlotReader readF;
    IntSlotReader readI;
};

const ValueField kValueFields[] = {
    {"default", &SubstanceInput::hasDefault, &SubstanceInput::getDefaultF, &SubstanceInput::getDefaultI},
    {"min", &SubstanceInput::hasMin, &SubstanceInput::getMinF, &SubstanceInput::getMinI},
    {"max", &SubstanceInput::hasMax, &SubstanceInput::getMaxF, &SubstanceInput::getMaxI},
    {"step", &SubstanceInput::hasStep, &SubstanceInput::getStepF, &SubstanceInput::getStepI},
};

bool isInteger(const SubstanceInput& input) {
    return (input.getType() & 0x20) != 0;
}
int components(const SubstanceInput& input) {
    return input.getType() & 7;
}

// The components as text joined by ",", the form of the description.
std::string valueText(const SubstanceInput& input, const ValueField& field) {
    std::ostringstream text;
    for (int k = 0; k < components(input); ++k) {
        if (k > 0)
            text << ',';
        if (isInteger(input))
            text << (input.*field.readI)(k);
        else
            text << (input.*field.readF)(k);
    }
    return text.str();
}

ordered_json valueJson(const SubstanceInput& input, const ValueField& field) {
    ordered_json values = ordered_json::array();
    for (int k = 0; k < components(input); ++k) {
        if (isInteger(input))
            values.push_back((input.*field.readI)(k));
        else
            values.push_back((input.*field.readF)(k));
    }
    return values;
}

// The format as the description's code, or -1 when unknown.
int formatCode(Format format) {
    return format == FormatInvalid ? -1 : static_cast<int>(format) * 4;
}

// Every text that came from the description goes through printable().
void printText(const std::string& name, Substance& material) {
    using kvUtil::printable;
    std::cout << "material " << printable(name) << "\n  label \"" << printable(material.getLabel().utf8())
              << "\"\n  package " << printable(material.getPackageURL().asChar()) << "\n  inputs "
              << material.numInputs() << '\n';
    const auto& inputs = material.getInputs();
    for (const auto* entry = inputs.first(); entry; entry = inputs.next(entry)) {
        SubstanceInput& input = *entry->value;
        std::cout << "    " << input.getUID() << ' ' << printable(input.getIdentifier().asChar()) << ' '
                  << typeName(input.getType()) << " widget "
                  << (input.showInGUI() ? widgetName(input.getWidget()) : "-") << " label \""
                  << printable(input.getLabel().utf8()) << '"';
        for (const ValueField& field : kValueFields)
            if ((input.*field.present)() && components(input) > 0)
                std::cout << ' ' << field.name << ' ' << valueText(input, field);
        if (input.shouldClamp())
            std::cout << " clamp";
        if (!input.getComboItem().empty()) {
            std::cout << " items";
            for (const kvString::IString& item : input.getComboItem())
                std::cout << " \"" << printable(item.utf8()) << '"';
        }
        std::cout << '\n';
    }
    std::cout << "  outputs " << material.numOutputs() << '\n';
    const auto& outputs = material.getOutputs();
    for (const auto* entry = outputs.first(); entry; entry = outputs.next(entry)) {
        const SubstanceOutput& output = *entry->value;
        std::cout << "    " << output.getUID() << ' ' << printable(output.getIdentifier().asChar())
                  << " format " << formatCode(output.getFormat()) << " size " << output.getXSize() << 'x'
                  << output.getYSize() << " mipmaps " << output.getNumMipMaps()
                  << (output.getDynamicSize() ? " dynamic" : "") << '\n';
    }
    std::cout << "  state\n";
    std::istringstream state(material.getStateString().str());
    for (std::string line; std::getline(state, line);)
        std::cout << "    " << printable(line) << '\n';
}

void printJson(const std::string& name, Substance& material) {
    ordered_json inputs = ordered_json::array();
    const auto& inputTable = material.getInputs();
    for (const auto* entry = inputTable.first(); entry; entry = inputTable.next(entry)) {
        SubstanceInput& input = *entry->value;
        ordered_json item = {{"uid", input.getUID()},
                             {"identifier", input.getIdentifier().str()},
                             {"type", typeName(input.getType())},
                             {"widget", input.showInGUI() ? ordered_json(widgetName(input.getWidget()))
                                                          : ordered_json(nullptr)},
                             {"label", input.getLabel().utf8()},
                             {"description", input.getDescription().utf8()}};
        for (const ValueField& field : kValueFields)
            if ((input.*field.present)())
                item[field.name] = valueJson(input, field);
        item["clamp"] = input.shouldClamp();
        ordered_json items = ordered_json::array();
        for (const kvString::IString& text : input.getComboItem())
            items.push_back(text.utf8());
        item["comboItems"] = items;
        inputs.push_back(item);
    }
    ordered_json outputs = ordered_json::array();
    const auto& outputTable = material.getOutputs();
    for (const auto* entry = outputTable.first(); entry; entry = outputTable.next(entry)) {
        const SubstanceOutput& output = *entry->value;
        outputs.push_back({{"uid", output.getUID()},
                           {"identifier", output.getIdentifier().str()},
                           {"format", formatCode(output.getFormat())},
                           {"width", output.getXSize()},
                           {"height", output.getYSize()},
                           {"mipmaps", output.getNumMipMaps()},
                           {"dynamicSize", output.getDynamicSize()}});
    }
    const ordered_json document = {{"material", name},
                                   {"label", material.getLabel().utf8()},
                                   {"packageUrl", material.getPackageURL().str()},
                                   {"inputs", inputs},
                                   {"outputs", outputs},
                                   {"state", material.getStateString().str()}};
    // Identifiers are bytes from the file; anything that is not UTF-8 is replaced.
    std::cout << document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

} // namespace

int printDescriptionInfo(const std::string& name, const std::string& xml, bool json) {
    // A NUL would silently cut the text short.
    kv::Reference<Substance> material;
    if (xml.find('\0') == std::string::npos)
        material = SubstanceReader::getInstance().readFromXMLData(xml.c_str());
    if (!material) {
        std::fprintf(stderr, "kvs info: %s: not a complete material description\n",
                     kvUtil::printable(name).c_str());
        return 1;
    }
    if (json)
        printJson(name, *material);
    else
        printText(name, *material);
    return 0;
}

} // namespace kvs
