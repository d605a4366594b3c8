#include "tools/compiler/InputChecks.h"

#include "tools/compiler/NumberText.h"
#include "tools/compiler/Vocabulary.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <set>

namespace kvcompiler {

const char* const kOutputSizeInput = "$outputsize";
const char* const kRandomSeedInput = "$randomseed";

namespace {

using kvengine::InputType;

// Identifiers are referenced from expressions, so they must be names there.
bool isPlainIdentifier(const std::string& text) {
    if (text.empty() || text.size() > 64 ||
        !(std::isalpha(static_cast<unsigned char>(text[0])) || text[0] == '_'))
        return false;
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; });
}

bool widgetFits(const std::string& widget, InputType type) {
    if (widget == "none")
        return true;
    if (type == InputType::Image)
        return widget == "image";
    if (widget == "slider")
        return true;
    if (widget == "angle")
        return type == InputType::Float;
    if (widget == "togglebutton" || widget == "combobox")
        return type == InputType::Integer;
    if (widget == "color")
        return type == InputType::Float || type == InputType::Float3 || type == InputType::Float4;
    return false; // "image" on a numerical input
}

std::string valueText(const NumberList& values, InputType type) {
    return numberListText(values, kvengine::isIntegerType(type));
}

// Compares per component; `what` names the value for the message.
void checkWithinRange(const InputSource& input, const NumberList& value, const std::string& what,
                      const SourcePlace& place) {
    const GuiSource& gui = input.gui;
    for (size_t k = 0; k < value.size(); ++k) {
        if (gui.hasMin && value[k] < gui.min[k])
            place.fail(what + " " + valueText(value, input.type) + " is below the minimum " +
                       valueText(gui.min, input.type));
        if (gui.hasMax && value[k] > gui.max[k])
            place.fail(what + " " + valueText(value, input.type) + " is above the maximum " +
                       valueText(gui.max, input.type));
    }
    if (gui.widget == "togglebutton" && value[0] != 0 && value[0] != 1)
        place.fail(what + " of a toggle button must be 0 or 1");
    if (gui.widget == "combobox" &&
        std::none_of(gui.items.begin(), gui.items.end(),
                     [&](const ComboItem& item) { return item.value == value[0]; }))
        place.fail(what + " " + valueText(value, input.type) + " is not the value of any combo item");
}

void checkCombo(const GuiSource& gui, const SourcePlace& place) {
    if (gui.items.empty())
        place.fail("a combo box needs at least one item");
    std::set<int> values;
    for (const ComboItem& item : gui.items) {
        // Readers place items at their value, positions 0 to 35.
        if (item.value < 0 || item.value > 35)
            place.fail("combo item '" + item.text + "' has value " + std::to_string(item.value) +
                       ", values must be 0 to 35");
        if (!values.insert(item.value).second)
            place.fail("two combo items have the value " + std::to_string(item.value));
        if (item.text.empty())
            place.fail("combo item " + std::to_string(item.value) + " has no text");
    }
}

void checkGui(const InputSource& input, const SourcePlace& place) {
    const GuiSource& gui = input.gui;
    if (!widgetFits(gui.widget, input.type)) {
        if (gui.widget == "combobox")
            place.fail("a combo box needs an int input, not " + std::string(inputTypeName(input.type)));
        place.fail("widget '" + gui.widget + "' does not fit a " + inputTypeName(input.type) + " input");
    }
    if (gui.widget == "combobox")
        checkCombo(gui, place);
    else if (!gui.items.empty())
        place.fail("combo items on a '" + gui.widget + "' widget");
    if (gui.hasMin && gui.hasMax)
        for (size_t k = 0; k < gui.min.size(); ++k)
            if (gui.min[k] > gui.max[k])
                place.fail("minimum " + valueText(gui.min, input.type) + " is above maximum " +
                           valueText(gui.max, input.type));
    if (gui.hasStep)
        for (double s : gui.step)
            if (!(s > 0))
                place.fail("step must be positive");
}

} // namespace

bool isSystemInput(const std::string& identifier) {
    return identifier == kOutputSizeInput || identifier == kRandomSeedInput;
}

void addSystemInputs(GraphSource& graph) {
    auto declared = [&](const char* identifier) {
        return std::any_of(graph.inputs.begin(), graph.inputs.end(),
                           [&](const InputSource& input) { return input.identifier == identifier; });
    };
    if (!declared(kOutputSizeInput)) {
        InputSource size;
        size.identifier = kOutputSizeInput;
        size.type = InputType::Integer2;
        size.defaultValue = {9, 9};
        graph.inputs.push_back(size);
    }
    if (!declared(kRandomSeedInput)) {
        InputSource seed;
        seed.identifier = kRandomSeedInput;
        seed.type = InputType::Integer;
        seed.defaultValue = {0};
        graph.inputs.push_back(seed);
    }
}

void checkInputs(const GraphSource& graph, const SourcePlace& graphPlace) {
    std::set<std::string> seen;
    for (const InputSource& input : graph.inputs) {
        SourcePlace place = graphPlace / ("input '" + input.identifier + "'");
        if (!seen.insert(input.identifier).second)
            place.fail("duplicate input identifier");
        if (input.identifier == kOutputSizeInput) {
            if (input.type != InputType::Integer2)
                place.fail("$outputsize must be int2 (log2 of width and height)");
            for (double side : input.defaultValue)
                if (side < 0 || side > 13)
                    place.fail("$outputsize default must be 0 to 13 (1 to 8192 pixels)");
        } else if (input.identifier == kRandomSeedInput) {
            if (input.type != InputType::Integer)
                place.fail("$randomseed must be int");
        } else if (!input.identifier.empty() && input.identifier[0] == '$') {
            place.fail("unknown system input (only $outputsize and $randomseed exist)");
        } else if (!isPlainIdentifier(input.identifier)) {
            place.fail("identifier must be a letter or '_' followed by letters, digits or '_' (at most 64)");
        }
        if (!input.hasGui)
            continue;
        SourcePlace guiPlace = place / "gui";
        checkGui(input, guiPlace);
        if (input.type != InputType::Image)
            checkWithinRange(input, input.defaultValue, "default", place);
    }
}

void checkPresets(const GraphSource& graph, const SourcePlace& graphPlace) {
    std::set<std::string> labels;
    for (const PresetSource& preset : graph.presets) {
        SourcePlace place = graphPlace / ("preset '" + preset.label + "'");
        if (preset.label.empty())
            place.fail("a preset needs a label");
        if (!labels.insert(preset.label).second)
            place.fail("duplicate preset label");
        for (const auto& [identifier, value] : preset.values) {
            auto input =
                std::find_if(graph.inputs.begin(), graph.inputs.end(),
                             [&wanted = identifier](const InputSource& i) { return i.identifier == wanted; });
            if (input == graph.inputs.end())
                place.fail("unknown input '" + identifier + "'");
            if (input->type == InputType::Image)
                place.fail("image input '" + identifier + "' cannot have a preset value");
            if (value.size() != kvengine::componentCount(input->type))
                place.fail("value of '" + identifier + "' has " + std::to_string(value.size()) +
                           " components, the " + inputTypeName(input->type) + " input needs " +
                           std::to_string(kvengine::componentCount(input->type)));
            if (kvengine::isIntegerType(input->type))
                for (double v : value)
                    if (v != std::floor(v) || v < INT32_MIN || v > INT32_MAX)
                        place.fail("value of int input '" + identifier + "' must be whole numbers");
            if (input->hasGui)
                checkWithinRange(*input, value, "value of '" + identifier + "'", place);
        }
    }
}

} // namespace kvcompiler
