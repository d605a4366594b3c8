#include "tools/kvs/PackageInfo.h"

#include "engine/evaluator/Evaluator.h"
#include "framework/description/ChannelUsage.h"
#include "framework/description/NumberText.h"
#include "framework/description/PackageDesc.h"
#include "platform/base/PrintableText.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace kvs {

namespace {

using namespace SubstanceAir;
using nlohmann::ordered_json;

const char* typeName(unsigned int type) {
    switch (type) {
    case Float:
        return "Float";
    case Float2:
        return "Float2";
    case Float3:
        return "Float3";
    case Float4:
        return "Float4";
    case Integer:
        return "Integer";
    case Image:
        return "Image";
    case Integer2:
        return "Integer2";
    case Integer3:
        return "Integer3";
    case Integer4:
        return "Integer4";
    default:
        return "unknown";
    }
}

struct ValueTexts {
    std::string defaultValue, minValue, maxValue;
};

template <typename T>
bool readValues(const InputDescBase& input, ValueTexts& texts) {
    const auto* typed = dynamic_cast<const InputDescNumerical<T>*>(&input);
    if (typed == nullptr) {
        return false;
    }
    texts = {valueToText(typed->defaultValue), valueToText(typed->minValue), valueToText(typed->maxValue)};
    return true;
}

// Default, min and max as text; all empty for image inputs.
ValueTexts valueTexts(const InputDescBase& input) {
    ValueTexts texts;
    readValues<float>(input, texts) || readValues<Math::Vector2<float>>(input, texts) ||
        readValues<Math::Vector3<float>>(input, texts) || readValues<Math::Vector4<float>>(input, texts) ||
        readValues<int>(input, texts) || readValues<Math::Vector2<int>>(input, texts) ||
        readValues<Math::Vector3<int>>(input, texts) || readValues<Math::Vector4<int>>(input, texts);
    return texts;
}

// Width and height a graph renders at when nothing sets its $outputsize:
// the input's default, or the engine's own default without the input.
std::pair<std::string, std::string> defaultSize(const GraphDesc& graph) {
    Math::Vector2<int> log2Size = {kvengine::EvaluatorLimits::defaultLog2Side,
                                   kvengine::EvaluatorLimits::defaultLog2Side};
    for (const auto& input : graph.inputs) {
        const auto* size = dynamic_cast<const InputDescNumerical<Math::Vector2<int>>*>(input.get());
        if (size != nullptr && input->identifier == "$outputsize") {
            log2Size = size->defaultValue;
        }
    }
    const auto side = [](int log2) {
        return log2 >= 0 && log2 < 31 ? std::to_string(1u << log2) : "2^" + std::to_string(log2);
    };
    return {side(log2Size.x), side(log2Size.y)};
}

const char* channelName(const OutputDesc& output) {
    return output.channel < ChannelUsageCount ? getChannelNames()[output.channel] : "unknown";
}

ordered_json graphJson(const GraphDesc& graph) {
    ordered_json inputs = ordered_json::array();
    for (const auto& input : graph.inputs) {
        ordered_json entry = {
            {"uid", input->uid},     {"identifier", input->identifier}, {"type", typeName(input->type)},
            {"label", input->label}, {"widget", widgetName(*input)},    {"system", input->isSystem}};
        if (input->isNumerical()) {
            const ValueTexts texts = valueTexts(*input);
            entry["default"] = texts.defaultValue;
            entry["min"] = texts.minValue;
            entry["max"] = texts.maxValue;
        }
        entry["alteredOutputs"] = input->alteredOutputUids;
        inputs.push_back(entry);
    }
    ordered_json outputs = ordered_json::array();
    for (const OutputDesc& output : graph.outputs) {
        outputs.push_back({{"uid", output.uid},
                           {"identifier", output.identifier},
                           {"label", output.label},
                           {"format", output.format},
                           {"mipmaps", output.mipmaps},
                           {"channel", channelName(output)}});
    }
    ordered_json presets = ordered_json::array();
    for (const Preset& preset : graph.presets) {
        ordered_json values = ordered_json::array();
        for (const PresetInputValue& value : preset.inputValues) {
            values.push_back({{"uid", value.uid}, {"identifier", value.identifier}, {"value", value.value}});
        }
        presets.push_back({{"label", preset.label}, {"description", preset.description}, {"values", values}});
    }
    const auto size = defaultSize(graph);
    return {
        {"url", graph.packageUrl}, {"label", graph.label}, {"defaultSize", size.first + "x" + size.second},
        {"inputs", inputs},        {"outputs", outputs},   {"presets", presets}};
}

// Every text that came from the package goes through printable().
void printText(const std::string& name, const PackageDesc& package) {
    using kvUtil::printable;
    std::cout << "package " << printable(name) << "\n  asmuid " << package.asmUid() << "\n";
    for (const GraphDesc& graph : package.graphs()) {
        const auto size = defaultSize(graph);
        std::cout << "graph " << printable(graph.packageUrl) << " \"" << printable(graph.label)
                  << "\"\n  renders at " << size.first << 'x' << size.second << " by default\n  inputs\n";
        for (const auto& input : graph.inputs) {
            std::cout << "    " << input->uid << ' ' << printable(input->identifier) << ' '
                      << typeName(input->type) << " \"" << printable(input->label) << '"';
            if (input->isNumerical()) {
                const ValueTexts texts = valueTexts(*input);
                std::cout << " default " << texts.defaultValue << " min " << texts.minValue << " max "
                          << texts.maxValue;
            }
            const std::string widget = widgetName(*input);
            std::cout << " widget " << (widget.empty() ? "-" : printable(widget)) << '\n';
        }
        std::cout << "  outputs\n";
        for (const OutputDesc& output : graph.outputs) {
            std::cout << "    " << output.uid << ' ' << printable(output.identifier) << " \""
                      << printable(output.label) << "\" format " << output.format << " mipmaps "
                      << output.mipmaps << " channel " << channelName(output) << '\n';
        }
        std::cout << "  presets\n";
        for (const Preset& preset : graph.presets) {
            std::cout << "    \"" << printable(preset.label) << "\"";
            for (const PresetInputValue& value : preset.inputValues) {
                std::cout << ' '
                          << printable(value.identifier.empty() ? std::to_string(value.uid)
                                                                : value.identifier)
                          << '=' << printable(value.value);
            }
            std::cout << '\n';
        }
    }
}

} // namespace

bool isPackageData(const std::vector<char>& bytes) {
    static const char localHeader[] = {'P', 'K', 3, 4};
    static const char emptyArchive[] = {'P', 'K', 5, 6};
    return bytes.size() >= 4 && (std::equal(localHeader, localHeader + 4, bytes.begin()) ||
                                 std::equal(emptyArchive, emptyArchive + 4, bytes.begin()));
}

int printPackageInfo(const std::string& name, const std::vector<char>& bytes, bool json) {
    const PackageDesc package(bytes.data(), bytes.size(), nullptr);
    if (!package.loadProblem().empty()) {
        std::fprintf(stderr, "kvs info: %s: %s\n", kvUtil::printable(name).c_str(),
                     kvUtil::printable(package.loadProblem()).c_str());
        return 1;
    }
    if (json) {
        ordered_json graphs = ordered_json::array();
        for (const GraphDesc& graph : package.graphs()) {
            graphs.push_back(graphJson(graph));
        }
        std::cout << ordered_json({{"package", name}, {"asmuid", package.asmUid()}, {"graphs", graphs}})
                         .dump(2, ' ', false, ordered_json::error_handler_t::replace)
                  << '\n';
    } else {
        printText(name, package);
    }
    return 0;
}

} // namespace kvs
