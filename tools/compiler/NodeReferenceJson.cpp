#include "tools/compiler/NodeReference.h"

#include "tools/compiler/NumberText.h"

#include <nlohmann/json.hpp>

#include <cstdlib>

namespace kvcompiler {

namespace {

using Json = nlohmann::ordered_json;

const char* unitName(kvengine::ParamUnit unit) {
    switch (unit) {
    case kvengine::ParamUnit::TextureSide:
        return "texture side";
    case kvengine::ParamUnit::TexturePosition:
        return "texture position";
    case kvengine::ParamUnit::Turns:
        return "turns";
    case kvengine::ParamUnit::None:
        break;
    }
    return "none";
}

// The float as its shortest text reads back as a double: 0.1, not 0.10000000149011612.
double number(float value) {
    return std::strtod(floatText(value).c_str(), nullptr);
}

Json paramJson(const kvengine::ParamSpec& spec) {
    Json param = {{"name", spec.name},
                  {"type", typeName(spec)},
                  {"components", spec.components},
                  {"default", Json::array()},
                  {"min", number(spec.min)},
                  {"max", number(spec.max)},
                  {"ui_min", number(spec.uiMin)},
                  {"ui_max", number(spec.uiMax)},
                  {"unit", unitName(spec.unit)},
                  {"wraps", kvengine::wrapsAround(spec.unit)}};
    for (uint32_t k = 0; k < spec.components; ++k)
        param["default"].push_back(number(spec.defaultValue.f[k]));
    Json even = Json::array();
    for (uint32_t k = 0; k < spec.components; ++k)
        if ((spec.evenComponents >> k) & 1u)
            even.push_back(k);
    param["even_components"] = even;
    param["labels"] = Json::array();
    for (const char* label : spec.labels)
        param["labels"].push_back(label);
    param["help"] = spec.help;
    return param;
}

Json kindObject(const kvengine::NodeKindInfo& kind) {
    Json object = {{"name", kind.name},
                   {"help", kind.help},
                   {"output", outputText(kind.output)},
                   {"parameters", Json::array()},
                   {"inputs", Json::array()}};
    for (const kvengine::ParamSpec& spec : kind.params)
        object["parameters"].push_back(paramJson(spec));
    for (const kvengine::ImageInputSpec& input : kind.imageInputs)
        object["inputs"].push_back({{"name", input.name},
                                    {"use", kvengine::inputUseName(input.use)},
                                    {"unconnected", number(input.unconnected)},
                                    {"help", input.help}});
    if (kind.readsGraphInput())
        object["reads_graph_input"] = true;
    return object;
}

} // namespace

std::string kindJson(const kvengine::NodeKindInfo& kind) {
    return kindObject(kind).dump(2) + "\n";
}

std::string catalogueJson() {
    Json kinds = Json::array();
    for (const kvengine::NodeKindInfo& kind : kvengine::nodeCatalog())
        kinds.push_back(kindObject(kind));
    return Json{{"kinds", kinds}}.dump(2) + "\n";
}

} // namespace kvcompiler
