#include "python/src/InputValues.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kvpy {

namespace {

// Placeholder the model puts at combo positions no item uses.
const char* const kUnusedComboItem = "-";

std::string describe(const kvSubstance::SubstanceInput& input) {
    return "input " + input.getIdentifier().str() + " (" + typeName(input.getType()) + ")";
}

} // namespace

std::string typeName(kvSubstance::Type type) {
    if (type == kvSubstance::TypeImage) {
        return "image";
    }
    const int count = type & 7;
    return std::string((type & 0x20) != 0 ? "int" : "float") + (count > 1 ? std::to_string(count) : "");
}

std::string widgetName(kvSubstance::Widget widget) {
    switch (widget) {
    case kvSubstance::WidgetSlider:
        return "slider";
    case kvSubstance::WidgetAngle:
        return "angle";
    case kvSubstance::WidgetToggleButton:
        return "toggle";
    case kvSubstance::WidgetColor:
        return "color";
    case kvSubstance::WidgetImage:
        return "image";
    case kvSubstance::WidgetComboBox:
        return "combobox";
    default:
        return "none";
    }
}

bool isInteger(const kvSubstance::SubstanceInput& input) {
    return (input.getType() & 0x20) != 0;
}

int componentCount(const kvSubstance::SubstanceInput& input) {
    return input.getType() == kvSubstance::TypeImage ? 0 : input.getType() & 7;
}

std::vector<double> componentsOf(const kvSubstance::SubstanceInput& input, Slot slot) {
    const bool present = slot == Slot::Value || (slot == Slot::Default && input.hasDefault()) ||
                         (slot == Slot::Min && input.hasMin()) || (slot == Slot::Max && input.hasMax()) ||
                         (slot == Slot::Step && input.hasStep());
    std::vector<double> components;
    for (int k = 0; present && k < componentCount(input); ++k) {
        const bool whole = isInteger(input);
        switch (slot) {
        case Slot::Value:
            components.push_back(whole ? input.getValueI(k) : input.getValueF(k));
            break;
        case Slot::Default:
            components.push_back(whole ? input.getDefaultI(k) : input.getDefaultF(k));
            break;
        case Slot::Min:
            components.push_back(whole ? input.getMinI(k) : input.getMinF(k));
            break;
        case Slot::Max:
            components.push_back(whole ? input.getMaxI(k) : input.getMaxF(k));
            break;
        case Slot::Step:
            components.push_back(whole ? input.getStepI(k) : input.getStepF(k));
            break;
        }
    }
    return components;
}

void setComponents(Material& material, kvSubstance::SubstanceInput& input, std::vector<double> components) {
    const int count = componentCount(input);
    if (count == 0) {
        throw ValueError(describe(input) + " takes no numbers");
    }
    if (components.size() == 1 && count > 1) {
        components.assign(static_cast<size_t>(count), components[0]); // one number sets every component
    }
    if (components.size() != static_cast<size_t>(count)) {
        throw ValueError(describe(input) + " takes " + std::to_string(count) + " numbers, not " +
                         std::to_string(components.size()));
    }
    const std::vector<double> low = componentsOf(input, Slot::Min);
    const std::vector<double> high = componentsOf(input, Slot::Max);
    for (size_t k = 0; k < components.size(); ++k) {
        double& v = components[k];
        if (!std::isfinite(v)) {
            throw ValueError(describe(input) + " takes finite numbers");
        }
        if (isInteger(input) && v != std::floor(v)) {
            throw ValueError(describe(input) + " takes whole numbers, not " + std::to_string(v));
        }
        const double limit = isInteger(input) ? std::numeric_limits<int>::max()
                                              : static_cast<double>(std::numeric_limits<float>::max());
        if (std::fabs(v) > limit) {
            throw ValueError(describe(input) + ": " + std::to_string(v) + " is beyond its type");
        }
        // The model's clamp: only inputs whose widget says so, to the range they carry.
        if (input.shouldClamp() && !low.empty()) {
            v = std::max(v, low[k]);
        }
        if (input.shouldClamp() && !high.empty()) {
            v = std::min(v, high[k]);
        }
    }
    if (input.isCombo()) {
        const auto items = comboItems(input);
        const int chosen = static_cast<int>(components[0]);
        if (std::none_of(items.begin(), items.end(),
                         [&](const auto& item) { return item.first == chosen; })) {
            throw ValueError(describe(input) + ": " + std::to_string(chosen) + " is none of its combo items");
        }
    }
    // Component by component: the four-value setters keep a layout quirk hosts rely on.
    for (int k = 0; k < count; ++k) {
        if (isInteger(input)) {
            input.setValueI(static_cast<int>(components[static_cast<size_t>(k)]), k);
        } else {
            input.setValueF(static_cast<float>(components[static_cast<size_t>(k)]), k);
        }
    }
    material.sync(input);
}

std::vector<std::pair<int, std::string>> comboItems(kvSubstance::SubstanceInput& input) {
    std::vector<std::pair<int, std::string>> items;
    const kv::vector<kvString::IString>& texts = input.getComboItem();
    for (size_t k = 0; k < texts.size(); ++k) {
        const std::string text = texts[k].utf8();
        if (text != kUnusedComboItem) {
            items.emplace_back(static_cast<int>(k), text);
        }
    }
    return items;
}

} // namespace kvpy
