// Named sets of input values for one graph, read from the package
// description (under a graph) or from a separate presets document. Values are
// kept as the text written in the document; nothing here applies them.
#pragma once

#include <string>
#include <vector>

class TiXmlElement;

namespace SubstanceAir {

struct GraphDesc;

struct PresetInputValue {
    // Type of an input that is not known (no such uid in the graph, or no type given).
    static constexpr unsigned int UnknownType = 0xFFFF;

    unsigned int uid = 0;
    std::string identifier;
    unsigned int type = UnknownType; // InputType of the target input
    std::string value;               // as written; vectors comma-separated
};

struct Preset {
    std::string packageUrl; // the graph the preset belongs to
    std::string label;
    std::string description;
    std::vector<PresetInputValue> inputValues;
};

typedef std::vector<Preset> Presets;

// Appends one Preset per `sbspreset` child of `element`. With an owning
// graph (inputs already sorted by uid), each value takes its identifier and
// type from the graph's input of that uid and the preset takes the graph's
// URL; without one, they come from the element's own attributes.
void parsePresets(Presets& presets, const TiXmlElement& element, const GraphDesc* owner);

// Reads a presets document (root `sbspresets`) from NUL-terminated text.
// True exactly when at least one preset was appended.
bool parsePresetsDocument(Presets& presets, const char* xmlText);

} // namespace SubstanceAir
