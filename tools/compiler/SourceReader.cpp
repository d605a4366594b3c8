#include "tools/compiler/SourceReader.h"

#include "tools/compiler/SourcePlace.h"
#include "tools/compiler/Vocabulary.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <initializer_list>
#include <limits>
#include <tuple>

namespace kvcompiler {

namespace {

using Json = nlohmann::ordered_json; // keeps presets and parameters in source order

using Place = SourcePlace;

void checkKeys(const Json& object, const Place& place, std::initializer_list<const char*> known) {
    if (!object.is_object())
        place.fail("expected an object");
    for (auto it = object.begin(); it != object.end(); ++it) {
        bool found = false;
        for (const char* k : known)
            found = found || it.key() == k;
        if (!found)
            place.fail("unknown key '" + it.key() + "'");
    }
}

const Json* find(const Json& object, const char* key) {
    auto it = object.find(key);
    return it == object.end() ? nullptr : &*it;
}

std::string readString(const Json& object, const char* key, const Place& place, bool required) {
    const Json* value = find(object, key);
    if (!value) {
        if (required)
            place.fail("missing '" + std::string(key) + "'");
        return {};
    }
    if (!value->is_string())
        place.fail("'" + std::string(key) + "' must be a string");
    return value->get<std::string>();
}

const Json& readArray(const Json& object, const char* key, const Place& place) {
    static const Json empty = Json::array();
    const Json* value = find(object, key);
    if (!value)
        return empty;
    if (!value->is_array())
        place.fail("'" + std::string(key) + "' must be a list");
    return *value;
}

double readNumber(const Json& value, const Place& place, const std::string& what, bool integer) {
    if (!value.is_number())
        place.fail(what + " must be a number");
    double number = value.get<double>();
    if (!std::isfinite(number))
        place.fail(what + " must be finite");
    if (integer && (number != std::floor(number) || number < std::numeric_limits<int32_t>::min() ||
                    number > std::numeric_limits<int32_t>::max()))
        place.fail(what + " must be a whole number");
    if (!integer && std::fabs(number) > std::numeric_limits<float>::max())
        place.fail(what + " is out of range");
    return number;
}

// A number or a list of numbers. With `broadcast`, one number fills every component.
NumberList readValue(const Json& value, const Place& place, const std::string& what, kvengine::InputType type,
                     bool broadcast) {
    uint32_t count = kvengine::componentCount(type);
    bool integer = kvengine::isIntegerType(type);
    NumberList numbers;
    if (value.is_array()) {
        for (const Json& item : value)
            numbers.push_back(readNumber(item, place, what, integer));
    } else {
        numbers.push_back(readNumber(value, place, what, integer));
        if (broadcast)
            numbers.resize(count, numbers.front());
    }
    if (numbers.size() != count)
        place.fail(what + " has " + std::to_string(numbers.size()) + " component" +
                   (numbers.size() == 1 ? "" : "s") + ", the " + inputTypeName(type) + " input needs " +
                   std::to_string(count));
    return numbers;
}

GuiSource readGui(const Json& json, const Place& place, kvengine::InputType type) {
    checkKeys(json, place, {"widget", "label", "description", "min", "max", "step", "clamp", "items"});
    GuiSource gui;
    gui.widget = readString(json, "widget", place, true);
    if (!isKnownWidget(gui.widget))
        place.fail("unknown widget '" + gui.widget +
                   "' (use slider, angle, togglebutton, color, image, combobox or none)");
    gui.label = readString(json, "label", place, false);
    gui.description = readString(json, "description", place, false);
    bool numeric = type != kvengine::InputType::Image;
    for (auto [key, has, list] :
         {std::make_tuple("min", &gui.hasMin, &gui.min), std::make_tuple("max", &gui.hasMax, &gui.max),
          std::make_tuple("step", &gui.hasStep, &gui.step)}) {
        if (const Json* value = find(json, key)) {
            if (!numeric)
                place.fail("an image input has no '" + std::string(key) + "'");
            *list = readValue(*value, place, "'" + std::string(key) + "'", type, true);
            *has = true;
        }
    }
    if (const Json* clamp = find(json, "clamp")) {
        if (!clamp->is_boolean())
            place.fail("'clamp' must be true or false");
        gui.clamp = clamp->get<bool>();
    }
    for (const Json& item : readArray(json, "items", place)) {
        Place itemPlace = place / "combo item";
        checkKeys(item, itemPlace, {"value", "text"});
        const Json* value = find(item, "value");
        if (!value)
            itemPlace.fail("missing 'value'");
        ComboItem combo;
        combo.value = static_cast<int>(readNumber(*value, itemPlace, "'value'", true));
        combo.text = readString(item, "text", itemPlace, true);
        gui.items.push_back(combo);
    }
    return gui;
}

InputSource readInput(const Json& json, const Place& graphPlace) {
    if (!json.is_object())
        graphPlace.fail("every input must be an object");
    std::string identifier = readString(json, "identifier", graphPlace / "input", true);
    Place place = graphPlace / ("input '" + identifier + "'");
    checkKeys(json, place, {"identifier", "type", "default", "gui"});
    InputSource input;
    input.identifier = identifier;
    std::string typeName = readString(json, "type", place, true);
    if (!inputTypeFromName(typeName, input.type))
        place.fail("unknown type '" + typeName + "' (use float, float2..4, int, int2..4 or image)");
    if (const Json* value = find(json, "default")) {
        if (input.type == kvengine::InputType::Image)
            place.fail("an image input has no default");
        input.defaultValue = readValue(*value, place, "the default", input.type, false);
    } else {
        input.defaultValue.assign(kvengine::componentCount(input.type), 0.0);
    }
    if (const Json* gui = find(json, "gui")) {
        input.hasGui = true;
        input.gui = readGui(*gui, place / "gui", input.type);
    }
    return input;
}

OutputSource readOutput(const Json& json, const Place& graphPlace) {
    if (!json.is_object())
        graphPlace.fail("every output must be an object");
    std::string identifier = readString(json, "identifier", graphPlace / "output", true);
    Place place = graphPlace / ("output '" + identifier + "'");
    checkKeys(json, place, {"identifier", "format", "mipmaps", "usage", "label", "node"});
    OutputSource output;
    output.identifier = identifier;
    std::string format = readString(json, "format", place, false);
    if (format.empty())
        format = "rgba8";
    if (!formatFromName(format, output.format))
        place.fail("unknown format '" + format + "' (e.g. rgba8, l8, rgba16, l16, rgba32f)");
    if (const Json* mipmaps = find(json, "mipmaps")) {
        double levels = readNumber(*mipmaps, place, "'mipmaps'", true);
        if (levels < 0 || levels > 14)
            place.fail("'mipmaps' must be 0 (full chain) to 14");
        output.mipmaps = static_cast<uint32_t>(levels);
    }
    std::string usage = readString(json, "usage", place, false);
    if (!usage.empty()) {
        output.channel = channelUsageIndex(usage);
        if (output.channel < 0)
            place.fail("unknown channel usage '" + usage +
                       "' (names are case-sensitive, e.g. diffuse, normal)");
    }
    output.label = readString(json, "label", place, false);
    if (output.label.empty())
        output.label = identifier;
    output.node = readString(json, "node", place, true);
    return output;
}

PresetSource readPreset(const Json& json, const Place& graphPlace) {
    if (!json.is_object())
        graphPlace.fail("every preset must be an object");
    std::string label = readString(json, "label", graphPlace / "preset", true);
    Place place = graphPlace / ("preset '" + label + "'");
    checkKeys(json, place, {"label", "description", "values"});
    PresetSource preset;
    preset.label = label;
    preset.description = readString(json, "description", place, false);
    const Json* values = find(json, "values");
    if (!values || !values->is_object())
        place.fail("'values' must be an object of input identifiers to values");
    for (auto it = values->begin(); it != values->end(); ++it) {
        NumberList numbers;
        const Json& value = it.value();
        if (value.is_array()) {
            for (const Json& item : value)
                numbers.push_back(readNumber(item, place, "the value of '" + it.key() + "'", false));
        } else {
            numbers.push_back(readNumber(value, place, "the value of '" + it.key() + "'", false));
        }
        preset.values.emplace_back(it.key(), numbers);
    }
    return preset;
}

NodeSource readNode(const Json& json, const Place& graphPlace) {
    if (!json.is_object())
        graphPlace.fail("every node must be an object");
    std::string id = readString(json, "id", graphPlace / "node", true);
    Place place = graphPlace / ("node '" + id + "'");
    checkKeys(json, place, {"id", "kind", "params", "inputs", "graphinput"});
    NodeSource node;
    node.id = id;
    node.kind = readString(json, "kind", place, true);
    node.graphInput = readString(json, "graphinput", place, false);
    if (const Json* params = find(json, "params")) {
        if (!params->is_object())
            place.fail("'params' must be an object of parameter names to values");
        for (auto it = params->begin(); it != params->end(); ++it) {
            ParamSource param;
            param.name = it.key();
            SourcePlace paramPlace = place / ("parameter '" + param.name + "'");
            auto readItem = [&](const Json& item) {
                ParamItem result;
                if (item.is_string()) {
                    result.isExpression = true;
                    result.expression = item.get<std::string>();
                } else if (item.is_number()) {
                    result.number = readNumber(item, paramPlace, "a value", false);
                } else {
                    paramPlace.fail("must be a number, an expression string or a list of them");
                }
                return result;
            };
            const Json& value = it.value();
            if (value.is_array()) {
                param.isList = true;
                for (const Json& item : value)
                    param.items.push_back(readItem(item));
            } else {
                param.items.push_back(readItem(value));
            }
            node.params.push_back(param);
        }
    }
    if (const Json* inputs = find(json, "inputs")) {
        if (!inputs->is_object())
            place.fail("'inputs' must be an object of image slots to node ids");
        for (auto it = inputs->begin(); it != inputs->end(); ++it) {
            if (!it.value().is_string())
                place.fail("image slot '" + it.key() + "' must name a node id");
            node.inputs.emplace_back(it.key(), it.value().get<std::string>());
        }
    }
    return node;
}

GraphSource readGraph(const Json& json, const Place& filePlace) {
    if (!json.is_object())
        filePlace.fail("every graph must be an object");
    std::string url = readString(json, "url", filePlace / "graph", true);
    if (url.empty())
        (filePlace / "graph").fail("'url' must not be empty");
    Place place = filePlace / ("graph '" + url + "'");
    checkKeys(json, place, {"url", "label", "description", "inputs", "outputs", "presets", "nodes"});
    GraphSource graph;
    graph.url = url;
    graph.label = readString(json, "label", place, false);
    if (graph.label.empty())
        graph.label = url;
    graph.description = readString(json, "description", place, false);
    for (const Json& input : readArray(json, "inputs", place))
        graph.inputs.push_back(readInput(input, place));
    for (const Json& output : readArray(json, "outputs", place))
        graph.outputs.push_back(readOutput(output, place));
    for (const Json& preset : readArray(json, "presets", place))
        graph.presets.push_back(readPreset(preset, place));
    for (const Json& node : readArray(json, "nodes", place))
        graph.nodes.push_back(readNode(node, place));
    return graph;
}

} // namespace

PackageSource readPackageSource(const std::string& jsonText, const std::string& fileName) {
    Place place(fileName);
    if (jsonText.size() > kMaxSourceBytes)
        place.fail("source larger than " + std::to_string(kMaxSourceBytes >> 20) + " MiB");
    Json json;
    try {
        json = Json::parse(jsonText);
    } catch (const Json::exception& e) { // syntax errors, and numbers beyond double range
        std::string message = e.what();
        size_t bracket = message.find("] ");
        place.fail("not valid JSON: " +
                   (bracket == std::string::npos ? message : message.substr(bracket + 2)));
    }
    checkKeys(json, place, {"graphs"});
    PackageSource source;
    source.fileName = fileName;
    for (const Json& graph : readArray(json, "graphs", place))
        source.graphs.push_back(readGraph(graph, place));
    if (source.graphs.empty())
        place.fail("no graphs");
    return source;
}

} // namespace kvcompiler
