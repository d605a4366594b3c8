// The package source after reading: plain records that mirror the JSON
// (docs/package-source.md), already checked for shape and value types.
#pragma once

#include "engine/assembly/Assembly.h"

#include <string>
#include <utility>
#include <vector>

namespace kvcompiler {

// Numbers as written in the source; integer inputs hold whole numbers only.
using NumberList = std::vector<double>;

struct ComboItem {
    int value = 0;
    std::string text;
};

struct GuiSource {
    std::string widget; // slider, angle, togglebutton, color, image, combobox, none
    std::string label;
    std::string description;
    bool hasMin = false, hasMax = false, hasStep = false;
    NumberList min, max, step;
    bool clamp = false;
    std::vector<ComboItem> items;
};

struct InputSource {
    std::string identifier;
    kvengine::InputType type = kvengine::InputType::Float;
    NumberList defaultValue; // one number per component; empty for images
    bool hasGui = false;
    GuiSource gui;
};

struct OutputSource {
    std::string identifier;
    int format = 0;       // engine pixel-format code
    uint32_t mipmaps = 0; // 0: full chain
    int channel = -1;     // channel-usage index, -1 when not given
    std::string label;
    std::string node; // id of the producing node
};

struct PresetSource {
    std::string label;
    std::string description;
    std::vector<std::pair<std::string, NumberList>> values; // by input identifier
};

// One number or one expression over graph inputs.
struct ParamItem {
    bool isExpression = false;
    double number = 0;
    std::string expression;
};

// A node parameter: one item (broadcast to every component) or a list with
// one item per component.
struct ParamSource {
    std::string name;
    bool isList = false;
    std::vector<ParamItem> items;
};

struct NodeSource {
    std::string id;
    std::string kind;
    std::vector<ParamSource> params;
    std::vector<std::pair<std::string, std::string>> inputs; // image slot -> node id
    std::string graphInput;                                  // for kinds that read a graph image input
};

struct GraphSource {
    std::string url;
    std::string label;
    std::string description;
    std::vector<InputSource> inputs;
    std::vector<OutputSource> outputs;
    std::vector<PresetSource> presets;
    std::vector<NodeSource> nodes;
};

struct PackageSource {
    std::string fileName; // for messages
    std::vector<GraphSource> graphs;
};

} // namespace kvcompiler
