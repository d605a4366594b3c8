// The rules for reading and writing an input's value from Python: names of
// types and widgets, components as doubles, and the checks and clamps a new
// value goes through before it reaches the model.
#pragma once

#include "python/src/PyMaterial.h"

#include <string>
#include <utility>
#include <vector>

namespace kvpy {

// "float", "float2", ... "int4", "image".
std::string typeName(kvSubstance::Type type);
// "slider", "angle", "toggle", "color", "image", "combobox" or "none".
std::string widgetName(kvSubstance::Widget widget);

bool isInteger(const kvSubstance::SubstanceInput& input);
int componentCount(const kvSubstance::SubstanceInput& input);

enum class Slot { Value, Default, Min, Max, Step };
// The components of one slot; empty when the input has none there.
std::vector<double> componentsOf(const kvSubstance::SubstanceInput& input, Slot slot);

// Checks `components` against the input's type (count, whole numbers, finite,
// combo items), clamps them to the range when the input's widget asks to,
// sets them and hands them to the renderer. A ValueError names what is wrong.
void setComponents(Material& material, kvSubstance::SubstanceInput& input, std::vector<double> components);

// The combo box's items as (value, label), without the unused positions.
std::vector<std::pair<int, std::string>> comboItems(kvSubstance::SubstanceInput& input);

} // namespace kvpy
