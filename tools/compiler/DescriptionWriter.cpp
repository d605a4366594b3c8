#include "tools/compiler/DescriptionWriter.h"

#include "tools/compiler/NumberText.h"
#include "tools/compiler/SourcePlace.h"
#include "tools/compiler/Vocabulary.h"

#include <tinyxml.h>

#include <algorithm>

namespace kvcompiler {

namespace {

using kvengine::InputType;

std::string valueText(const NumberList& values, InputType type) {
    return numberListText(values, kvengine::isIntegerType(type));
}

std::string uidListText(const std::vector<uint32_t>& uids) {
    std::string text;
    for (uint32_t uid : uids)
        text += (text.empty() ? "" : ",") + std::to_string(uid);
    return text;
}

// Range shown by the widget: the declared one, or what the widget implies.
void effectiveRange(const InputSource& input, NumberList& min, NumberList& max) {
    const GuiSource& gui = input.gui;
    if (gui.hasMin)
        min = gui.min;
    if (gui.hasMax)
        max = gui.max;
    if (gui.widget == "togglebutton") {
        if (min.empty())
            min = {0};
        if (max.empty())
            max = {1};
    } else if (gui.widget == "combobox") {
        auto [lo, hi] =
            std::minmax_element(gui.items.begin(), gui.items.end(),
                                [](const ComboItem& a, const ComboItem& b) { return a.value < b.value; });
        if (min.empty())
            min = {static_cast<double>(lo->value)};
        if (max.empty())
            max = {static_cast<double>(hi->value)};
    }
}

TiXmlElement* addChild(TiXmlNode& parent, const char* name) {
    return parent.LinkEndChild(new TiXmlElement(name))->ToElement();
}

void writeOutput(TiXmlElement& outputs, const OutputSource& source, const kvengine::GraphOutput& built,
                 const NumberList& outputSize) {
    TiXmlElement* output = addChild(outputs, "output");
    output->SetAttribute("uid", std::to_string(built.uid));
    output->SetAttribute("identifier", source.identifier);
    output->SetAttribute("format", intText(source.format));
    output->SetAttribute("width", intText(1 << static_cast<int>(outputSize[0])));
    output->SetAttribute("height", intText(1 << static_cast<int>(outputSize[1])));
    output->SetAttribute("mipmaps", std::to_string(source.mipmaps));
    output->SetAttribute("dynamicsize", "yes"); // sizes follow $outputsize
    TiXmlElement* gui = addChild(*output, "outputgui");
    gui->SetAttribute("label", source.label);
    if (source.channel >= 0) {
        TiXmlElement* channel = addChild(*addChild(*gui, "channels"), "channel");
        channel->SetAttribute("names", channelUsageName(source.channel));
    }
}

void writeInput(TiXmlElement& inputs, const InputSource& source, const kvengine::GraphInput& built,
                const std::vector<uint32_t>& altered, const SourcePlace& place) {
    TiXmlElement* input = addChild(inputs, "input");
    input->SetAttribute("uid", std::to_string(built.uid));
    input->SetAttribute("identifier", source.identifier);
    input->SetAttribute("type", intText(static_cast<int>(source.type)));
    if (source.type != InputType::Image) {
        input->SetAttribute("default", valueText(source.defaultValue, source.type));
        NumberList min, max;
        if (source.hasGui)
            effectiveRange(source, min, max);
        if (!min.empty())
            input->SetAttribute("min", valueText(min, source.type));
        if (!max.empty())
            input->SetAttribute("max", valueText(max, source.type));
    }
    if (!altered.empty())
        input->SetAttribute("alteroutputs", uidListText(altered));
    if (std::unique_ptr<TiXmlElement> gui = inputGuiElement(source)) {
        size_t bytes = compactText(*gui).size() + 1;
        if (bytes > kMaxInputGuiBytes)
            place.fail("its gui description takes " + std::to_string(bytes) + " bytes, at most " +
                       std::to_string(kMaxInputGuiBytes) +
                       " fit; shorten the label, description or combo texts");
        input->LinkEndChild(gui.release());
    }
}

void writePresets(TiXmlElement& graph, const GraphSource& source, const BuiltGraph& built) {
    TiXmlElement* presets = addChild(graph, "sbspresets");
    presets->SetAttribute("count", intText(static_cast<int>(source.presets.size())));
    for (const PresetSource& ps : source.presets) {
        TiXmlElement* preset = addChild(*presets, "sbspreset");
        preset->SetAttribute("pkgurl", source.url);
        preset->SetAttribute("label", ps.label);
        preset->SetAttribute("description", ps.description);
        for (const auto& [identifier, value] : ps.values) {
            auto it = std::find_if(
                built.graph.inputs.begin(), built.graph.inputs.end(),
                [&wanted = identifier](const kvengine::GraphInput& i) { return i.identifier == wanted; });
            TiXmlElement* entry = addChild(*preset, "presetinput");
            entry->SetAttribute("uid", std::to_string(it->uid));
            entry->SetAttribute("identifier", identifier);
            entry->SetAttribute("type", intText(static_cast<int>(it->type)));
            entry->SetAttribute("value", valueText(value, it->type));
        }
    }
}

} // namespace

std::unique_ptr<TiXmlElement> inputGuiElement(const InputSource& input) {
    if (!input.hasGui)
        return nullptr;
    const GuiSource& source = input.gui;
    auto gui = std::make_unique<TiXmlElement>("inputgui");
    gui->SetAttribute("widget", source.widget);
    gui->SetAttribute("label", source.label.empty() ? input.identifier : source.label);
    if (!source.description.empty())
        gui->SetAttribute("description", source.description);
    if (source.widget == "none")
        return gui;
    // The widget element comes first: readers take the first child for the range.
    TiXmlElement* widget = addChild(*gui, widgetElementName(source.widget).c_str());
    NumberList min, max;
    effectiveRange(input, min, max);
    if (!min.empty())
        widget->SetAttribute("min", valueText(min, input.type));
    if (!max.empty())
        widget->SetAttribute("max", valueText(max, input.type));
    if (source.hasStep)
        widget->SetAttribute("step", valueText(source.step, input.type));
    if (source.widget == "slider" || source.widget == "angle")
        widget->SetAttribute("clamp", source.clamp ? "on" : "off");
    for (const ComboItem& item : source.items) {
        TiXmlElement* entry = addChild(*widget, "guicomboboxitem");
        entry->SetAttribute("value", intText(item.value));
        entry->SetAttribute("text", item.text);
    }
    return gui;
}

std::string compactText(const TiXmlElement& element) {
    TiXmlPrinter printer;
    printer.SetStreamPrinting();
    element.Accept(&printer);
    return printer.Str();
}

std::string writeDescription(const std::string& fileName, uint32_t assemblyUid,
                             const std::vector<GraphSource>& sources, const std::vector<BuiltGraph>& graphs) {
    TiXmlDocument document;
    document.LinkEndChild(new TiXmlDeclaration("1.0", "UTF-8", ""));
    TiXmlElement* root = addChild(document, "sbsdescription");
    root->SetAttribute("content", "full");
    root->SetAttribute("asmuid", std::to_string(assemblyUid));
    TiXmlElement* graphList = addChild(*root, "graphs");
    graphList->SetAttribute("count", intText(static_cast<int>(sources.size())));
    for (size_t g = 0; g < sources.size(); ++g) {
        const GraphSource& source = sources[g];
        const BuiltGraph& built = graphs[g];
        SourcePlace place = SourcePlace(fileName) / ("graph '" + source.url + "'");
        TiXmlElement* graph = addChild(*graphList, "graph");
        graph->SetAttribute("pkgurl", source.url);
        graph->SetAttribute("label", source.label);
        if (!source.description.empty())
            graph->SetAttribute("description", source.description);

        NumberList outputSize{9, 9};
        for (const InputSource& input : source.inputs)
            if (input.identifier == "$outputsize")
                outputSize = input.defaultValue;
        TiXmlElement* outputs = addChild(*graph, "outputs");
        outputs->SetAttribute("count", intText(static_cast<int>(source.outputs.size())));
        for (size_t o = 0; o < source.outputs.size(); ++o)
            writeOutput(*outputs, source.outputs[o], built.graph.outputs[o], outputSize);

        TiXmlElement* inputs = addChild(*graph, "inputs");
        inputs->SetAttribute("count", intText(static_cast<int>(source.inputs.size())));
        for (size_t i = 0; i < source.inputs.size(); ++i)
            writeInput(*inputs, source.inputs[i], built.graph.inputs[i], built.alteredUids[i],
                       place / ("input '" + source.inputs[i].identifier + "'"));
        writePresets(*graph, source, built);
    }
    TiXmlPrinter printer;
    printer.SetIndent("  ");
    document.Accept(&printer);
    return printer.Str();
}

} // namespace kvcompiler
